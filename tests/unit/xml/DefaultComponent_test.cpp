#include "support/Files.h"
#include "support/XmlTest.h"

#include <Poco/Message.h>

namespace QMT::Test
{

namespace
{

using Poco::Message;

const std::string PLACEHOLDER = "VELDA_OAM_COMPONENT";

class DefaultComponent : public XmlTest
{
protected:
    DefaultComponent() : model(framework.model("model.xml", "R"))
    {
        workOn("h");
    }

    void given(const std::string& text)
    {
        document = parse(text);
    }

    int verify(const std::string& modelFile)
    {
        return parser.verifySetDefaultComponent(document, modelFile, "h", "5", "6");
    }

    std::string model;
    CXMLParser::DocumentPtr document;
};

// ---- The placeholder ----

TEST_F(DefaultComponent, TakesOverThePlaceholderAndAddsTheRootClass)
{
    given(configurationOf({{PLACEHOLDER, {}}, {"a", {"A"}}}));

    EXPECT_EQ(verify(model), 1);

    EXPECT_EQ(written(), configurationOf({{"h", {"R"}, "5", "6"}, {"a", {"A"}}}));
    EXPECT_EQ(log.messages(), info({"Replaced default QOR component tag with: h", "Found handler: h"}));
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(DefaultComponent, WritesTheNewNameBeforeAddingTheRootClass)
{
    putFullDeviceAt(framework.configuration(".tmp"));
    given(configurationOf({{PLACEHOLDER, {}}}));

    EXPECT_EQ(verify(model), 1);

    EXPECT_EQ(log.messages(), info({"Replaced default QOR component tag with: h", "Unable to wite updated XML file!",
                                    "Found handler: h", "Unable to wite updated XML file!"}));
}

TEST_F(DefaultComponent, TakesOverThePlaceholderWithoutAModel)
{
    given(configurationOf({{PLACEHOLDER, {"D"}}}));

    EXPECT_EQ(verify(""), 1);

    EXPECT_EQ(written(), configurationOf({{"h", {"D"}, "5", "6"}}));
    EXPECT_EQ(log.messages(), info({"Replaced default QOR component tag with: h"}));
}

TEST_F(DefaultComponent, KeepsASecondInterfaceOfAnotherName)
{
    given("<participants><participant><managedObject compName='VELDA_OAM_COMPONENT' version='1'/>"
          "<txResource compName='other' version='2'/></participant></participants>");

    EXPECT_EQ(verify(""), 1);

    EXPECT_FALSE(isWritten());
    EXPECT_EQ(textOf(document),
              "<participants>\n\t<participant>\n\t\t<managedObject compName=\"h\" version=\"5\"/>\n"
              "\t\t<txResource compName=\"other\" version=\"2\"/>\n\t</participant>\n</participants>\n");
    EXPECT_EQ(log.messages(), info({"Replaced default QOR component tag with: h"}));
}

TEST_F(DefaultComponent, TakesOverAPlaceholderWithOneInterface)
{
    given("<participants><participant><managedObject compName='VELDA_OAM_COMPONENT'/></participant></participants>");

    EXPECT_EQ(verify(""), 1);

    EXPECT_FALSE(isWritten());
}

TEST_F(DefaultComponent, TakesOverTheFirstOfTwoPlaceholders)
{
    given(configurationOf({{PLACEHOLDER, {"A"}}, {PLACEHOLDER, {"B"}}}));

    EXPECT_EQ(verify(""), 1);

    EXPECT_EQ(written(), configurationOf({{"h", {"A"}, "5", "6"}, {PLACEHOLDER, {"B"}}}));
}

TEST_F(DefaultComponent, TakesOverTheResourceOfAnotherParticipant)
{
    given("<participants><participant><managedObject compName='VELDA_OAM_COMPONENT'/></participant>"
          "<participant><txResource compName='VELDA_OAM_COMPONENT'/></participant></participants>");

    EXPECT_EQ(verify(""), 1);

    EXPECT_EQ(written(), "<participants>\n\t<participant>\n\t\t<managedObject compName=\"h\" version=\"5\"/>\n"
                         "\t</participant>\n\t<participant>\n\t\t<txResource compName=\"h\" version=\"6\"/>\n"
                         "\t</participant>\n</participants>\n");
}

TEST_F(DefaultComponent, TakesOverThePlaceholderForAnUnreadableModel)
{
    given(configurationOf({{PLACEHOLDER, {}}}));

    EXPECT_EQ(verify("/nonexistent/model.xml"), 1);

    EXPECT_EQ(written(), configurationOf({{"h", {}, "5", "6"}}));
    EXPECT_EQ(log.messages(), info({"Replaced default QOR component tag with: h", "Found handler: h",
                                    "Unable to parse and get the root class name from the model file."}));
}

TEST_F(DefaultComponent, IgnoresAPlaceholderInALaterPlace)
{
    const std::string before = configurationOf({{"a", {"A"}}, {PLACEHOLDER, {}}});
    given(before);

    EXPECT_EQ(verify(""), 0);

    expectUnchanged(document, before);
}

TEST_F(DefaultComponent, FailsWithoutPlaceholderAndModel)
{
    const std::string before = configurationOf({{"h", {"A"}}});
    given(before);

    EXPECT_EQ(verify(""), 0);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), info({"Default model handler not found, ignoring modelHandler update!"}));
}

TEST_F(DefaultComponent, FailsInADocumentWithoutHandlers)
{
    const std::string before = configurationOf({});
    given(before);

    EXPECT_EQ(verify(model), 0);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), SILENCE);
}

