#include "ctl/Answer.h"

namespace QMT
{

Answer Answer::failure(Status status, const std::string& error)
{
    Answer answer;
    answer.status = status;
    answer.error = error;
    return answer;
}

Answer Answer::endedBySignal()
{
    return failure(Status::CANNOT, "ended by a signal, and nothing was done");
}

Poco::JSON::Object::Ptr newObject()
{
    return Poco::makeShared<Poco::JSON::Object>(Poco::JSON_PRESERVE_KEY_ORDER);
}

Poco::JSON::Array::Ptr arrayOf(const std::vector<std::string>& texts)
{
    Poco::JSON::Array::Ptr array = Poco::makeShared<Poco::JSON::Array>();
    for (const std::string& text : texts)
    {
        array->add(text);
    }
    return array;
}

} // namespace QMT
