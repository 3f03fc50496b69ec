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

/// Who serves a root class in a configuration document, with one handler in view.
struct Service
{
    bool isPlaceholderFirst = false;  ///< the first handler is the placeholder, which a new one takes over
    bool isHandlerKnown = false;      ///< the handler is there
    bool isByHandler = false;         ///< it serves the root class
    std::optional<std::string> other; ///< another one that does; its name may be empty
};

/// Looks `handler` and `rootClass` up. An empty root class is served by none.
Service serviceOf(Poco::XML::Document& document, const std::string& handler, const std::string& rootClass);

} // namespace QMT

#endif // QMT_Service_INCLUDED
