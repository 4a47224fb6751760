#include "grading/fcpxml_effect_injector.h"

#include "core/error.h"
#include "fcpxml/xml.h"

#include "grading_support.h"

#include <gtest/gtest.h>

#include <libxml/tree.h>

#include <string>
#include <vector>

namespace tidyreel {
namespace {

std::shared_ptr<XmlDocument> project(const std::string& resources, const std::string& spine) {
    return XmlDocument::parse(R"(<?xml version="1.0" encoding="UTF-8"?><fcpxml version="1.11"><resources>)" +
                              resources +
                              R"(</resources><library><event name="Day 1"><project name="Film">)"
                              R"(<sequence format="r1" duration="100s"><spine>)" +
                              spine + "</spine></sequence></project></event></library></fcpxml>");
}

std::size_t count(const XmlDocument& document, const std::string& xpath) {
    return document.xpath(xpath).size();
}

std::vector<std::string> childNames(XmlElement element) {
    std::vector<std::string> names;
    for (XmlElement child : element.children()) {
        names.emplace_back(child.name());
    }
    return names;
}

InjectionStats inject(const std::shared_ptr<XmlDocument>& document, const RoleEffectMappings& mapping) {
    return FCPXMLEffectInjector(document, mapping).inject();
}

const std::string kFormats = R"(<format id="r1" name="FFVideoFormat1080p25"/>)";

TEST(EffectInjectorResources, AddsANewEffectAfterTheHighestIdAndFiltersEveryClipOfTheRole) {
    auto document =
        project(kFormats + R"(<asset id="r2"/><asset id="r3"/><effect id="r4" name="Title" uid="t"/>)",
                R"(<asset-clip ref="r2" name="a" videoRole="GoPro.GoPro-1"/>
                               <asset-clip ref="r2" name="b" videoRole="GoPro"/>
                               <asset-clip ref="r2" name="c" videoRole="GoPro.GoPro-2"/>
                               <asset-clip ref="r3" name="d" videoRole="Interview"/>
                               <asset-clip ref="r2" name="e" videoRole="GoPro"/>
                               <asset-clip ref="r2" name="f" videoRole="GoPro"/>)");

    const InjectionStats stats = inject(document, {{"GoPro", test::kWarmTemplate}});

    EXPECT_EQ(stats.effectsAdded, 1);
    EXPECT_EQ(stats.clipsModified, 5);
    EXPECT_EQ(stats.rolesProcessed, std::vector<std::string>{"GoPro"});
    const XmlElement effect = document->first("/fcpxml/resources/effect[@id='r5']");
    ASSERT_TRUE(effect);
    EXPECT_EQ(effect.nextSibling(), XmlElement());
    EXPECT_EQ(effect.attribute("name"), "Warm");
    EXPECT_EQ(effect.attribute("uid"), test::kWarmTemplate.uid);
    EXPECT_EQ(effect.attribute("src"), test::kWarmTemplate.src);
    std::vector<std::string> attributeOrder;
    for (xmlAttrPtr attribute = effect.node()->properties; attribute; attribute = attribute->next) {
        attributeOrder.emplace_back(reinterpret_cast<const char*>(attribute->name));
    }
    EXPECT_EQ(attributeOrder, (std::vector<std::string>{"id", "name", "uid", "src"}));
    EXPECT_EQ(count(*document, "//filter-video[@ref='r5'][@name='Warm']"), 5u);
    EXPECT_EQ(count(*document, "//asset-clip[@name='d']/filter-video"), 0u);
}

TEST(EffectInjectorResources, AddsAnFxPlugEffectWithoutSource) {
    auto document = project(kFormats, R"(<asset-clip name="a" videoRole="Interview"/>)");
    inject(document, {{"Interview", test::kSoftPreset}});
    const XmlElement effect = document->first("//effect[@id='r2']");
    ASSERT_TRUE(effect);
    EXPECT_EQ(effect.attribute("uid"), test::kSoftPreset.uid);
    EXPECT_FALSE(effect.hasAttribute("src"));
}

TEST(EffectInjectorResources, ReusesAnEffectTheProjectAlreadyHasAndTakesOverItsName) {
    auto document =
        project(kFormats + R"(<effect id="r7" name="Old Name" uid=")" + test::kWarmTemplate.uid + R"("/>)",
                R"(<asset-clip name="a" videoRole="GoPro"/>)");

    const InjectionStats stats = inject(document, {{"GoPro", test::kWarmTemplate}});

    EXPECT_EQ(stats.effectsAdded, 0);
    EXPECT_EQ(stats.clipsModified, 1);
    EXPECT_EQ(count(*document, "//resources/effect"), 1u);
    EXPECT_EQ(document->first("//effect[@id='r7']").attribute("name"), "Warm");
    EXPECT_EQ(count(*document, "//asset-clip/filter-video[@ref='r7'][@name='Warm']"), 1u);
}

TEST(EffectInjectorResources, LeavesAReusedEffectWithoutNameWithoutName) {
    auto document = project(kFormats + R"(<effect id="r3" uid=")" + test::kSoftPreset.uid + R"("/>)",
                            R"(<asset-clip name="a" videoRole="Interview"/>)");
    inject(document, {{"Interview", test::kSoftPreset}});
    EXPECT_FALSE(document->first("//effect[@id='r3']").hasAttribute("name"));
}

TEST(EffectInjectorResources, ReusesTheLaterOfTwoEffectsWithTheSameUid) {
    auto document = project(kFormats + R"(<effect id="r2" name="A" uid=")" + test::kFxPlugUid +
                                R"("/><effect id="r3" name="B" uid=")" + test::kFxPlugUid + R"("/>)",
                            R"(<asset-clip name="a" videoRole="Interview"/>)");
    inject(document, {{"Interview", test::kSoftPreset}});
    EXPECT_EQ(count(*document, "//asset-clip/filter-video[@ref='r3']"), 1u);
    EXPECT_EQ(document->first("//effect[@id='r2']").attribute("name"), "A");
    EXPECT_EQ(document->first("//effect[@id='r3']").attribute("name"), "Soft");
}

