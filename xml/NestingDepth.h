#ifndef QMT_NestingDepth_INCLUDED
#define QMT_NestingDepth_INCLUDED

#include <string>

namespace QMT
{

/// How deep elements may be nested in a document that the tool loads. Building, writing and releasing a document
/// recurse by its depth, so that depth must be bounded for the stack's sake.
const unsigned int MAX_NESTING_DEPTH = 2000;

/// Whether the elements of the XML text `xml` are nested deeper than MAX_NESTING_DEPTH, as far as the text is
/// well-formed. Builds nothing and does not recurse.
[[nodiscard]] bool isNestedTooDeeply(const std::string& xml);

} // namespace QMT

#endif // QMT_NestingDepth_INCLUDED
