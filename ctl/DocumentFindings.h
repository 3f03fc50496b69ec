#ifndef QMT_DocumentFindings_INCLUDED
#define QMT_DocumentFindings_INCLUDED

#include "ctl/CRemedies.h"
#include "ctl/Configuration.h"
#include "ctl/Finding.h"
#include "ctl/InstalledModels.h"

#include <optional>
#include <string>
#include <vector>

namespace QMT
{

/// What is wrong with the configuration document at `path`. Unlisted root classes are reported when `models`,
/// the model files of the list, are known.
std::vector<Finding> findInDocument(const std::string& path, const Configuration& configuration,
                                    const std::optional<std::vector<InstalledModel>>& models, CRemedies& remedies);

} // namespace QMT

#endif // QMT_DocumentFindings_INCLUDED
