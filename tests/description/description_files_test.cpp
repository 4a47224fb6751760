#include "description/description_files.h"

#include "base/error.h"
#include "pipeline/export_context.h"
#include "test_support.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace tidyreel {
namespace {

using test::readTextFile;
using test::TempFolder;

const std::vector<ChapterMarker> threeMarkers = {
    {"Intro", Fraction(0)}, {"Hauptteil", Fraction(150)}, {"Ende ", Fraction(3601, 1)}};
const std::string chapterLines = "00:00:00 Intro\n00:02:30 Hauptteil\n01:00:01 Ende ";

std::filesystem::path baseFor(const std::string& projectFile, const std::filesystem::path& folder = "/out") {
    ExportContext context;
    context.settings.outputDirectory = folder;
    context.originalFileName = projectFile;
    context.actionType = ExportActionType::youtube;
    return descriptionBaseURL(context);
}

// The project name is cut to fifteen characters; an extension left in the cut name is replaced.
TEST(DescriptionFileNames, CutTheProjectNameAndReplaceAnExtensionLeftInIt) {
    EXPECT_EQ(baseFor("Bergtour im Herbst 2024.fcpxml"), "/out/youtube_Bergtour im Her");
    EXPECT_EQ(descriptionFileURL(baseFor("Bergtour im Herbst 2024.fcpxml"), "YT1"),
              "/out/youtube_Bergtour im Her.YT1.txt");
    EXPECT_EQ(descriptionFileURL(baseFor("Kurz.fcpxmld"), "YT2"), "/out/youtube_Kurz.YT2.txt");
    EXPECT_EQ(baseFor("Reise.2024.Teil1.fcpxml"), "/out/youtube_Reise.2024.Teil");
    EXPECT_EQ(descriptionFileURL(baseFor("Reise.2024.Teil1.fcpxml"), "YT2"),
              "/out/youtube_Reise.2024.YT2.txt");
}

TEST(DescriptionFileContent, JoinsThePresentBlocksWithOneEmptyLine) {
    EXPECT_EQ(
        descriptionFileContent("\n  Titel\n\nZweite Zeile \n", threeMarkers, "\n\nFooter\n\nmit Absatz\n "),
        "Titel\n\nZweite Zeile\n\n" + chapterLines + "\n\nFooter\n\nmit Absatz");
    EXPECT_EQ(descriptionFileContent("", threeMarkers, ""), chapterLines);
    EXPECT_EQ(descriptionFileContent(" Titel ", {}, "Footer"), "Titel\n\nFooter");
    EXPECT_EQ(descriptionFileContent(" \t\n", {}, "\u00A0Footer\u3000"), "Footer");
    EXPECT_EQ(descriptionFileContent("Titel", threeMarkers, " \n "), "Titel\n\n" + chapterLines);
    EXPECT_EQ(descriptionFileContent("  ", {}, "\n"), "");
}

TEST(DescriptionFiles, WriteOneFilePerDescriptionOrOneChapterFile) {
    struct Case {
        std::string firstHeader, secondHeader;
        std::vector<ChapterMarker> markers;
        std::vector<std::string> descriptions;
        std::vector<std::string> contents;  // of YT1, YT2
    };
    const std::vector<Case> cases{{"Titel 1", "Titel 2", threeMarkers, {}, {"Titel 1\n\n" + chapterLines}},
                                  {"Titel 1", "Titel 2", {}, {}, {}},
                                  {"Titel",
                                   "",
                                   threeMarkers,
                                   {"Beschreibung DE", " "},
                                   {"Titel\n\n" + chapterLines + "\n\nBeschreibung DE", chapterLines}},
                                  {"", "", {}, {"", "\n"}, {"", ""}},
                                  {"Titel", "Title", {}, {"Nur eine"}, {"Titel\n\nNur eine"}}};
    for (const Case& c : cases) {
        TempFolder folder;
        const auto files = writeDescriptionFiles(c.firstHeader, c.secondHeader, c.markers, c.descriptions,
                                                 folder / "youtube_P");
        SCOPED_TRACE(c.firstHeader + " / " + std::to_string(c.descriptions.size()) + " descriptions");
        ASSERT_EQ(files.size(), c.contents.size());
        for (std::size_t i = 0; i < files.size(); ++i) {
            EXPECT_EQ(files[i], folder / ("youtube_P.YT" + std::to_string(i + 1) + ".txt"));
            EXPECT_EQ(readTextFile(files[i]), c.contents[i]);
        }
        EXPECT_EQ(test::filesIn(folder.path()).size(), files.size());
    }
}

TEST(DescriptionFiles, ReplaceExistingFilesWholly) {
    TempFolder folder;
    test::writeTextFile(folder / "youtube_P.YT1.txt", std::string(1000, 'x'));
    writeDescriptionFiles("", "", threeMarkers, {}, folder / "youtube_P");
    EXPECT_EQ(readTextFile(folder / "youtube_P.YT1.txt"), chapterLines);
}

TEST(DescriptionFiles, FailWithTheWriteErrorAndLeaveNoPartialFile) {
    TempFolder folder;
    std::filesystem::create_directory(folder / "locked");
    std::filesystem::permissions(folder / "locked",
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    // Permissions do not stop the superuser; a file where the folder should be stops everyone.
    const std::filesystem::path unwritable = geteuid() == 0 ? folder / "file-not-folder" : folder / "locked";
    test::writeTextFile(folder / "file-not-folder", "keep");
    try {
        writeDescriptionFiles("Titel", "", threeMarkers, {"A", "B"}, unwritable / "youtube_P");
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.domain(), "FileSystem");
        EXPECT_NE(std::string(error.what()).find((unwritable / "youtube_P.YT1.txt").string()),
                  std::string::npos)
            << error.what();
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder / "locked"));
    EXPECT_EQ(readTextFile(folder / "file-not-folder"), "keep");
}

TEST(DescriptionFiles, KeepTheFirstFileWhenTheSecondCannotBeWritten) {
    TempFolder folder;
    // A folder in the second file's place makes its rename fail, whoever runs the test.
    std::filesystem::create_directories(folder / "youtube_P.YT2.txt" / "occupied");
    EXPECT_THROW(writeDescriptionFiles("", "", threeMarkers, {"A", "B"}, folder / "youtube_P"), Error);
    EXPECT_EQ(readTextFile(folder / "youtube_P.YT1.txt"), chapterLines + "\n\nA");
    EXPECT_EQ(test::filesIn(folder.path()),
              (std::vector<std::filesystem::path>{folder / "youtube_P.YT1.txt", folder / "youtube_P.YT2.txt",
                                                  folder / "youtube_P.YT2.txt" / "occupied"}));
}

}  // namespace
}  // namespace tidyreel
