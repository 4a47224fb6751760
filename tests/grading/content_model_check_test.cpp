// The content-model check itself: it must catch what Final Cut Pro's document type refuses.
#include "content_model_check.h"

#include <gtest/gtest.h>

namespace tidyreel {
namespace {

std::vector<std::string> violationsOf(const std::string& spine) {
    return test::contentModelViolations(*XmlDocument::parse(
        R"(<fcpxml version="1.11"><resources><effect id="r9" uid="u"/></resources><library><event><project>)"
        R"(<sequence><spine>)" +
        spine + "</spine></sequence></project></event></library></fcpxml>"));
}

TEST(ContentModelCheck, AcceptsFiltersWhereTheDocumentTypePutsThem) {
    EXPECT_EQ(violationsOf(
                  R"(<asset-clip><note/><adjust-colorConform/><adjust-volume/><marker/>)"
                  R"(<audio-channel-source/><filter-video ref="r9"/><filter-audio/><metadata/></asset-clip>)"
                  R"(<mc-clip><mc-source angleID="a"><adjust-transform/><filter-video ref="r9"/></mc-source>)"
                  R"(<keyword/></mc-clip><video><marker/><filter-video ref="r9"/><reserved/></video>)"),
              std::vector<std::string>{});
}

TEST(ContentModelCheck, FindsMisplacedFiltersAndBrokenReferences) {
    EXPECT_EQ(violationsOf(R"(<mc-clip name="M"><mc-source angleID="a"/><filter-video ref="r9"/></mc-clip>)"),
              std::vector<std::string>{
                  R"(<filter-video> in <mc-clip name="M">: not allowed here or out of order)"});
    EXPECT_EQ(violationsOf(R"(<asset-clip name="A"><metadata/><filter-video ref="r9"/></asset-clip>)").size(),
              1u);
    EXPECT_EQ(violationsOf(R"(<sync-clip><filter-video ref="r9"/><sync-source/></sync-clip>)").size(), 1u);
    EXPECT_EQ(violationsOf(R"(<mc-clip><marker/><mc-source angleID="a"/></mc-clip>)").size(), 1u);
    EXPECT_EQ(violationsOf(R"(<clip><metadata/><metadata/></clip>)").size(), 1u);
    EXPECT_EQ(violationsOf(
                  R"(<video><filter-video ref="r1"/></video><mc-clip><mc-source srcEnable="x"/></mc-clip>)"),
              (std::vector<std::string>{"<filter-video> refers to r1, which is no effect resource",
                                        "<mc-source> lacks the attribute angleID",
                                        R"(<mc-source> has srcEnable="x")"}));
}

}  // namespace
}  // namespace tidyreel
