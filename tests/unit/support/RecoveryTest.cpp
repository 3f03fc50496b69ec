#include "support/RecoveryTest.h"

#include "ctl/CRecoveryCache.h"

namespace QMT::Test
{

namespace
{

std::string shown(const std::optional<std::string>& text)
{
    return text ? "[" + *text + "]" : "none";
}

} // namespace

std::string shown(const FrameworkContents& contents)
{
    return "live " + shown(contents.live.configuration) + " " + shown(contents.live.list) + "\ncopy " +
           shown(contents.workingCopy.configuration) + " " + shown(contents.workingCopy.list) + "\nbackup " +
           shown(contents.backup.configuration) + " " + shown(contents.backup.list) + "\nsession " +
           shown(contents.session) + "\nlock " + shown(contents.lock);
}

std::string documentServing(const std::vector<std::string>& roots, const std::string& limit)
{
    std::string text = "<qor>\n\t<participants>\n\t\t<participant>\n\t\t\t<roots>\n";
    for (const std::string& root : roots)
    {
        text += "\t\t\t\t<root name=\"" + root + "\"/>\n";
    }
    return text + "\t\t\t</roots>\n\t\t</participant>\n\t</participants>\n\t<limits requests=\"" + limit +
           "\"/>\n</qor>\n";
}

std::string FakeFacts::hostName()
{
    return "alpha";
}

std::vector<FilePair> FakeFacts::queueResults(const FilePair& base, const std::string& session)
{
    askedFor = session;
    return results[{base.configuration.value(), base.list.value()}];
}

bool FakeFacts::isLiveListRejected()
{
    ++judged;
    return isRejected;
}

std::string FakeFacts::rootClassOf(const std::string& modelFile)
{
    return rootClasses[modelFile];
}

bool FakeFacts::isDocument(const std::string& text)
{
    auto known = documents.find(text);
    if (known == documents.end())
    {
        known = documents.emplace(text, CRecoveryFacts::isDocument(text)).first;
    }
    return known->second;
}

RecoveryTest::RecoveryTest()
{
    now = withSession(old, older);
    facts.results[{*old.configuration, *old.list}] = {committed};
    facts.rootClasses = {{"/base", "Base"}, {"/gone", "Gone"}, {"/pump", "Pump"}};
}

Recovery RecoveryTest::read(std::optional<Assumption> assumption)
{
    CRecoveryCache cache(facts);
    return decideRecovery(now, sessionOwner(now.lock.value_or(""), "alpha"), cache, assumption);
}

void RecoveryTest::expectClear(Found found, const FrameworkContents& after)
{
    const std::vector<std::optional<Assumption>> assumptions = {std::nullopt, Assumption::COMMIT, Assumption::ROLLBACK,
                                                                Assumption::NOTHING};
    for (const std::optional<Assumption>& assumption : assumptions)
    {
        const Recovery recovery = read(assumption);

        EXPECT_EQ(recovery.found, found);
        EXPECT_EQ(recovery.question, "");
        EXPECT_TRUE(recovery.after == after) << shown(recovery.after) << "\ninstead of\n" << shown(after);
    }
}

void RecoveryTest::expectNothing()
{
    expectClear(Found::NOTHING, now);
}

void RecoveryTest::expectUnclear(const std::string& question)
{
    const Recovery recovery = read();

    EXPECT_EQ(recovery.found, Found::UNCLEAR);
    EXPECT_EQ(recovery.question, question);
    EXPECT_TRUE(recovery.after == now) << shown(recovery.after);
}

void RecoveryTest::expectAssumed(Assumption assumption, Found found, const FrameworkContents& after)
{
    const Recovery recovery = read(assumption);

    EXPECT_EQ(recovery.found, found);
    EXPECT_EQ(recovery.question, "");
    EXPECT_TRUE(recovery.after == after) << shown(recovery.after) << "\ninstead of\n" << shown(after);
}

FrameworkContents RecoveryTest::withSession(const FilePair& live, const FilePair& backup) const
{
    return {live, live, backup, queue, "alpha"};
}

FrameworkContents RecoveryTest::withoutSession(const FilePair& live, const FilePair& backup)
{
    return {live, FilePair(), backup, std::nullopt, std::nullopt};
}

} // namespace QMT::Test
