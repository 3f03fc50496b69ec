#include "xml/DocumentDemand.h"

#include "support/Texts.h"

#include <gtest/gtest.h>

#include <string>

namespace QMT::Test
{

namespace
{

const std::string DOCUMENT_TYPE = "<!DOCTYPE a [<!ENTITY e '<a/>'>]>";

/// `depth` nested elements around `inside`.
std::string nest(unsigned int depth, const std::string& inside = std::string())
{
    return repeat("<a>", depth) + inside + repeat("</a>", depth);
}

bool isTooDeep(const std::string& xml)
{
    return !measureNames(xml).has_value();
}

/// `text` in UTF-16, little-endian.
std::string wide(const std::string& text)
{
    std::string result = "\xff\xfe";
    for (const char character : text)
    {
        result += character;
        result += '\0';
    }
    return result;
}

/// One nested start tag more than allowed; inside a comment or other markup they do not count.
std::string tooManyStartTags()
{
    return repeat("<a>", MAX_NESTING_DEPTH + 1);
}

// ---- Without a document type declaration ----

TEST(DocumentDemand, AllowsTheMaximumDepthAndNoMore)
{
    EXPECT_FALSE(isTooDeep(nest(MAX_NESTING_DEPTH)));
    EXPECT_TRUE(isTooDeep(nest(MAX_NESTING_DEPTH + 1)));
}

TEST(DocumentDemand, CountsUnclosedElements)
{
    EXPECT_FALSE(isTooDeep(repeat("<a>", MAX_NESTING_DEPTH)));
    EXPECT_TRUE(isTooDeep(repeat("<a>", MAX_NESTING_DEPTH + 1)));
}

TEST(DocumentDemand, ContinuesAfterAClosedElement)
{
    EXPECT_FALSE(isTooDeep(repeat("<a><b></b>", MAX_NESTING_DEPTH - 1)));
    EXPECT_TRUE(isTooDeep(repeat("<a><b></b>", MAX_NESTING_DEPTH)));
}

TEST(DocumentDemand, AllowsAnyNumberOfSiblings)
{
    EXPECT_FALSE(isTooDeep("<a>" + repeat("<b></b>", 3 * MAX_NESTING_DEPTH) + "</a>"));
    EXPECT_FALSE(isTooDeep("<a>" + repeat("<b c='/'/>", 3 * MAX_NESTING_DEPTH) + "</a>"));
}

TEST(DocumentDemand, CountsAnEmptyElementAtItsDepth)
{
    EXPECT_FALSE(isTooDeep(nest(MAX_NESTING_DEPTH - 1, "<b/>")));
    EXPECT_TRUE(isTooDeep(nest(MAX_NESTING_DEPTH, "<b/>")));
}

TEST(DocumentDemand, CountsElementsWithAttributes)
{
    const std::string tag = "<a b='/>' c=\"'>/\" d='\"'>";

    EXPECT_FALSE(isTooDeep(repeat(tag, MAX_NESTING_DEPTH)));
    EXPECT_TRUE(isTooDeep(repeat(tag, MAX_NESTING_DEPTH + 1)));
}

TEST(DocumentDemand, CountsElementsWithAnEmptyAttribute)
{
    EXPECT_TRUE(isTooDeep(repeat("<a b=''>", MAX_NESTING_DEPTH + 1)));
}

TEST(DocumentDemand, SkipsComments)
{
    EXPECT_FALSE(isTooDeep("<b>" + repeat("<!--<a>-->", MAX_NESTING_DEPTH + 1) + "</b>"));
    EXPECT_FALSE(isTooDeep("<a><!-- > -> ' " + tooManyStartTags() + " --></a>"));
    EXPECT_TRUE(isTooDeep(nest(MAX_NESTING_DEPTH, "<!-- > --><b/>")));
}

TEST(DocumentDemand, SkipsCharacterData)
{
    EXPECT_FALSE(isTooDeep("<a><![CDATA[ > ]> ' " + tooManyStartTags() + "]]></a>"));
    EXPECT_TRUE(isTooDeep(nest(MAX_NESTING_DEPTH, "<![CDATA[</a>]]><b/>")));
}

TEST(DocumentDemand, SkipsProcessingInstructions)
{
    EXPECT_FALSE(isTooDeep("<?a > ' " + tooManyStartTags() + " ?><a/>"));
    EXPECT_TRUE(isTooDeep(nest(MAX_NESTING_DEPTH, "<?b </a> ?><b/>")));
}

TEST(DocumentDemand, SkipsAnXmlDeclaration)
{
    EXPECT_FALSE(isTooDeep("<?xml version='1.0'?>" + nest(MAX_NESTING_DEPTH)));
    EXPECT_TRUE(isTooDeep("<?xml version='1.0'?>" + nest(MAX_NESTING_DEPTH + 1)));
}

TEST(DocumentDemand, MeasuresUpToTruncatedMarkup)
{
    for (const std::string end : {"<", "<a", "<a b='", "<a b='>", "</", "</a", "<!--", "<!-- --", "<![CDATA[", "<?a"})
    {
        EXPECT_FALSE(isTooDeep(nest(3, end))) << end;
        EXPECT_TRUE(isTooDeep(tooManyStartTags() + end)) << end;
    }
}

TEST(DocumentDemand, AllowsATextWithoutElements)
{
    EXPECT_FALSE(isTooDeep(""));
    EXPECT_FALSE(isTooDeep("no markup"));
}

// ---- With a document type declaration, or in an encoding of two bytes ----

TEST(DocumentDemand, AllowsTheSameDepthAfterADoctype)
{
    EXPECT_FALSE(isTooDeep(DOCUMENT_TYPE + nest(MAX_NESTING_DEPTH)));
    EXPECT_TRUE(isTooDeep(DOCUMENT_TYPE + nest(MAX_NESTING_DEPTH + 1)));
}

TEST(DocumentDemand, CountsTheElementsOfAnEntityWhereItIsUsed)
{
    EXPECT_FALSE(isTooDeep(DOCUMENT_TYPE + nest(MAX_NESTING_DEPTH - 1, "&e;")));
    EXPECT_TRUE(isTooDeep(DOCUMENT_TYPE + nest(MAX_NESTING_DEPTH, "&e;")));
}

TEST(DocumentDemand, AllowsAnyNumberOfSiblingsAfterADoctype)
{
    EXPECT_FALSE(isTooDeep(DOCUMENT_TYPE + "<a>" + repeat("<b></b>", 3 * MAX_NESTING_DEPTH) + "</a>"));
}

TEST(DocumentDemand, MeasuresUpToTheFirstErrorAfterADoctype)
{
    EXPECT_TRUE(isTooDeep(DOCUMENT_TYPE + tooManyStartTags()));
    EXPECT_FALSE(isTooDeep(DOCUMENT_TYPE + "<a></b>" + tooManyStartTags()));
}

TEST(DocumentDemand, IgnoresNamespacesAfterADoctype)
{
    EXPECT_TRUE(isTooDeep(DOCUMENT_TYPE + repeat("<p:a>", MAX_NESTING_DEPTH + 1)));
}

TEST(DocumentDemand, LimitsTheDepthInUtf16)
{
    EXPECT_FALSE(isTooDeep(wide(nest(MAX_NESTING_DEPTH))));
    EXPECT_TRUE(isTooDeep(wide(nest(MAX_NESTING_DEPTH + 1))));
}

// ---- Entities ----

/// A document with `count` entities, each of which refers to the one before.
std::string withChain(std::size_t count)
{
    std::string declarations = "<!ENTITY e0 'end'>";
    for (std::size_t i = 1; i < count; ++i)
    {
        declarations += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i - 1) + ";'>";
    }
    return "<!DOCTYPE a [" + declarations + "]><a>&e" + std::to_string(count - 1) + ";</a>";
}

TEST(DocumentDemand, AllowsAChainOfTheMaximumLength)
{
    EXPECT_FALSE(isTooDeep(withChain(MAX_ENTITIES)));
}

TEST(DocumentDemand, RefusesAChainOfOneEntityMore)
{
    EXPECT_TRUE(isTooDeep(withChain(MAX_ENTITIES + 1)));
}

TEST(DocumentDemand, RefusesAChainOfOneEntityMoreInUtf16)
{
    EXPECT_TRUE(isTooDeep(wide(withChain(MAX_ENTITIES + 1))));
}

TEST(DocumentDemand, AllowsAnyNumberOfPredefinedReferences)
{
    EXPECT_FALSE(isTooDeep("<!DOCTYPE a [<!ENTITY e ''>]><a>" + repeat("&amp;", 20000) + "</a>"));
}

TEST(DocumentDemand, AllowsAnyNumberOfDeclarationsInAComment)
{
    EXPECT_FALSE(isTooDeep("<!DOCTYPE a [<!ENTITY e ''>]><a><!--" + repeat("<!ENTITY", MAX_ENTITIES) + "--></a>"));
}

TEST(DocumentDemand, CountsDeclarationsInAParameterEntity)
{
    const std::string hidden =
        "<!DOCTYPE a [<!ENTITY % p \"" + repeat("&#60;!ENTITY e ''>", MAX_ENTITIES) + "\">%p;]><a/>";

    EXPECT_TRUE(isTooDeep(hidden));
}

TEST(DocumentDemand, AllowsAnyNumberOfReferencesInAnEntity)
{
    EXPECT_FALSE(isTooDeep("<!DOCTYPE a [<!ENTITY e '" + repeat("&#60;", MAX_ENTITIES) + "'>]><a/>"));
}

TEST(DocumentDemand, AllowsALongParameterEntity)
{
    EXPECT_FALSE(isTooDeep("<!DOCTYPE a [<!ENTITY % p '" + repeat(" ", MAX_ENTITIES) + "'>]><a/>"));
}

TEST(DocumentDemand, AllowsAnyNumberOfReferencesWithoutAnEntity)
{
    EXPECT_FALSE(isTooDeep("<!DOCTYPE a [<!-- % " + repeat("&#60;", MAX_ENTITIES + 1) + "-->]><a/>"));
}

// ---- Names ----

/// A document of one element with `count` different attributes.
std::string withAttributes(std::size_t count)
{
    std::string attributes;
    for (std::size_t i = 0; i < count; ++i)
    {
        attributes += " a" + std::to_string(i) + "=''";
    }
    return "<a" + attributes + "/>";
}

TEST(DocumentDemand, CountsANameForEachTagAndAttribute)
{
    EXPECT_EQ(measureNames("<a b='' c=''><d/></a>"), 4U);
}

TEST(DocumentDemand, CountsNoNamesForOtherMarkup)
{
    EXPECT_EQ(measureNames("<?p?><a><!-- c --><![CDATA[d]]></a>"), 1U);
}

TEST(DocumentDemand, CountsNoNamesInAnEmptyText)
{
    EXPECT_EQ(measureNames(""), 0U);
}

TEST(DocumentDemand, CountsTheNamesOfAnElementWithManyAttributes)
{
    EXPECT_GE(measureNames(withAttributes(10000)), 10001U);
    EXPECT_GE(measureNames(withAttributes(30000)), 30001U);
}

TEST(DocumentDemand, CountsDifferentNamesOnceInALargeDocument)
{
    EXPECT_EQ(measureNames("<a>" + repeat("<b c='='/>", 3 * MAX_NESTING_DEPTH) + "</a>"), 2U * 3U);
}

TEST(DocumentDemand, CountsAttributesThatADoctypeAdds)
{
    EXPECT_GE(measureNames("<!DOCTYPE a [<!ATTLIST a b CDATA 'x' c CDATA 'y' d CDATA 'z'>]><a/>"), 4U);
}

} // namespace

} // namespace QMT::Test
