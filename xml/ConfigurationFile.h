#ifndef QMT_ConfigurationFile_INCLUDED
#define QMT_ConfigurationFile_INCLUDED

#include "base/ManagedFile.h"

#include <string>

namespace QMT
{

/// The framework's configuration document below the framework directory `qorPath`. Touches no file.
ManagedFile configurationFile(const std::string& qorPath);

} // namespace QMT

#endif // QMT_ConfigurationFile_INCLUDED
