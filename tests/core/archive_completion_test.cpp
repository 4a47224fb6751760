#include "core/content_view_model.h"
#include "core/core_support.h"
#include "fcpxml/media_path.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>

#include <chrono>
#include <thread>

namespace tidyreel {
namespace {

using ::testing::ElementsAre;

// A project whose one asset is a sound file: archived by copying alone, so no ffmpeg is needed.
std::string soundProject(const std::filesystem::path& sound) {
    return "<fcpxml version=\"1.11\"><resources><asset id=\"r1\" duration=\"3s\" hasAudio=\"1\">"
           "<media-rep kind=\"original-media\" src=\"" +
           MediaPath::url(sound.string()) +
           "\"/></asset></resources><library><event name=\"E\"><project name=\"Ton\"><sequence><spine>"
           "<asset-clip ref=\"r1\" name=\"T\" "
           "duration=\"3s\"/></spine></sequence></project></event></library>"
           "</fcpxml>";
}

using ArchiveCompletion = test::CoreTest;

TEST_F(ArchiveCompletion, ReportIsKeptAndThePipelineClosesInTheWindow) {
    int argc = 1;
    char name[] = "test";
    char* argv[] = {name, nullptr};
    std::unique_ptr<QCoreApplication> application;
    if (!QCoreApplication::instance()) {
        application = std::make_unique<QCoreApplication>(argc, argv);
    }
    test::TempFolder folder;
    test::writeTextFile(folder / "Ton.wav", std::string(2'000'000, 'x'));
    test::writeTextFile(folder / "p.fcpxml", soundProject(folder / "Ton.wav"));
    ContentViewModel controller(RunMode::background);
    controller.loadFile(folder / "p.fcpxml");
    controller.chooseOutputFolder(folder / "out");
    std::filesystem::create_directories(folder / "out");
    controller.startArchiving();
    // A guard against hanging, not a timing assertion.
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    while (controller.isProcessing() && std::chrono::steady_clock::now() < giveUp) {
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_FALSE(controller.isProcessing());
    ASSERT_TRUE(controller.lastArchiveReport());
    EXPECT_EQ(controller.lastArchiveReport()->originalSize, 2'000'000);
    EXPECT_EQ(controller.lastArchiveReport()->archiveSize, 2'000'000);
    EXPECT_TRUE(std::holds_alternative<ActionStatus::Success>(controller.archivingStatus().value));
    EXPECT_FALSE(controller.processingProgress());
    const std::vector<std::string> lines = test::messagesOf(controller.logEntries());
    EXPECT_THAT(
        std::vector<std::string>(lines.end() - 3, lines.end()),
        ElementsAre("  → Info.fcpxml: " + (folder / "out" / "archiv_Ton.fcpxmld" / "Info.fcpxml").string(),
                    "Report: Original 2 MB → Archiv 2 MB (\u22120.0%)", "Pipeline abgeschlossen"));
}

}  // namespace
}  // namespace tidyreel
