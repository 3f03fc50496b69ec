#include "xml/DocumentDemand.h"

#include "xml/CElementReader.h"

#include <algorithm>
#include <unordered_set>

namespace QMT
{

namespace
{

/// Up to this number, one name for each tag and each "=" makes a small pool, and the text need not be parsed.
const std::size_t MAX_UNCOUNTED_NAMES = 20000;

/// Collects the element and attribute names, with entities expanded.
class NameReader : public CElementReader
{
public:
    std::size_t count() const
    {
        return _names.size();
    }

protected:
    void begin(const std::string& tag, const Attributes& attributes) override
    {
        _names.insert(tag);
        for (int i = 0; i < attributes.getLength(); ++i)
        {
            _names.insert(attributes.getQName(i));
        }
    }

    void end() override
    {
    }

private:
    std::unordered_set<std::string> _names;
};

std::optional<std::size_t> measureByParsing(const std::string& xml)
{
    NameReader names;
    // Loading the text will report malformed markup.
    static_cast<void>(names.read(xml));
    if (names.isTooDeep())
    {
        return std::nullopt;
    }
    // An element and an attribute of one name may be two names to the pool.
    return 2 * names.count();
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

/// At least the number of start tags: comments and CDATA sections may hold more of them.
std::size_t countStartTags(const std::string& xml)
{
    return countOf(xml, "<") - countOf(xml, "</") - countOf(xml, "<!") - countOf(xml, "<?");
}

/// A document type declaration may add elements and attributes that the text does not contain.
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
