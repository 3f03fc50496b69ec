#include "base/ManagedFile.h"

#include <Poco/Path.h>

namespace QMT
{

ManagedFile ManagedFile::in(const std::string& root, const std::string& directory, const std::string& name)
{
    const std::string live = Poco::Path(root).append(directory).append(name).toString();
    return {live, live + ".tmp", live + ".bak"};
}

} // namespace QMT
