#include "app/CQorModelTool.h"
#include "support/Files.h"
#include "support/ImplTest.h"

#include <Poco/Message.h>

namespace QMT::Test
{

namespace
{

using Poco::Message;

const std::string TITLE = "Queued actions:";

class StatusReport : public ImplTest
{
protected:
    StatusReport() : tool(&impl, log.logger())
    {
        log.clear();
    }

    void report()
    {
        tool.handleStatus("status", "");
    }

    CQorModelTool tool;
};

TEST_F(StatusReport, ReportsThatNothingIsPending)
{
    report();

    EXPECT_EQ(log.messages(), info({"There are no pending actions."}));
    EXPECT_EQ(systemLog.messages(), SILENCE);
    EXPECT_TRUE(tool.isCmdGiven());
    EXPECT_TRUE(impl.request().statusRequested);
}

TEST_F(StatusReport, ListsEveryKindOfActionOldestFirst)
{
    impl.queue() = {{static_cast<CmdID>(7), "any text"},
                    {CmdID::RemoveModelFileWithHandler, "/m/d.xml|h|5|6"},
                    {CmdID::AddModelFileWithHandler, "/m/c.xml|h|3|4"},
                    {CmdID::RemoveModelFile, "/m/b.xml"},
                    {CmdID::ModelHandler, "h|1|2"},
                    {CmdID::AddModelFile, "/m/a.xml"}};
    const CommandQueue before = impl.queue();

    report();

    EXPECT_EQ(
        log.messages(),
        info({TITLE, "--addModelFile=/m/a.xml",
              "--modelHandler=h --managedObjectVersion=1 --transactionalResourceVersion=2",
              "--removeModelFile=/m/b.xml",
              "--addModelFile=/m/c.xml --modelHandler=h --managedObjectVersion=3 --transactionalResourceVersion=4",
              "--removeModelFile=/m/d.xml --modelHandler=h", "any text"}));
    EXPECT_EQ(impl.queue(), before);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(StatusReport, ShowsEmptyVersions)
{
    impl.queue() = {{CmdID::ModelHandler, "h||"}};

    report();

    EXPECT_EQ(log.messages(),
              info({TITLE, "--modelHandler=h --managedObjectVersion= --transactionalResourceVersion="}));
}

TEST_F(StatusReport, ShowsEmptyFieldsForATextWithoutSeparators)
{
    impl.queue() = {{CmdID::RemoveModelFileWithHandler, "c"},
                    {CmdID::AddModelFileWithHandler, "b"},
                    {CmdID::ModelHandler, "a"},
                    {CmdID::ModelHandler, "h|1|2"}};

    report();

    const Messages::value_type title = {Message::PRIO_INFORMATION, TITLE};
    const Messages::value_type good = {Message::PRIO_INFORMATION,
                                       "--modelHandler=h --managedObjectVersion=1 --transactionalResourceVersion=2"};
    const Messages::value_type warning = {Message::PRIO_WARNING, "Unable to locate model handler.\nAborting."};
    const Messages::value_type handler = {Message::PRIO_INFORMATION,
                                          "--modelHandler= --managedObjectVersion= --transactionalResourceVersion="};
    const Messages::value_type addition = {
        Message::PRIO_INFORMATION,
        "--addModelFile= --modelHandler= --managedObjectVersion= --transactionalResourceVersion="};
    const Messages::value_type removal = {Message::PRIO_INFORMATION, "--removeModelFile= --modelHandler="};
    EXPECT_EQ(log.messages(), (Messages{title, good, warning, handler, warning, addition, warning, removal}));
}

TEST_F(StatusReport, LoadsTheQueueOfAnotherHostsSession)
{
    writeFile(framework.lock(), "other-host");
    writeFile(framework.session(), "0:/m/a.xml\n2:/m/b.xml\n");

    report();

    EXPECT_EQ(log.messages(), info({TITLE, "--addModelFile=/m/a.xml", "--removeModelFile=/m/b.xml"}));
    EXPECT_EQ(readFile(framework.session()), "0:/m/a.xml\n2:/m/b.xml\n");
    EXPECT_EQ(readFile(framework.lock()), "other-host");
}

TEST_F(StatusReport, DoesNotLoadTheQueueOfThisHostsSessionAgain)
{
    writeFile(framework.lock(), "this-host");
    writeFile(framework.session(), "0:/m/a.xml\n");

    report();

    EXPECT_EQ(log.messages(), info({"There are no pending actions."}));
}

TEST_F(StatusReport, DoesNotLoadAQueueWithoutASession)
{
    writeFile(framework.session(), "0:/m/a.xml\n");

    report();

    EXPECT_EQ(log.messages(), info({"There are no pending actions."}));
}

} // namespace

} // namespace QMT::Test
