#include "impl/CQorModelToolImpl.h"

#include "base/WholeFile.h"

#include <Poco/File.h>
#include <Poco/Logger.h>
#include <Poco/StringTokenizer.h>

#include <syslog.h>

#include <filesystem>
#include <optional>
#include <system_error>

namespace QMT
{

namespace
{

/// The text of the list at `path`; empty when it is missing or cannot be read.
std::string readList(const std::string& path)
{
    std::string content;
    if (!CQorModelToolImpl::loadFile(path, content))
    {
        content.clear();
    }
    return content;
}

/// The text of the list at `path`, which is about to be rewritten; nothing when it cannot be read, unless it is empty:
/// its lines would be lost.
std::optional<std::string> readListForEdit(const std::string& path)
{
    std::string content;
    std::error_code unknown;
    if (!CQorModelToolImpl::loadFile(path, content) ||
        (content.empty() && std::filesystem::file_size(path, unknown) > 0 && !unknown))
    {
        return std::nullopt;
    }
    return content;
}

} // namespace

std::vector<std::string> CQorModelToolImpl::trimmedLines(const std::string& list)
{
    const Poco::StringTokenizer lines(list, "\n",
                                      Poco::StringTokenizer::TOK_IGNORE_EMPTY | Poco::StringTokenizer::TOK_TRIM);
    return std::vector<std::string>(lines.begin(), lines.end());
}

bool CQorModelToolImpl::verifyFileExist(const std::string& path)
{
    return Poco::File(path).exists();
}

bool CQorModelToolImpl::verifyModelFileEntry(const std::string& entry) const
{
    const std::string list = readList(paths().modelFileList().workingCopy);
    return list.find(entry) == std::string::npos;
}

bool CQorModelToolImpl::updateModelFile(const std::string& entry)
{
    const std::string path = paths().modelFileList().workingCopy;
    const std::optional<std::string> list = readListForEdit(path);
    if (!list || !writeWholeFile(path, *list + entry + "\n"))
    {
        _logger->critical("Unable to write the new model!");
        return false;
    }
    return true;
}

bool CQorModelToolImpl::removeModelFileEntry(const std::string& entry)
{
    const std::string path = paths().modelFileList().workingCopy;
    const std::optional<std::string> list = readListForEdit(path);
    if (!list || !writeWholeFile(path, removeLines(entry, *list)))
    {
        const std::string text = "Unable to open: " + path;
        _logger->warning(text);
        ::syslog(LOG_WARNING, "%s", text.c_str());
    }
    return true;
}

std::string CQorModelToolImpl::removeLines(const std::string& entry, const std::string& list)
{
    std::string kept;
    for (const std::string& line : trimmedLines(list))
    {
        if (line.find(entry) != std::string::npos)
        {
            _logger->information("Found and removed model entry: " + line);
        }
        else
        {
            kept += line + "\n";
        }
    }
    return kept;
}

bool CQorModelToolImpl::addModelFileEntry(const std::string& path, bool& alreadyListed)
{
    alreadyListed = false;
    if (!verifyFileExist(path))
    {
        _logger->information("Cannot find the model file: " + path);
        return false;
    }
    if (!verifyModelFileEntry(path))
    {
        alreadyListed = true;
        _logger->information("Modelfile entry already exists: " + path + "\nSkipping adding of modelfile.");
        return true;
    }
    return updateModelFile(path);
}

} // namespace QMT
