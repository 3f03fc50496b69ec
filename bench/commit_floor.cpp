// The floor under the tool's cost: the minimum of library calls for the same resulting files, with complete working
// copies after every action. It checks and reports nothing, starts no other program, and handles only the document
// structure of the benchmark's frameworks.
#include "base/ManagedFile.h"
#include "base/WholeFile.h"
#include "impl/CFrameworkPaths.h"

#include <Poco/AutoPtr.h>
#include <Poco/Checksum.h>
#include <Poco/ConsoleChannel.h>
#include <Poco/DOM/DOMParser.h>
#include <Poco/DOM/DOMWriter.h>
#include <Poco/DOM/Document.h>
#include <Poco/DOM/Element.h>
#include <Poco/File.h>
#include <Poco/FormattingChannel.h>
#include <Poco/Logger.h>
#include <Poco/PatternFormatter.h>
#include <Poco/StringTokenizer.h>
#include <Poco/Util/Application.h>
#include <Poco/XML/XMLWriter.h>

#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

namespace
{

using Poco::XML::Document;
using Poco::XML::Element;
using Poco::XML::Node;
using DocumentPtr = Poco::AutoPtr<Document>;
using ElementPtr = Poco::AutoPtr<Element>;

struct Action
{
    std::string kind;
    std::string path;
    std::string handler;
    std::string moVersion;
    std::string trVersion;
};

std::string read(const std::string& path)
{
    std::string content;
    static_cast<void>(QMT::readWholeFile(path, content));
    return content;
}

void write(const std::string& path, const std::string& content)
{
    static_cast<void>(QMT::writeWholeFile(path, content));
}

std::vector<Action> readSession(const std::string& path)
{
    const Poco::StringTokenizer tokens(read(path), "\n:|", Poco::StringTokenizer::TOK_TRIM);
    std::vector<Action> actions;
    actions.reserve(tokens.count() / 5);
    for (std::size_t i = 0; i + 4 < tokens.count(); i += 5)
    {
        actions.push_back({tokens[i], tokens[i + 1], tokens[i + 2], tokens[i + 3], tokens[i + 4]});
    }
    return actions;
}

Poco::UInt32 checksum(const std::string& path)
{
    Poco::Checksum sum(Poco::Checksum::TYPE_CRC32);
    sum.update(read(path));
    return sum.checksum();
}

DocumentPtr parse(const std::string& path)
{
    Poco::XML::DOMParser parser;
    parser.setFeature(Poco::XML::DOMParser::FEATURE_FILTER_WHITESPACE, true);
    parser.setFeature(Poco::XML::XMLReader::FEATURE_NAMESPACES, false);
    return DocumentPtr(parser.parseString(read(path)));
}

/// Collects the text of the library's writer, which arrives mostly byte by byte. The libraries' own streams cost more.
class TextBuffer : public std::streambuf
{
public:
    std::string text;

protected:
    int_type overflow(int_type character) override
    {
        text += traits_type::to_char_type(character);
        return character;
    }

