#include "ctl/CQueueTrial.h"

#include "ctl/SilentLogger.h"
#include "support/CapturedLog.h"
#include "support/FakeInstallation.h"
#include "support/FileSizeLimit.h"
#include "support/Files.h"
#include "support/TemporaryFramework.h"
#include "support/ThrownBy.h"

#include <Poco/Exception.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace QMT::Test
{

namespace
{

const std::string CONFIGURATION = "<qor>\n\t<participants>\n\t\t<participant>\n\t\t\t<roots/>\n"
                                  "\t\t\t<managedObject compName=\"baseHandler\" version=\"1\"/>\n"
                                  "\t\t</participant>\n\t</participants>\n</qor>\n";

class QueueTrial : public testing::Test
{
protected:
    QueueTrial() : pump(framework.model("pump.xml", "Pump")), valve(framework.model("valve.xml", "Valve"))
    {
        ::setenv("TMPDIR", scratch.path().c_str(), 1);
    }

    ~QueueTrial() override
    {
        ::unsetenv("TMPDIR");
    }

    QueueTrial(const QueueTrial&) = delete;
    QueueTrial& operator=(const QueueTrial&) = delete;
    QueueTrial(QueueTrial&&) = delete;
    QueueTrial& operator=(QueueTrial&&) = delete;

    TemporaryFramework framework;
    TemporaryDirectory scratch;
    const std::string pump;
    const std::string valve;
    const FilePair base = {CONFIGURATION, "/listed\n"};
};

TEST_F(QueueTrial, ApplyNextAppliesTheActionsInOrder)
{
    CQueueTrial trial(base, "0:" + pump + "\n3:" + valve + "|valveHandler|2|3\n", silentLogger());
    ASSERT_TRUE(trial.isDocumentLoaded());
    ASSERT_EQ(trial.queue().size(), 2U);

    EXPECT_EQ(trial.applyNext(), ActionResult::ADDED);
    EXPECT_EQ(trial.result(), (FilePair{CONFIGURATION, "/listed\n" + pump + "\n"}));
    EXPECT_EQ(trial.applyNext(), ActionResult::ADDED);
    EXPECT_EQ(trial.result().list, "/listed\n" + pump + "\n" + valve + "\n");
    EXPECT_NE(trial.result().configuration->find("<root name=\"Valve\"/>"), std::string::npos);
    EXPECT_TRUE(trial.queue().empty());
}

TEST_F(QueueTrial, ResultThrowsWhenTheCopiesAreGone)
{
    const CQueueTrial trial(base, "", silentLogger());
    const std::string directory = std::filesystem::directory_iterator(scratch.path())->path().string();
    std::filesystem::remove_all(directory);

    EXPECT_EQ(thrownBy([&] { static_cast<void>(trial.result()); }),
              "Cannot read file: the copy cannot be read: " + directory + "/etc/qor.cfg.tmp");
}

TEST_F(QueueTrial, ApplyNextLogsTheMessagesOfTheEdit)
{
    const CapturedLog log;
    CQueueTrial trial(base, "0:/missing\n", *log.logger());

    EXPECT_EQ(trial.applyNext(), ActionResult::FAILED);

    EXPECT_EQ(log.messages(), info({"Cannot find the model file: /missing"}));
    EXPECT_EQ(trial.result(), base);
}

TEST_F(QueueTrial, DestructorLeavesNoTraceOfTheTrial)
{
    {
        CQueueTrial trial(base, "0:" + pump + "\n", silentLogger());
        trial.applyNext();
        EXPECT_FALSE(std::filesystem::is_empty(scratch.path()));
    }
    framework.expectLive(TemporaryFramework::PLACEHOLDER_CONFIGURATION, "");
    EXPECT_FALSE(exists(framework.list(".tmp")));
    EXPECT_TRUE(std::filesystem::is_empty(scratch.path()));
}

TEST_F(QueueTrial, QueueIsEmptyForAnInvalidSessionFile)
{
    CQueueTrial trial(base, "garbage\n", silentLogger());

    EXPECT_TRUE(trial.queue().empty());
    EXPECT_EQ(trial.result(), base);
}

TEST_F(QueueTrial, IsDocumentLoadedIsFalseForMalformedXml)
{
    const CQueueTrial trial({"<qor>", ""}, "0:" + pump + "\n", silentLogger());

    EXPECT_FALSE(trial.isDocumentLoaded());
}

TEST_F(QueueTrial, JudgeRunsTheValidatorOnTheCopiedList)
{
    const FakeInstallation installation;
    installation.setValidator("cat \"$3\"; exit 1");
    CQueueTrial trial(base, "0:" + pump + "\n", silentLogger());
    trial.applyNext();

    const Judgement judgement = trial.judge();

    EXPECT_EQ(judgement.verdict, Judgement::Verdict::REJECTED);
    EXPECT_EQ(judgement.report, "/listed\n" + pump + "\n");
}

TEST_F(QueueTrial, ConstructorThrowsWithoutAPlaceForTheCopies)
{
    const std::vector<std::string> places = {scratch.path("first"), scratch.path("second")};

    try
    {
        const CQueueTrial trial(base, "", silentLogger(), places);
        FAIL();
    }
    catch (const Poco::FileException& exc)
    {
        EXPECT_EQ(exc.displayText(), "Cannot create file: No such file or directory: " + places.front());
    }
}

TEST_F(QueueTrial, ConstructorLeavesNothingWithoutRoom)
{
    std::string error;
    {
        const FileSizeLimit limit(1);
        error = thrownBy([this] { const CQueueTrial trial(base, "", silentLogger()); });
    }
    EXPECT_EQ(error.substr(0, error.rfind('-')),
              "Cannot write file: the copy cannot be written: " + scratch.path() + "/qor_mim_ctl");
    EXPECT_EQ(error.substr(error.find('/', error.rfind('-'))), "/etc/qor.cfg.tmp");
    EXPECT_TRUE(std::filesystem::is_empty(scratch.path()));
}

TEST_F(QueueTrial, ConstructorIgnoresAnEmptyTmpdir)
{
    ::setenv("TMPDIR", "", 1);

    const CQueueTrial trial(base, "", silentLogger());

    EXPECT_TRUE(std::filesystem::is_empty(scratch.path()));
    EXPECT_TRUE(trial.isDocumentLoaded());
}

} // namespace

} // namespace QMT::Test