TEST(EffectInjectorResources, NumbersOnFromTheHighestWellFormedId) {
    auto document =
        project(R"(<format id="r1"/><asset id="r2"/><asset id="r10"/><asset id="rx"/><asset id="r"/>
                               <asset id="r3b"/><asset id="x99"/><asset id="r99999999999999999999"/>)",
                R"(<asset-clip name="a" videoRole="GoPro"/>)");
    inject(document, {{"GoPro", test::kWarmTemplate}});
    EXPECT_TRUE(document->first("//resources/effect[@id='r11']"));
}

TEST(EffectInjectorResources, StartsAtR1WithoutNumberedIds) {
    auto document = project(R"(<format id="fmt"/>)", R"(<asset-clip name="a" videoRole="GoPro"/>)");
    inject(document, {{"GoPro", test::kWarmTemplate}});
    EXPECT_TRUE(document->first("//resources/effect[@id='r1']"));
}

TEST(EffectInjectorResources, NumbersNewEffectsInRoleNameOrder) {
    auto document = project(
        kFormats, R"(<asset-clip name="a" videoRole="Zoom"/><asset-clip name="b" videoRole="Aerial"/>)");
    const InjectionStats stats =
        inject(document, {{"Zoom", test::kSoftPreset}, {"Aerial", test::kWarmTemplate}});
    EXPECT_EQ(document->first("//effect[@id='r2']").attribute("name"), "Warm");
    EXPECT_EQ(document->first("//effect[@id='r3']").attribute("name"), "Soft");
    EXPECT_EQ(stats.rolesProcessed, (std::vector<std::string>{"Aerial", "Zoom"}));
}

TEST(EffectInjectorResources, GivesTwoRolesSharingANewEffectOneResourceEachAndUsesTheLater) {
    auto document =
        project(kFormats, R"(<asset-clip name="a" videoRole="A"/><asset-clip name="b" videoRole="B"/>)");
    const InjectionStats stats = inject(document, {{"A", test::kWarmTemplate}, {"B", test::kWarmTemplate}});
    EXPECT_EQ(stats.effectsAdded, 2);
    EXPECT_EQ(count(*document, "//resources/effect"), 2u);
    EXPECT_EQ(count(*document, "//asset-clip/filter-video[@ref='r3']"), 2u);
}

TEST(EffectInjectorResources, KeepsTheResourceOfARoleWithoutClips) {
    auto document = project(kFormats, R"(<asset-clip name="a" videoRole="GoPro"/>)");
    const InjectionStats stats =
        inject(document, {{"Drone", test::kSoftPreset}, {"GoPro", test::kWarmTemplate}});
    EXPECT_EQ(stats.effectsAdded, 2);
    EXPECT_EQ(stats.clipsModified, 1);
    EXPECT_EQ(stats.rolesProcessed, std::vector<std::string>{"GoPro"});
}

