#ifndef QMT_TEST_FakeInstallation_INCLUDED
#define QMT_TEST_FakeInstallation_INCLUDED

#include "support/TemporaryDirectory.h"

#include <string>

namespace QMT::Test
{

/// Redirects /opt/qor to a temporary directory, empty at first, while the object lives. Without such an object /opt/qor
/// does not exist for the program, whatever the machine has there.
class FakeInstallation
{
public:
    FakeInstallation();
    ~FakeInstallation();
    FakeInstallation(const FakeInstallation&) = delete;
    FakeInstallation& operator=(const FakeInstallation&) = delete;
    FakeInstallation(FakeInstallation&&) = delete;
    FakeInstallation& operator=(FakeInstallation&&) = delete;

    /// Installs a framework agent that runs the shell script `script`.
    void setAgent(const std::string& script) const;

    /// Installs a model validator that runs the shell script `script`.
    void setValidator(const std::string& script) const;

    /// Installs the file that names the framework directory.
    void setEnvironmentFile(const std::string& content) const;

    /// The real path of /opt/qor/`relative`.
    std::string path(const std::string& relative) const;

private:
    TemporaryDirectory _directory;
};

} // namespace QMT::Test

#endif // QMT_TEST_FakeInstallation_INCLUDED
