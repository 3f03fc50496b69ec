// Single operations of the tool with growing input. Runs in the benchmark's sandbox, where /opt/qor is a scratch
// framework; the BigO lines of the report show the complexity of each operation.
#include "app/CQorModelTool.h"
#include "base/WholeFile.h"
#include "impl/CFrameworkPaths.h"
#include "impl/CQorModelToolImpl.h"
#include "xml/CElementWalk.h"
#include "xml/CXMLParser.h"
#include "xml/DocumentDemand.h"

#include <Poco/AutoPtr.h>
#include <Poco/DOM/Document.h>
#include <Poco/DOM/Element.h>
#include <Poco/Logger.h>
#include <Poco/NullChannel.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

namespace
{

const int ROOTS_PER_HANDLER = 5;
const std::string MODEL_FILE = "/opt/qor/models/operations.xml";
const std::string NEW_CLASS = "NewClass";

/// The three objects of a run, with a silent logger.
struct Tool
{
    Tool()
        : channel(new Poco::NullChannel), logger(Poco::Logger::create("ConsoleLogger", channel)), impl(&logger),
          tool(&impl, &logger), parser(tool, &logger), paths(impl.qorPath())
    {
    }

    Poco::AutoPtr<Poco::NullChannel> channel;
    Poco::Logger& logger;
    QMT::CQorModelToolImpl impl;
    QMT::CQorModelTool tool;
    QMT::CXMLParser parser;
    QMT::CFrameworkPaths paths;
};

std::int64_t size(const benchmark::State& state)
{
    return state.range(0);
}

void report(benchmark::State& state)
{
    state.SetComplexityN(size(state));
}

std::string configuration(std::int64_t handlers)
{
    std::string text = "<qor>\n<participants>\n";
    for (std::int64_t handler = 0; handler < handlers; ++handler)
    {
        const std::string number = std::to_string(handler);
        text += "<participant>\n<roots>\n";
        for (int root = 0; root < ROOTS_PER_HANDLER; ++root)
        {
            text += "<root name=\"Class" + number + "_" + std::to_string(root) + "\"/>\n";
        }
        text += "</roots>\n<managedObject compName=\"handler" + number +
                "\" ifName=\"PelOamSpiManagedObject\" version=\"1\"/>\n<txResource compName=\"handler" + number +
                "\" ifName=\"PelOamSpiTransactionalResource\" version=\"1\"/>\n</participant>\n";
    }
    return text + "</participants>\n</qor>\n";
}

void writeModel(const std::string& rootClass)
{
    static_cast<void>(
        QMT::writeWholeFile(MODEL_FILE, "<models><class name=\"" + rootClass + "\"><root/></class></models>\n"));
}

/// A list of `lines` lines, of which only the last is the model file.
void writeList(const Tool& tool, std::int64_t lines)
{
    std::string list;
    for (std::int64_t line = 1; line < lines; ++line)
    {
        list += "/opt/qor/models/installed/" + std::to_string(line) + ".xml\n";
    }
    static_cast<void>(QMT::writeWholeFile(tool.paths.modelFileList().workingCopy, list + MODEL_FILE + "\n"));
}

void fillQueue(Tool& tool, std::int64_t actions)
{
    // The framework has an open session, which the tool has loaded.
    tool.impl.queue().clear();
    for (std::int64_t action = 0; action < actions; ++action)
    {
        tool.impl.queue().emplace_front(QMT::CmdID::AddModelFileWithHandler, MODEL_FILE + "|handler|1|1");
    }
}

void saveSession(benchmark::State& state)
{
    Tool tool;
    fillQueue(tool, size(state));
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(tool.impl.saveFIFO());
    }
    report(state);
}

void loadSession(benchmark::State& state)
{
    Tool tool;
    fillQueue(tool, size(state));
    tool.impl.saveFIFO();
    for (auto _ : state)
    {
        tool.impl.queue().clear();
        benchmark::DoNotOptimize(tool.impl.loadFIFO());
    }
    report(state);
}

void searchList(benchmark::State& state)
{
    const Tool tool;
    writeList(tool, size(state));
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(tool.impl.verifyModelFileEntry(MODEL_FILE));
    }
    report(state);
}

