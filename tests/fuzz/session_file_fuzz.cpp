// A session file of any bytes is read, its entries are split, and it is written back without change.
#include "FuzzedTool.h"

using QMT::Fuzz::FuzzedTool;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedTool& fuzzed = FuzzedTool::instance();
    QMT::CommandQueue& queue = fuzzed.impl.queue();
    queue.clear();
    FuzzedTool::write(fuzzed.paths.sessionFile(), QMT::Fuzz::textOf(data, size));
    fuzzed.impl.loadFIFO();
    for (const QMT::CommandQueueEntry& entry : queue)
    {
        std::string path;
        std::string handler;
        std::string moVersion;
        std::string trVersion;
        static_cast<void>(fuzzed.impl.extractHandlerMoVerTrVer(entry.second, handler, moVersion, trVersion));
        static_cast<void>(
            fuzzed.impl.extractCommandHandlerMoVerTrVer(entry.second, path, handler, moVersion, trVersion));
    }
    fuzzed.tool.handleStatus(std::string(), std::string());

    const QMT::CommandQueue loaded = queue;
    if (!fuzzed.impl.saveFIFO())
    {
        FuzzedTool::fail("the session file cannot be written");
    }
    queue.clear();
    fuzzed.impl.loadFIFO();
    if (queue != loaded)
    {
        FuzzedTool::fail("what was read is not what was written");
    }
    return 0;
}