TEST(EffectInjectorRoles, UsesTheRoleAttributeAndTheVideoDefault) {
    auto document = project(kFormats, R"(<asset-clip name="a" role="B-Roll.cam"/><clip name="b"/>
                                         <asset-clip name="c" videoRole="b-roll"/>)");
    const InjectionStats stats =
        inject(document, {{"B-Roll", test::kWarmTemplate}, {"video", test::kSoftPreset}});
    EXPECT_EQ(count(*document, "//asset-clip[@name='a']/filter-video[@name='Warm']"), 1u);
    EXPECT_EQ(count(*document, "//clip[@name='b']/filter-video[@name='Soft']"), 1u);
    EXPECT_EQ(count(*document, "//asset-clip[@name='c']/filter-video"), 0u);
    EXPECT_EQ(stats.clipsModified, 2);
}

TEST(EffectInjectorRoles, NeverFiltersTitlesGapsOrAudio) {
    auto document = project(kFormats, R"(<title name="t" role="GoPro"/><gap name="g" role="GoPro"/>
                                         <audio name="s" role="GoPro"/><caption name="c" role="GoPro"/>)");
    const InjectionStats stats = inject(document, {{"GoPro", test::kWarmTemplate}});
    EXPECT_EQ(stats.clipsModified, 0);
    EXPECT_EQ(count(*document, "//filter-video"), 0u);
}

TEST(EffectInjectorWalk, FiltersConnectedClipsStorylinesAndSyncClipContent) {
    auto document = project(kFormats, R"(
        <asset-clip name="main" videoRole="GoPro">
            <asset-clip lane="1" name="connected" videoRole="GoPro.GoPro-2"/>
            <spine lane="-1"><asset-clip name="in storyline" videoRole="GoPro"/></spine>
        </asset-clip>
        <gap name="gap"><video lane="1" name="over gap" role="GoPro"/></gap>
        <sync-clip name="sync" videoRole="GoPro"><asset-clip name="synced" videoRole="GoPro"/></sync-clip>)");

    const InjectionStats stats = inject(document, {{"GoPro", test::kWarmTemplate}});

    EXPECT_EQ(stats.clipsModified, 6);
    for (const char* name : {"main", "connected", "in storyline", "over gap", "sync", "synced"}) {
        EXPECT_EQ(count(*document, std::string("//*[@name='") + name + "']/filter-video"), 1u) << name;
    }
}

TEST(EffectInjectorWalk, EntersCompoundAndMulticamClipsOnlyThroughConnectedClips) {
    auto document = project(kFormats + R"(
        <media id="r2" name="Compound"><sequence><spine><asset-clip name="inside compound" videoRole="GoPro"/></spine></sequence></media>
        <media id="r3" name="Multicam"><multicam><mc-angle angleID="a"><asset-clip name="angle" videoRole="GoPro"/></mc-angle></multicam></media>)",
                            R"(
        <ref-clip ref="r2" name="compound" videoRole="GoPro">
            <asset-clip name="unlaned" videoRole="GoPro"/>
            <asset-clip lane="1" name="on compound" videoRole="GoPro"/>
        </ref-clip>
        <mc-clip ref="r3" name="multicam" videoRole="GoPro">
            <mc-source angleID="a" srcEnable="all"/>
            <asset-clip lane="2" name="on multicam" videoRole="GoPro"/>
        </mc-clip>)");

    const InjectionStats stats = inject(document, {{"GoPro", test::kWarmTemplate}});

    EXPECT_EQ(stats.clipsModified, 4);
    for (const char* name : {"compound", "on compound", "multicam", "on multicam"}) {
        EXPECT_EQ(count(*document, std::string("//*[@name='") + name + "']/filter-video"), 1u) << name;
    }
    for (const char* name : {"inside compound", "angle", "unlaned"}) {
        EXPECT_EQ(count(*document, std::string("//*[@name='") + name + "']/filter-video"), 0u) << name;
    }
}

TEST(EffectInjectorWalk, VisitsTheMainSpineOfEveryProjectButNoSequenceInsideAClip) {
    auto document = XmlDocument::parse(R"(<fcpxml><resources><format id="r1"/></resources>
        <library><event>
            <project name="one"><sequence><spine><asset-clip name="a" videoRole="GoPro"/></spine></sequence></project>
            <project name="two"><sequence><spine><asset-clip name="b" videoRole="GoPro"/></spine></sequence></project>
            <asset-clip name="browser clip" videoRole="GoPro"/>
        </event></library></fcpxml>)");
    const InjectionStats stats = inject(document, {{"GoPro", test::kWarmTemplate}});
    EXPECT_EQ(stats.clipsModified, 2);
    EXPECT_EQ(count(*document, "//asset-clip[@name='browser clip']/filter-video"), 0u);
}

