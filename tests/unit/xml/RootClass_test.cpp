#include "support/XmlTest.h"

#include <Poco/Message.h>

namespace QMT::Test
{

namespace
{

using Poco::Message;

const Messages NO_ROOT = {{Message::PRIO_INFORMATION, "Unable to locate root class in model file."}};
const Messages NO_NAME = {{Message::PRIO_INFORMATION, "Invalid component name!\nAborting."}};

class RootClass : public XmlTest
{
protected:
    int read(const std::string& model)
    {
        return parser.getRootClassName(framework.file("model.xml", model), rootClass);
    }

    std::string rootClass = "as it was";
};

TEST_F(RootClass, GetReturnsTheNameOfTheMarkersParent)
{
    EXPECT_EQ(read("<models name='M'><class name='C'><x/><root name='no'/></class></models>"), 1);

    EXPECT_EQ(rootClass, "C");
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(RootClass, GetUsesTheFirstMarker)
{
    EXPECT_EQ(read("<m><class name='A'/><class name='B'><root/></class><class name='C'><root/></class></m>"), 1);

    EXPECT_EQ(rootClass, "B");
}

TEST_F(RootClass, GetAcceptsTheDocumentElementAsParent)
{
    EXPECT_EQ(read("<class name='C'><root/></class>"), 1);

    EXPECT_EQ(rootClass, "C");
}

TEST_F(RootClass, GetReturnsNoRootClassWithoutAMarker)
{
    EXPECT_EQ(read("<m><class name='C'/><Root/></m>"), 2);

    EXPECT_EQ(rootClass, "as it was");
    EXPECT_EQ(log.messages(), NO_ROOT);
}

TEST_F(RootClass, GetFailsWithoutAName)
{
    EXPECT_EQ(read("<m><class><root name='R'/></class><class name='C'><root/></class></m>"), 0);

    EXPECT_EQ(log.messages(), NO_NAME);
}

TEST_F(RootClass, GetFailsForAnEmptyName)
{
    EXPECT_EQ(read("<class name=''><root/></class>"), 0);

    EXPECT_EQ(rootClass, "");
    EXPECT_EQ(log.messages(), NO_NAME);
}

TEST_F(RootClass, GetFailsWhenTheMarkerIsTheDocumentElement)
{
    EXPECT_EQ(read("<root name='R'/>"), 0);

    EXPECT_EQ(rootClass, "");
    EXPECT_EQ(log.messages(), NO_NAME);
}

TEST_F(RootClass, GetFailsForMalformedXml)
{
    EXPECT_EQ(read("<class name='C'><root></class>"), 0);

    EXPECT_EQ(rootClass, "as it was");
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(RootClass, GetFailsForAMissingFile)
{
    EXPECT_EQ(parser.getRootClassName("/nonexistent/model.xml", rootClass), 0);

    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(RootClass, GetFailsForADirectory)
{
    EXPECT_EQ(parser.getRootClassName(framework.path(), rootClass), 0);

    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_ERROR, "Error opening/reading file"}}));
}

} // namespace

} // namespace QMT::Test
