#include "support/Files.h"
#include "support/XmlTest.h"

#include <Poco/Message.h>

namespace QMT::Test
{

namespace
{

using Poco::Message;

const std::string UNREADABLE = "Unable to parse and get the root class name from the model file.";

class RootEntries : public XmlTest
{
protected:
    RootEntries() : model(framework.model("model.xml", "R"))
    {
        workOn("h");
    }

    void given(const std::string& text)
    {
        document = parse(text);
    }

    int modify(CmdEntryAction action)
    {
        return parser.modifyRoot(document, model, action, "5", "6");
    }

    int add()
    {
        return modify(CmdEntryAction::ENTRY_ADD);
    }

    int remove()
    {
        return modify(CmdEntryAction::ENTRY_REMOVE_ROOT);
    }

    std::string model;
    CXMLParser::DocumentPtr document;
};

TEST_F(RootEntries, EditNumbersStayFixed)
{
    EXPECT_EQ(static_cast<int>(CmdEntryAction::ENTRY_ADD), 0);
    EXPECT_EQ(static_cast<int>(CmdEntryAction::ENTRY_REMOVE_HANDLER), 2);
    EXPECT_EQ(static_cast<int>(CmdEntryAction::ENTRY_REMOVE_ROOT), 4);
}

// ---- modifyRoot, ENTRY_ADD ----

TEST_F(RootEntries, AddAppendsTheRootAndKeepsTheVersions)
{
    given(configurationOf({{"a", {"A"}}, {"h", {"H"}, "8", "9"}}));

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(written(), configurationOf({{"a", {"A"}}, {"h", {"H", "R"}, "8", "9"}}));
    EXPECT_EQ(log.messages(), info({"Found handler: h"}));
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(RootEntries, AddSkipsARootThatIsThere)
{
    const std::string before = configurationOf({{"h", {"R", "H"}}});
    given(before);

    EXPECT_EQ(add(), 1);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), info({"Found handler: h", "Root element R already exist in h\nSkipping add."}));
}

TEST_F(RootEntries, AddSkipsARootOfAnotherElementName)
{
    given("<qor><participants><participant><roots><other name='R'/></roots><managedObject compName='h'/></participant>"
          "</participants></qor>");

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(log.messages(), info({"Found handler: h", "Root element R already exist in h\nSkipping add."}));
    EXPECT_FALSE(isWritten());
}

TEST_F(RootEntries, AddComparesNamesCaseSensitively)
{
    given(configurationOf({{"h", {"r"}}}));

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(written(), configurationOf({{"h", {"r", "R"}}}));
}

TEST_F(RootEntries, AddRegistersANewHandler)
{
    given(configurationOf({{"a", {"R"}}, {"H", {}}}));

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(written(), configurationOf({{"a", {"R"}}, {"H", {}}, {"h", {"R"}, "5", "6"}}));
    EXPECT_EQ(log.messages(), info({"Adding new handler: h with root class: R"}));
}

TEST_F(RootEntries, AddUsesTheFirstOfTwoParticipants)
{
    given(configurationOf({{"h", {"A"}}, {"h", {"B"}}}));

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(written(), configurationOf({{"h", {"A", "R"}}, {"h", {"B"}}}));
    EXPECT_EQ(log.messages(), info({"Found handler: h"}));
}

TEST_F(RootEntries, AddSkipsAParticipantWithoutRoots)
{
    given("<qor><participants><participant><managedObject compName='h'/></participant>"
          "<participant><roots/><managedObject compName='h'/></participant></participants></qor>");

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(written(), "<qor>\n\t<participants>\n\t\t<participant>\n\t\t\t<managedObject compName=\"h\"/>\n"
                         "\t\t</participant>\n\t\t<participant>\n\t\t\t<roots>\n\t\t\t\t<root name=\"R\"/>\n"
                         "\t\t\t</roots>\n\t\t\t<managedObject compName=\"h\"/>\n\t\t</participant>\n"
                         "\t</participants>\n</qor>\n");
    EXPECT_EQ(log.messages(), info({"Found handler: h", "Found handler: h"}));
}

TEST_F(RootEntries, AddWritesAHandlerWithoutRootsUnchanged)
{
    given("<qor><participants><participant><managedObject compName='h'/></participant></participants></qor>");
    const std::string before = textOf(document);

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(textOf(document), before);
    EXPECT_EQ(written(), before);
    EXPECT_EQ(log.messages(), info({"Found handler: h"}));
}

TEST_F(RootEntries, AddUsesTheFirstRootsChildOfTheParticipant)
{
    given("<participants><participant><x><roots n='0'/></x><roots n='1'/><roots n='2'/><managedObject compName='h'/>"
          "</participant></participants>");

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(written(), "<participants>\n"
                         "\t<participant>\n"
                         "\t\t<x>\n"
                         "\t\t\t<roots n=\"0\"/>\n"
                         "\t\t</x>\n"
                         "\t\t<roots n=\"1\">\n"
                         "\t\t\t<root name=\"R\"/>\n"
                         "\t\t</roots>\n"
                         "\t\t<roots n=\"2\"/>\n"
                         "\t\t<managedObject compName=\"h\"/>\n"
                         "\t</participant>\n"
                         "</participants>\n");
}

TEST_F(RootEntries, AddWritesAnEmptyNameWithoutARootElement)
{
    model = framework.file("model.xml", "<m/>");
    given(configurationOf({{"h", {"H"}}}));

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(written(), configurationOf({{"h", {"H", ""}}}));
    EXPECT_EQ(log.messages(), info({"Found handler: h", "Unable to locate root class in model file."}));
}

TEST_F(RootEntries, AddRepeatsAnEmptyNameWithoutARootElement)
{
    model = framework.file("model.xml", "<m/>");
    given(configurationOf({{"h", {""}}}));

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(written(), configurationOf({{"h", {"", ""}}}));
}

TEST_F(RootEntries, AddRegistersNoHandlerWithoutARootElement)
{
    model = framework.file("model.xml", "<m/>");
    const std::string before = configurationOf({{"a", {"A"}}});
    given(before);

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(written(), before);
    EXPECT_EQ(log.messages(), info({"Unable to locate root class in model file.",
                                    "cannot add model file without root class to qor.cfg"}));
}

TEST_F(RootEntries, AddFailsForAnUnreadableModel)
{
    model = "/nonexistent/model.xml";
    const std::string before = configurationOf({{"h", {"H"}}});
    given(before);

    EXPECT_EQ(add(), 0);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), info({"Found handler: h", UNREADABLE}));
}

