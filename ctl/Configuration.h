#ifndef QMT_Configuration_INCLUDED
#define QMT_Configuration_INCLUDED

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace QMT
{

/// One handler of the configuration document: a participant, read as the editor reads it, by its children alone.
struct Handler
{
    std::string name;                     ///< that of its first managed object; empty when it has none
    std::string moVersion;                ///< that of the same managed object
    std::string trVersion;                ///< that of its first transactional resource
    std::vector<std::string> rootClasses; ///< of all its root entries, in document order; empty for one without a name

    /// Whether the first handler that is registered will take its place.
    bool isPlaceholder() const;
};

/// The handlers of a configuration document.
struct Configuration
{
    std::vector<Handler> handlers;  ///< in document order
    std::size_t containerCount = 0; ///< how many containers of handlers there are; one is valid
};

/// Reads the text of a configuration document; nothing when it cannot be parsed.
std::optional<Configuration> readConfiguration(const std::string& text);

} // namespace QMT

#endif // QMT_Configuration_INCLUDED
