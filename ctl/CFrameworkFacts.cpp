#include "ctl/CFrameworkFacts.h"

#include "app/CQorModelTool.h"
#include "ctl/CQueueTrial.h"
#include "ctl/SilentLogger.h"
#include "xml/CXMLParser.h"

#include <Poco/Exception.h>

namespace QMT
{

CFrameworkFacts::CFrameworkFacts(const std::string& qorPath) : _qorPath(qorPath)
{
}

std::string CFrameworkFacts::hostName()
{
    return CQorModelToolImpl::getHostName();
}

std::vector<FilePair> CFrameworkFacts::queueResults(const FilePair& base, const std::string& session)
{
    // The disk may be full, read-only or not yet mounted.
    CQueueTrial trial(base, session, silentLogger(), {"/dev/shm", CQueueTrial::defaultPlace(), "/run", "/var/tmp"});
    std::vector<FilePair> results;
    try
    {
        while (trial.isDocumentLoaded() && !trial.queue().empty())
        {
            trial.applyNext();
            results.push_back(trial.result());
        }
    }
    catch (const Poco::Exception&) // NOLINT(bugprone-empty-catch): a commit stops here as well
    {
    }
    return results;
}

bool CFrameworkFacts::isLiveListRejected()
{
    CQorModelToolImpl impl(&silentLogger());
    const CQorModelTool tool(&impl, nullptr, _qorPath);
    return impl.judge(impl.paths().modelFileListArgument()).verdict == Judgement::Verdict::REJECTED;
}

std::string CFrameworkFacts::rootClassOf(const std::string& modelFile)
{
    CQorModelToolImpl impl(&silentLogger());
    CQorModelTool tool(&impl, nullptr, _qorPath);
    CXMLParser parser(tool, &silentLogger());
    std::string rootClass;
    static_cast<void>(parser.getRootClassName(modelFile, rootClass));
    return rootClass;
}

} // namespace QMT
