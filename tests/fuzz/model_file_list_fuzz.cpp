// A model file list of any bytes: its first line is found, added and removed.
#include "FuzzedTool.h"

using QMT::Fuzz::FuzzedTool;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedTool& fuzzed = FuzzedTool::instance();
    const std::string input = QMT::Fuzz::textOf(data, size);
    const std::string::size_type end = input.find('\n');
    const std::string entry = input.substr(0, end);
    const std::string list = end == std::string::npos ? std::string() : input.substr(end + 1);
    const std::string path = fuzzed.paths.modelFileList().workingCopy;

    FuzzedTool::write(path, list);
    if (fuzzed.impl.verifyModelFileEntry(entry) != (list.find(entry) == std::string::npos))
    {
        FuzzedTool::fail("an entry that is there is not found, or the other way round");
    }
    if (!fuzzed.impl.updateModelFile(entry) || FuzzedTool::read(path) != list + entry + "\n")
    {
        FuzzedTool::fail("an added entry is not at the end");
    }
    fuzzed.impl.removeModelFileEntry(entry);
    if (!entry.empty() && !fuzzed.impl.verifyModelFileEntry(entry))
    {
        FuzzedTool::fail("a removed entry is still there");
    }
    const std::string tidy = FuzzedTool::read(path);
    fuzzed.impl.removeModelFileEntry("/not/there");
    if (tidy.find("/not/there") == std::string::npos && FuzzedTool::read(path) != tidy)
    {
        FuzzedTool::fail("removing nothing changes a tidy list");
    }
    return 0;
}
