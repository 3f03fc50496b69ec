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

} // namespace QMT