TEST(EffectInjectorPlacement, PutsTheFilterAfterOtherVideoFiltersAndBeforeAudioFiltersAndMetadata) {
    auto document =
        project(kFormats, R"(<asset-clip name="a" videoRole="GoPro"><adjust-transform/>)"
                          R"(<filter-video ref="r9" name="Old"/><!-- note --><filter-audio ref="r8"/>)"
                          R"(<metadata/></asset-clip>)");
    inject(document, {{"GoPro", test::kWarmTemplate}});
    const XmlElement clip = document->first("//asset-clip");
    EXPECT_EQ(childNames(clip), (std::vector<std::string>{"adjust-transform", "filter-video", "filter-video",
                                                          "filter-audio", "metadata"}));
    const XmlElement added = document->first("//asset-clip/filter-video[2]");
    EXPECT_EQ(added.attribute("ref"), "r2");
    EXPECT_EQ(added.node()->next->type, XML_ELEMENT_NODE) << "the comment stays where it was";
    EXPECT_EQ(added.node()->prev->type, XML_COMMENT_NODE);
}

TEST(EffectInjectorPlacement, PutsTheFilterBeforeMetadataOrAtTheEnd) {
    auto document =
        project(kFormats, R"(<asset-clip name="meta" videoRole="GoPro"><marker/><metadata/></asset-clip>
                                         <asset-clip name="empty" videoRole="GoPro"/>
                                         <asset-clip name="markers" videoRole="GoPro"><marker/><keyword/></asset-clip>)");
    inject(document, {{"GoPro", test::kWarmTemplate}});
    EXPECT_EQ(childNames(document->first("//asset-clip[@name='meta']")),
              (std::vector<std::string>{"marker", "filter-video", "metadata"}));
    EXPECT_EQ(childNames(document->first("//asset-clip[@name='empty']")),
              std::vector<std::string>{"filter-video"});
    EXPECT_EQ(childNames(document->first("//asset-clip[@name='markers']")),
              (std::vector<std::string>{"marker", "keyword", "filter-video"}));
}

TEST(EffectInjectorPlacement, AddsTheSameEffectAgainWhenAClipAlreadyHasIt) {
    auto document = project(
        kFormats + R"(<effect id="r2" name="Warm" uid=")" + test::kWarmTemplate.uid + R"("/>)",
        R"(<asset-clip name="a" videoRole="GoPro"><filter-video ref="r2" name="Warm"/></asset-clip>)");
    inject(document, {{"GoPro", test::kWarmTemplate}});
    EXPECT_EQ(count(*document, "//asset-clip/filter-video[@ref='r2']"), 2u);
}

// Injecting must fail with the injector's error of `code` and `description`.
void expectInjectorError(const std::shared_ptr<XmlDocument>& document, int code,
                         const std::string& description) {
    try {
        inject(document, {{"GoPro", test::kWarmTemplate}});
        ADD_FAILURE() << "injected into a document that has no place for effects";
    } catch (const Error& error) {
        EXPECT_EQ(error.domain(), "FCPXMLEffectInjector");
        EXPECT_EQ(error.code(), code);
        EXPECT_EQ(error.what(), description);
    }
}

TEST(EffectInjectorFailure, FailsWithoutResourcesAndChangesNothing) {
    auto document = XmlDocument::parse(
        R"(<fcpxml><library><event><project><sequence><spine>)"
        R"(<asset-clip videoRole="GoPro"/></spine></sequence></project></event></library></fcpxml>)");
    const std::string before = document->serialize(false);
    expectInjectorError(document, 2, "Kein <resources>-Element gefunden");
    EXPECT_EQ(document->serialize(false), before);
}

TEST(EffectInjectorFailure, FailsWithoutRootElement) {
    auto document = XmlDocument::parse("<fcpxml/>");
    xmlNodePtr root = xmlDocGetRootElement(document->raw());
    xmlUnlinkNode(root);
    xmlFreeNode(root);
    expectInjectorError(document, 1, "Kein Root-Element");
}

TEST(EffectInjectorDiagnostics, ReportsTheEntryPointsAndEachInjection) {
    auto document =
        project(kFormats, R"(<asset-clip name="a" offset="5s" videoRole="GoPro.GoPro-1"/><gap/>)");
    std::vector<std::string> lines;
    FCPXMLEffectInjector(document, {{"GoPro", test::kWarmTemplate}}, [&](const std::string& line) {
        lines.push_back(line);
    }).inject();
    EXPECT_EQ(
        lines,
        (std::vector<std::string>{
            "🌲 Found 1 timeline spine(s) as injection entry point(s)",
            "🔍 SCAN forRole=GoPro | type=asset-clip name='a' videoRole=GoPro.GoPro-1 role=- → resolved=GoPro",
            "💉 INJECT role=GoPro | type=asset-clip name='a' offset=5s lane=0 → refID=r2"}));
}

}  // namespace
}  // namespace tidyreel