TEST_F(RootEntries, AddOfANewHandlerFailsForAnUnreadableModel)
{
    model = "/nonexistent/model.xml";
    const std::string before = configurationOf({{"a", {"A"}}});
    given(before);

    EXPECT_EQ(add(), 0);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(RootEntries, AddFailsWithoutAContainer)
{
    given("<qor/>");

    EXPECT_EQ(add(), 0);

    expectUnchanged(document, "<qor/>\n");
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_ERROR, "Unable to find the participants entry!"}}));
}

TEST_F(RootEntries, AddFailsForAHandlerOutsideAParticipant)
{
    given("<participants><other><roots/><managedObject compName='h'/></other></participants>");
    const std::string before = textOf(document);

    EXPECT_EQ(add(), 0);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_INFORMATION, "Found handler: h"},
                                        {Message::PRIO_WARNING, "Unable to find the participant entry!"}}));
}

TEST_F(RootEntries, AddFailsForAHandlerAsDocumentElement)
{
    given("<managedObject compName='h'/>");

    EXPECT_EQ(add(), 0);

    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_INFORMATION, "Found handler: h"},
                                        {Message::PRIO_WARNING, "Unable to find the participant entry!"}}));
}

TEST_F(RootEntries, AddIgnoresAHandlerWithoutAttributes)
{
    given("<participants><participant><roots/><managedObject/></participant></participants>");
    workOn("");

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(log.messages(), info({"Adding new handler:  with root class: R"}));
}