    std::streamsize xsputn(const char* characters, std::streamsize count) override
    {
        if (count == 1)
        {
            text.push_back(*characters);
        }
        else
        {
            text.append(characters, static_cast<std::string::size_type>(count));
        }
        return count;
    }
};

/// Returns the size of the document's text; `expectedSize` is the previous size.
std::string::size_type write(const std::string& path, const Document* document, std::string::size_type expectedSize)
{
    const std::string::size_type GROWTH = 4096;
    TextBuffer buffer;
    buffer.text.reserve(expectedSize + GROWTH);
    std::ostream stream(&buffer);
    Poco::XML::DOMWriter writer;
    writer.setNewLine("\n");
    writer.setOptions(Poco::XML::XMLWriter::PRETTY_PRINT);
    writer.writeNode(stream, document);
    write(path, buffer.text);
    return buffer.text.size();
}

std::string attribute(const Node* node, const std::string& name)
{
    return static_cast<const Element*>(node)->getAttribute(name);
}

/// A model of the benchmark has one class, the root class, as the first child of its document element.
std::string rootClassOf(const std::string& model)
{
    const DocumentPtr document = parse(model);
    return attribute(document->documentElement()->firstChild(), "name");
}

/// A handler of the benchmark has a roots element first and a managedObject element second.
Node* findRoots(const Node* participants, const std::string& handler)
{
    for (Node* participant = participants->firstChild(); participant != nullptr;
         participant = participant->nextSibling())
    {
        Node* const roots = participant->firstChild();
        if (attribute(roots->nextSibling(), "compName") == handler)
        {
            return roots;
        }
    }
    return nullptr;
}

ElementPtr append(Document& document, Node* parent, const std::string& tag)
{
    ElementPtr element = document.createElement(tag);
    parent->appendChild(element);
    return element;
}

void appendInterface(Document& document, Node* participant, const std::string& tag, const std::string& ifName,
                     const std::string& handler, const std::string& version)
{
    ElementPtr element = append(document, participant, tag);
    element->setAttribute("compName", handler);
    element->setAttribute("ifName", ifName);
    element->setAttribute("version", version);
}

void addToDocument(Document& document, Node* participants, const Action& action)
{
    Node* roots = findRoots(participants, action.handler);
    if (roots == nullptr)
    {
        ElementPtr participant = append(document, participants, "participant");
        roots = append(document, participant, "roots");
        appendInterface(document, participant, "managedObject", "PelOamSpiManagedObject", action.handler,
                        action.moVersion);
        appendInterface(document, participant, "txResource", "PelOamSpiTransactionalResource", action.handler,
                        action.trVersion);
    }
    append(document, roots, "root")->setAttribute("name", rootClassOf(action.path));
}

void removeFromDocument(Node* participants, const Action& action)
{
    const std::string rootClass = rootClassOf(action.path);
    Node* const roots = findRoots(participants, action.handler);
    Node* root = roots->firstChild();
    while (attribute(root, "name") != rootClass)
    {
        root = root->nextSibling();
    }
    roots->removeChild(root);
}

/// Like the tool, also trims the other lines and drops empty ones.
std::string without(const std::string& entry, const std::string& list)
{
    std::string kept;
    for (const std::string& line :
         Poco::StringTokenizer(list, "\n", Poco::StringTokenizer::TOK_IGNORE_EMPTY | Poco::StringTokenizer::TOK_TRIM))
    {
        kept += line == entry ? "" : line + "\n";
    }
    return kept;
}

void changeList(const std::string& path, const Action& action, bool add)
{
    const std::string list = read(path);
    write(path, add ? list + action.path + "\n" : without(action.path, list));
}

void install(const QMT::ManagedFile& file)
{
    Poco::File(file.live).moveTo(file.backup);
    Poco::File(file.workingCopy).moveTo(file.live);
}

bool isUntouched(const QMT::ManagedFile& file)
{
    return checksum(file.live) == checksum(file.workingCopy);
}

int commit(const QMT::CFrameworkPaths& paths)
{
    const QMT::ManagedFile configuration = paths.configuration();
    const QMT::ManagedFile list = paths.modelFileList();
    if (!isUntouched(configuration) || !isUntouched(list))
    {
        return Poco::Util::Application::EXIT_DATAERR;
    }
    Poco::File(configuration.live).copyTo(configuration.backup);
    Poco::File(list.live).copyTo(list.backup);
    DocumentPtr document = parse(configuration.workingCopy);
    Node* const participants = document->documentElement()->firstChild();
    std::string::size_type size = Poco::File(configuration.live).getSize();
    for (const Action& action : readSession(paths.sessionFile()))
    {
        const bool add = action.kind == "3";
        add ? addToDocument(*document, participants, action) : removeFromDocument(participants, action);
        size = write(configuration.workingCopy, document, size);
        changeList(list.workingCopy, action, add);
    }
    install(list);
    install(configuration);
    Poco::File(paths.sessionFile()).remove();
    Poco::File(paths.lockFile()).remove();
    return Poco::Util::Application::EXIT_OK;
}

void status(const QMT::CFrameworkPaths& paths)
{
    Poco::AutoPtr<Poco::PatternFormatter> formatter(new Poco::PatternFormatter("%s: %p: %t"));
    Poco::AutoPtr<Poco::ConsoleChannel> console(new Poco::ConsoleChannel);
    Poco::AutoPtr<Poco::FormattingChannel> channel(new Poco::FormattingChannel(formatter, console));
    Poco::Logger& logger = Poco::Logger::create("ConsoleLogger", channel);
    for (const Action& action : readSession(paths.sessionFile()))
    {
        logger.information("--addModelFile=" + action.path + " --modelHandler=" + action.handler +
                           " --managedObjectVersion=" + action.moVersion +
                           " --transactionalResourceVersion=" + action.trVersion);
    }
}

/// Stages one action, given as a line of the session file.
void stage(const QMT::CFrameworkPaths& paths, const std::string& line)
{
    std::string session;
    for (const Action& action : readSession(paths.sessionFile()))
    {
        session += action.kind + ":" + action.path + "|" + action.handler + "|" + action.moVersion + "|" +
                   action.trVersion + "\n";
    }
    write(paths.sessionFile(), session + line + "\n");
}

/// The minimum for showing the installed models.
void parseAll(const QMT::CFrameworkPaths& paths)
{
    const DocumentPtr document = parse(paths.configuration().live);
    for (const std::string& line :
         Poco::StringTokenizer(read(paths.modelFileList().live), "\n", Poco::StringTokenizer::TOK_IGNORE_EMPTY))
    {
        const DocumentPtr model = parse(line);
    }
}

class Floor : public Poco::Util::Application
{
protected:
    int main(const std::vector<std::string>& args) override
    {
        const QMT::CFrameworkPaths paths(QMT::CFrameworkPaths::DEFAULT_QOR_PATH);
        if (args.at(0) == "commit")
        {
            return commit(paths);
        }
        if (args.at(0) == "status")
        {
            status(paths);
        }
        else if (args.at(0) == "show")
        {
            parseAll(paths);
        }
        else
        {
            stage(paths, args.at(1));
        }
        return EXIT_OK;
    }
};

} // namespace

int main(int argc, char** argv)
{
    Poco::AutoPtr<Floor> application(new Floor);
    application->init(argc, argv);
    return application->run();
}
