#ifndef QMT_TEST_Findings_INCLUDED
#define QMT_TEST_Findings_INCLUDED

#include "ctl/Finding.h"

#include <ostream>
#include <vector>

namespace QMT
{

inline bool operator==(const Finding& one, const Finding& other)
{
    return one.id == other.id && one.file == other.file && one.text == other.text && one.remedy == other.remedy;
}

inline std::ostream& operator<<(std::ostream& out, const Finding& finding)
{
    return out << "\n  " << nameOf(finding.id) << " | " << finding.file.value_or("(no file)") << " | " << finding.text
               << " | " << finding.remedy;
}

} // namespace QMT

namespace QMT::Test
{

inline const std::vector<Finding> NO_FINDING;

} // namespace QMT::Test

#endif // QMT_TEST_Findings_INCLUDED
