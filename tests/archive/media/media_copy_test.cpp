#include "archive/media/media_copy.h"

#include "archive/archive_support.h"
#include "archive/media/archive_bundle.h"
#include "archive/media/bundled_asset_registry.h"
#include "fcpxml/media_path.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel {
namespace {

using test::LogCollector;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::string mediaAsset(const std::string& id, const std::filesystem::path& file, const std::string& flags) {
    return "<asset id=\"" + id + "\" " + flags +
           "><media-rep kind=\"proxy-media\" src=\"file:///proxy/p.mov\"/>"
           "<media-rep kind=\"original-media\" src=\"" +
           MediaPath::url(file.string()) + "\"><bookmark>abc</bookmark></media-rep></asset>";
}

class BypassCopy : public ::testing::Test {
protected:
    BypassCopy() {
        context.settings.outputDirectory = folder / "out";
        context.projectName = "Film";
        context.logger = log.logger();
        context.bundledAssets = std::make_shared<BundledAssetRegistry>();
    }

    int run(const std::string& resources, const std::set<std::string>& excluded = {}) {
        context.xmlDocument = test::projectWith(resources, "");
        prepareArchiveFolder(context);
        return bypassCopyPhase(context, excluded);
    }

    std::filesystem::path media(const std::string& name) const { return archiveMediaFolder(context) / name; }

    test::TempFolder folder;
    LogCollector log;
    ArchiveExportContext context;
};

TEST_F(BypassCopy, CopiesMediaAssetsAndRepointsThem) {
    test::writeTextFile(folder / "card" / "C0001.MOV", "video");
    test::writeTextFile(folder / "card" / "still.png", "png");
    // Each copy's step, and the file it names, as the progress reports went by.
    std::vector<std::pair<int, std::string>> steps;
    context.progressUpdater = [&](const ProcessingProgress& report) {
        EXPECT_EQ(report.total, 2);
        if (steps.empty() || steps.back() != std::make_pair(report.current, report.itemName)) {
            steps.emplace_back(report.current, report.itemName);
        }
    };
    EXPECT_EQ(run(mediaAsset("r1", folder / "card" / "C0001.MOV", "hasVideo=\"1\" hasAudio=\"1\"") +
                      mediaAsset("r2", folder / "card" / "still.png", "hasVideo=\"1\"") +
                      mediaAsset("r3", folder / "card" / "none.xml", "hasVideo=\"0\" hasAudio=\"0\"") +
                      mediaAsset("r4", folder / "card" / "planned.mov", "hasVideo=\"1\""),
                  {"r4"}),
              0);
    EXPECT_EQ(test::readTextFile(media("C0001.MOV")), "video");
    EXPECT_EQ(test::readTextFile(media("still.png")), "png");
    const XmlElement original =
        context.xmlDocument->first("//asset[@id='r1']/media-rep[@kind='original-media']");
    EXPECT_EQ(original.attribute("src"), MediaPath::url(media("C0001.MOV").string()));
    EXPECT_FALSE(original.firstChild("bookmark"));
    EXPECT_EQ(context.xmlDocument->first("//asset[@id='r1']/media-rep").attribute("src"),
              "file:///proxy/p.mov");
    EXPECT_EQ(
        context.bundledAssets->snapshot().at("r1"),
        (Registration{"./Media/C0001.MOV", MediaPath::url((folder / "card" / "C0001.MOV").string()), false}));
    EXPECT_EQ(context.bundledAssets->snapshot().size(), 2u);
    EXPECT_THAT(log.lines(), Contains("ℹ️ └─ Assets zu kopieren: 2"));
    EXPECT_THAT(log.lines(), Contains("ℹ️   → COPY: C0001.MOV"));
    EXPECT_THAT(log.lines(), Contains("✅      ✓ ERFOLG"));
    EXPECT_THAT(std::vector<std::string>(log.lines().end() - 5, log.lines().end()),
                ElementsAre("ℹ️ ┌─ DIAGNOSE: Bypass-Kopie-Ergebnis", "ℹ️ │  Kopiert: 2",
                            "ℹ️ │  Bereits vorhanden: 0", "ℹ️ │  FEHLGESCHLAGEN: 0",
                            "ℹ️ └─ Gesamt verarbeitet: 2"));
    using Step = std::pair<int, std::string>;
    EXPECT_THAT(steps, ElementsAre(Step{0, "C0001.MOV"}, Step{1, "still.png"}));
}

TEST_F(BypassCopy, DiagnosisBoxAndEmptyList) {
    EXPECT_EQ(run(""), 0);
    const std::vector<std::string>& lines = log.lines();
    ASSERT_GE(lines.size(), 7u);
    EXPECT_EQ(lines[1], "ℹ️ ┌─ DIAGNOSE: Bypass-Kopie-Phase");
    EXPECT_EQ(lines[2],
              "ℹ️ │  Ziel-Ordner: " + media("").parent_path().string());  // no sandbox line here
    EXPECT_EQ(lines[3], "ℹ️ │  Ziel existiert: JA");
    EXPECT_EQ(lines[4], "ℹ️ │  Ziel beschreibbar: JA");
    EXPECT_EQ(lines[5], "ℹ️ └─ Assets zu kopieren: 0");
    EXPECT_EQ(lines.back(), "ℹ️ └─ Gesamt verarbeitet: 0");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(media("").parent_path()),
                            std::filesystem::directory_iterator()),
              0);
}