// ---- Another first handler ----

TEST_F(DefaultComponent, AddsARootClassToItsHandler)
{
    given(configurationOf({{"a", {"A"}}, {"h", {"H"}}}));

    EXPECT_EQ(verify(model), 1);

    EXPECT_EQ(written(), configurationOf({{"a", {"A"}}, {"h", {"H", "R"}}}));
    EXPECT_EQ(log.messages(), info({"Found handler: h"}));
}

TEST_F(DefaultComponent, AddsAHandlerForANewRootClass)
{
    given(configurationOf({{"a", {"A"}}}));

    EXPECT_EQ(verify(model), 1);

    EXPECT_EQ(written(), configurationOf({{"a", {"A"}}, {"h", {"R"}, "5", "6"}}));
    EXPECT_EQ(log.messages(), info({"Adding new handler: h with root class: R"}));
}

TEST_F(DefaultComponent, AcceptsARootClassItsHandlerServes)
{
    const std::string before = configurationOf({{"a", {"A"}}, {"h", {"R"}}});
    given(before);

    EXPECT_EQ(verify(model), 1);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), info({"Model handler : h for Root element: R already exists"}));
}

TEST_F(DefaultComponent, RefusesARootClassAnotherHandlerServes)
{
    const std::string before = configurationOf({{"H", {"R"}}, {"h", {"A"}}});
    given(before);

    EXPECT_EQ(verify(model), 0);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), info({"Model handler : H for Root element: R already exists"}));
}

TEST_F(DefaultComponent, RefusesARootClassServedWithoutAHandlerName)
{
    given("<participants><participant><roots/><managedObject compName='a'/></participant>"
          "<participant><roots><root name='R'/></roots></participant></participants>");
    const std::string before = textOf(document);

    EXPECT_EQ(verify(model), 0);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(DefaultComponent, AcceptsAModelWithoutARootElement)
{
    const std::string before = configurationOf({{"a", {"A"}}});
    given(before);

    EXPECT_EQ(verify(framework.file("model.xml", "<m/>")), 1);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), info({"Unable to locate root class in model file."}));
}

TEST_F(DefaultComponent, RefusesAnUnreadableModel)
{
    const std::string before = configurationOf({{"a", {"A"}}});
    given(before);

    EXPECT_EQ(verify("/nonexistent/model.xml"), 0);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), info({"Unable to parse and get the root class name from the model file.", "Aborting"}));
}

TEST_F(DefaultComponent, RefusesAHandlerOutsideAParticipant)
{
    given("<qor><managedObject compName='h'/></qor>");
    const std::string before = textOf(document);

    EXPECT_EQ(verify(model), 0);

    expectUnchanged(document, before);
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_INFORMATION, "Found handler: h"},
                                        {Message::PRIO_WARNING, "Unable to find the participant entry!"},
                                        {Message::PRIO_INFORMATION, "Invalid model file: " + model + "\nAborting."}}));
}

} // namespace

} // namespace QMT::Test
