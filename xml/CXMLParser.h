#ifndef QMT_CXMLParser_INCLUDED
#define QMT_CXMLParser_INCLUDED

#include <Poco/AutoPtr.h>
#include <Poco/Path.h>

#include <string>
#include <vector>

namespace Poco
{
class Logger;
namespace XML
{
class Document;
class Element;
class Node;
class NodeList;
} // namespace XML
} // namespace Poco

namespace QMT
{

class CQorModelTool;

/// The kinds of edit that CXMLParser::modifyRoot makes.
enum class CmdEntryAction
{
    ENTRY_ADD = 0,            ///< add the model's root class to the handler, which is registered when it is new
    ENTRY_REMOVE_HANDLER = 2, ///< remove the handler
    ENTRY_REMOVE_ROOT = 4     ///< remove the model's root class from the handler, and with the last one the handler
};

/// The editor of the framework's configuration document.
///
/// It loads, searches and edits documents in memory and writes them to the working copy of the configuration, never to
/// the live file. Elements are found by name anywhere in the document; everything else in it is passed through.
///
/// Operations report failures by their results, after a message on the logger; a failed write by a message only.
/// Unless an operation says otherwise, `doc` is not null.
class CXMLParser
{
public:
    using DocumentPtr = Poco::AutoPtr<Poco::XML::Document>;

    /// The results of operations that return a number. Callers mostly test for zero.
    static constexpr int FAILURE = 0;
    static constexpr int SUCCESS = 1;
    static constexpr int NO_ROOT_CLASS = 2; ///< the model file has no root element

    /// Takes the path of the working copy from the framework directory of `tool`; touches no file. Neither `tool` nor
    /// `logger` is owned; they may be destroyed before the object, whose destructor uses neither.
    CXMLParser(CQorModelTool& tool, Poco::Logger* logger);
    ~CXMLParser();
    CXMLParser(const CXMLParser&) = delete;
    CXMLParser& operator=(const CXMLParser&) = delete;
    CXMLParser(CXMLParser&&) = delete;
    CXMLParser& operator=(CXMLParser&&) = delete;

    // ---- Documents (CXMLParser.cpp) ----

    /// Reads and parses the XML file at `path`. Null when it cannot be opened, or parseFile refuses its content, or,
    /// after a message, when it cannot be read.
    [[nodiscard]] DocumentPtr loadXMLDocument(const std::string& path);

    /// Parses the XML text `content`, leaving out text that is only white space. Null when it is not well-formed,
    /// nested deeper than 2,000 elements, or declares too many entities.
    [[nodiscard]] static DocumentPtr parseFile(const std::string& content);

    /// Replaces the file at `path` by the indented text of `doc`. A failure is reported by a message; the file is still
    /// complete unless a write to it failed.
    void writeXMLFile(const std::string& path, const Poco::XML::Document* doc);

    /// Whether every write so far has succeeded.
    bool isAllWritten() const;

    /// The values of `attribute` of all elements named `tag` below `element`, in document order; a missing attribute
    /// gives an empty string.
    static std::vector<std::string> getAttributeValueList(Poco::XML::Element* element, const std::string& tag,
                                                          const std::string& attribute);

    /// How many of `nodes` are named "root".
    static int countRootEntries(Poco::XML::NodeList* nodes);

    /// Whether `doc` holds exactly one participant, the last handler, which must stay.
    static bool only_component(Poco::XML::Document* doc);

    // ---- Root class of a model (RootClass.cpp) ----

    /// Reads the root class name of the model file at `modelFile` into `rootClass`.
    ///
    /// Returns 1 with a name that is not empty; 2, with `rootClass` untouched, when the model file has no root element;
    /// 0 when it cannot be loaded or its root class has no name. 2 and 0 are reported by messages.
    [[nodiscard]] int getRootClassName(const std::string& modelFile, std::string& rootClass);

    /// The same for a model that is already loaded, without messages.
    [[nodiscard]] static int findRootClass(Poco::XML::Document& model, std::string& rootClass);

    // ---- Handlers (Handlers.cpp) ----

    /// Appends a new handler `compName` with one root class and its two interfaces to the first participants element.
    /// Returns 1, or 0 after a message when `rootClass` is empty or the document has no participants element. Writes
    /// nothing.
    [[nodiscard]] int addHandler(Poco::XML::Document& doc, const std::string& compName, const std::string& rootClass,
                                 const std::string& moVersion, const std::string& trVersion);

