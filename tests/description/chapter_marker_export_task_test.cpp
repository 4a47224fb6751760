#include "description/chapter_marker_export_task.h"

#include "base/error.h"
#include "base/language.h"
#include "description/description_test_support.h"
#include "test_support.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace tidyreel {
namespace {

using test::projectXml;
using test::readTextFile;
using test::RecordingContext;
using test::TempFolder;
using Lines = std::vector<std::string>;

// One clip over the whole timeline carrying a chapter marker every 30 seconds, from 00:00:00.
std::string projectWithChapters(int count) {
    std::string markers;
    for (int i = 0; i < count; ++i) {
        markers += fmt::format(R"(<chapter-marker start="{}s" value="Kapitel {}"/>)", i * 30, i + 1);
    }
    return projectXml(R"(<asset-clip offset="0s" start="0s" duration="600s">)" + markers + "</asset-clip>");
}

std::string chapterLines(int count) {
    std::string lines;
    for (int i = 0; i < count; ++i) {
        lines +=
            fmt::format("{}00:{:02}:{:02} Kapitel {}", i == 0 ? "" : "\n", i * 30 / 60, i * 30 % 60, i + 1);
    }
    return lines;
}

void setDescriptionInputs(ExportContext& context) {
    context.quillt1Text = "Bergtour im Herbst";
    context.settings.youtubeDescription1 = "  Mehr unter example.org\n";
    context.quillt2Text = "";
    context.settings.youtubeDescription2 = " \n\t";
}

class ChapterMarkerExportTaskTest : public testing::Test {
protected:
    void SetUp() override { setPreferredLanguages({"de-DE"}); }

