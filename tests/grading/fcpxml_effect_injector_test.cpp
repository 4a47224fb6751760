#include "grading/fcpxml_effect_injector.h"

#include "base/error.h"
#include "fcpxml/xml.h"
#include "grading_support.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <libxml/tree.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace tidyreel {
namespace {

using Names = std::vector<std::string>;

// A project whose resources hold a format "r1" and `resources`, and whose main spine holds `spine`.
std::shared_ptr<XmlDocument> project(const std::string& resources, const std::string& spine) {
    return XmlDocument::parse(R"(<fcpxml version="1.11"><resources><format id="r1"/>)" + resources +
                              R"(</resources><library><event><project name="Film"><sequence><spine>)" +
                              spine + "</spine></sequence></project></event></library></fcpxml>");
}

std::size_t count(const XmlDocument& document, const std::string& xpath) {
    return document.xpath(xpath).size();
}

Names childNames(XmlElement element) {
    Names names;
    for (XmlElement child : element.children()) {
        names.emplace_back(child.name());
    }
    return names;
}

InjectionStats inject(const std::shared_ptr<XmlDocument>& document, const RoleEffectMappings& mapping) {
    return FCPXMLEffectInjector(document, mapping).inject();
}

TEST(EffectInjectorResources, AddsNewEffectsAfterTheHighestIdAndFiltersEveryClipOfTheirRole) {
    auto document = project(R"(<asset id="r2"/><asset id="r3"/><effect id="r4" name="Title" uid="t"/>)",
                            R"(<asset-clip ref="r2" name="a" videoRole="GoPro.GoPro-1"/>
                               <asset-clip ref="r2" name="b" videoRole="GoPro"/>
                               <asset-clip ref="r3" name="c" videoRole="Interview"/>
                               <asset-clip ref="r3" name="d" videoRole="Drone"/>)");

    const InjectionStats stats =
        inject(document, {{"GoPro", test::kWarmTemplate}, {"Interview", test::kSoftPreset}});

    EXPECT_EQ(stats.effectsAdded, 2);
    EXPECT_EQ(stats.clipsModified, 3);
    EXPECT_EQ(stats.rolesProcessed, (Names{"GoPro", "Interview"}));
    const XmlElement warm = document->first("/fcpxml/resources/effect[@id='r5']");
    ASSERT_TRUE(warm);
    EXPECT_EQ(warm.attribute("name"), "Warm");
    EXPECT_EQ(warm.attribute("uid"), test::kWarmTemplate.uid);
    EXPECT_EQ(warm.attribute("src"), test::kWarmTemplate.src);
    Names attributeOrder;
    for (xmlAttrPtr attribute = warm.node()->properties; attribute; attribute = attribute->next) {
        attributeOrder.emplace_back(reinterpret_cast<const char*>(attribute->name));
    }
    EXPECT_EQ(attributeOrder, (Names{"id", "name", "uid", "src"}));
    const XmlElement soft = warm.nextSibling();
    EXPECT_EQ(soft.attribute("id"), "r6");
    EXPECT_EQ(soft.attribute("uid"), test::kSoftPreset.uid);
    EXPECT_FALSE(soft.hasAttribute("src"));
    EXPECT_EQ(soft.nextSibling(), XmlElement());
    EXPECT_EQ(count(*document, "//filter-video[@ref='r5'][@name='Warm']"), 2u);
    EXPECT_EQ(count(*document, "//asset-clip[@name='c']/filter-video[@ref='r6'][@name='Soft']"), 1u);
    EXPECT_EQ(count(*document, "//asset-clip[@name='d']/filter-video"), 0u);
}

// A known uid reuses the project's effect (the later of two), which takes over the name if it has one.
TEST(EffectInjectorResources, ReusesTheLaterEffectWithTheSameUid) {
    auto document =
        project(R"(<effect id="r7" name="Old Name" uid=")" + test::kWarmTemplate.uid + R"("/>)" +
                    R"(<effect id="r2" name="A" uid=")" + test::kFxPlugUid + R"("/><effect id="r3" uid=")" +
                    test::kFxPlugUid + R"("/>)",
                R"(<asset-clip name="a" videoRole="GoPro"/><asset-clip name="b" videoRole="Interview"/>)");

    const InjectionStats stats =
        inject(document, {{"GoPro", test::kWarmTemplate}, {"Interview", test::kSoftPreset}});

    EXPECT_EQ(stats.effectsAdded, 0);
    EXPECT_EQ(stats.clipsModified, 2);
    EXPECT_EQ(count(*document, "//resources/effect"), 3u);
    EXPECT_EQ(document->first("//effect[@id='r7']").attribute("name"), "Warm");
    EXPECT_EQ(document->first("//effect[@id='r2']").attribute("name"), "A");
    EXPECT_FALSE(document->first("//effect[@id='r3']").hasAttribute("name"));
    EXPECT_EQ(count(*document, "//asset-clip[@name='a']/filter-video[@ref='r7'][@name='Warm']"), 1u);
    EXPECT_EQ(count(*document, "//asset-clip[@name='b']/filter-video[@ref='r3']"), 1u);
}

