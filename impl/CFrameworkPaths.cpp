#include "impl/CFrameworkPaths.h"

#include "xml/ConfigurationFile.h"

#include <Poco/Path.h>

namespace QMT
{

namespace
{

const std::string MODEL_DIRECTORY = "etc/model/";
const std::string MODEL_FILE_LIST = "model_file_list.cfg";

} // namespace

const std::string CFrameworkPaths::DEFAULT_QOR_PATH = "/opt/qor/";
const std::string CFrameworkPaths::AGENT = "/opt/qor/qorea/bin/qorea";

CFrameworkPaths::CFrameworkPaths(const std::string& qorPath) : _qorPath(qorPath)
{
}

std::string CFrameworkPaths::modelDirectory() const
{
    return inModelDirectory(std::string());
}

ManagedFile CFrameworkPaths::configuration() const
{
    return configurationFile(_qorPath);
}

ManagedFile CFrameworkPaths::modelFileList() const
{
    return ManagedFile::in(_qorPath, MODEL_DIRECTORY, MODEL_FILE_LIST);
}

std::string CFrameworkPaths::modelFileListArgument() const
{
    return _qorPath + "/" + MODEL_DIRECTORY + MODEL_FILE_LIST;
}

std::string CFrameworkPaths::sessionFile() const
{
    return inModelDirectory("cmdfifo.dat");
}

std::string CFrameworkPaths::lockFile() const
{
    return inModelDirectory("qor_mim_tool.lock");
}

std::string CFrameworkPaths::callerLockFile() const
{
    return inModelDirectory("qor_mim_ctl.lock");
}

std::string CFrameworkPaths::recoveryDirectory(const std::string& stamp) const
{
    return Poco::Path(_qorPath).append("etc/recovery-" + stamp).toString();
}

std::string CFrameworkPaths::environmentFile()
{
    return Poco::Path(DEFAULT_QOR_PATH).append("qor.env").toString();
}

std::string CFrameworkPaths::validator()
{
    return DEFAULT_QOR_PATH + "/bin/pel_model_validator";
}

std::string CFrameworkPaths::inModelDirectory(const std::string& file) const
{
    return Poco::Path(_qorPath).append(MODEL_DIRECTORY).append(file).toString();
}

} // namespace QMT
