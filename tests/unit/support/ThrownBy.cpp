#include "support/ThrownBy.h"

#include <Poco/Exception.h>

#include <exception>

namespace QMT::Test
{

std::string thrownBy(const std::function<void()>& call)
{
    try
    {
        call();
        return std::string();
    }
    catch (const Poco::Exception& exc)
    {
        return exc.displayText();
    }
    catch (const std::exception& exc)
    {
        return exc.what();
    }
}

} // namespace QMT::Test
