// A configuration document of any bytes is loaded and edited; every document that is written can be loaded again.
#include "FuzzedTool.h"

#include "xml/CXMLParser.h"

#include <Poco/DOM/Document.h>
#include <Poco/File.h>

using QMT::CmdEntryAction;
using QMT::CXMLParser;
using QMT::Fuzz::FuzzedTool;

namespace
{

const std::string MODEL = "<m><c name=\"Power\"><root/></c></m>";

struct Fixture
{
    Fixture()
        : parser(FuzzedTool::instance().tool, FuzzedTool::instance().tool.logger()),
          model(FuzzedTool::instance().paths.modelDirectory() + "model.xml"),
          written(FuzzedTool::instance().paths.configuration().workingCopy)
    {
        FuzzedTool::write(model, MODEL);
    }

    CXMLParser parser;
    const std::string model;
    const std::string written;
};

void checkWritten(Fixture& fixture)
{
    if (Poco::File(fixture.written).exists() && fixture.parser.loadXMLDocument(fixture.written).isNull())
    {
        FuzzedTool::fail("what was written cannot be loaded");
    }
}

void edit(Fixture& fixture, Poco::XML::Document* document, const std::string& handler)
{
    FuzzedTool::instance().impl.componentName() = handler;
    static_cast<void>(fixture.parser.verifySetDefaultComponent(document, "", handler, "1", "2"));
    static_cast<void>(fixture.parser.verifySetDefaultComponent(document, fixture.model, handler, "1", "2"));
    static_cast<void>(fixture.parser.modifyRoot(document, fixture.model, CmdEntryAction::ENTRY_ADD, "1", "2"));
    static_cast<void>(fixture.parser.modifyRoot(document, fixture.model, CmdEntryAction::ENTRY_REMOVE_ROOT, "1", "2"));
    static_cast<void>(fixture.parser.removeModelHandler(document, handler));
    checkWritten(fixture);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Fixture fixture;
    CXMLParser::DocumentPtr document = CXMLParser::parseFile(QMT::Fuzz::textOf(data, size));
    if (document.isNull())
    {
        return 0;
    }
    if (Poco::File(fixture.written).exists())
    {
        Poco::File(fixture.written).remove();
    }
    edit(fixture, document, "powerHandler");
    edit(fixture, document, "h");
    return 0;
}
