#include "xml/CElementReader.h"

#include "xml/DocumentDemand.h"

#include <Poco/Exception.h>
#include <Poco/SAX/SAXParser.h>

#include <algorithm>

namespace QMT
{

CElementReader::CElementReader() = default;

CElementReader::~CElementReader() = default;

bool CElementReader::read(const std::string& xml)
{
    if (mayDeclareTooManyEntities(xml))
    {
        return false;
    }
    Poco::XML::SAXParser parser;
    parser.setFeature(Poco::XML::XMLReader::FEATURE_NAMESPACES, false);
    parser.setContentHandler(this);
    try
    {
        parser.parseString(xml);
    }
    catch (const Poco::Exception&)
    {
        return false;
    }
    return !isTooDeep();
}

bool CElementReader::isTooDeep() const
{
    return _deepest > MAX_NESTING_DEPTH;
}

void CElementReader::startElement(const std::string&, const std::string&, const std::string& name,
                                  const Attributes& attributes)
{
    ++_depth;
    _deepest = std::max(_deepest, _depth);
    begin(name, attributes);
}

void CElementReader::endElement(const std::string&, const std::string&, const std::string&)
{
    --_depth;
    end();
}

} // namespace QMT