    /// Removes `participant` and writes the document. Returns 1, or 0 after a message when it is the only one.
    /// `handler` is its name for the messages.
    int removeModelHandler(Poco::XML::Document* doc, Poco::XML::Node* participant, const std::string& handler);

    /// Removes the handler that the tool is working on, unless only one is left, and writes the document. `handler`
    /// is used only in the message of a refusal. Returns 1, also when no such handler was found, or 0 after a message.
    [[nodiscard]] int removeModelHandler(Poco::XML::Document* doc, const std::string& handler);

    // ---- Root entries (RootEntries.cpp) ----

    /// Makes the edit `action` for the root class of the model file at `modelFile`, in the handler that the tool is
    /// working on. The versions are those of a handler that must be registered.
    ///
    /// Returns 1 when the edit was made or there was nothing to do, 0 after a message when it was refused. Writes the
    /// document whenever it changed. Also writes it when ENTRY_ADD or ENTRY_REMOVE_ROOT changed nothing, unless the
    /// handler already had the root class to be added.
    [[nodiscard]] int modifyRoot(Poco::XML::Document* doc, const std::string& modelFile, CmdEntryAction action,
                                 const std::string& moVersion, const std::string& trVersion);

    /// Finds out whether a handler serves the root class of the model file at `modelFile`, and which.
    ///
    /// Returns 1 with the answer in `found`. The name of the serving handler is in `handlerName`, which is untouched
    /// when there is none. A document with other than one participants element and participants with other than one
    /// roots element count as not serving. Returns 2 when the model has no root element, 0 after a message when it
    /// cannot be read; `found` is then false.
    [[nodiscard]] int existsRoot(Poco::XML::Document* doc, const std::string& modelFile, bool& found,
                                 std::string& handlerName);

    // ---- Default handler (DefaultComponent.cpp) ----

    /// Applies a staged handler: lets it take over the placeholder if that is the document's first handler, and adds
    /// the root class of the model file at `modelFile`, if that is not empty, to it. `handler` must be the handler that
    /// the tool is working on (getComponentName), which is the one that gets the root class.
    ///
    /// Returns 1 when that is done or not needed; 0, mostly after a message, when the document has no handler, when
    /// another handler serves the root class, when there is no placeholder for a handler without a model file, or when
    /// the model file cannot be used. After a takeover the result is 1 even when the root class could not be added.
    /// Writes the document when the placeholder's second interface is taken over, and when modifyRoot does.
    [[nodiscard]] int verifySetDefaultComponent(Poco::XML::Document* doc, const std::string& modelFile,
                                                const std::string& handler, const std::string& moVersion,
                                                const std::string& trVersion);

private:
    struct RootEdit;
    struct Registration;
    enum class EditProgress;

    void writeWorkingCopy(const Poco::XML::Document* doc);

    EditProgress editHandler(RootEdit& edit, const Poco::XML::Element& managedObject);
    EditProgress editRoots(RootEdit& edit, Poco::XML::Node& roots);
    EditProgress addRoot(const RootEdit& edit, Poco::XML::Node& roots);
    EditProgress removeRoot(RootEdit& edit, Poco::XML::Node& roots, Poco::XML::Node* root);
    int finishEdit(RootEdit& edit, const std::string& moVersion, const std::string& trVersion);
    bool findServingHandler(Poco::XML::Node& participants, const std::string& rootClass, std::string& handlerName);
    static bool servesRoot(Poco::XML::Element& participant, const std::string& rootClass);

    void takeOverPlaceholder(const Registration& registration, Poco::XML::Element& managedObject);
    int addUnservedRoot(const Registration& registration);
    int addRootEntry(const Registration& registration);

    // Neither is owned, nor used by the destructor. The tool is asked for the framework directory, once, and for the
    // handler being worked on, and for nothing else.
    Poco::Logger* const _logger;
    CQorModelTool& _tool;

    Poco::Path _workingConfiguration;

    // The size of the last text that was read from the working copy or written: an estimate for the next one.
    std::string::size_type _workingTextSize = 0;

    bool _isAllWritten = true;
};

} // namespace QMT

#endif // QMT_CXMLParser_INCLUDED
