#include "support/CommandRun.h"

namespace QMT::Test
{

Answer runCommand(CCommand& command, const OptionValues& options, const std::string& qorPath)
{
    for (const auto& [name, value] : options)
    {
        command.takeOption(name, value);
    }
    command.checkOptions();
    return command.run(qorPath);
}

std::string valueOf(const Answer& answer, const std::string& key)
{
    return answer.keys.getValue<std::string>(key);
}

std::vector<std::string> resultsOf(const Answer& answer)
{
    std::vector<std::string> results;
    const Poco::JSON::Array::Ptr actions = answer.keys.getArray("actions");
    for (unsigned int index = 0; index < actions->size(); ++index)
    {
        results.push_back(actions->getObject(index)->getValue<std::string>("result"));
    }
    return results;
}

} // namespace QMT::Test
