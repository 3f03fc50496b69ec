#include "support/CapturedOutput.h"

#include <iostream>

namespace QMT::Test
{

CapturedOutput::CapturedOutput() : CapturedOutput(std::cout)
{
}

CapturedOutput::CapturedOutput(std::ostream& stream) : _stream(stream), _previous(stream.rdbuf(_text.rdbuf()))
{
}

CapturedOutput::~CapturedOutput()
{
    _stream.rdbuf(_previous);
}

std::string CapturedOutput::text() const
{
    return _text.str();
}

} // namespace QMT::Test
