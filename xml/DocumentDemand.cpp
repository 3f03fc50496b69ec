#include "xml/DocumentDemand.h"

#include <Poco/Exception.h>
#include <Poco/SAX/Attributes.h>
#include <Poco/SAX/DefaultHandler.h>
#include <Poco/SAX/SAXParser.h>

#include <algorithm>
#include <unordered_set>

namespace QMT
{

namespace
{

/// Up to this number, one name for each tag and each "=" makes a small pool, and the text need not be parsed.
const std::size_t MAX_UNCOUNTED_NAMES = 20000;

using Poco::XML::XMLString;

/// Measures what the parser reports, with entities expanded.
class Meter : public Poco::XML::DefaultHandler
{
public:
    unsigned int maximumDepth() const
    {
        return _maximumDepth;
    }

    std::size_t names() const
    {
        return _names.size();
    }

    void startElement(const XMLString&, const XMLString&, const XMLString& name,
                      const Poco::XML::Attributes& attributes) override
    {
        ++_depth;
        _maximumDepth = std::max(_maximumDepth, _depth);
        _names.insert(name);
        for (int i = 0; i < attributes.getLength(); ++i)
        {
            _names.insert(attributes.getQName(i));
        }
    }

    void endElement(const XMLString&, const XMLString&, const XMLString&) override
    {
        --_depth;
    }

private:
    unsigned int _depth = 0;
    unsigned int _maximumDepth = 0;
    std::unordered_set<XMLString> _names;
};

std::optional<std::size_t> measureByParsing(const std::string& xml)
{
    Meter meter;
    Poco::XML::SAXParser parser;
    parser.setFeature(Poco::XML::XMLReader::FEATURE_NAMESPACES, false);
    parser.setContentHandler(&meter);
    try
    {
        parser.parseString(xml);
    }
    catch (const Poco::Exception&) // NOLINT(bugprone-empty-catch): loading the text will report the error
    {
    }
    if (meter.maximumDepth() > MAX_NESTING_DEPTH)
    {
        return std::nullopt;
    }
    // An element and an attribute of one name may be two names to the pool.
    return 2 * meter.names();
}

std::size_t countOf(const std::string& text, const std::string& wanted)
{
    std::size_t count = 0;
    for (auto found = text.find(wanted); found != std::string::npos; found = text.find(wanted, found + 1))
    {
        ++count;
    }
    return count;
}

/// At least as many as there are: in UTF-16, "<" has a zero byte on either side.
std::size_t countStartTags(const std::string& xml)
{
    return countOf(xml, "<") - countOf(xml, "</") - countOf(xml, "<!") - countOf(xml, "<?");
}

/// A document type declaration may add elements and attributes that do not stand in the text as such.
bool hasDocumentType(const std::string& xml)
{
    return xml.find("<!DOCTYPE") != std::string::npos || xml.find('\0') != std::string::npos;
}

} // namespace

bool mayDeclareTooManyEntities(const std::string& xml)
{
    if (!hasDocumentType(xml))
    {
        return false;
    }
    std::string markup = xml;
    markup.erase(std::remove(markup.begin(), markup.end(), '\0'), markup.end());
    // Entities are declared within the brackets of the document type.
    markup.erase(markup.rfind(']') + 1);
    std::size_t declared = countOf(markup, "<!ENTITY");
    // A parameter entity may spell further declarations in character references.
    if (declared > 0 && markup.find('%') != std::string::npos)
    {
        declared += countOf(markup, "&#");
    }
    return declared > MAX_ENTITIES;
}

std::optional<std::size_t> measureNames(const std::string& xml)
{
    if (hasDocumentType(xml))
    {
        return mayDeclareTooManyEntities(xml) ? std::nullopt : measureByParsing(xml);
    }
    const std::size_t startTags = countStartTags(xml);
    const std::size_t names = startTags + countOf(xml, "=");
    return startTags > MAX_NESTING_DEPTH || names > MAX_UNCOUNTED_NAMES ? measureByParsing(xml) : names;
}

} // namespace QMT
