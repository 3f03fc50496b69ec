#include "xml/ConfigurationFile.h"

namespace QMT
{

ManagedFile configurationFile(const std::string& qorPath)
{
    return ManagedFile::in(qorPath, "etc/", "qor.cfg");
}

} // namespace QMT
