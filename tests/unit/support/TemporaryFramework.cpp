#include "support/TemporaryFramework.h"

#include "support/Files.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace QMT::Test
{

const std::string TemporaryFramework::PLACEHOLDER_CONFIGURATION =
    "<qor>\n"
    "\t<participants>\n"
    "\t\t<participant>\n"
    "\t\t\t<roots/>\n"
    "\t\t\t<managedObject compName=\"VELDA_OAM_COMPONENT\" ifName=\"PelOamSpiManagedObject\" version=\"1\"/>\n"
    "\t\t\t<txResource compName=\"VELDA_OAM_COMPONENT\" ifName=\"PelOamSpiTransactionalResource\" version=\"1\"/>\n"
    "\t\t</participant>\n"
    "\t</participants>\n"
    "</qor>\n";

TemporaryFramework::TemporaryFramework()
{
    std::filesystem::create_directories(_directory.path("etc/model"));
    std::filesystem::create_directories(_directory.path("models"));
    writeFile(configuration(), PLACEHOLDER_CONFIGURATION);
    writeFile(list(), "");
    ::setenv("QORPATH", _directory.path().c_str(), 1);
}

TemporaryFramework::~TemporaryFramework()
{
    ::unsetenv("QORPATH");
}

const std::string& TemporaryFramework::path() const
{
    return _directory.path();
}

std::string TemporaryFramework::configuration(const std::string& suffix) const
{
    return _directory.path("etc/qor.cfg") + suffix;
}

std::string TemporaryFramework::list(const std::string& suffix) const
{
    return _directory.path("etc/model/model_file_list.cfg") + suffix;
}

std::string TemporaryFramework::session() const
{
    return _directory.path("etc/model/cmdfifo.dat");
}

std::string TemporaryFramework::lock() const
{
    return _directory.path("etc/model/qor_mim_tool.lock");
}

std::string TemporaryFramework::callerLock() const
{
    return _directory.path("etc/model/qor_mim_ctl.lock");
}

void TemporaryFramework::openSession(const std::string& queue, const std::string& host) const
{
    writeFile(lock(), host);
    writeFile(session(), queue);
    writeFile(configuration(".tmp"), readFile(configuration()));
    writeFile(list(".tmp"), readFile(list()));
}

void TemporaryFramework::expectLive(const std::string& configuration, const std::string& list) const
{
    EXPECT_EQ(readFile(this->configuration()), configuration);
    EXPECT_EQ(readFile(this->list()), list);
}

void TemporaryFramework::expectBackups(const std::string& configuration, const std::string& list) const
{
    EXPECT_EQ(readFile(this->configuration(".bak")), configuration);
    EXPECT_EQ(readFile(this->list(".bak")), list);
}

std::string TemporaryFramework::model(const std::string& name, const std::string& rootClass) const
{
    return file(name, "<models><class name=\"" + rootClass + "\"><root/></class></models>\n");
}

std::string TemporaryFramework::file(const std::string& name, const std::string& content) const
{
    return _directory.write("models/" + name, content);
}

} // namespace QMT::Test