TEST(EffectInjectorResources, NumbersOnFromTheHighestWellFormedIdOrStartsAtR1) {
    auto numbered =
        project(R"(<asset id="r2"/><asset id="r10"/><asset id="rx"/><asset id="r"/><asset id="r3b"/>
                               <asset id="x99"/><asset id="r99999999999999999999"/>)",
                R"(<asset-clip name="a" videoRole="GoPro"/>)");
    inject(numbered, {{"GoPro", test::kWarmTemplate}});
    EXPECT_TRUE(numbered->first("//resources/effect[@id='r11']"));
    auto unnumbered =
        XmlDocument::parse(R"(<fcpxml><resources><format id="fmt"/></resources><library><event>)"
                           R"(<project><sequence><spine><asset-clip videoRole="GoPro"/></spine>)"
                           R"(</sequence></project></event></library></fcpxml>)");
    inject(unnumbered, {{"GoPro", test::kWarmTemplate}});
    EXPECT_TRUE(unnumbered->first("//resources/effect[@id='r1']"));
}

TEST(EffectInjectorResources, NumbersNewEffectsInRoleNameOrderOneResourcePerRoleEvenWithoutClips) {
    auto document =
        project("", R"(<asset-clip name="a" videoRole="Zoom"/><asset-clip name="b" videoRole="Aerial"/>
                                   <asset-clip name="c" videoRole="Beach"/>)");
    const InjectionStats stats = inject(document, {{"Zoom", test::kSoftPreset},
                                                   {"Aerial", test::kWarmTemplate},
                                                   {"Beach", test::kWarmTemplate},
                                                   {"Drone", test::kSoftPreset}});
    EXPECT_EQ(stats.effectsAdded, 4);
    EXPECT_EQ(stats.rolesProcessed, (Names{"Aerial", "Beach", "Zoom"}));
    EXPECT_EQ(document->first("//effect[@id='r2']").attribute("name"), "Warm");
    EXPECT_EQ(document->first("//effect[@id='r4']").attribute("name"), "Soft");
    // Two roles sharing a new effect each get a resource; both use the later.
    EXPECT_EQ(count(*document, "//asset-clip/filter-video[@ref='r3']"), 2u);
    EXPECT_EQ(count(*document, "//asset-clip[@name='a']/filter-video[@ref='r5']"), 1u);
}

TEST(EffectInjectorRoles, UsesTheRoleAttributeAndTheVideoDefault) {
    auto document = project("", R"(<asset-clip name="a" role="B-Roll.cam"/><clip name="b"/>
                                   <asset-clip name="c" videoRole="b-roll"/>)");
    const InjectionStats stats =
        inject(document, {{"B-Roll", test::kWarmTemplate}, {"video", test::kSoftPreset}});
    EXPECT_EQ(count(*document, "//asset-clip[@name='a']/filter-video[@name='Warm']"), 1u);
    EXPECT_EQ(count(*document, "//clip[@name='b']/filter-video[@name='Soft']"), 1u);
    EXPECT_EQ(count(*document, "//asset-clip[@name='c']/filter-video"), 0u);
    EXPECT_EQ(stats.clipsModified, 2);
}

