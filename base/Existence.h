#ifndef QMT_Existence_INCLUDED
#define QMT_Existence_INCLUDED

#include <string>

namespace QMT
{

/// What can be told about the existence of a file.
enum class Existence
{
    PRESENT,
    ABSENT,
    UNKNOWN ///< the file system does not tell, for instance for want of permission or after a read error
};

/// Whether a file, of whatever kind, exists at `path`. A link that leads nowhere is absent.
///
/// For decisions that a wrong "no" would spoil. Poco::File::exists, which answers "no" in place of UNKNOWN, serves
/// where a wrong "no" only skips a step.
[[nodiscard]] Existence existenceOf(const std::string& path);

} // namespace QMT

#endif // QMT_Existence_INCLUDED
