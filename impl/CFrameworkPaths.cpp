#include "impl/CFrameworkPaths.h"

#include <Poco/Path.h>

namespace QMT
{

namespace
{

const std::string CONFIGURATION_DIRECTORY = "etc/";
const std::string MODEL_DIRECTORY = "etc/model/";
const std::string MODEL_FILE_LIST = "model_file_list.cfg";

std::string suffixOf(CFrameworkPaths::Version version)
{
    switch (version)
    {
    case CFrameworkPaths::Version::WORKING_COPY:
        return ".tmp";
    case CFrameworkPaths::Version::BACKUP:
        return ".bak";
    case CFrameworkPaths::Version::LIVE:
        break;
    }
    return std::string();
}

} // namespace

const std::string CFrameworkPaths::DEFAULT_QOR_PATH = "/opt/qor/";
const std::string CFrameworkPaths::AGENT = "/opt/qor/qorea/bin/qorea";

CFrameworkPaths::CFrameworkPaths(const std::string& qorPath) : _qorPath(qorPath)
{
}

std::string CFrameworkPaths::modelDirectory() const
{
    return compose(MODEL_DIRECTORY, std::string());
}

std::string CFrameworkPaths::configuration(Version version) const
{
    return compose(CONFIGURATION_DIRECTORY, "qor.cfg") + suffixOf(version);
}

std::string CFrameworkPaths::modelFileList(Version version) const
{
    return compose(MODEL_DIRECTORY, MODEL_FILE_LIST) + suffixOf(version);
}

std::string CFrameworkPaths::modelFileListArgument() const
{
    return _qorPath + "/" + MODEL_DIRECTORY + MODEL_FILE_LIST;
}

std::string CFrameworkPaths::sessionFile() const
{
    return compose(MODEL_DIRECTORY, "cmdfifo.dat");
}

std::string CFrameworkPaths::lockFile() const
{
    return compose(MODEL_DIRECTORY, "qor_mim_tool.lock");
}

std::string CFrameworkPaths::environmentFile()
{
    return Poco::Path(DEFAULT_QOR_PATH).append("qor.env").toString();
}

std::string CFrameworkPaths::validator()
{
    return DEFAULT_QOR_PATH + "/bin/pel_model_validator";
}

std::string CFrameworkPaths::compose(const std::string& directory, const std::string& file) const
{
    Poco::Path path(_qorPath);
    path.append(directory);
    path.append(file);
    return path.toString();
}

} // namespace QMT
