#include "xml/NestingDepth.h"

#include <Poco/Exception.h>
#include <Poco/SAX/DefaultHandler.h>
#include <Poco/SAX/SAXParser.h>

#include <algorithm>
#include <string_view>

namespace QMT
{

namespace
{

/// Counts the depth of an XML text that has no document type declaration and whose markup is ASCII. Such a text needs
/// no parser: a tag ends at the first ">" outside quotes, and the rest is skipped by its end mark.
class DepthScan
{
public:
    explicit DepthScan(std::string_view xml) : _xml(xml)
    {
    }

    /// The greatest depth that any start tag reaches, counting on at once after what is not well-formed.
    unsigned int deepest()
    {
        while ((_position = _xml.find('<', _position)) != std::string_view::npos)
        {
            passMarkup();
        }
        return _deepest;
    }

private:
    void passMarkup()
    {
        if (pass("</", ">"))
        {
            _depth -= std::min(_depth, 1U);
        }
        else if (!pass("<!--", "-->") && !pass("<![CDATA[", "]]>") && !pass("<?", "?>"))
        {
            passStartTag();
        }
    }

    void passStartTag()
    {
        ++_depth;
        _deepest = std::max(_deepest, _depth);
        _position = endOfTag();
        if (_position != std::string_view::npos && _xml[_position - 1] == '/')
        {
            --_depth;
        }
    }

    std::string_view::size_type endOfTag() const
    {
        std::string_view::size_type position = _position;
        while (position < _xml.size() && _xml[position] != '>')
        {
            const bool quoted = _xml[position] == '"' || _xml[position] == '\'';
            position = quoted ? _xml.find(_xml[position], position + 1) : position;
            position += position == std::string_view::npos ? 0 : 1;
        }
        return position < _xml.size() ? position : std::string_view::npos;
    }

    /// Passes what begins with `opening` here, up to and with the next `closing`; false when it begins otherwise.
    bool pass(std::string_view opening, std::string_view closing)
    {
        if (_xml.compare(_position, opening.size(), opening) != 0)
        {
            return false;
        }
        const std::string_view::size_type found = _xml.find(closing, _position + opening.size());
        _position = found == std::string_view::npos ? found : found + closing.size();
        return true;
    }

    std::string_view _xml;
    std::string_view::size_type _position = 0;
    unsigned int _depth = 0;
    unsigned int _deepest = 0;
};

/// Counts the depth that a parser sees, entities expanded.
class DepthHandler : public Poco::XML::DefaultHandler
{
public:
    unsigned int deepest() const
    {
        return _deepest;
    }

    void startElement(const Poco::XML::XMLString&, const Poco::XML::XMLString&, const Poco::XML::XMLString&,
                      const Poco::XML::Attributes&) override
    {
        ++_depth;
        _deepest = std::max(_deepest, _depth);
    }

    void endElement(const Poco::XML::XMLString&, const Poco::XML::XMLString&, const Poco::XML::XMLString&) override
    {
        --_depth;
    }

private:
    unsigned int _depth = 0;
    unsigned int _deepest = 0;
};

unsigned int deepestParsed(const std::string& xml)
{
    DepthHandler handler;
    Poco::XML::SAXParser parser;
    parser.setFeature(Poco::XML::XMLReader::FEATURE_NAMESPACES, false);
    parser.setContentHandler(&handler);
    try
    {
        parser.parseString(xml);
    }
    catch (const Poco::Exception&) // NOLINT(bugprone-empty-catch): what is wrong with the text, its loading will tell
    {
    }
    return handler.deepest();
}

/// A document type declaration may hold entities, whose elements nest where they are used; a zero byte tells of an
/// encoding whose markup is not ASCII.
bool needsParser(const std::string& xml)
{
    return xml.find("<!DOCTYPE") != std::string::npos || xml.find('\0') != std::string::npos;
}

/// The parser recurses for every entity within an entity. A chain of them takes a reference for each link.
bool mayChainEntities(const std::string& xml)
{
    std::string markup = xml;
    markup.erase(std::remove(markup.begin(), markup.end(), '\0'), markup.end());
    const auto references =
        std::count(markup.begin(), markup.end(), '&') + std::count(markup.begin(), markup.end(), '%');
    return references > MAX_ENTITY_REFERENCES && markup.find("<!ENTITY") != std::string::npos;
}

} // namespace

bool isNestedTooDeeply(const std::string& xml)
{
    if (!needsParser(xml))
    {
        return DepthScan(xml).deepest() > MAX_NESTING_DEPTH;
    }
    return mayChainEntities(xml) || deepestParsed(xml) > MAX_NESTING_DEPTH;
}

} // namespace QMT
