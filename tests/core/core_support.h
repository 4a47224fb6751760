#pragma once

#include "base/log_entry.h"
#include "core/content_view_model.h"
#include "test_support.h"

#include <gtest/gtest.h>
#include <QCoreApplication>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tidyreel::test {

/// Gives each test empty settings and application data in private folders. Qt reads the settings
/// location once per process, so the folders are set once, before any fixture member can touch the
/// settings, and the stored keys are cleared per test.
class CoreTest : public ::testing::Test {
protected:
    CoreTest();
    ~CoreTest() override;
};

/// The messages of log entries, in order.
std::vector<std::string> messagesOf(const std::vector<LogEntry>& entries);

/// The minimal project every run can read: one clip of role "Video" in a named project.
std::string minimalProject(const std::string& projectName = "Film");

/// A project of one 3 s sound file ("Ton.wav", made by ffmpeg in `folder`), written as "p.fcpxml" in
/// `folder`: an archive run copies it whole, without ffmpeg.
std::filesystem::path soundProject(const std::filesystem::path& folder);

/// The application object that background runs report through, unless one exists already.
std::unique_ptr<QCoreApplication> makeApplication();

/// Runs the event loop until the controller's background run has ended.
void waitWhileProcessing(const ContentViewModel& controller);

}  // namespace tidyreel::test