TEST_F(RootEntries, AddFindsANamelessHandlerWithAttributes)
{
    given("<participants><participant><roots/><managedObject version='1'/></participant></participants>");
    workOn("");

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(log.messages(), info({"Found handler: "}));
    EXPECT_EQ(written(), "<participants>\n"
                         "\t<participant>\n"
                         "\t\t<roots>\n"
                         "\t\t\t<root name=\"R\"/>\n"
                         "\t\t</roots>\n"
                         "\t\t<managedObject version=\"1\"/>\n"
                         "\t</participant>\n"
                         "</participants>\n");
}

TEST_F(RootEntries, AddReportsAFailedWriteAndKeepsTheRoot)
{
    putDirectoryAt(framework.configuration(".tmp"));
    given(configurationOf({{"h", {}}}));

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(textOf(document), configurationOf({{"h", {"R"}}}));
    EXPECT_EQ(log.messages(), info({"Found handler: h", "Unable to wite updated XML file!"}));
}

TEST_F(RootEntries, AddWritesOnceForANewHandler)
{
    putFullDeviceAt(framework.configuration(".tmp"));
    given(configurationOf({{"a", {"A"}}}));

    EXPECT_EQ(add(), 1);

    EXPECT_EQ(log.messages(), info({"Adding new handler: h with root class: R", "Unable to wite updated XML file!"}));
}

// ---- modifyRoot, ENTRY_REMOVE_ROOT ----

TEST_F(RootEntries, RemoveRootLeavesOtherHandlersAlone)
{
    given(configurationOf({{"a", {"R"}}, {"h", {"H", "R", "I"}}}));

    EXPECT_EQ(remove(), 1);

    EXPECT_EQ(written(), configurationOf({{"a", {"R"}}, {"h", {"H", "I"}}}));
    EXPECT_EQ(log.messages(), info({"Found handler: h", "Removed root entry R from h"}));
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(RootEntries, RemoveRootRemovesOneOfTwoEqualRoots)
{
    given(configurationOf({{"h", {"R", "R"}}}));

    EXPECT_EQ(remove(), 1);

    EXPECT_EQ(written(), configurationOf({{"h", {"R"}}}));
}

TEST_F(RootEntries, RemoveRootRemovesTheHandlerWithItsLastRoot)
{
    given(configurationOf({{"a", {"A"}}, {"h", {"R"}}}));

    EXPECT_EQ(remove(), 1);

    EXPECT_EQ(written(), configurationOf({{"a", {"A"}}}));
    EXPECT_EQ(log.messages(), info({"Found handler: h", "Removed root entry R from h", "Removed handler: h"}));
}

TEST_F(RootEntries, RemoveRootWritesBeforeRemovingTheHandler)
{
    putFullDeviceAt(framework.configuration(".tmp"));
    given(configurationOf({{"a", {"A"}}, {"h", {"R"}}}));

    EXPECT_EQ(remove(), 1);

    EXPECT_EQ(log.messages(),
              info({"Found handler: h", "Unable to wite updated XML file!", "Removed root entry R from h",
                    "Unable to wite updated XML file!", "Removed handler: h"}));
}

TEST_F(RootEntries, RemoveRootFailsForTheLastRootOfAll)
{
    const std::string before = configurationOf({{"h", {"R"}}});
    given(before);

    EXPECT_EQ(remove(), 0);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), info({"Found handler: h", "Unable to remove root entry"}));
}

TEST_F(RootEntries, RemoveRootLeavesTheOnlyHandlerItsOtherRoots)
{
    given(configurationOf({{"h", {"R", "H"}}}));

    EXPECT_EQ(remove(), 1);

    EXPECT_EQ(written(), configurationOf({{"h", {"H"}}}));
}

