// Ctrl-C and SIGTERM during an archive run, sent to the real `tidyreel` while its ffmpeg works.
#include "cli/archive_media_support.h"
#include "cli/cli_support.h"
#include "fcpxml/media_path.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <fstream>
#include <thread>

namespace tidyreel::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

// Whether the process is gone (a zombie nobody reaped yet counts as gone).
bool isGone(pid_t pid) {
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
        std::string ignored;
        char state = '?';
        if (kill(pid, 0) != 0 || !(stat >> ignored >> ignored >> state) || state == 'Z') {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

class Interrupt : public ::testing::Test {
protected:
    Interrupt() {
        makeTestVideo(clip, 48, 0, "-c:v libx264 -preset ultrafast -g 50 -pix_fmt yuv420p -an");
        // The fixture's sound file is offline on purpose: the runs archive without it.
        std::string text = readTextFile(fixture("archive/failing_cut.fcpxml"));
        text.replace(text.find("file://MEDIA"), 12, MediaPath::url(folder.path().string()));
        writeTextFile(project, text);
    }

    // Runs the archive with an ffmpeg that writes part of its output and then works on and on; once it
    // has started, `signal` goes to tidyreel (its parent).
    CommandResult archiveInterruptedBy(int signal) const {
        const ScopedEnvironment hanging(
            "TIDYREEL_FFMPEG", writeScript(folder / "bin" / "ffmpeg",
                                           "for last; do :; done\necho halb > \"$last\"\necho $$ > '" +
                                               (folder / "ffmpeg.pid").string() + "'\necho $PPID > '" +
                                               (folder / "tidyreel.pid").string() + "'\nexec sleep 60")
                                   .string());
        bool sent = false;
        return runTidyreel({"archive", project.string(), "-o", output.string(), "--lang", "en", "--encoder",
                            "libx265", "--allow-offline"},
                           user, [&] {
                               const std::string tidyreel = readTextFile(folder / "tidyreel.pid");
                               if (!sent && !tidyreel.empty()) {
                                   kill(std::stoi(tidyreel), signal);
                                   sent = true;
                               }
                           });
    }

    pid_t ffmpegPid() const { return std::stoi(readTextFile(folder / "ffmpeg.pid")); }

    IsolatedUserFolders user;
    TempFolder folder;
    std::filesystem::path clip = folder / "Karte" / "A.mov";
    std::filesystem::path project = folder / "Archivtest.fcpxml";
    std::filesystem::path output = folder / "Ausgabe";
};

TEST_F(Interrupt, SIGTERMStopsFFmpegAndLeavesNoHalfBundle) {
    const UnchangedSources sources({clip, project});
    const CommandResult result = archiveInterruptedBy(SIGTERM);
    EXPECT_EQ(result.exitStatus, 143);
    EXPECT_EQ(logMessages(result.standardOutput).back(), "❌ Trim & Archivierung fehlgeschlagen: Cancelled");
    EXPECT_TRUE(isGone(ffmpegPid())) << "no ffmpeg outlives the run";
    EXPECT_TRUE(filesIn(output).empty()) << "the bundle this run began is removed";
}

TEST_F(Interrupt, CtrlCDuringARerunKeepsTheEarlierArchiveWhole) {
    const UnchangedSources sources({clip, project});
    ASSERT_EQ(runTidyreel({"archive", project.string(), "-o", output.string(), "--encoder", "libx265",
                           "--allow-offline"},
                          user)
                  .exitStatus,
              0);
    const std::filesystem::path bundle = output / "archiv_Archivtest.fcpxmld";
    const std::size_t trimmed = fileChecksum(bundle / "Media" / "A_trimmed.mov");
    const std::string info = readTextFile(bundle / "Info.fcpxml");
    const std::vector<std::filesystem::path> files = filesIn(output);

    const CommandResult result = archiveInterruptedBy(SIGINT);
    EXPECT_EQ(result.exitStatus, 130);
    EXPECT_THAT(logMessages(result.standardOutput), Contains(HasSubstr("Cancelled")));
    EXPECT_TRUE(isGone(ffmpegPid()));
    EXPECT_EQ(fileChecksum(bundle / "Media" / "A_trimmed.mov"), trimmed);
    EXPECT_EQ(readTextFile(bundle / "Info.fcpxml"), info);
    EXPECT_EQ(filesIn(output), files) << "no partial file stays behind";
}

}  // namespace
}  // namespace tidyreel::test