void removeFromList(benchmark::State& state)
{
    Tool tool;
    writeList(tool, size(state));
    for (auto _ : state)
    {
        // Only the first iteration removes the entry; the others keep every line.
        benchmark::DoNotOptimize(tool.impl.removeModelFileEntry(MODEL_FILE));
    }
    report(state);
}

void checksumList(benchmark::State& state)
{
    const Tool tool;
    writeList(tool, size(state));
    const std::string path = tool.paths.modelFileList().workingCopy;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(QMT::CQorModelToolImpl::checksumFile(path));
    }
    report(state);
}

void measureDocument(benchmark::State& state)
{
    const std::string text = configuration(size(state));
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(QMT::measureNames(text));
    }
    report(state);
}

void parseDocument(benchmark::State& state)
{
    const std::string text = configuration(size(state));
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(QMT::CXMLParser::parseFile(text));
    }
    report(state);
}

void writeDocument(benchmark::State& state)
{
    Tool tool;
    const QMT::CXMLParser::DocumentPtr document = QMT::CXMLParser::parseFile(configuration(size(state)));
    const std::string path = tool.paths.configuration().workingCopy;
    for (auto _ : state)
    {
        tool.parser.writeXMLFile(path, document);
    }
    report(state);
}

void walkDocument(benchmark::State& state)
{
    QMT::CXMLParser::DocumentPtr document = QMT::CXMLParser::parseFile(configuration(size(state)));
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(QMT::CElementWalk::first(*document, "absent"));
    }
    report(state);
}

void searchRootClass(benchmark::State& state)
{
    Tool tool;
    writeModel(NEW_CLASS);
    QMT::CXMLParser::DocumentPtr document = QMT::CXMLParser::parseFile(configuration(size(state)));
    for (auto _ : state)
    {
        bool found = false;
        std::string handler;
        benchmark::DoNotOptimize(tool.parser.existsRoot(document, MODEL_FILE, found, handler));
    }
    report(state);
}

/// The complete search of an addition; nothing is written, since the last handler already serves the class.
void searchHandler(benchmark::State& state)
{
    Tool tool;
    const std::string last = std::to_string(size(state) - 1);
    writeModel("Class" + last + "_0");
    tool.impl.componentName() = "handler" + last;
    QMT::CXMLParser::DocumentPtr document = QMT::CXMLParser::parseFile(configuration(size(state)));
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(
            tool.parser.modifyRoot(document, MODEL_FILE, QMT::CmdEntryAction::ENTRY_ADD, "1", "1"));
    }
    report(state);
}

void readModel(benchmark::State& state)
{
    Tool tool;
    writeModel(NEW_CLASS);
    for (auto _ : state)
    {
        std::string rootClass;
        benchmark::DoNotOptimize(tool.parser.getRootClassName(MODEL_FILE, rootClass));
    }
}

void upTo10000(benchmark::internal::Benchmark* operation)
{
    operation->RangeMultiplier(10)->Range(10, 10'000)->Complexity()->Unit(benchmark::kMicrosecond);
}

void upTo100000(benchmark::internal::Benchmark* operation)
{
    operation->RangeMultiplier(10)->Range(100, 100'000)->Complexity()->Unit(benchmark::kMicrosecond);
}

} // namespace

BENCHMARK(saveSession)->Apply(upTo10000);
BENCHMARK(loadSession)->Apply(upTo10000);
BENCHMARK(searchList)->Apply(upTo100000);
BENCHMARK(removeFromList)->Apply(upTo100000);
BENCHMARK(checksumList)->Apply(upTo100000);
BENCHMARK(measureDocument)->Apply(upTo10000);
BENCHMARK(parseDocument)->Apply(upTo10000);
BENCHMARK(writeDocument)->Apply(upTo10000);
BENCHMARK(walkDocument)->Apply(upTo10000);
BENCHMARK(searchRootClass)->Apply(upTo10000);
BENCHMARK(searchHandler)->Apply(upTo10000);
BENCHMARK(readModel)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
