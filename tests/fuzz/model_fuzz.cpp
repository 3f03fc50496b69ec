// A model file of any bytes has a root class with a name, or none.
#include "FuzzedTool.h"

#include "xml/CXMLParser.h"

using QMT::CXMLParser;
using QMT::Fuzz::FuzzedTool;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static CXMLParser parser(FuzzedTool::instance().tool, FuzzedTool::instance().tool.logger());
    static const std::string path = FuzzedTool::instance().paths.modelDirectory() + "model.xml";
    FuzzedTool::write(path, QMT::Fuzz::textOf(data, size));
    const std::string untouched = "untouched";
    std::string rootClass = untouched;
    const int result = parser.getRootClassName(path, rootClass);
    if (result == CXMLParser::SUCCESS && rootClass.empty())
    {
        FuzzedTool::fail("a root class without a name was accepted");
    }
    if (result == CXMLParser::NO_ROOT_CLASS && rootClass != untouched)
    {
        FuzzedTool::fail("no root class, but the name was touched");
    }
    return 0;
}
