#include "fcpxml/role_discovery.h"

#include "base/error.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <tuple>

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

// name, pictures in the timeline, pictures elsewhere
using RoleCounts = std::vector<std::tuple<std::string, int, int>>;

RoleCounts countsOf(const std::vector<VideoRole>& roles) {
    RoleCounts counts;
    for (const VideoRole& role : roles) {
        counts.emplace_back(role.name, role.clipCount, role.otherClipCount);
    }
    return counts;
}

// Containers count as the picture they show: the clip as its video, the sync clip as its storyline's
// clip, the compound clip as its first picture, the multicam clip as its active (here: first) angle.
TEST(RoleDiscovery, CountsTimelinePicturesApartFromBrowserAndDefinitionPictures) {
    const std::shared_ptr<XmlDocument> document = XmlDocument::load(test::fixture("roles_mixed.fcpxml"));
    const std::vector<VideoRole> roles = discoverVideoRoles(*document);
    for (const VideoRole& role : roles) {
        EXPECT_TRUE(role.isEnabled);
        EXPECT_EQ(role.id.size(), 36u);
    }
    EXPECT_EQ(countsOf(roles),
              (RoleCounts{{"B-Roll", 2, 0}, {"Drone", 1, 2}, {"Interview", 3, 2}, {"video", 0, 1}}));
    EXPECT_NE(roles[0].id, roles[1].id);
}

TEST(RoleDiscovery, RealExportsCountThePicturesTheirTimelinesShow) {
    const auto multicam =
        XmlDocument::load(test::fixture("TheAcharya__OpenFCPXMLKit__MulticamSampleWithCuts.fcpxml"));
    EXPECT_EQ(countsOf(discoverVideoRoles(*multicam)), (RoleCounts{{"video", 7, 3}}));

    const auto rolesList = XmlDocument::load(test::fixture("orchetect__DAWFileKit__RolesList.fcpxml"));
    EXPECT_EQ(countsOf(discoverVideoRoles(*rolesList)), (RoleCounts{{"video", 5, 0}}));  // titles never count

    const auto sound = XmlDocument::load(test::fixture("orchetect__DAWFileKit__AudioOnly.fcpxml"));
    EXPECT_EQ(countsOf(discoverVideoRoles(*sound)), RoleCounts{});
}

TEST(RoleDiscovery, UpperCaseSortsBeforeLowerCase) {
    const auto document = XmlDocument::parse(
        R"(<fcpxml><video/><video role="Dialogue"/><asset-clip videoRole="B-Roll"/><video role="a"/></fcpxml>)");
    std::vector<std::string> names;
    for (const VideoRole& role : discoverVideoRoles(*document)) {
        names.push_back(role.name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"B-Roll", "Dialogue", "a", "video"}));
    EXPECT_TRUE(discoverVideoRoles(*XmlDocument::parse("<fcpxml><resources/></fcpxml>")).empty());
}

}  // namespace
}  // namespace tidyreel
