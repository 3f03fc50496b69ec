#ifndef QMT_TEST_TemporaryFramework_INCLUDED
#define QMT_TEST_TemporaryFramework_INCLUDED

#include "support/TemporaryDirectory.h"

#include <string>

namespace QMT::Test
{

/// A framework directory of its own, to which the environment variable QORPATH points as long as the object lives. It
/// begins with an empty list of model files and a configuration whose only handler is the placeholder.
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

    // The files, live, and with ".tmp" and ".bak".

    std::string configuration(const std::string& suffix = std::string()) const;
    std::string list(const std::string& suffix = std::string()) const;
    std::string session() const;
    std::string lock() const;

    // Expectations of the content of both live files, and of both backups.

    void expectLive(const std::string& configuration, const std::string& list) const;
    void expectBackups(const std::string& configuration, const std::string& list) const;

    /// Makes a model file of the root class `rootClass` and returns its path.
    std::string model(const std::string& name, const std::string& rootClass) const;

    /// Makes a model file with `content` and returns its path.
    std::string file(const std::string& name, const std::string& content) const;

    /// The configuration that a new framework begins with.
    static const std::string PLACEHOLDER_CONFIGURATION;

private:
    TemporaryDirectory _directory;
};

} // namespace QMT::Test

#endif // QMT_TEST_TemporaryFramework_INCLUDED