TEST(EffectInjectorWalk, FiltersTimelineClipsAndEntersCompoundAndMulticamOnlyThroughConnectedClips) {
    auto document = XmlDocument::load(test::fixture("grading/clip_walk.fcpxml"));
    const InjectionStats stats = inject(document, {{"GoPro", test::kWarmTemplate}});
    const auto clips = document->xpath("//*[starts-with(@name, 'filtered') or starts-with(@name, 'kept')]");
    ASSERT_EQ(clips.size(), 19u);
    for (const XmlElement& clip : clips) {
        const std::string name = clip.attribute("name").value_or("");
        EXPECT_EQ(static_cast<bool>(clip.firstChild("filter-video")), name.starts_with("filtered")) << name;
    }
    EXPECT_EQ(stats.clipsModified, 11);
}

TEST(EffectInjectorWalk, GradesARealSyncClipExportByItsRoles) {
    auto document = XmlDocument::load(test::fixture("orchetect__DAWFileKit__SyncClip.fcpxml"));
    inject(document, {{"Sample Role", test::kSoftPreset}});
    EXPECT_EQ(count(*document, "//filter-video"), 1u);
    EXPECT_TRUE(
        document->first("//sync-clip/asset-clip[@name='TestVideo']/filter-video[@ref='r6']"
                        "/following-sibling::*[1][self::metadata]"));
}

TEST(EffectInjectorPlacement, PutsTheFilterAfterVideoFiltersAndBeforeAudioFiltersAndMetadata) {
    auto document = XmlDocument::load(test::fixture("grading/filter_placement.fcpxml"));
    inject(document, {{"GoPro", test::kWarmTemplate}});
    const std::map<std::string, Names> expected{
        {"filters", {"adjust-transform", "filter-video", "filter-video", "filter-audio", "metadata"}},
        {"metadata", {"marker", "filter-video", "metadata"}},
        {"empty", {"filter-video"}},
        {"markers", {"marker", "keyword", "filter-video"}},
        {"again", {"filter-video", "filter-video"}}};
    for (const auto& [name, children] : expected) {
        EXPECT_EQ(childNames(document->first("//asset-clip[@name='" + name + "']")), children) << name;
    }
    EXPECT_EQ(count(*document, "//asset-clip/filter-video[@ref='r2']"), 6u);  // five added, one there already
    const XmlElement added = document->first("//asset-clip[@name='filters']/filter-video[2]");
    EXPECT_EQ(added.node()->prev->type, XML_COMMENT_NODE) << "the comment stays where it was";
}

// Injecting must fail with the injector's error of `code` and `description`, changing nothing.
void expectInjectorError(const std::shared_ptr<XmlDocument>& document, int code,
                         const std::string& description) {
    const std::string before = document->serialize(false);
    try {
        inject(document, {{"GoPro", test::kWarmTemplate}});
        ADD_FAILURE() << "injected into a document that has no place for effects";
    } catch (const Error& error) {
        EXPECT_EQ(error.domain(), "FCPXMLEffectInjector");
        EXPECT_EQ(error.code(), code);
        EXPECT_EQ(error.what(), description);
    }
    EXPECT_EQ(document->serialize(false), before);
}

TEST(EffectInjectorFailure, FailsWithoutResourcesOrRootElementAndChangesNothing) {
    expectInjectorError(
        XmlDocument::parse(R"(<fcpxml><library><event><project><sequence><spine>)"
                           R"(<asset-clip videoRole="GoPro"/></spine></sequence></project></event>)"
                           R"(</library></fcpxml>)"),
        2, "Kein <resources>-Element gefunden");
    auto document = XmlDocument::parse("<fcpxml/>");
    xmlNodePtr root = xmlDocGetRootElement(document->raw());
    xmlUnlinkNode(root);
    xmlFreeNode(root);
    expectInjectorError(document, 1, "Kein Root-Element");
}

}  // namespace
}  // namespace tidyreel
