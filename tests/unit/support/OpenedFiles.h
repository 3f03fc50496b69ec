#ifndef QMT_TEST_OpenedFiles_INCLUDED
#define QMT_TEST_OpenedFiles_INCLUDED

#include <map>
#include <string>

namespace QMT::Test
{

/// Records the files that the program opens while the object lives, and whether the terminating signals were blocked
/// then. There is one at a time.
class OpenedFiles
{
public:
    OpenedFiles();
    ~OpenedFiles();
    OpenedFiles(const OpenedFiles&) = delete;
    OpenedFiles& operator=(const OpenedFiles&) = delete;
    OpenedFiles(OpenedFiles&&) = delete;
    OpenedFiles& operator=(OpenedFiles&&) = delete;

    /// Whether the file at `path` was opened, and always with the signals blocked.
    bool wereSignalsBlockedFor(const std::string& path) const;

    /// Whether the signals are blocked now.
    static bool areSignalsBlocked();

    /// For the replaced system call.
    static void note(const std::string& path);

private:
    std::map<std::string, bool> _blocked;
};

} // namespace QMT::Test

#endif // QMT_TEST_OpenedFiles_INCLUDED
