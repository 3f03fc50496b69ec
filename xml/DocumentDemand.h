#ifndef QMT_DocumentDemand_INCLUDED
#define QMT_DocumentDemand_INCLUDED

#include <cstddef>
#include <optional>
#include <string>

namespace QMT
{

/// How deep elements may be nested in a document. Building, writing and releasing a document recurse by its depth, so
/// the stack bounds it.
const unsigned int MAX_NESTING_DEPTH = 2000;

/// How many entities a document may declare. The parser recurses by the length of a chain of entities, which cannot be
/// longer than their number.
const std::size_t MAX_ENTITIES = 9999;

/// Estimates, before a document is built from the XML text `xml`, how many different element and attribute names it may
/// have. The library keeps the names of a document in a pool of fixed size, and an overflow of the pool would throw
/// through the C code of the parser beneath.
///
/// Returns a number of names that is large enough; nothing when loading could overflow the stack, because the elements
/// are nested deeper than MAX_NESTING_DEPTH or more than MAX_ENTITIES entities may be declared. Malformed text
/// is measured up to the error.
[[nodiscard]] std::optional<std::size_t> measureNames(const std::string& xml);

/// Whether the XML text `xml` may declare more entities than MAX_ENTITIES.
[[nodiscard]] bool mayDeclareTooManyEntities(const std::string& xml);

} // namespace QMT

#endif // QMT_DocumentDemand_INCLUDED
