#ifndef QMT_TEST_CapturedOutput_INCLUDED
#define QMT_TEST_CapturedOutput_INCLUDED

#include <ostream>
#include <sstream>
#include <string>

namespace QMT::Test
{

/// Captures the output to a stream, by default standard output, while the object lives.
class CapturedOutput
{
public:
    CapturedOutput();
    explicit CapturedOutput(std::ostream& stream);
    ~CapturedOutput();
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;
    CapturedOutput(CapturedOutput&&) = delete;
    CapturedOutput& operator=(CapturedOutput&&) = delete;

    std::string text() const;

private:
    std::ostream& _stream;
    std::ostringstream _text;
    std::streambuf* _previous;
};

} // namespace QMT::Test

#endif // QMT_TEST_CapturedOutput_INCLUDED
