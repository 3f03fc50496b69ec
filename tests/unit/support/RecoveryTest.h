#ifndef QMT_TEST_RecoveryTest_INCLUDED
#define QMT_TEST_RecoveryTest_INCLUDED

#include "ctl/Recovery.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace QMT::Test
{

/// A configuration document whose only handler serves `roots`; `limit` is outside the participants.
std::string documentServing(const std::vector<std::string>& roots, const std::string& limit = "8");

/// The contents of all files, for messages.
std::string shown(const FrameworkContents& contents);

/// Facts that a test sets.
class FakeFacts : public CRecoveryFacts
{
public:
    std::string hostName() override;
    std::vector<FilePair> queueResults(const FilePair& base, const std::string& session) override;
    bool isLiveListRejected() override;
    std::string rootClassOf(const std::string& modelFile) override;

    /// Parses each text once.
    bool isDocument(const std::string& text) override;

    /// The results of the queue over a configuration and a list, after each action.
    std::map<std::pair<std::string, std::string>, std::vector<FilePair>> results;
    bool isRejected = false;
    int judged = 0;                                 ///< how often the validator was asked
    std::string askedFor;                           ///< the queue of the last question
    std::map<std::string, std::string> rootClasses; ///< by model file
    std::map<std::string, bool> documents;          ///< by text
};

/// Recoveries on the host "alpha".
///
/// Initially a session is open. Its queue adds "/pump" with the root class Pump; the framework's last commit removed
/// "/gone" with the root class Gone.
class RecoveryTest : public testing::Test
{
protected:
    RecoveryTest();

    /// Decides the recovery of the files, with or without an assumption.
    Recovery read(std::optional<Assumption> assumption = std::nullopt);

    /// Expects this recovery without an assumption and with each one.
    void expectClear(Found found, const FrameworkContents& after);

    /// Nothing is to be done.
    void expectNothing();

    /// Nothing is changed without an assumption, and `question` is asked.
    void expectUnclear(const std::string& question);

    /// With an assumption it becomes this.
    void expectAssumed(Assumption assumption, Found found, const FrameworkContents& after);

    /// The files with the live pair `live`, the session kept and the working copies equal to it.
    FrameworkContents withSession(const FilePair& live, const FilePair& backup) const;

    /// The files without a session.
    static FrameworkContents withoutSession(const FilePair& live, const FilePair& backup);

    const std::string WHOLE_NOWHERE =
        "a live file is missing or torn, and no complete copy of its previous content exists";
    const FilePair older = {documentServing({"Base", "Gone"}), "/base\n/gone\n"};
    const FilePair old = {documentServing({"Base"}), "/base\n"};
    const FilePair committed = {documentServing({"Base", "Pump"}), "/base\n/pump\n"};
    const std::string queue = "3:/pump|pumpHandler|1|1\n";

    FrameworkContents now;
    FakeFacts facts;
};

} // namespace QMT::Test

#endif // QMT_TEST_RecoveryTest_INCLUDED
