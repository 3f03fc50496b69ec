#ifndef QMT_Service_INCLUDED
#define QMT_Service_INCLUDED

#include <optional>
#include <string>

namespace Poco::XML
{
class Document;
}

namespace QMT
{

/// Whether one handler of a configuration document, or another one, serves a root class.
struct Service
{
    bool isPlaceholderFirst = false;  ///< the first handler is the placeholder, which a new handler replaces
    bool isHandlerKnown = false;      ///< the handler exists
    bool isByHandler = false;         ///< the handler serves the root class
    std::optional<std::string> other; ///< another handler that serves it; the name may be empty
};

/// Looks `handler` and `rootClass` up. An empty root class is served by none.
Service serviceOf(Poco::XML::Document& document, const std::string& handler, const std::string& rootClass);

} // namespace QMT

#endif // QMT_Service_INCLUDED
