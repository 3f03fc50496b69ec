#ifndef QMT_FrameworkContents_INCLUDED
#define QMT_FrameworkContents_INCLUDED

#include <optional>
#include <string>

namespace QMT
{

class CFrameworkPaths;

/// The contents of the configuration document and of the model file list in one of their states. A missing file has
/// none.
struct FilePair
{
    std::optional<std::string> configuration;
    std::optional<std::string> list;

    bool operator==(const FilePair& other) const;
    bool operator!=(const FilePair& other) const;
};

/// One of the two files.
using FileOfPair = std::optional<std::string> FilePair::*;

/// A snapshot of the contents of all the tool's files in a framework. A missing file has none.
struct FrameworkContents
{
    FilePair live;
    FilePair workingCopy;
    FilePair backup;
    std::optional<std::string> session;
    std::optional<std::string> lock;

    bool operator==(const FrameworkContents& other) const;
};

/// One of these files.
using ManagedContent = std::optional<std::string>& (*)(FrameworkContents&);

/// The content of the file at `path`; nothing when it is missing. Throws a Poco::FileException that names it when it
/// exists but cannot be read.
std::optional<std::string> readIfThere(const std::string& path);

/// The content of the file at `path`. Throws a Poco::FileException that names it when it is missing or cannot be read.
std::string contentOf(const std::string& path);

/// Reads all of them from the framework directory `qorPath`. Changes nothing.
///
/// Throws a Poco::FileException that names the first file that exists but cannot be read.
FrameworkContents readFramework(const std::string& qorPath);

/// The live files of `contents`. Throws a Poco::FileNotFoundException that names the first one that is missing, by
/// `paths`.
const FilePair& bothLiveFiles(const FrameworkContents& contents, const CFrameworkPaths& paths);

} // namespace QMT

#endif // QMT_FrameworkContents_INCLUDED
