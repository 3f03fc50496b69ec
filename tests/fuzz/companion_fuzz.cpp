// Framework files with any bytes. Every answer of the companion is one JSON object with the exit status, reading
// commands change no live file, and a change is made completely or not at all.
#include "FuzzedTool.h"

#include "ctl/Companion.h"

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/JSON/Object.h>
#include <Poco/JSON/Parser.h>

#include <sstream>

using QMT::Fuzz::FuzzedTool;

namespace
{

const std::string& qorPath()
{
    return FuzzedTool::instance().impl.qorPath();
}

std::string modelFile()
{
    return qorPath() + "model.xml";
}

void writeParts(const std::string& input)
{
    const QMT::CFrameworkPaths& paths = FuzzedTool::instance().paths;
    Poco::File(qorPath() + "etc").remove(true);
    Poco::File(paths.modelDirectory()).createDirectories();
    FuzzedTool::write(modelFile(), "");
    Poco::File(modelFile()).remove();
    const std::vector<std::string> files = {modelFile(),
                                            paths.configuration().live,
                                            paths.modelFileList().live,
                                            paths.configuration().backup,
                                            paths.modelFileList().backup,
                                            paths.sessionFile(),
                                            paths.lockFile(),
                                            paths.configuration().workingCopy,
                                            paths.modelFileList().workingCopy};
    const std::vector<std::optional<std::string>> parts = QMT::Fuzz::partsOf(input, files.size());
    for (std::size_t index = 0; index < files.size(); ++index)
    {
        if (parts[index])
        {
            FuzzedTool::write(files[index], *parts[index]);
        }
    }
}

struct Answer
{
    int status = 0;
    Poco::JSON::Object::Ptr json;
};

Answer ask(std::vector<std::string> words)
{
    std::ostringstream out;
    std::ostringstream console;
    words.insert(words.end(), {"--json", "--qor-path=" + qorPath()});
    Answer answer;
    answer.status = QMT::runCompanion(words, out, console);
    try
    {
        answer.json = Poco::JSON::Parser().parse(out.str()).extract<Poco::JSON::Object::Ptr>();
    }
    catch (const Poco::Exception& exception)
    {
        FuzzedTool::fail(words.front() + " does not answer with a JSON object: " + exception.displayText());
    }
    if (answer.json->getValue<int>("status") != answer.status || out.str().find('\n') != out.str().size() - 1)
    {
        FuzzedTool::fail(words.front() + " answers with another status, or with more than a line");
    }
    return answer;
}

/// The two live files.
std::pair<std::string, std::string> livePair()
{
    const QMT::CFrameworkPaths& paths = FuzzedTool::instance().paths;
    return {FuzzedTool::readIfThere(paths.configuration().live), FuzzedTool::readIfThere(paths.modelFileList().live)};
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    writeParts(QMT::Fuzz::textOf(data, size));
    const auto before = livePair();
    ask({"show"});
    ask({"check"});
    ask({"plan"});
    ask({"recover", "--dry-run"});
    if (livePair() != before)
    {
        FuzzedTool::fail("a reading command changes a live file");
    }
    const std::vector<std::string> call = {"apply", "--add=" + modelFile(), "--handler=powerHandler"};
    if (ask(call).status != 0)
    {
        if (livePair() != before)
        {
            FuzzedTool::fail("a refused call changes a live file");
        }
        return 0;
    }
    const Answer again = ask(call);
    if (again.status != 0 || again.json->getValue<std::string>("result") != "unchanged")
    {
        FuzzedTool::fail("the same call again finds something to do");
    }
    return 0;
}