TEST_F(RootEntries, RemoveRootWritesUnchangedForAMissingRoot)
{
    const std::string before = configurationOf({{"h", {"H"}}});
    given(before);

    EXPECT_EQ(remove(), 1);

    EXPECT_EQ(textOf(document), before);
    EXPECT_EQ(written(), before);
    EXPECT_EQ(log.messages(), info({"Found handler: h", "Unable to find root entry R in h"}));
}

TEST_F(RootEntries, RemoveRootSearchesLaterParticipants)
{
    given(configurationOf({{"h", {"A"}}, {"h", {"B", "R"}}, {"h", {"R"}}}));

    EXPECT_EQ(remove(), 1);

    EXPECT_EQ(written(), configurationOf({{"h", {"A"}}, {"h", {"B"}}, {"h", {"R"}}}));
    EXPECT_EQ(log.messages(), info({"Found handler: h", "Unable to find root entry R in h", "Found handler: h",
                                    "Removed root entry R from h"}));
}

TEST_F(RootEntries, RemoveRootIsSilentForAMissingHandler)
{
    const std::string before = configurationOf({{"a", {"R"}}});
    given(before);

    EXPECT_EQ(remove(), 1);

    EXPECT_EQ(textOf(document), before);
    EXPECT_EQ(written(), before);
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(RootEntries, RemoveRootSkipsAHandlerWithoutRoots)
{
    given("<qor><participants><participant><managedObject compName='h'/></participant></participants></qor>");
    const std::string before = textOf(document);

    EXPECT_EQ(remove(), 1);

    EXPECT_EQ(written(), before);
    EXPECT_EQ(log.messages(), info({"Found handler: h"}));
}

TEST_F(RootEntries, RemoveRootRemovesNothingWithoutARootElement)
{
    model = framework.file("model.xml", "<m/>");
    const std::string before = configurationOf({{"h", {"", "H"}}});
    given(before);

    EXPECT_EQ(remove(), 1);

    EXPECT_EQ(written(), before);
    EXPECT_EQ(log.messages(), info({"Found handler: h", "Unable to locate root class in model file.",
                                    "Unable to find root entry  in h"}));
}

TEST_F(RootEntries, RemoveRootFailsForAnUnreadableModel)
{
    model = framework.file("model.xml", "<m>");
    const std::string before = configurationOf({{"h", {"R", "H"}}});
    given(before);

    EXPECT_EQ(remove(), 0);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), info({"Found handler: h", UNREADABLE}));
}

TEST_F(RootEntries, RemoveRootDoesNotCountOtherElementNames)
{
    given("<participants><participant><roots><other name='R'/><root name='H'/></roots><managedObject compName='h'/>"
          "</participant><participant/></participants>");

    EXPECT_EQ(remove(), 1);

    // One root is left in the list, which therefore counts as the handler's last.
    EXPECT_EQ(log.messages(), info({"Found handler: h", "Removed root entry R from h", "Removed handler: h"}));
    EXPECT_EQ(written(), "<participants>\n\t<participant/>\n</participants>\n");
}

// ---- modifyRoot, ENTRY_REMOVE_HANDLER ----

TEST_F(RootEntries, RemoveHandlerRemovesItsFirstParticipant)
{
    model = "";
    given(configurationOf({{"a", {"A"}}, {"h", {"R"}}, {"h", {"S"}}}));

    EXPECT_EQ(modify(CmdEntryAction::ENTRY_REMOVE_HANDLER), 1);

    EXPECT_EQ(written(), configurationOf({{"a", {"A"}}, {"h", {"S"}}}));
    EXPECT_EQ(log.messages(), info({"Found handler: h", "Removed handler: h"}));
}

TEST_F(RootEntries, RemoveHandlerFailsForTheOnlyHandler)
{
    const std::string before = configurationOf({{"h", {"R"}}});
    given(before);

    EXPECT_EQ(modify(CmdEntryAction::ENTRY_REMOVE_HANDLER), 0);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), info({"Found handler: h", "Unable to remove handle as this is the last entry"}));
}

