#include "description/description_title_texts.h"

#include "description/description_test_support.h"
#include "fcpxml/xml.h"

#include <gtest/gtest.h>

namespace tidyreel {
namespace {

using test::projectXml;

const std::string quilltEffects = R"(
    <effect id="r7" name="QUILLT1" uid="~/Titles.localized/Clipwright/QUILLT1/QUILLT1.moti"/>
    <effect id="r8" name="QUILLT2" uid="~/Titles.localized/Clipwright/QUILLT2/QUILLT2.moti"/>)";

std::string title(const std::string& ref, const std::string& text) {
    return R"(<title ref=")" + ref + R"(" lane="1" offset="0s" start="3600s" duration="5s">)" + text +
           "</title>";
}

DescriptionTitleTexts textsOf(const std::string& spine, const std::string& resources = quilltEffects) {
    return readDescriptionTitleTexts(*XmlDocument::parse(projectXml(spine, resources)));
}

TEST(DescriptionTitleTexts, JoinsTheRunsOfTheFirstTextLineByLine) {
    const DescriptionTitleTexts texts = textsOf(
        title(
            "r7",
            R"(<text><text-style ref="ts1">  Bergtour </text-style><text-style ref="ts2">im   Herbst</text-style>
                       <text-style ref="ts1">2024
</text-style></text><text><text-style>Second text</text-style></text>
                       <text-style-def id="ts1"><text-style font="Helvetica"/></text-style-def>)") +
        title("r8", R"(<text><text-style>Mountain &amp; <b>autumn</b></text-style></text>)"));
    EXPECT_EQ(texts.first, "Bergtour \nim   Herbst\n2024");
    EXPECT_EQ(texts.second, "Mountain & autumn");
}

TEST(DescriptionTitleTexts, TakesTheFirstTitleInDocumentOrderAnywhereInTheDocument) {
    const std::string resources = quilltEffects + R"(
    <media id="r9" name="Compound"><sequence><spine>)" +
                                  title("r7", "<text><text-style>From the compound</text-style></text>") +
                                  R"(</spine></sequence></media>)";
    const DescriptionTitleTexts texts =
        textsOf(title("r7", "<text><text-style>In the project</text-style></text>"), resources);
    EXPECT_EQ(texts.first, "From the compound");
    EXPECT_EQ(texts.second, "");
}

TEST(DescriptionTitleTexts, IsEmptyWhenAPartIsMissing) {
    const std::string text = "<text><text-style>Text</text-style></text>";
    EXPECT_EQ(textsOf(title("r7", text) + title("r8", text), ""), DescriptionTitleTexts{});
    EXPECT_EQ(textsOf(title("r2", text)), DescriptionTitleTexts{});
    EXPECT_EQ(textsOf(title("r7", "<text/>") + title("r8", "<param name=\"x\"/>")), DescriptionTitleTexts{});
    EXPECT_EQ(textsOf(title("r7", "<text><text-style> \n\t</text-style></text>")), DescriptionTitleTexts{});
    EXPECT_EQ(textsOf(title("r7", text), R"(<effect name="QUILLT1"/>)"), DescriptionTitleTexts{});
}

TEST(DescriptionTitleTexts, FindsTitlesWhoseEffectIdHoldsAQuote) {
    const std::string resources =
        R"(<effect id="it's" name="QUILLT1"/><effect id='say "x" it&apos;s' name="QUILLT2"/>)";
    const DescriptionTitleTexts texts =
        textsOf(title("it&apos;s", "<text><text-style>Quoted</text-style></text>"), resources);
    EXPECT_EQ(texts.first, "Quoted");
    EXPECT_EQ(texts.second, "");
}

TEST(DescriptionTitleDebugLines, ShowTheFirstHundredCharactersOfEachNonEmptyText) {
    const std::string hundred(100, 'a');
    EXPECT_EQ(titleTextDebugLines({hundred, ""}),
              std::vector<std::string>{"DEBUG: QUILLT1 = '" + hundred + "'"});
    EXPECT_EQ(titleTextDebugLines({"", hundred + std::string(50, 'b')}),
              std::vector<std::string>{"DEBUG: QUILLT2 = '" + hundred + "'..."});
    std::string umlauts;
    for (int i = 0; i < 101; ++i) {
        umlauts += "ä";
    }
    const std::vector<std::string> lines = titleTextDebugLines({umlauts, "Zwei\nZeilen"});
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "DEBUG: QUILLT1 = '" + umlauts.substr(0, 200) + "'...");
    EXPECT_EQ(lines[1], "DEBUG: QUILLT2 = 'Zwei\nZeilen'");
    EXPECT_TRUE(titleTextDebugLines({}).empty());
}

}  // namespace
}  // namespace tidyreel
