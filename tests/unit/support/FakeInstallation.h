#ifndef QMT_TEST_FakeInstallation_INCLUDED
#define QMT_TEST_FakeInstallation_INCLUDED

#include "support/TemporaryDirectory.h"

#include <string>

namespace QMT::Test
{

/// What the program meets at the fixed place /opt/qor: a directory that is empty at first and lives as long as the
/// object. Without such an object there is nothing at that place, whatever the machine has there.
class FakeInstallation
{
public:
    FakeInstallation();
    ~FakeInstallation();
    FakeInstallation(const FakeInstallation&) = delete;
    FakeInstallation& operator=(const FakeInstallation&) = delete;
    FakeInstallation(FakeInstallation&&) = delete;
    FakeInstallation& operator=(FakeInstallation&&) = delete;

    /// Installs a framework agent that runs `script`, a text for the shell.
    void setAgent(const std::string& script) const;

    /// Installs a model validator that runs `script`, a text for the shell.
    void setValidator(const std::string& script) const;

    /// Installs the file that names the framework directory.
    void setEnvironmentFile(const std::string& content) const;

    /// Where the real file behind /opt/qor/`relative` stands.
    std::string path(const std::string& relative) const;

private:
    TemporaryDirectory _directory;
};

} // namespace QMT::Test

#endif // QMT_TEST_FakeInstallation_INCLUDED
