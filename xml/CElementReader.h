#ifndef QMT_CElementReader_INCLUDED
#define QMT_CElementReader_INCLUDED

#include <Poco/SAX/Attributes.h>
#include <Poco/SAX/DefaultHandler.h>

#include <string>

namespace QMT
{

/// Reports the elements of an XML text while it is parsed, without building a document. An object reads one text.
class CElementReader : private Poco::XML::DefaultHandler
{
public:
    ~CElementReader() override;
    CElementReader(const CElementReader&) = delete;
    CElementReader& operator=(const CElementReader&) = delete;
    CElementReader(CElementReader&&) = delete;
    CElementReader& operator=(CElementReader&&) = delete;

    /// Reads the text `xml`. False where CXMLParser::parseFile returns null; elements before the error may have been
    /// reported by then.
    [[nodiscard]] bool read(const std::string& xml);

    /// Whether the elements read so far are nested deeper than MAX_NESTING_DEPTH.
    bool isTooDeep() const;

protected:
    using Attributes = Poco::XML::Attributes;

    CElementReader();

    /// Called where an element begins; those that begin before it ends are inside it.
    virtual void begin(const std::string& tag, const Attributes& attributes) = 0;

    /// Called where the innermost open element ends.
    virtual void end() = 0;

private:
    void startElement(const std::string& uri, const std::string& localName, const std::string& name,
                      const Attributes& attributes) override;
    void endElement(const std::string& uri, const std::string& localName, const std::string& name) override;

    unsigned int _depth = 0;
    unsigned int _deepest = 0;
};

} // namespace QMT

#endif // QMT_CElementReader_INCLUDED
