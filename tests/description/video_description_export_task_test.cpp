#include "description/video_description_export_task.h"

#include "description/description_test_support.h"
#include "test_support.h"

#include <gtest/gtest.h>

namespace tidyreel {
namespace {

// Titles and descriptions only, chapters left out; both files are written, even an empty one.
TEST(VideoDescriptionExportTask, WritesTitlesAndDescriptionsWithoutChapters) {
    test::TempFolder folder;
    test::RecordingContext run(test::projectXml(R"(<asset-clip offset="0s" start="0s" duration="60s">)"
                                                R"(<chapter-marker start="0s" value="A"/></asset-clip>)"),
                               folder.path(), "Bergtour im Herbst 2024.fcpxmld");
    run.context.quillt1Text = "Bergtour";
    run.context.settings.youtubeDescription1 = "Beschreibung\n\nmit Absatz";
    run.context.settings.youtubeDescription2 = " \n";
    VideoDescriptionExportTask("Videobeschreibung", true).execute(run.context);

    const std::filesystem::path first = folder / "youtube_Bergtour im Her.YT1.txt";
    const std::filesystem::path second = folder / "youtube_Bergtour im Her.YT2.txt";
    EXPECT_EQ(test::readTextFile(first), "Bergtour\n\nBeschreibung\n\nmit Absatz");
    EXPECT_EQ(std::filesystem::file_size(second), 0u);
    EXPECT_EQ(run.log.lines(),
              (std::vector<std::string>{
                  "ℹ️ DEBUG: Beschreibung 1 = 'Beschreibung\n\nmit Absatz'",
                  "ℹ️ DEBUG: Beschreibung 2 = ' \n'",
                  "ℹ️ DEBUG: Export Base-URL = " + (folder / "youtube_Bergtour im Her").string(),
                  "✅ ✓ Videobeschreibungen exportiert: youtube_Bergtour im Her.YT1.txt & "
                  "youtube_Bergtour im Her.YT2.txt",
                  "ℹ️   → " + first.string(),
                  "ℹ️   → " + second.string(),
              }));

    // A second run replaces nothing: its files take the next counter. Outside debug mode only the line
    // of the written files.
    run.context.settings.debugMode = false;
    run.context.quillt2Text = "Mountain tour";
    VideoDescriptionExportTask("Videobeschreibung", true).execute(run.context);
    EXPECT_EQ(std::filesystem::file_size(second), 0u);
    EXPECT_EQ(test::readTextFile(folder / "youtube_Bergtour im Her 2.YT2.txt"), "Mountain tour");
    EXPECT_EQ(run.log.lines().size(), 7u);
    EXPECT_EQ(run.log.lines().back(),
              "✅ ✓ Videobeschreibungen exportiert: youtube_Bergtour im Her 2.YT1.txt & "
              "youtube_Bergtour im Her 2.YT2.txt");
}

}  // namespace
}  // namespace tidyreel
