#ifndef QMT_Existence_INCLUDED
#define QMT_Existence_INCLUDED

#include <string>

namespace QMT
{

/// What is known about the existence of a file.
enum class Existence
{
    PRESENT,
    ABSENT,
    UNKNOWN ///< stat failed for another reason, for instance a missing permission or a read error
};

/// Whether a file of any kind exists at `path`. A dangling link is absent.
///
/// For decisions for which a wrong "no" is harmful. Poco::File::exists, which answers "no" in place of UNKNOWN, serves
/// where a wrong "no" only skips a step.
[[nodiscard]] Existence existenceOf(const std::string& path);

} // namespace QMT

#endif // QMT_Existence_INCLUDED
