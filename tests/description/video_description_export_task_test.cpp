#include "description/video_description_export_task.h"

#include "description/description_test_support.h"
#include "test_support.h"

#include <gtest/gtest.h>

namespace tidyreel {
namespace {

using test::readTextFile;
using test::RecordingContext;
using test::TempFolder;

const std::string projectWithAChapter = test::projectXml(
    R"(<asset-clip offset="0s" start="0s" duration="60s"><chapter-marker start="0s" value="A"/></asset-clip>)");

TEST(VideoDescriptionExportTask, WritesTitlesAndDescriptionsWithoutChapters) {
    TempFolder folder;
    RecordingContext run(projectWithAChapter, folder.path(), "Bergtour im Herbst 2024.fcpxmld");
    run.context().quillt1Text = "Bergtour";
    run.context().quillt2Text = "Mountain tour";
    run.context().youtubeDescription1 = "Beschreibung\n\nmit Absatz";
    run.context().youtubeDescription2 = "\nDescription\n";
    VideoDescriptionExportTask("Videobeschreibung", true).execute(run.context());

    const std::filesystem::path first = folder / "youtube_Bergtour im Her.YT1.txt";
    const std::filesystem::path second = folder / "youtube_Bergtour im Her.YT2.txt";
    EXPECT_EQ(readTextFile(first), "Bergtour\n\nBeschreibung\n\nmit Absatz");
    EXPECT_EQ(readTextFile(second), "Mountain tour\n\nDescription");
    EXPECT_EQ(run.messages(), (std::vector<std::string>{
                                  "DEBUG: Beschreibung 1 = 'Beschreibung\n\nmit Absatz'",
                                  "DEBUG: Beschreibung 2 = '\nDescription\n'",
                                  "DEBUG: Export Base-URL = " + (folder / "youtube_Bergtour im Her").string(),
                                  "✓ Videobeschreibungen exportiert: youtube_Bergtour im Her.YT1.txt & "
                                  "youtube_Bergtour im Her.YT2.txt",
                                  "  → " + first.string(),
                                  "  → " + second.string(),
                              }));
    EXPECT_EQ(run.lines()[3].first, LogEntryType::success);
}

TEST(VideoDescriptionExportTask, WritesBothFilesEvenWhenEmpty) {
    TempFolder folder;
    RecordingContext run(projectWithAChapter, folder.path());
    run.context().youtubeDescription2 = "  ";
    run.context().debugMode = false;
    VideoDescriptionExportTask("Videobeschreibung", true).execute(run.context());
    EXPECT_EQ(std::filesystem::file_size(folder / "youtube_Projekt.YT1.txt"), 0u);
    EXPECT_EQ(std::filesystem::file_size(folder / "youtube_Projekt.YT2.txt"), 0u);
    EXPECT_EQ(run.messages(),
              std::vector<std::string>{
                  "✓ Videobeschreibungen exportiert: youtube_Projekt.YT1.txt & youtube_Projekt.YT2.txt"});
}

}  // namespace
}  // namespace tidyreel
