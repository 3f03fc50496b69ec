#ifndef QMT_InstalledModels_INCLUDED
#define QMT_InstalledModels_INCLUDED

#include <string>
#include <vector>

namespace QMT
{

/// What is known about a model file.
enum class ModelState
{
    READ,       ///< its root class is known
    ROOTLESS,   ///< it has no root class
    NAMELESS,   ///< its root class has no name
    MALFORMED,  ///< it cannot be parsed
    UNREADABLE, ///< it exists, or may exist, but cannot be read
    MISSING,
    RELATIVE ///< its path is not absolute, so it is not looked up
};

/// One line of the model file list, and what that file contains.
struct InstalledModel
{
    std::string file; ///< the line, without white space around it
    ModelState state = ModelState::MISSING;
    std::string rootClass; ///< empty unless the state is READ
};

/// Reads the model files of `list`, the text of a model file list, in its order. Blank lines are skipped.
std::vector<InstalledModel> readInstalledModels(const std::string& list);

} // namespace QMT

#endif // QMT_InstalledModels_INCLUDED
