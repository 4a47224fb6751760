#include "content_model_check.h"
#include "fcpxml/resource_index.h"
#include "fcpxml/role_discovery.h"
#include "grading/fcpxml_effect_injector.h"
#include "test_support.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <numeric>
#include <set>

namespace tidyreel {
namespace {

// Real exports graded as a new user would: an effect on every role the project lists.
struct RealProject {
    const char* fixture;
    int timelinePictures;  ///< what the role list promises and grading must change
};

void PrintTo(const RealProject& project, std::ostream* out) {
    *out << project.fixture;
}

class RealProjectGrading : public testing::TestWithParam<RealProject> {
protected:
    void SetUp() override {
        document_ = XmlDocument::load(test::fixture(GetParam().fixture));
        ASSERT_EQ(test::contentModelViolations(*document_), std::vector<std::string>{})
            << "valid as exported";
        roles_ = discoverVideoRoles(*document_);
        RoleEffectMappings mapping;
        for (const VideoRole& role : roles_) {
            mapping[role.name] = EffectReference{
                "Look " + role.name, fmt::format("FxPlug:00000000-0000-0000-0000-{:012}", mapping.size()),
                std::nullopt, SourceType::fxPlug};
        }
        stats_ = FCPXMLEffectInjector(document_, mapping).inject();
    }

    // The filters this run added: those referring to one of its effects.
    std::vector<XmlElement> addedFilters() const {
        return document_->xpath(
            "//filter-video[@ref = /fcpxml/resources/effect[starts-with(@uid, 'FxPlug:00000000-')]/@id]");
    }

    std::shared_ptr<XmlDocument> document_;
    std::vector<VideoRole> roles_;
    InjectionStats stats_;
};

TEST_P(RealProjectGrading, StaysValidAndChangesWhatTheRoleListPromised) {
    EXPECT_EQ(test::contentModelViolations(*document_), std::vector<std::string>{});
    const int promised = std::accumulate(roles_.begin(), roles_.end(), 0,
                                         [](int sum, const VideoRole& role) { return sum + role.clipCount; });
    EXPECT_EQ(promised, GetParam().timelinePictures);
    EXPECT_EQ(stats_.clipsModified, promised);
    EXPECT_EQ(addedFilters().size(), static_cast<std::size_t>(promised));
}

TEST_P(RealProjectGrading, GradesEachPictureOnceAndNoSound) {
    const ResourceIndex resources(*document_);
    std::set<xmlNodePtr> hosts;
    for (XmlElement filter : addedFilters()) {
        const XmlElement host = filter.parent();
        EXPECT_TRUE(hosts.insert(host.node()).second) << "two added filters on one " << host.name();
        EXPECT_NE(host.name(), "mc-clip");
        EXPECT_NE(host.attribute("srcEnable"), "audio");
        if (host.name() == "asset-clip") {
            EXPECT_EQ(resources.asset(host.attribute("ref").value_or("")).attribute("hasVideo"), "1");
        }
        // A container's primary component shows the container's picture: only one of them is graded.
        const XmlElement parent = host.parent();
        if (!host.hasAttribute("lane") && (parent.name() == "clip" || parent.name() == "sync-clip")) {
            EXPECT_FALSE(hosts.contains(parent.node())) << parent.attribute("name").value_or("?");
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Exports, RealProjectGrading,
    testing::Values(RealProject{"TheAcharya__OpenFCPXMLKit__MulticamSampleWithCuts.fcpxml", 7},
                    RealProject{"orchetect__DAWFileKit__MulticamMarkers2.fcpxml", 1},
                    RealProject{"orchetect__DAWFileKit__SyncClip.fcpxml", 1},
                    RealProject{"orchetect__DAWFileKit__SyncClipRoles2.fcpxml", 2},
                    RealProject{"TheAcharya__OpenFCPXMLKit__CompoundClipSample.fcpxml", 1},
                    RealProject{"orchetect__DAWFileKit__CompoundClips.fcpxml", 1},
                    RealProject{"TheAcharya__OpenFCPXMLKit__CutSample.fcpxml", 4},
                    RealProject{"orchetect__DAWFileKit__AudioOnly.fcpxml", 0},
                    RealProject{"orchetect__DAWFileKit__24.fcpxml", 22},
                    RealProject{"AcademySoftwareFoundation__OpenTimelineIO__fcpx_example.fcpxml", 20}));

TEST(RealProjectRoles, ListsNoVideoRoleForSoundOnlyProjects) {
    EXPECT_TRUE(
        discoverVideoRoles(*XmlDocument::load(test::fixture("orchetect__DAWFileKit__AudioOnly.fcpxml")))
            .empty());
}

}  // namespace
}  // namespace tidyreel
