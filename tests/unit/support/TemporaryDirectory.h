#ifndef QMT_TEST_TemporaryDirectory_INCLUDED
#define QMT_TEST_TemporaryDirectory_INCLUDED

#include <string>

namespace QMT::Test
{

/// A temporary directory, removed with its content when the object is destroyed.
class TemporaryDirectory
{
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    TemporaryDirectory(TemporaryDirectory&&) = delete;
    TemporaryDirectory& operator=(TemporaryDirectory&&) = delete;

    /// The path of the directory, without a trailing slash.
    const std::string& path() const;

    /// The path of `relative` in the directory.
    std::string path(const std::string& relative) const;

    /// Creates a file in the directory and returns its path.
    std::string write(const std::string& relative, const std::string& content) const;

private:
    std::string _path;
};

} // namespace QMT::Test

#endif // QMT_TEST_TemporaryDirectory_INCLUDED
