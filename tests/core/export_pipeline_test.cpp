#include "core/export_pipeline.h"

#include "base/error.h"
#include "core/core_support.h"
#include "description/chapter_marker_export_task.h"

#include <gtest/gtest.h>

namespace tidyreel {
namespace {

struct TaskLine {
    std::string name;
    bool enabled;
    bool operator==(const TaskLine&) const = default;
};

std::vector<TaskLine> taskLines(ExportActionType type, bool chapters, bool descriptions) {
    std::vector<TaskLine> lines;
    for (const auto& task : makeTaskList(type, chapters, descriptions)) {
        lines.push_back({task->taskName, task->isEnabled});
    }
    return lines;
}

TEST(TaskLists, EveryWorkflowGetsItsTasksAndDescriptionRunsExactlyOnePerSwitchCombination) {
    EXPECT_EQ(taskLines(ExportActionType::colorGrading, false, false),
              (std::vector<TaskLine>{{"Rollen-Effekte", true}, {"FCPXML schreiben", true}}));
    EXPECT_EQ(taskLines(ExportActionType::youtube, false, false),
              (std::vector<TaskLine>{{"Kapitelmarker", false}, {"Videobeschreibung", false}}));
    EXPECT_EQ(taskLines(ExportActionType::youtube, true, false),
              (std::vector<TaskLine>{{"Kapitelmarker", true}, {"Videobeschreibung", false}}));
    EXPECT_EQ(taskLines(ExportActionType::youtube, false, true),
              (std::vector<TaskLine>{{"Kapitelmarker", false}, {"Videobeschreibung", true}}));
    EXPECT_EQ(taskLines(ExportActionType::youtube, true, true),
              (std::vector<TaskLine>{{"Kapitelmarker", true}, {"Videobeschreibung", false}}));
    for (const bool descriptions : {false, true}) {
        const auto tasks = makeTaskList(ExportActionType::youtube, true, descriptions);
        const auto* chapters = dynamic_cast<const ChapterMarkerExportTask*>(tasks.front().get());
        ASSERT_NE(chapters, nullptr);
        EXPECT_EQ(chapters->includeDescriptions, descriptions);
    }
    const auto archive = makeArchiveTaskList();
    ASSERT_EQ(archive.size(), 2u);
    EXPECT_EQ(archive[0]->taskName, "Clips schneiden");
    EXPECT_EQ(archive[1]->taskName, "Bundle schreiben");
    EXPECT_TRUE(archive[0]->isEnabled && archive[1]->isEnabled);
}

class PipelineRun : public test::CoreTest {
protected:
    PipelineCallbacks callbacks() {
        PipelineCallbacks result;
        result.logger = [this](LogEntryType, const std::string& message) { lines.push_back(message); };
        return result;
    }
    PipelineRequest request(ExportActionType type) {
        test::writeTextFile(folder / "P.fcpxml", project);
        PipelineRequest result;
        result.actionType = type;
        result.settings.outputDirectory = folder / "out";
        std::filesystem::create_directories(result.settings.outputDirectory);
        result.sourceURL = folder / "P.fcpxml";
        result.originalFileName = "P.fcpxml";
        return result;
    }

    test::TempFolder folder;
    std::string project = test::minimalProject();
    std::vector<std::string> lines;
};

TEST_F(PipelineRun, NoOutputFolderFailsWithProcessingCodeOneAndLogsNothing) {
    PipelineRequest noFolder = request(ExportActionType::colorGrading);
    noFolder.settings.outputDirectory.clear();
    EXPECT_TRUE(test::throwsError([&] { runExportPipeline(noFolder, callbacks()); }, "Processing", 1,
                                  "Kein Zielordner ausgewählt"));
    EXPECT_TRUE(lines.empty());
}

TEST_F(PipelineRun, AFailingEffectTaskStopsTheRunBeforeAnythingIsWritten) {
    project =
        "<fcpxml><library><project name=\"P\"><sequence><spine><clip videoRole=\"V\"/></spine></sequence>"
        "</project></library></fcpxml>";
    PipelineRequest grading = request(ExportActionType::colorGrading);
    grading.settings.roleEffectMappings["V"] =
        EffectReference{"Warm", "~/Effects.localized/Warm.moef", std::nullopt, SourceType::motionTemplate};
    EXPECT_THROW(runExportPipeline(grading, callbacks()), Error);
    EXPECT_TRUE(std::filesystem::is_empty(folder / "out"));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "DEBUG: Starte Task: FCPXML schreiben"), 0);
}

TEST_F(PipelineRun, TheProjectIsReadAfreshForEveryRun) {
    PipelineRequest grading = request(ExportActionType::colorGrading);
    runExportPipeline(grading, callbacks());
    test::writeTextFile(folder / "P.fcpxml", test::minimalProject("Zweiter Schnitt"));
    std::filesystem::remove_all(folder / "out");
    std::filesystem::create_directory(folder / "out");
    runExportPipeline(grading, callbacks());
    const auto written = std::filesystem::directory_iterator(folder / "out")->path();
    EXPECT_NE(test::readTextFile(written).find("_colorgrading_Zweiter Schnitt\""), std::string::npos);
}

// How the debug lines shorten a long text is the title texts' test.
TEST_F(PipelineRun, EveryRunLogsTheDescriptionTitleTextsAfterParsing) {
    project = test::readTextFile(test::fixture("description_tour.fcpxml"));
    for (const ExportActionType type : {ExportActionType::youtube, ExportActionType::colorGrading}) {
        lines.clear();
        runExportPipeline(request(type), callbacks());
        ASSERT_GE(lines.size(), 3u);
        EXPECT_EQ(std::vector<std::string>(lines.begin() + 1, lines.begin() + 3),
                  (std::vector<std::string>{"DEBUG: QUILLT1 = 'Bergtour im Herbst \n2024'",
                                            "DEBUG: QUILLT2 = 'Mountain tour in autumn 2024'"}));
    }
}

}  // namespace
}  // namespace tidyreel
