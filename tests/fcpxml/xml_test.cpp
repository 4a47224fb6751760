#include "fcpxml/xml.h"

#include "base/error.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <chrono>

namespace tidyreel {
namespace {

std::string parseFailure(const std::string& bytes) {
    try {
        XmlDocument::parse(bytes);
    } catch (const Error& error) {
        EXPECT_EQ(error.domain(), "XMLParser");
        return error.what();
    }
    return "";
}

TEST(XmlParse, MalformedInputFailsWithTheParsersReason) {
    EXPECT_NE(parseFailure(""), "");
    EXPECT_NE(parseFailure("this is not xml"), "");
    EXPECT_NE(parseFailure("<fcpxml><resources></fcpxml>"), "");
    EXPECT_NE(parseFailure("<fcpxml version=\"1.11\"><resources><asset id=\"r1"), "");
    EXPECT_NE(parseFailure("\x89PNG\r\n\x1a\n\0\0\0"), "");
    EXPECT_NE(parseFailure("<a/><b/>").find("line"), std::string::npos);
}

TEST(XmlParse, ExternalEntitiesAreNeverRead) {
    test::TempFolder folder;
    test::writeTextFile(folder / "secret.txt", "TOP-SECRET-CONTENT");
    const std::string xml = "<?xml version=\"1.0\"?><!DOCTYPE fcpxml [<!ENTITY leak SYSTEM \"file://" +
                            (folder / "secret.txt").string() +
                            "\">]><fcpxml><project name=\"p\">&leak;</project></fcpxml>";
    std::shared_ptr<XmlDocument> document;
    try {
        document = XmlDocument::parse(xml);
    } catch (const Error&) {
        return;  // refusing the file is as good as reading it harmlessly
    }
    EXPECT_EQ(document->serialize(false).find("TOP-SECRET-CONTENT"), std::string::npos);
    EXPECT_EQ(document->first("//project").textContent().find("TOP-SECRET"), std::string::npos);
}

TEST(XmlParse, EntityExpansionBombFailsQuickly) {
    std::string xml = "<?xml version=\"1.0\"?><!DOCTYPE lolz [<!ENTITY lol0 \"lololololololololol\">";
    for (int level = 1; level <= 12; ++level) {
        xml += "<!ENTITY lol" + std::to_string(level) + " \"";
        for (int i = 0; i < 10; ++i) {
            xml += "&lol" + std::to_string(level - 1) + ";";
        }
        xml += "\">";
    }
    xml += "]><fcpxml><project name=\"&lol12;\">&lol12;</project></fcpxml>";
    std::string rendered;
    try {
        rendered = XmlDocument::parse(xml)->serialize(false);
    } catch (const Error&) {
        return;
    }
    EXPECT_LT(rendered.size(), 1'000'000u);  // kept as references, never expanded
}

// Adding, inserting and finding elements are checked through the workflows that use them.
TEST(XmlDocumentAccess, AttributeValuesRoundTripUnescaped) {
    const auto document = XmlDocument::parse(R"(<fcpxml><project name="P &amp; Q"/></fcpxml>)");
    XmlElement project = document->first("//project");
    EXPECT_EQ(project.attribute("name"), "P & Q");
    EXPECT_EQ(project.attribute("missing"), std::nullopt);
    project.setAttribute("name", "Q & \"R\" <S>");
    EXPECT_EQ(project.attribute("name"), "Q & \"R\" <S>");
    EXPECT_EQ(XmlDocument::parse(document->serialize(false))->first("//project").attribute("name"),
              "Q & \"R\" <S>");
    project.removeAttribute("name");
    EXPECT_FALSE(project.hasAttribute("name"));
}

TEST(XmlDocumentAccess, AMalformedXPathIsAnErrorNotAnEmptyResult) {
    const auto document = XmlDocument::parse("<fcpxml><project name=\"p\"/></fcpxml>");
    EXPECT_TRUE(test::throwsError([&] { document->xpath("//project[@name="); }, "XPath", 1,
                                  "Invalid XPath expression: //project[@name="));
    EXPECT_TRUE(test::throwsError([&] { document->first("count(//project)"); }, "XPath", 1,
                                  "Invalid XPath expression: count(//project)"));
    EXPECT_TRUE(document->xpath("//clip").empty());
    EXPECT_EQ(document->xpath("//project").size(), 1u);
}

TEST(XmlDocumentSerialize, PrettyOutputIndentsAddedElementsAndKeepsTextRuns) {
    const auto document = XmlDocument::parse(
        "<fcpxml>\n  <clip>\n    <note>a</note>\n  </clip>\n"
        "  <title><text><text-style ref=\"ts1\">Hallo </text-style> "
        "<text-style>Welt</text-style></text></title>\n"
        "</fcpxml>");
    document->first("//clip").appendChild("filter-video").setAttribute("ref", "r9");
    const std::string output = document->serialize(true);
    EXPECT_NE(output.find("\n    <filter-video ref=\"r9\"/>\n"), std::string::npos) << output;
    EXPECT_NE(output.find("<text-style ref=\"ts1\">Hallo </text-style> <text-style>Welt</text-style>"),
              std::string::npos)
        << output;
    EXPECT_EQ(XmlDocument::parse(output)->first("//text").textContent(), "Hallo  Welt");
}

TEST(ReadFileBytes, MissingFilesAndFoldersFailWithTheirPath) {
    test::TempFolder folder;
    try {
        readFileBytes(folder / "missing.fcpxml");
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_NE(std::string(error.what()).find("missing.fcpxml"), std::string::npos);
    }
    EXPECT_THROW(readFileBytes(folder.path()), Error);
    test::writeTextFile(folder / "empty.fcpxml", "");
    EXPECT_EQ(readFileBytes(folder / "empty.fcpxml"), "");
}

}  // namespace
}  // namespace tidyreel
