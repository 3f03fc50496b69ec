#include "support/Files.h"
#include "support/XmlTest.h"
#include "xml/CElementWalk.h"

#include <Poco/DOM/Element.h>
#include <Poco/Message.h>

namespace QMT::Test
{

namespace
{

using Poco::Message;

class Handlers : public XmlTest
{
};

// ---- addHandler ----

TEST_F(Handlers, AddAppendsAParticipant)
{
    CXMLParser::DocumentPtr document = parse(configurationOf({{"a", {"A"}}}));

    EXPECT_EQ(parser.addHandler(*document, "exampleHandler", "ExampleRootClass", "3", "1"), 1);

    EXPECT_EQ(textOf(document), configurationOf({{"a", {"A"}}, {"exampleHandler", {"ExampleRootClass"}, "3", "1"}}));
    EXPECT_FALSE(isWritten());
    EXPECT_EQ(log.messages(),
              (Messages{{Message::PRIO_INFORMATION, "Adding new handler: exampleHandler with root class: "
                                                    "ExampleRootClass"}}));
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(Handlers, AddKeepsEmptyVersions)
{
    CXMLParser::DocumentPtr document = parse(configurationOf({}));

    EXPECT_EQ(parser.addHandler(*document, "h", "R", "", ""), 1);

    EXPECT_EQ(textOf(document), configurationOf({{"h", {"R"}, "", ""}}));
}

TEST_F(Handlers, AddUsesTheFirstOfTwoContainers)
{
    CXMLParser::DocumentPtr document = parse("<qor><participants/><x><participants n='2'/></x></qor>");

    EXPECT_EQ(parser.addHandler(*document, "h", "R", "1", "1"), 1);

    EXPECT_EQ(textOf(document),
              "<qor>\n"
              "\t<participants>\n"
              "\t\t<participant>\n"
              "\t\t\t<roots>\n"
              "\t\t\t\t<root name=\"R\"/>\n"
              "\t\t\t</roots>\n"
              "\t\t\t<managedObject compName=\"h\" ifName=\"PelOamSpiManagedObject\" version=\"1\"/>\n"
              "\t\t\t<txResource compName=\"h\" ifName=\"PelOamSpiTransactionalResource\" version=\"1\"/>\n"
              "\t\t</participant>\n"
              "\t</participants>\n"
              "\t<x>\n"
              "\t\t<participants n=\"2\"/>\n"
              "\t</x>\n"
              "</qor>\n");
}

TEST_F(Handlers, AddFailsWithoutARootClass)
{
    const std::string before = configurationOf({{"a", {"A"}}});
    CXMLParser::DocumentPtr document = parse(before);

    EXPECT_EQ(parser.addHandler(*document, "h", "", "1", "1"), 0);

    EXPECT_EQ(textOf(document), before);
    EXPECT_EQ(log.messages(),
              (Messages{{Message::PRIO_INFORMATION, "cannot add model file without root class to qor.cfg"}}));
}

TEST_F(Handlers, AddFailsWithoutAContainer)
{
    CXMLParser::DocumentPtr document = parse("<qor/>");

    EXPECT_EQ(parser.addHandler(*document, "h", "R", "1", "1"), 0);

    EXPECT_EQ(textOf(document), "<qor/>\n");
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_ERROR, "Unable to find the participants entry!"}}));
}

// ---- removeModelHandler, by node ----

TEST_F(Handlers, RemoveByNodeRemovesTheHandler)
{
    CXMLParser::DocumentPtr document = parse(configurationOf({{"a", {"A"}}, {"b", {"B"}}}));

    EXPECT_EQ(parser.removeModelHandler(document, CElementWalk::first(*document, "participant"), "a"), 1);

    EXPECT_EQ(textOf(document), configurationOf({{"b", {"B"}}}));
    EXPECT_EQ(written(), configurationOf({{"b", {"B"}}}));
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_INFORMATION, "Removed handler: a"}}));
}

TEST_F(Handlers, RemoveByNodeReportsSuccessWhenTheWriteFails)
{
    putFullDeviceAt(framework.configuration(".tmp"));
    CXMLParser::DocumentPtr document = parse(configurationOf({{"a", {"A"}}, {"b", {"B"}}}));

    EXPECT_EQ(parser.removeModelHandler(document, CElementWalk::first(*document, "participant"), "a"), 1);

    EXPECT_EQ(log.messages(), info({"Unable to wite updated XML file!", "Removed handler: a"}));
}

TEST_F(Handlers, RemoveByNodeFailsForTheLastOne)
{
    const std::string before = configurationOf({{"a", {"A"}}});
    CXMLParser::DocumentPtr document = parse(before);

    EXPECT_EQ(parser.removeModelHandler(document, CElementWalk::first(*document, "participant"), "a"), 0);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(),
              (Messages{{Message::PRIO_INFORMATION, "Unable to remove handle as this is the last entry"}}));
}

// ---- removeModelHandler, by name ----

TEST_F(Handlers, RemoveByNameUsesTheComponentName)
{
    CXMLParser::DocumentPtr document = parse(configurationOf({{"a", {"A"}}, {"b", {"B"}}}));
    workOn("b");

    EXPECT_EQ(parser.removeModelHandler(document, "a"), 1);

    EXPECT_EQ(written(), configurationOf({{"a", {"A"}}}));
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_INFORMATION, "Found handler: b"},
                                        {Message::PRIO_INFORMATION, "Removed handler: b"}}));
}

TEST_F(Handlers, RemoveByNameFailsForTheLastOne)
{
    const std::string before = configurationOf({{"a", {"A"}}});
    CXMLParser::DocumentPtr document = parse(before);
    workOn("a");

    EXPECT_EQ(parser.removeModelHandler(document, "given"), 0);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(),
              (Messages{{Message::PRIO_INFORMATION, "given is the only handler left. Unable to remove."}}));
}

TEST_F(Handlers, RemoveByNameReportsAnUnknownName)
{
    const std::string before = configurationOf({{"a", {"A"}}, {"b", {"B"}}});
    CXMLParser::DocumentPtr document = parse(before);
    workOn("c");

    EXPECT_EQ(parser.removeModelHandler(document, "a"), 1);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(),
              (Messages{{Message::PRIO_INFORMATION, "Unable to locate and remove handler: c from qor.cfg"}}));
}

} // namespace

} // namespace QMT::Test