TEST_F(BypassCopy, MissingSourceIsCountedAndKeepsItsReference) {
    const std::string src = MediaPath::url((folder / "gone" / "A.mov").string());
    EXPECT_EQ(run(mediaAsset("r1", folder / "gone" / "A.mov", "hasVideo=\"1\"")), 1);
    EXPECT_THAT(log.lines(), Contains("ℹ️      Quelle existiert: NEIN"));
    EXPECT_THAT(log.lines(), Contains("❌   ✗ FEHLER: A.mov"));
    EXPECT_THAT(log.lines(), Contains("❌      Error: /bin/cp failed with status 1"));
    EXPECT_THAT(log.lines(), Contains("❌      Fehlerbereich: cp"));
    EXPECT_THAT(log.lines(), Contains("❌      Fehlercode: 1"));
    EXPECT_TRUE(context.bundledAssets->snapshot().empty());
    EXPECT_EQ(context.xmlDocument->first("//media-rep[@kind='original-media']").attribute("src"), src);
}

TEST_F(BypassCopy, SameNamedSourcesNeverShareAFileAndASecondRunRecognisesThem) {
    test::writeTextFile(folder / "cardA" / "C0001.MOV", "card A");
    test::writeTextFile(folder / "cardB" / "C0001.MOV", "card B, longer");
    const std::string resources = mediaAsset("a", folder / "cardA" / "C0001.MOV", "hasVideo=\"1\"") +
                                  mediaAsset("b", folder / "cardB" / "C0001.MOV", "hasVideo=\"1\"");
    run(resources);
    EXPECT_EQ(test::readTextFile(media("C0001.MOV")), "card A");
    EXPECT_EQ(test::readTextFile(media("C0001-2.MOV")), "card B, longer");
    EXPECT_EQ(context.bundledAssets->snapshot().at("b").relativePath, "./Media/C0001-2.MOV");

    LogCollector secondLog;
    context.logger = secondLog.logger();
    context.bundledAssets = std::make_shared<BundledAssetRegistry>();
    run(resources);
    EXPECT_THAT(secondLog.lines(), Contains("ℹ️   ⊙ SKIP (existiert): C0001.MOV"));
    EXPECT_THAT(secondLog.lines(), Contains("ℹ️   ⊙ SKIP (existiert): C0001-2.MOV"));
    EXPECT_THAT(secondLog.lines(), Contains("ℹ️ │  Bereits vorhanden: 2"));
    EXPECT_EQ(context.bundledAssets->snapshot().at("b").relativePath, "./Media/C0001-2.MOV");
}

TEST_F(BypassCopy, AnUnrecordedFileOfAnotherSizeIsNotTakenForTheCopy) {
    test::writeTextFile(folder / "card" / "C0001.MOV", "the real source");
    std::filesystem::create_directories(media("").parent_path());
    test::writeTextFile(media("C0001.MOV"), "something else");
    run(mediaAsset("r1", folder / "card" / "C0001.MOV", "hasVideo=\"1\""));
    EXPECT_EQ(test::readTextFile(media("C0001.MOV")), "something else");
    EXPECT_EQ(test::readTextFile(media("C0001-2.MOV")), "the real source");
}

TEST(PointAssetAtFile, OldStyleAssetsKeepTheirSourceOnTheAsset) {
    const auto document =
        test::projectWith("<asset id=\"r1\" src=\"file:///old/a.mov\" hasVideo=\"1\"/>", "");
    pointAssetAtFile(document->first("//asset"), "/new place/a.mov");
    EXPECT_EQ(document->first("//asset").attribute("src"), "file:///new%20place/a.mov");
}

}  // namespace
}  // namespace tidyreel