    TempFolder folder;
};

// A clip that reaches back before the first frame of a timeline starting at 01:00:00:00.
TEST_F(ChapterMarkerExportTaskTest, DropsMarkersBeforeTheTimelineStartWithAWarning) {
    RecordingContext run(projectXml(R"(<asset-clip offset="3500s" start="0s" duration="400s">)"
                                    R"(<chapter-marker start="0s" value="Vorspann"/>)"
                                    R"(<chapter-marker start="100s" value="Start"/></asset-clip>)",
                                    "", R"(duration="300s" tcStart="3600s")"),
                         folder.path(), "Projekt.fcpxml");
    run.context.settings.debugMode = false;
    ChapterMarkerExportTask("Kapitelmarker", true, false).execute(run.context);

    EXPECT_EQ(readTextFile(folder / "youtube_Projekt.YT1.txt"), "00:00:00 Start");
    EXPECT_TRUE(run.log.contains(
        "⚠️ Kapitelmarker 'Vorspann' liegt vor dem Anfang der Timeline und wird nicht exportiert"));
}

TEST_F(ChapterMarkerExportTaskTest, WritesOnlyTheChapterListWithAllItsLogLines) {
    RecordingContext run(projectWithChapters(12), folder.path(), "Projekt.fcpxml");
    setDescriptionInputs(run.context);
    ChapterMarkerExportTask("Kapitelmarker", true, false).execute(run.context);

    const std::filesystem::path file = folder / "youtube_Projekt.YT1.txt";
    EXPECT_EQ(readTextFile(file), chapterLines(12));
    EXPECT_FALSE(std::filesystem::exists(folder / "youtube_Projekt.YT2.txt"));
    EXPECT_EQ(run.log.lines(), (Lines{
                                   "ℹ️ Lese Kapitelmarker...",
                                   "ℹ️ DEBUG: Modus = Nur Kapitel (ohne Videobeschreibungen)",
                                   "ℹ️ DEBUG: 12 Kapitelmarker gefunden",
                                   "ℹ️   → 00:00:00 - Kapitel 1",
                                   "ℹ️   → 00:00:30 - Kapitel 2",
                                   "ℹ️   → 00:01:00 - Kapitel 3",
                                   "ℹ️   → ... und 9 weitere",
                                   "ℹ️ DEBUG: Export-Inhalt:",
                                   "ℹ️   → Kapitel: ✅ (12)",
                                   "ℹ️   → QUILLT: ❌",
                                   "ℹ️   → Beschreibungen: ❌",
                                   "ℹ️ DEBUG: Export Base-URL = " + (folder / "youtube_Projekt").string(),
                                   "✅ ✓ 12 Kapitel exportiert: youtube_Projekt.YT1.txt",
                                   "ℹ️   Format: QUILLT → Kapitel",
                                   "ℹ️   → " + file.string(),
                               }));
}

TEST_F(ChapterMarkerExportTaskTest, CombinesTitlesChaptersAndDescriptions) {
    RecordingContext run(projectWithChapters(3), folder.path(), "Reise.2024.Teil1.fcpxml");
    setDescriptionInputs(run.context);
    ChapterMarkerExportTask("Kapitelmarker", true, true).execute(run.context);

    EXPECT_EQ(readTextFile(folder / "youtube_Reise.2024.YT1.txt"),
              "Bergtour im Herbst\n\n" + chapterLines(3) + "\n\nMehr unter example.org");
    EXPECT_EQ(readTextFile(folder / "youtube_Reise.2024.YT2.txt"), chapterLines(3));
    const Lines& lines = run.log.lines();
    EXPECT_EQ(lines[1], "ℹ️ DEBUG: Modus = Kapitel + Videobeschreibungen kombiniert");
    EXPECT_EQ(lines[13],
              "✅ ✓ 3 Kapitel + Videobeschreibungen exportiert: youtube_Reise.2024.YT1.txt & "
              "youtube_Reise.2024.YT2.txt");
    EXPECT_EQ(lines[14], "ℹ️   Format: QUILLT → Kapitel → Videobeschreibung");
}

TEST_F(ChapterMarkerExportTaskTest, WritesBothFilesForADescriptionWithoutChapters) {
    RecordingContext run(projectWithChapters(0), folder.path());
    run.context.settings.youtubeDescription1 = "Nur Deutsch";
    ChapterMarkerExportTask("Kapitelmarker", true, true).execute(run.context);

    EXPECT_EQ(readTextFile(folder / "youtube_Projekt.YT1.txt"), "Nur Deutsch");
    EXPECT_EQ(std::filesystem::file_size(folder / "youtube_Projekt.YT2.txt"), 0u);
    EXPECT_TRUE(run.log.contains(
        "✅ ✓ 0 Kapitel + Videobeschreibungen exportiert: youtube_Projekt.YT1.txt & youtube_Projekt.YT2.txt"));
    EXPECT_TRUE(run.log.contains("ℹ️   → Kapitel: ❌"));
}

TEST_F(ChapterMarkerExportTaskTest, WritesNothingWhenThereIsNothingToExport) {
    const std::string nothing = "ℹ️   (Keine Kapitelmarker, QUILLT-Texte oder Beschreibungen gefunden)";
    {
        // Chapters alone ignore the titles and descriptions.
        RecordingContext run(projectWithChapters(0), folder.path());
        setDescriptionInputs(run.context);
        ChapterMarkerExportTask("Kapitelmarker", true, false).execute(run.context);
        EXPECT_EQ(run.log.lines().back(), nothing);
    }
    RecordingContext run(projectWithChapters(0), folder.path());
    run.context.quillt2Text = "\n ";
    run.context.settings.youtubeDescription1 = "\u00A0";
    ChapterMarkerExportTask("Kapitelmarker", true, true).execute(run.context);
    EXPECT_EQ(run.log.lines().back(), nothing);
    EXPECT_EQ(run.log.lines().size(), 6u);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(ChapterMarkerExportTaskTest, ShortensLongDescriptionsInTheDebugLines) {
    RecordingContext run(projectWithChapters(1), folder.path());
    run.context.settings.youtubeDescription1 = std::string(50, 'x') + "ü";
    run.context.settings.youtubeDescription2 = std::string(49, 'y') + "ü";
    ChapterMarkerExportTask("Kapitelmarker", true, true).execute(run.context);
    EXPECT_EQ(run.log.lines()[4], "ℹ️ DEBUG: Beschreibung 1 = '" + std::string(50, 'x') + "'...");
    EXPECT_EQ(run.log.lines()[5], "ℹ️ DEBUG: Beschreibung 2 = '" + std::string(49, 'y') + "ü'");
}

// The warnings' wording is the chapter list check's; here they must follow the written list.
TEST_F(ChapterMarkerExportTaskTest, WarnsAfterWritingAListThePlatformWillNotTake) {
    RecordingContext run(
        projectXml(R"(<asset-clip offset="0s" start="0s" duration="600s">)"
                   R"(<chapter-marker start="5s" value="Intro"/><chapter-marker start="10s" value="Ende"/>)"
                   R"(</asset-clip>)"),
        folder.path());
    ChapterMarkerExportTask("Kapitelmarker", true, false).execute(run.context);
    EXPECT_EQ(readTextFile(folder / "youtube_Projekt.YT1.txt"), "00:00:05 Intro\n00:00:10 Ende");
    const Lines& lines = run.log.lines();
    ASSERT_GE(lines.size(), 4u);
    EXPECT_EQ(lines[lines.size() - 4], "ℹ️   → " + (folder / "youtube_Projekt.YT1.txt").string());
    for (std::size_t i = lines.size() - 3; i < lines.size(); ++i) {
        EXPECT_TRUE(lines[i].starts_with("⚠️ YouTube erkennt die Kapitel nicht: ")) << lines[i];
    }
}

TEST_F(ChapterMarkerExportTaskTest, WritesNoDebugLinesOutsideDebugMode) {
    RecordingContext run(projectWithChapters(3), folder.path());
    run.context.settings.debugMode = false;
    ChapterMarkerExportTask("Kapitelmarker", true, true).execute(run.context);
    EXPECT_EQ(run.log.lines(),
              (Lines{"ℹ️ Lese Kapitelmarker...",
                     "✅ ✓ 3 Kapitel + Videobeschreibungen exportiert: youtube_Projekt.YT1.txt & "
                     "youtube_Projekt.YT2.txt",
                     "ℹ️   Format: QUILLT → Kapitel → Videobeschreibung"}));
}

TEST_F(ChapterMarkerExportTaskTest, FailsWithTheWriteErrorAndReportsNoSuccess) {
    test::writeTextFile(folder / "not-a-folder", "");
    RecordingContext run(projectWithChapters(3), folder / "not-a-folder");
    EXPECT_THROW(ChapterMarkerExportTask("Kapitelmarker", true, false).execute(run.context), Error);
    for (const std::string& line : run.log.lines()) {
        EXPECT_FALSE(line.starts_with("✅")) << line;
    }
}

}  // namespace
}  // namespace tidyreel
