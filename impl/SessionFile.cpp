#include "impl/CQorModelToolImpl.h"

#include "base/CSignalBlock.h"
#include "base/DiskSync.h"
#include "base/Existence.h"
#include "base/WholeFile.h"
#include "impl/QueueText.h"

#include <Poco/Logger.h>

#include <syslog.h>

namespace QMT
{

namespace
{

/// Moves the text up to the first separator from `rest` to `field`. Without a separator `rest` stays whole and `field`
/// becomes all of it: npos + 1 is 0.
void takeField(std::string& rest, std::string& field)
{
    const std::string::size_type separator = rest.find(FIELD_SEPARATOR);
    field = rest.substr(0, separator);
    rest.erase(0, separator + 1);
}

/// Like writeWholeFile, but true only when content and name are on the disk.
bool writeDurably(const std::string& path, const std::string& content)
{
    if (!writeWholeFile(path, content))
    {
        return false;
    }
    try
    {
        syncFile(path);
        syncDirectoryOf(path);
        return true;
    }
    catch (const Poco::WriteFileException&)
    {
        return false;
    }
}

} // namespace

bool CQorModelToolImpl::loadFile(const std::string& path, std::string& content)
{
    return load(path, content) != ReadResult::FAILED;
}

ReadResult CQorModelToolImpl::load(const std::string& path, std::string& content)
{
    const ReadResult result = readWholeFile(path, content);
    if (result == ReadResult::FAILED)
    {
        ::syslog(LOG_INFO, "Unable to load file %s", path.c_str());
    }
    return result;
}

bool CQorModelToolImpl::isFIFOFile()
{
    return checkExistence(paths().sessionFile());
}

bool CQorModelToolImpl::checkExistence(const std::string& path)
{
    const Existence existence = existenceOf(path);
    _isSessionUnknown = _isSessionUnknown || existence == Existence::UNKNOWN;
    return existence == Existence::PRESENT;
}

void CQorModelToolImpl::suspectSession(const std::string& path)
{
    _isSessionUnknown = _isSessionUnknown || existenceOf(path) != Existence::ABSENT;
}

bool CQorModelToolImpl::loadFIFO()
{
    if (!isFIFOFile())
    {
        return false;
    }
    std::string content;
    if (!loadSession(content))
    {
        _logger->critical("Unable to open existing FIFO file!");
        ::syslog(LOG_WARNING, "Unable to open existing FIFO file");
        return false;
    }
    _isQueueLoaded = true;
    tokenizeFIFO();
    return true;
}

bool CQorModelToolImpl::loadSession(std::string& content) const
{
    const std::string path = paths().sessionFile();
    return !isLinkOfAnother(path) && loadFile(path, content);
}

int CQorModelToolImpl::tokenizeFIFO()
{
    std::string content;
    if (!loadSession(content))
    {
        content.clear();
    }
    const QueueText queue = readQueueText(content);
    if (queue.fault == QueueText::Fault::INCOMPLETE)
    {
        _logger->critical("Invalid command queue, aborting!");
        return QUEUE_INVALID;
    }
    _queue.insert(_queue.begin(), queue.entries.rbegin(), queue.entries.rend());
    if (queue.fault == QueueText::Fault::NO_KIND)
    {
        _logger->critical("Invalid command queue, aborting");
        return QUEUE_INVALID;
    }
    return QUEUE_VALID;
}

bool CQorModelToolImpl::saveFIFO()
{
    std::string lines;
    for (auto entry = _queue.crbegin(); entry != _queue.crend(); ++entry)
    {
        lines += std::to_string(static_cast<std::int32_t>(entry->first)) + ":" + entry->second + "\n";
    }
    const std::string path = paths().sessionFile();
    const CSignalBlock block;
    // The queue lacks the actions of a session that could not be examined.
    if ((_isSessionUnknown && !_isQueueLoaded) || !writeDurably(path, lines))
    {
        _logger->critical("Unable to write to FIFO file!");
        ::syslog(LOG_WARNING, "Unable to write to FIFO file");
        return false;
    }
    return true;
}

bool CQorModelToolImpl::splitEntry(const CommandQueueEntry& entry, Action& action)
{
    action.kind = entry.first;
    switch (entry.first)
    {
    case CmdID::ModelHandler:
        return extractHandlerMoVerTrVer(entry.second, action.handler, action.moVersion, action.trVersion);
    case CmdID::AddModelFileWithHandler:
    case CmdID::RemoveModelFileWithHandler:
        return extractCommandHandlerMoVerTrVer(entry.second, action.path, action.handler, action.moVersion,
                                               action.trVersion);
    case CmdID::AddModelFile:
    case CmdID::RemoveModelFile:
        break;
    }
    action.path = entry.second;
    return true;
}

bool CQorModelToolImpl::extractHandlerMoVerTrVer(const std::string& entry, std::string& handler, std::string& moVersion,
                                                 std::string& trVersion)
{
    if (!requireFields(entry))
    {
        return false;
    }
    std::string rest = entry;
    takeField(rest, handler);
    takeField(rest, moVersion);
    trVersion = rest;
    return true;
}

bool CQorModelToolImpl::extractCommandHandlerMoVerTrVer(const std::string& entry, std::string& path,
                                                        std::string& handler, std::string& moVersion,
                                                        std::string& trVersion)
{
    if (!requireFields(entry))
    {
        return false;
    }
    std::string rest = entry;
    takeField(rest, path);
    takeField(rest, handler);
    takeField(rest, moVersion);
    trVersion = rest;
    return true;
}

bool CQorModelToolImpl::requireFields(const std::string& entry)
{
    if (entry.find(FIELD_SEPARATOR) != std::string::npos)
    {
        return true;
    }
    const std::string text = "Unable to locate model handler.\nAborting.";
    _logger->warning(text);
    ::syslog(LOG_WARNING, "%s", text.c_str());
    return false;
}

} // namespace QMT
