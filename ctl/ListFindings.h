#ifndef QMT_ListFindings_INCLUDED
#define QMT_ListFindings_INCLUDED

#include "ctl/CRemedies.h"
#include "ctl/Finding.h"
#include "ctl/InstalledModels.h"

#include <string>
#include <vector>

namespace QMT
{

/// What is wrong with the model file list at `path`, whose content is `list`, and with `models`, the model files on it.
std::vector<Finding> findInList(const std::string& path, const std::string& list,
                                const std::vector<InstalledModel>& models, CRemedies& remedies);

} // namespace QMT

#endif // QMT_ListFindings_INCLUDED
