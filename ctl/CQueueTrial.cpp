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
#include <exception>

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

/// A new directory with the files of a framework that a trial needs.
class CQueueTrial::CScratchDirectory
{
public:
    /// Makes it in the first of `places` that has room.
    static std::unique_ptr<CScratchDirectory> make(const FilePair& base, const std::string& session,
                                                   const std::vector<std::string>& places)
    {
        std::exception_ptr firstFailure;
        for (const std::string& place : places)
        {
            try
            {
                return std::make_unique<CScratchDirectory>(base, session, place);
            }
            catch (const Poco::FileException&)
            {
                firstFailure = firstFailure ? firstFailure : std::current_exception();
            }
        }
        std::rethrow_exception(firstFailure);
    }

    CScratchDirectory(const FilePair& base, const std::string& session, const std::string& place)
        : _directory(place + "/qor_mim_ctl-XXXXXX")
    {
        if (::mkdtemp(_directory.path.data()) == nullptr)
        {
            throw Poco::CreateFileException(Poco::Error::getMessage(errno), place);
        }
        Poco::File(paths().modelDirectory()).createDirectories();
        write(paths().configuration().workingCopy, base.configuration.value());
        write(paths().modelFileList().workingCopy, base.list.value());
        write(paths().sessionFile(), session);
    }

    const std::string& path() const
    {
        return _directory.path;
    }

    CFrameworkPaths paths() const
    {
        return CFrameworkPaths(_directory.path);
    }

private:
    /// Removed with all that is in it, also when the files could not be written.
    struct Directory
    {
        explicit Directory(const std::string& pattern) : path(pattern)
        {
        }

        ~Directory()
        {
            try
            {
                Poco::File(path).remove(true);
            }
            catch (const Poco::Exception&) // NOLINT(bugprone-empty-catch): nothing depends on it any more
            {
            }
        }

        Directory(const Directory&) = delete;
        Directory& operator=(const Directory&) = delete;
        Directory(Directory&&) = delete;
        Directory& operator=(Directory&&) = delete;

        std::string path;
    };

    Directory _directory;
};

std::string CQueueTrial::defaultPlace()
{
    const char* const wanted = std::getenv("TMPDIR");
    return wanted == nullptr || *wanted == '\0' ? "/tmp" : wanted;
}

CQueueTrial::CQueueTrial(const FilePair& base, const std::string& session, Poco::Logger& logger,
                         const std::vector<std::string>& places)
    : _directory(CScratchDirectory::make(base, session, places)), _impl(&logger)
{
    // The tool object only answers the editor's queries; without a logger it leaves other loggers alone.
    _tool = std::make_unique<CQorModelTool>(&_impl, nullptr, _directory->path());
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
    const CFrameworkPaths paths = _directory->paths();
    return {read(paths.configuration().workingCopy), read(paths.modelFileList().workingCopy)};
}

Judgement CQueueTrial::judge()
{
    return _impl.judge(_directory->paths().modelFileList().workingCopy);
}

void CQueueTrial::add(const CommandQueueEntry& entry)
{
    _impl.queue().push_front(entry);
}

Poco::XML::Document& CQueueTrial::document()
{
    return *_document;
}

std::string CQueueTrial::documentText()
{
    const std::string path = _directory->paths().configuration().live;
    _impl.parser()->writeXMLFile(path, _document);
    std::string text;
    static_cast<void>(readWholeFile(path, text));
    return text;
}

bool CQueueTrial::isDocumentWritten()
{
    return _impl.parser()->isAllWritten();
}

std::string CQueueTrial::list() const
{
    return read(_directory->paths().modelFileList().workingCopy);
}

int CQueueTrial::rootClassOf(const std::string& modelFile, std::string& rootClass)
{
    return _impl.parser()->getRootClassName(modelFile, rootClass);
}

} // namespace QMT
