#include "xml/NestingDepth.h"

#include <gtest/gtest.h>

#include <string>

namespace QMT::Test
{

namespace
{

const std::string DOCUMENT_TYPE = "<!DOCTYPE a [<!ENTITY e '<a/>'>]>";

std::string repeat(const std::string& text, unsigned int times)
{
    std::string all;
    for (unsigned int i = 0; i < times; ++i)
    {
        all += text;
    }
    return all;
}

/// `depth` elements, one in another, around `inside`.
std::string nest(unsigned int depth, const std::string& inside = std::string())
{
    return repeat("<a>", depth) + inside + repeat("</a>", depth);
}

/// `text` in UTF-16, little end first.
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

/// What would begin an element if it were not within something else.
std::string tooManyStartTags()
{
    return repeat("<a>", MAX_NESTING_DEPTH + 1);
}

// ---- Without a document type declaration ----

TEST(NestingDepth, AllowsTheGreatestDepthAndNoMore)
{
    EXPECT_FALSE(isNestedTooDeeply(nest(MAX_NESTING_DEPTH)));
    EXPECT_TRUE(isNestedTooDeeply(nest(MAX_NESTING_DEPTH + 1)));
}

TEST(NestingDepth, CountsWhatIsNotClosed)
{
    EXPECT_FALSE(isNestedTooDeeply(repeat("<a>", MAX_NESTING_DEPTH)));
    EXPECT_TRUE(isNestedTooDeeply(repeat("<a>", MAX_NESTING_DEPTH + 1)));
}

TEST(NestingDepth, GoesOnBehindAnElementThatIsClosed)
{
    EXPECT_FALSE(isNestedTooDeeply(repeat("<a><b></b>", MAX_NESTING_DEPTH - 1)));
    EXPECT_TRUE(isNestedTooDeeply(repeat("<a><b></b>", MAX_NESTING_DEPTH)));
}

TEST(NestingDepth, AllowsAnyNumberOfElementsSideBySide)
{
    EXPECT_FALSE(isNestedTooDeeply("<a>" + repeat("<b></b>", 3 * MAX_NESTING_DEPTH) + "</a>"));
    EXPECT_FALSE(isNestedTooDeeply("<a>" + repeat("<b c='/'/>", 3 * MAX_NESTING_DEPTH) + "</a>"));
}

TEST(NestingDepth, CountsAnElementWithoutContentWhereItStands)
{
    EXPECT_FALSE(isNestedTooDeeply(nest(MAX_NESTING_DEPTH - 1, "<b/>")));
    EXPECT_TRUE(isNestedTooDeeply(nest(MAX_NESTING_DEPTH, "<b/>")));
}

TEST(NestingDepth, CountsElementsWithAttributes)
{
    const std::string tag = "<a b='/>' c=\"'>/\" d='\"'>";

    EXPECT_FALSE(isNestedTooDeeply(repeat(tag, MAX_NESTING_DEPTH)));
    EXPECT_TRUE(isNestedTooDeeply(repeat(tag, MAX_NESTING_DEPTH + 1)));
}

TEST(NestingDepth, CountsElementsWithAnEmptyAttribute)
{
    EXPECT_TRUE(isNestedTooDeeply(repeat("<a b=''>", MAX_NESTING_DEPTH + 1)));
}

TEST(NestingDepth, SkipsManyComments)
{
    EXPECT_FALSE(isNestedTooDeeply("<b>" + repeat("<!--<a>-->", MAX_NESTING_DEPTH + 1) + "</b>"));
}

TEST(NestingDepth, SkipsComments)
{
    EXPECT_FALSE(isNestedTooDeeply("<a><!-- > -> ' " + tooManyStartTags() + " --></a>"));
    EXPECT_TRUE(isNestedTooDeeply(nest(MAX_NESTING_DEPTH, "<!-- > --><b/>")));
}

TEST(NestingDepth, SkipsCharacterData)
{
    EXPECT_FALSE(isNestedTooDeeply("<a><![CDATA[ > ]> ' " + tooManyStartTags() + "]]></a>"));
    EXPECT_TRUE(isNestedTooDeeply(nest(MAX_NESTING_DEPTH, "<![CDATA[</a>]]><b/>")));
}

TEST(NestingDepth, SkipsProcessingInstructions)
{
    EXPECT_FALSE(isNestedTooDeeply("<?a > ' " + tooManyStartTags() + " ?><a/>"));
    EXPECT_TRUE(isNestedTooDeeply(nest(MAX_NESTING_DEPTH, "<?b </a> ?><b/>")));
}

TEST(NestingDepth, SkipsAnXmlDeclaration)
{
    EXPECT_FALSE(isNestedTooDeeply("<?xml version='1.0'?>" + nest(MAX_NESTING_DEPTH)));
    EXPECT_TRUE(isNestedTooDeeply("<?xml version='1.0'?>" + nest(MAX_NESTING_DEPTH + 1)));
}

TEST(NestingDepth, EndsWithATextThatBreaksOff)
{
    for (const std::string end : {"<", "<a", "<a b='", "<a b='>", "</", "</a", "<!--", "<!-- --", "<![CDATA[", "<?a"})
    {
        EXPECT_FALSE(isNestedTooDeeply(nest(3, end))) << end;
        EXPECT_TRUE(isNestedTooDeeply(tooManyStartTags() + end)) << end;
    }
}

TEST(NestingDepth, DoesNotCountEndTagsBelowTheDocument)
{
    EXPECT_FALSE(isNestedTooDeeply(repeat("</a>", 3) + nest(MAX_NESTING_DEPTH)));
    EXPECT_TRUE(isNestedTooDeeply(repeat("</a>", 3) + nest(MAX_NESTING_DEPTH + 1)));
}

TEST(NestingDepth, IsNoneInAnEmptyText)
{
    EXPECT_FALSE(isNestedTooDeeply(""));
    EXPECT_FALSE(isNestedTooDeeply("no markup"));
}

// ---- With a document type declaration, or in an encoding of two bytes ----

TEST(NestingDepth, HasTheSameLimitBehindADocumentTypeDeclaration)
{
    EXPECT_FALSE(isNestedTooDeeply(DOCUMENT_TYPE + nest(MAX_NESTING_DEPTH)));
    EXPECT_TRUE(isNestedTooDeeply(DOCUMENT_TYPE + nest(MAX_NESTING_DEPTH + 1)));
}

TEST(NestingDepth, CountsTheElementsOfAnEntityWhereItIsUsed)
{
    EXPECT_FALSE(isNestedTooDeeply(DOCUMENT_TYPE + nest(MAX_NESTING_DEPTH - 1, "&e;")));
    EXPECT_TRUE(isNestedTooDeeply(DOCUMENT_TYPE + nest(MAX_NESTING_DEPTH, "&e;")));
}

TEST(NestingDepth, AllowsAnyNumberOfElementsSideBySideBehindADocumentTypeDeclaration)
{
    EXPECT_FALSE(isNestedTooDeeply(DOCUMENT_TYPE + "<a>" + repeat("<b></b>", 3 * MAX_NESTING_DEPTH) + "</a>"));
}

TEST(NestingDepth, CountsAsFarAsADocumentIsWellFormed)
{
    EXPECT_TRUE(isNestedTooDeeply(DOCUMENT_TYPE + tooManyStartTags()));
    EXPECT_FALSE(isNestedTooDeeply(DOCUMENT_TYPE + "<a></b>" + tooManyStartTags()));
}

TEST(NestingDepth, IsCountedWithoutNamespaces)
{
    EXPECT_TRUE(isNestedTooDeeply(DOCUMENT_TYPE + repeat("<p:a>", MAX_NESTING_DEPTH + 1)));
}

TEST(NestingDepth, IsCountedInATextOfTwoBytesACharacter)
{
    EXPECT_FALSE(isNestedTooDeeply(wide(nest(MAX_NESTING_DEPTH))));
    EXPECT_TRUE(isNestedTooDeeply(wide(nest(MAX_NESTING_DEPTH + 1))));
}

// ---- Chains of entities ----

std::string withReferences(char sign, std::ptrdiff_t count)
{
    return "<!DOCTYPE a [<!ENTITY e ''>]><a><!--" + std::string(static_cast<std::size_t>(count), sign) + "--></a>";
}

TEST(NestingDepth, AllowsTheGreatestNumberOfReferencesAndNoMore)
{
    for (const char sign : {'&', '%'})
    {
        EXPECT_FALSE(isNestedTooDeeply(withReferences(sign, MAX_ENTITY_REFERENCES)));
        EXPECT_TRUE(isNestedTooDeeply(withReferences(sign, MAX_ENTITY_REFERENCES + 1)));
    }
}

TEST(NestingDepth, AddsReferencesOfBothKinds)
{
    const std::string half(MAX_ENTITY_REFERENCES / 2, '%');

    EXPECT_FALSE(isNestedTooDeeply(withReferences('&', MAX_ENTITY_REFERENCES / 2) + "<!--" + half + "-->"));
    EXPECT_TRUE(isNestedTooDeeply(withReferences('&', MAX_ENTITY_REFERENCES / 2 + 1) + "<!--" + half + "-->"));
}

TEST(NestingDepth, AllowsAnyNumberOfReferencesInADocumentThatDeclaresNoEntities)
{
    const std::string references(MAX_ENTITY_REFERENCES + 1, '&');

    EXPECT_FALSE(isNestedTooDeeply("<!DOCTYPE a><a><!--" + references + "--></a>"));
    EXPECT_FALSE(isNestedTooDeeply("<a><!--" + references + "--></a>"));
}

TEST(NestingDepth, LimitsReferencesInATextOfTwoBytesACharacter)
{
    EXPECT_FALSE(isNestedTooDeeply(wide(withReferences('&', MAX_ENTITY_REFERENCES))));
    EXPECT_TRUE(isNestedTooDeeply(wide(withReferences('&', MAX_ENTITY_REFERENCES + 1))));
}

} // namespace

} // namespace QMT::Test