TEST_F(RootEntries, RemoveHandlerReportsAMissingHandler)
{
    const std::string before = configurationOf({{"a", {"R"}}});
    given(before);

    EXPECT_EQ(modify(CmdEntryAction::ENTRY_REMOVE_HANDLER), 1);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), info({"Unable to locate and remove handler: h from qor.cfg"}));
}

// ---- existsRoot ----

class ExistsRoot : public RootEntries
{
protected:
    int ask()
    {
        return parser.existsRoot(document, model, found, servedBy);
    }

    bool found = true;
    std::string servedBy = "as it was";
};

TEST_F(ExistsRoot, FindsTheServingHandler)
{
    given(configurationOf({{"a", {"A"}}, {"b", {"B", "R"}}, {"c", {"R"}}}));
    found = false;

    EXPECT_EQ(ask(), 1);

    EXPECT_TRUE(found);
    EXPECT_EQ(servedBy, "b");
    EXPECT_EQ(log.messages(), info({"Model handler : b for Root element: R already exists"}));
    EXPECT_FALSE(isWritten());
}

TEST_F(ExistsRoot, FindsNothingForAnUnservedRoot)
{
    given(configurationOf({{"a", {"A"}}, {"b", {"r"}}}));

    EXPECT_EQ(ask(), 1);

    EXPECT_FALSE(found);
    EXPECT_EQ(servedBy, "as it was");
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(ExistsRoot, FindsARootAtAnyDepthBelowTheRoots)
{
    given("<participants><participant><x><roots><y><root name='R'/></y></roots></x><z><managedObject compName='a'/></z>"
          "<managedObject compName='b'/></participant></participants>");

    EXPECT_EQ(ask(), 1);

    EXPECT_TRUE(found);
    EXPECT_EQ(servedBy, "a");
}

TEST_F(ExistsRoot, FindsNoNameWithoutAnInterface)
{
    given("<participants><participant><roots><root name='R'/></roots></participant></participants>");

    EXPECT_EQ(ask(), 1);

    EXPECT_TRUE(found);
    EXPECT_EQ(servedBy, "as it was");
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(ExistsRoot, FindsNothingWithTwoContainers)
{
    given("<qor><participants><participant><roots><root name='R'/></roots></participant></participants>"
          "<participants/></qor>");

    EXPECT_EQ(ask(), 1);

    EXPECT_FALSE(found);
}

TEST_F(ExistsRoot, FindsNothingWithoutAContainer)
{
    given("<qor><participant><roots><root name='R'/></roots></participant></qor>");

    EXPECT_EQ(ask(), 1);

    EXPECT_FALSE(found);
}

TEST_F(ExistsRoot, FindsNothingInAParticipantWithTwoRoots)
{
    given("<participants><participant><roots><root name='R'/></roots><roots/></participant></participants>");

    EXPECT_EQ(ask(), 1);

    EXPECT_FALSE(found);
}

TEST_F(ExistsRoot, FindsNothingInAParticipantWithoutRoots)
{
    given("<participants><participant><root name='R'/></participant></participants>");

    EXPECT_EQ(ask(), 1);

    EXPECT_FALSE(found);
}

TEST_F(ExistsRoot, ReturnsNoRootClassWithoutARootElement)
{
    model = framework.file("model.xml", "<m/>");
    given(configurationOf({{"a", {""}}}));

    EXPECT_EQ(ask(), 2);

    EXPECT_FALSE(found);
    EXPECT_EQ(servedBy, "as it was");
    EXPECT_EQ(log.messages(), info({"Unable to locate root class in model file."}));
}

TEST_F(ExistsRoot, FailsForAnUnreadableModel)
{
    model = "/nonexistent/model.xml";
    given(configurationOf({{"a", {"R"}}}));

    EXPECT_EQ(ask(), 0);

    EXPECT_FALSE(found);
    EXPECT_EQ(log.messages(), info({UNREADABLE}));
}

} // namespace

} // namespace QMT::Test
