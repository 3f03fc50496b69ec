#ifndef QMT_CElementReader_INCLUDED
#define QMT_CElementReader_INCLUDED

#include <Poco/SAX/Attributes.h>
#include <Poco/SAX/DefaultHandler.h>

#include <string>

namespace QMT
{

/// Reads the elements of an XML text as they come, without building a document: for callers that only look.
class CElementReader : private Poco::XML::DefaultHandler
{
public:
    ~CElementReader() override;
    CElementReader(const CElementReader&) = delete;
    CElementReader& operator=(const CElementReader&) = delete;
    CElementReader(CElementReader&&) = delete;
    CElementReader& operator=(CElementReader&&) = delete;

    /// Reads the text `xml`. False where CXMLParser::parseFile returns null; elements before the error
    /// may have been reported by then.
    [[nodiscard]] bool read(const std::string& xml);

protected:
    using Attributes = Poco::XML::Attributes;

    CElementReader();

    /// An element begins; those that begin before it ends are inside it.
    virtual void begin(const std::string& tag, const Attributes& attributes) = 0;

    /// The innermost open element ends.
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
