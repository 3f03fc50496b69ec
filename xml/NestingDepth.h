#ifndef QMT_NestingDepth_INCLUDED
#define QMT_NestingDepth_INCLUDED

#include <cstddef>
#include <string>

namespace QMT
{

/// How deep elements may be nested in a document that the tool loads. Building, writing and releasing a document
/// recurse by its depth, so that depth must be bounded for the stack's sake.
const unsigned int MAX_NESTING_DEPTH = 2000;

/// How many references a document may hold that declares entities, which may refer to one another in a chain. The
/// parser recurses by the length of such a chain.
const std::ptrdiff_t MAX_ENTITY_REFERENCES = 10000;

/// Whether loading the XML text `xml` could overflow the stack: its elements are nested deeper than MAX_NESTING_DEPTH,
/// as far as the text is well-formed, or it declares entities and holds more than MAX_ENTITY_REFERENCES references.
/// Builds no document and does not recurse by its depth.
[[nodiscard]] bool isNestedTooDeeply(const std::string& xml);

} // namespace QMT

#endif // QMT_NestingDepth_INCLUDED
