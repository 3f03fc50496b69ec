#ifndef QMT_TEST_TemporaryFramework_INCLUDED
#define QMT_TEST_TemporaryFramework_INCLUDED

#include "support/TemporaryDirectory.h"

#include <string>

namespace QMT::Test
{

/// A temporary framework directory, named by the environment variable QORPATH while the object lives. Initially the
/// model file list is empty and the placeholder is the only handler.
class TemporaryFramework
{
public:
    TemporaryFramework();
    ~TemporaryFramework();
    TemporaryFramework(const TemporaryFramework&) = delete;
    TemporaryFramework& operator=(const TemporaryFramework&) = delete;
    TemporaryFramework(TemporaryFramework&&) = delete;
    TemporaryFramework& operator=(TemporaryFramework&&) = delete;

    /// The framework directory, without a trailing slash.
    const std::string& path() const;

    // The paths of the files; the argument is empty, ".tmp" or ".bak".

    std::string configuration(const std::string& suffix = std::string()) const;
    std::string list(const std::string& suffix = std::string()) const;
    std::string session() const;
    std::string lock() const;
    std::string callerLock() const;

    /// Creates a session of `host` with the session file `queue` and fresh working copies.
    void openSession(const std::string& queue, const std::string& host) const;

    // Expect these contents of both live files, or of both backups.

    void expectLive(const std::string& configuration, const std::string& list) const;
    void expectBackups(const std::string& configuration, const std::string& list) const;

    /// Creates a model file with the root class `rootClass` and returns its path.
    std::string model(const std::string& name, const std::string& rootClass) const;

    /// Creates a model file with `content` and returns its path.
    std::string file(const std::string& name, const std::string& content) const;

    /// The initial configuration.
    static const std::string PLACEHOLDER_CONFIGURATION;

private:
    TemporaryDirectory _directory;
};

} // namespace QMT::Test

#endif // QMT_TEST_TemporaryFramework_INCLUDED
