#include "fcpxml/role_discovery.h"

#include "base/error.h"
#include "test_support.h"

#include <gtest/gtest.h>

namespace tidyreel {
namespace {

XmlElement parsedElement(std::shared_ptr<XmlDocument>& holder, const std::string& xml) {
    holder = XmlDocument::parse(xml);
    return holder->root();
}

std::optional<std::string> roleOf(const std::string& xml, bool includeTitles = false) {
    std::shared_ptr<XmlDocument> document;
    return videoRole(parsedElement(document, xml), includeTitles);
}

TEST(VideoRoleRule, MainRoleIsTheTextBeforeTheFirstDot) {
    EXPECT_EQ(roleOf(R"(<asset-clip videoRole="Dialogue.Dialogue-1"/>)"), "Dialogue");
    EXPECT_EQ(roleOf(R"(<asset-clip videoRole="Video.A.B"/>)"), "Video");
    EXPECT_EQ(roleOf(R"(<asset-clip videoRole="Video"/>)"), "Video");
    EXPECT_EQ(roleOf(R"(<asset-clip videoRole=".hidden"/>)"), "");
}

TEST(VideoRoleRule, VideoRoleWinsOverRoleAndVideoIsTheDefault) {
    EXPECT_EQ(roleOf(R"(<clip videoRole="A.x" role="B.y"/>)"), "A");
    EXPECT_EQ(roleOf(R"(<asset-clip role="B-Roll.cam"/>)"), "B-Roll");
    EXPECT_EQ(roleOf(R"(<sync-clip/>)"), "video");
    for (const char* name : {"asset-clip", "clip", "mc-clip", "sync-clip", "ref-clip", "video"}) {
        EXPECT_EQ(roleOf(std::string("<") + name + "/>"), "video") << name;
    }
}

TEST(VideoRoleRule, TitlesCountOnlyWhenIncluded) {
    EXPECT_EQ(roleOf(R"(<title role="GoPro.x"/>)"), std::nullopt);
    EXPECT_EQ(roleOf(R"(<title role="GoPro.x"/>)", true), "GoPro");
    EXPECT_EQ(roleOf(R"(<title videoRole="GoPro"/>)", true), "Titles");
    EXPECT_EQ(roleOf(R"(<title/>)", true), "Titles");
}

TEST(VideoRoleRule, OtherElementsHaveNoRole) {
    for (const char* name : {"gap", "spine", "audio", "transition", "marker", "asset"}) {
        EXPECT_EQ(roleOf(std::string("<") + name + R"( role="X" videoRole="Y"/>)", true), std::nullopt)
            << name;
    }
}

TEST(RoleDiscovery, CountsTimelineBrowserAndResourceClipsSortedByName) {
    const std::shared_ptr<XmlDocument> document = XmlDocument::load(test::fixture("roles_mixed.fcpxml"));
    const std::vector<VideoRole> roles = discoverVideoRoles(*document);
    std::vector<std::pair<std::string, int>> counts;
    for (const VideoRole& role : roles) {
        counts.emplace_back(role.name, role.clipCount);
        EXPECT_TRUE(role.isEnabled);
        EXPECT_EQ(role.id.size(), 36u);
    }
    const std::vector<std::pair<std::string, int>> expected = {
        {"B-Roll", 2}, {"Compound", 1}, {"Drone", 2}, {"Interview", 5}, {"video", 3}};
    EXPECT_EQ(counts, expected);
    EXPECT_NE(roles[0].id, roles[1].id);
}

TEST(RoleDiscovery, MulticamDefinitionClipsCountBesideTheAngleSwitches) {
    const auto document =
        XmlDocument::load(test::fixture("TheAcharya__OpenFCPXMLKit__MulticamSampleWithCuts.fcpxml"));
    const std::vector<VideoRole> roles = discoverVideoRoles(*document);
    ASSERT_EQ(roles.size(), 1u);
    EXPECT_EQ(roles[0].name, "video");
    EXPECT_EQ(roles[0].clipCount, 11);  // 7 mc-clips in the timeline + 4 angle clips in the resources
}

TEST(RoleDiscovery, RealExportsWithTitleRolesAndCompoundClips) {
    const auto rolesList = XmlDocument::load(test::fixture("orchetect__DAWFileKit__RolesList.fcpxml"));
    const std::vector<VideoRole> listed = discoverVideoRoles(*rolesList);
    ASSERT_EQ(listed.size(), 1u);  // the 16 titles carry roles but are never counted
    EXPECT_EQ(listed[0].clipCount, 5);

    const auto compound =
        XmlDocument::load(test::fixture("TheAcharya__OpenFCPXMLKit__CompoundClipSample.fcpxml"));
    const std::vector<VideoRole> compoundRoles = discoverVideoRoles(*compound);
    ASSERT_EQ(compoundRoles.size(), 1u);
    EXPECT_EQ(compoundRoles[0].clipCount, 45);
}

TEST(RoleDiscovery, UpperCaseSortsBeforeLowerCase) {
    const auto document = XmlDocument::parse(
        R"(<fcpxml><clip/><clip videoRole="Dialogue"/><clip videoRole="B-Roll"/><clip videoRole="a"/></fcpxml>)");
    std::vector<std::string> names;
    for (const VideoRole& role : discoverVideoRoles(*document)) {
        names.push_back(role.name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"B-Roll", "Dialogue", "a", "video"}));
    EXPECT_TRUE(discoverVideoRoles(*XmlDocument::parse("<fcpxml><resources/></fcpxml>")).empty());
}

}  // namespace
}  // namespace tidyreel
