#include "ctl/CPlanCommand.h"

#include "base/CSignalCatcher.h"
#include "ctl/CQueueTrial.h"
#include "ctl/PreviewAnswer.h"
#include "ctl/PrintedText.h"
#include "ctl/SilentLogger.h"
#include "ctl/UnifiedDiff.h"
#include "ctl/UnlessBusy.h"

namespace QMT
{

namespace
{

Answer withDiff(Answer answer, const Preview& preview)
{
    const std::string configuration =
        unifiedDiff("qor.cfg", preview.before.configuration.value_or(""), preview.after.configuration.value_or(""));
    const std::string list =
        unifiedDiff("model_file_list.cfg", preview.before.list.value_or(""), preview.after.list.value_or(""));
    Poco::JSON::Object::Ptr diff = newObject();
    diff->set("qor.cfg", configuration);
    diff->set("model_file_list.cfg", list);
    answer.keys.set("diff", diff);
    answer.text += printableLines(configuration) + printableLines(list);
    return answer;
}

Answer withoutActions(const std::string& result)
{
    return withDiff(answerOf(Preview(), result, Status::NO), Preview());
}

Answer answerOf(const Preview& preview)
{
    const bool isFine = !preview.has(Outcome::FAILED) && !preview.isRejected();
    return withDiff(answerOf(preview, isFine ? "would-succeed" : "would-fail", isFine ? Status::YES : Status::NO),
                    preview);
}

/// Uses the check of a commit, which takes a missing working copy for an empty one and would fail later.
bool areLiveFilesUntouched(const std::string& qorPath, const FilePair& workingCopy)
{
    if (!workingCopy.configuration || !workingCopy.list)
    {
        return false;
    }
    CQorModelToolImpl impl(&silentLogger());
    impl.qorPath() = qorPath;
    return impl.crcCheckQORFiles() && impl.crcCheckModelFiles();
}

Answer planSession(const std::string& qorPath)
{
    const CFrameworkPaths paths(qorPath);
    const FrameworkContents now = readFramework(qorPath);
    if (!now.lock)
    {
        return withoutActions("nothing-staged");
    }
    if (!areLiveFilesUntouched(qorPath, now.workingCopy))
    {
        return withoutActions("changed-meanwhile");
    }
    const Preview preview = tryQueue(bothLiveFiles(now, paths), now.session.value_or(""), paths.configuration().live);
    return preview.actions.empty() ? withoutActions("nothing-staged") : answerOf(preview);
}

Answer planActions(const std::string& qorPath, const std::vector<Action>& actions)
{
    const CFrameworkPaths paths(qorPath);
    const FrameworkContents now = readFramework(qorPath);
    return answerOf(tryActions(bothLiveFiles(now, paths), actions, paths.configuration().live, true,
                               {CQueueTrial::defaultPlace()}));
}

} // namespace

std::string CPlanCommand::name() const
{
    return "plan";
}

std::string CPlanCommand::summary() const
{
    return "Tell what a commit of the open session, or an apply of the actions given, would do.";
}

void CPlanCommand::defineOptions(Poco::Util::OptionSet& options) const
{
    CActionOptions::define(options);
}

void CPlanCommand::takeOption(const std::string& name, const std::string& value)
{
    static_cast<void>(_options.take(name, value));
}

void CPlanCommand::checkOptions() const
{
    _options.check();
}

Answer CPlanCommand::run(const std::string& qorPath)
{
    const std::vector<Action> actions = _options.actions();
    const auto plan = [&] { return actions.empty() ? planSession(qorPath) : planActions(qorPath, actions); };
    // The scratch directory is to be removed, and a signal may have ended the validator, too.
    const CSignalCatcher catcher;
    Answer answer = readUnlessBusy(qorPath, plan);
    if (CSignalCatcher::hasCaught())
    {
        return Answer::endedBySignal();
    }
    return answer;
}

} // namespace QMT
