#include "ctl/CQueueTrial.h"

#include "app/CQorModelTool.h"
#include "base/WholeFile.h"
#include "impl/CFrameworkPaths.h"
#include "xml/CXMLParser.h"

#include <Poco/DOM/Document.h>
#include <Poco/Error.h>
#include <Poco/Exception.h>
#include <Poco/File.h>

#include <cerrno>
#include <cstdlib>

namespace QMT
{

namespace
{

void write(const std::string& path, const std::string& content)
{
    if (!writeWholeFile(path, content))
    {
        throw Poco::WriteFileException("the copy cannot be written", path);
    }
}

std::string read(const std::string& path)
{
    std::string content;
    if (readWholeFile(path, content) != ReadResult::READ)
    {
        throw Poco::ReadFileException("the copy cannot be read", path);
    }
    return content;
}

} // namespace

CQueueTrial::ScratchDirectory::ScratchDirectory()
{
    const char* const wanted = std::getenv("TMPDIR");
    path = std::string(wanted == nullptr || *wanted == '\0' ? "/tmp" : wanted) + "/qor_mim_ctl-XXXXXX";
    if (::mkdtemp(path.data()) == nullptr)
    {
        throw Poco::CreateFileException(Poco::Error::getMessage(errno), path);
    }
}

CQueueTrial::ScratchDirectory::~ScratchDirectory()
{
    try
    {
        Poco::File(path).remove(true);
    }
    catch (const Poco::Exception&) // NOLINT(bugprone-empty-catch): nothing that depends on it is left
    {
    }
}

CQueueTrial::CQueueTrial(const FilePair& base, const std::string& session, Poco::Logger& logger) : _impl(&logger)
{
    const CFrameworkPaths paths(_directory.path);
    Poco::File(paths.modelDirectory()).createDirectories();
    write(paths.configuration().workingCopy, base.configuration.value());
    write(paths.modelFileList().workingCopy, base.list.value());
    write(paths.sessionFile(), session);
    // The tool object answers the editor's questions alone; without a logger it leaves the loggers of others alone.
    _tool = std::make_unique<CQorModelTool>(&_impl, nullptr, _directory.path);
    _impl.setParser(std::make_unique<CXMLParser>(*_tool, &logger));
    _impl.loadFIFO();
    _document = _impl.loadWorkingCopy();
}

CQueueTrial::~CQueueTrial() = default;

bool CQueueTrial::isDocumentLoaded() const
{
    return !_document.isNull();
}

const CommandQueue& CQueueTrial::queue()
{
    return _impl.queue();
}

ActionResult CQueueTrial::applyNext()
{
    const ActionResult result = _impl.apply(_impl.queue().back(), _document);
    _impl.queue().pop_back();
    return result;
}

FilePair CQueueTrial::result() const
{
    const CFrameworkPaths paths(_directory.path);
    return {read(paths.configuration().workingCopy), read(paths.modelFileList().workingCopy)};
}

Judgement CQueueTrial::judge()
{
    return _impl.judge(CFrameworkPaths(_directory.path).modelFileList().workingCopy);
}

} // namespace QMT
