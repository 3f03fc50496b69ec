#ifndef QMT_DocumentComparison_INCLUDED
#define QMT_DocumentComparison_INCLUDED

#include <string>

namespace QMT
{

/// Whether two configuration documents can be parsed and are equal except inside `participants`, and except for
/// white space between elements and the order of attributes, which an edit does not keep.
bool differInParticipantsOnly(const std::string& one, const std::string& other);

/// Whether some handler of the configuration document `configuration` serves `rootClass`. A document that cannot be
/// parsed serves none.
bool servesRootClass(const std::string& configuration, const std::string& rootClass);

} // namespace QMT

#endif // QMT_DocumentComparison_INCLUDED
