#ifndef QMT_TEST_XmlTest_INCLUDED
#define QMT_TEST_XmlTest_INCLUDED

#include "app/CQorModelTool.h"
#include "support/ImplTest.h"
#include "xml/CXMLParser.h"

#include <Poco/DOM/Document.h>

#include <string>
#include <vector>

namespace QMT::Test
{

/// One handler of a configuration document.
struct HandlerEntry
{
    std::string name;
    std::vector<std::string> roots;
    std::string moVersion = "1";
    std::string trVersion = "1";
};

/// A configuration document with `handlers`, in the editor's exact format.
std::string configurationOf(const std::vector<HandlerEntry>& handlers);

/// A document editor whose tool works on a temporary framework. The working copy of the configuration does not exist,
/// so that its presence proves a write.
class XmlTest : public ImplTest
{
protected:
    XmlTest();

    /// Sets the handler of the current action.
    void workOn(const std::string& name);

    /// The document of `text`, which is well-formed.
    static CXMLParser::DocumentPtr parse(const std::string& text);

    /// The text of `document`, as the editor writes it.
    std::string textOf(const Poco::XML::Document* document) const;

    /// Whether the editor has written the working copy.
    bool isWritten() const;

    /// The content of the working copy.
    std::string written() const;

    /// Expects that `document` has the text `before` and was not written.
    void expectUnchanged(const Poco::XML::Document* document, const std::string& before) const;

    CQorModelTool tool;
    CXMLParser parser;
};

} // namespace QMT::Test

#endif // QMT_TEST_XmlTest_INCLUDED
