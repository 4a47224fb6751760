// What an unlucky or hostile user hands the command line: things that are not projects, odd names,
// bad options, a damaged memory file and a full disk. Each ends in a clear line and the right status,
// and changes no earlier result and no source.
#include "cli/archive_media_support.h"
#include "cli/cli_support.h"
#include "fcpxml/media_path.h"
#include "fcpxml/xml.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <thread>

namespace tidyreel::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class HostileInput : public ::testing::Test {
protected:
    // The one-sound project (archived by copying alone) with its sound at `sound`.
    std::filesystem::path soundProject(const std::filesystem::path& project,
                                       const std::filesystem::path& sound) const {
        std::string text = readTextFile(fixture("core/sound_project.fcpxml"));
        text.replace(text.find("SOUND"), 5, MediaPath::url(sound.string()));
        writeTextFile(project, text);
        return project;
    }

    // A real 3 s sound file: the archive measures the sound it copies.
    static void writeSound(const std::filesystem::path& file, int frequency) {
        std::filesystem::create_directories(file.parent_path());
        if (!runShell("ffmpeg -nostdin -v error -y -f lavfi -i sine=frequency=" + std::to_string(frequency) +
                      ":duration=3 -f wav '" + file.string() + "'")) {
            throw std::runtime_error("cannot make " + file.string());
        }
    }

    std::string lastLine(const CommandResult& result) const {
        const std::vector<std::string> messages = logMessages(result.standardOutput);
        return messages.empty() ? "" : messages.back();
    }

    IsolatedUserFolders user;
    TempFolder folder;
    std::filesystem::path output = folder / "Ausgabe";
};

TEST_F(HostileInput, WellFormedXMLThatIsNoProjectWritesNothing) {
    writeTextFile(folder / "page.fcpxml", "<html><body><p>fcpxml</p></body></html>");
    writeTextFile(folder / "old.fcpxml", "<fcpxml version=\"1.2\"><project name=\"P\"/></fcpxml>");
    for (const char* command : {"grade", "archive"}) {
        const CommandResult html = runTidyreel(
            {command, (folder / "page.fcpxml").string(), "-o", output.string(), "--lang", "en"}, user);
        EXPECT_EQ(html.exitStatus, 1) << command;
        EXPECT_THAT(lastLine(html), HasSubstr("Not an FCPXML file")) << command;
    }
    const CommandResult old =
        runTidyreel({"grade", (folder / "old.fcpxml").string(), "-o", output.string(), "--lang", "en"}, user);
    EXPECT_EQ(old.exitStatus, 1);
    EXPECT_THAT(lastLine(old), HasSubstr("FCPXML version 1.2 is not supported (Tidyreel reads 1.3 to 1.13)"));
    EXPECT_TRUE(filesIn(output).empty());
}

TEST_F(HostileInput, AProjectFromAPipeIsReadOnceAndServesTheRun) {
    const std::filesystem::path fifo = folder / "Pipe.fcpxml";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::thread writer([&] { writeTextFile(fifo, readTextFile(fixture("roles_mixed.fcpxml"))); });
    const CommandResult result =
        runTidyreel({"grade", fifo.string(), "-o", output.string(), "--lang", "en"}, user);
    writer.join();
    EXPECT_EQ(result.exitStatus, 0) << result.standardOutput;
    ASSERT_EQ(filesIn(output).size(), 1u);
    EXPECT_TRUE(XmlDocument::load(filesIn(output)[0])->first("//project"));
}

TEST_F(HostileInput, BadOptionsAreUsageErrorsAndNothingIsRemembered) {
    const std::filesystem::path project = soundProject(folder / "Ton.fcpxml", folder / "Ton.wav");
    for (const std::vector<std::string>& options : {std::vector<std::string>{"--buffer", "nan"},
                                                    {"--buffer", "inf"},
                                                    {"--min-segment", "-3"},
                                                    {"--encoder", "hevc_videotoolbox"}}) {
        std::vector<std::string> arguments{"archive", project.string(), "-o", output.string()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        EXPECT_EQ(runTidyreel(arguments, user).exitStatus, 2) << options[0] << " " << options[1];
    }
    EXPECT_TRUE(filesIn(user.configHome()).empty());
    EXPECT_FALSE(std::filesystem::exists(output));
}

TEST_F(HostileInput, ADamagedMemoryOfEffectsIsKeptAsideAndReportedOnce) {
    const std::filesystem::path memory = user.dataHome() / "Tidyreel" / "role_effects.json";
    writeTextFile(memory, "{\"mappings\": {\"video\": ");
    const CommandResult first = runTidyreel({"effects", "--lang", "en"}, user);
    EXPECT_EQ(first.exitStatus, 0);
    EXPECT_THAT(logMessages(first.standardOutput),
                Contains(HasSubstr("Remembered effect assignments damaged, kept aside as " + memory.string() +
                                   ".damaged")));
    EXPECT_EQ(readTextFile(memory.string() + ".damaged"), "{\"mappings\": {\"video\": ");
    const CommandResult second = runTidyreel({"effects", "--lang", "en"}, user);
    EXPECT_THAT(second.standardOutput, ::testing::Not(HasSubstr("damaged")));
}

TEST_F(HostileInput, OnAFullDiskNothingEarlierIsLostAndTheRunFails) {
    writeTextFile(folder / "Warm.moef", "<?xml version=\"1.0\"?><ozml version=\"5.0\"/>");
    writeTextFile(folder / "Cold.moef", "<?xml version=\"1.0\"?><ozml version=\"5.0\"/>");
    const std::string project = fixture("roles_mixed.fcpxml").string();
    ASSERT_EQ(runTidyreel({"grade", project, "-o", output.string(), "--effect",
                           "video=" + (folder / "Warm.moef").string()},
                          user)
                  .exitStatus,
              0);
    const std::filesystem::path memory = user.dataHome() / "Tidyreel" / "role_effects.json";
    const std::string remembered = readTextFile(memory);
    const std::vector<std::filesystem::path> earlier = filesIn(output);

    const CommandResult full = runTidyreelOnFullDisk({"grade", project, "-o", output.string(), "--lang", "en",
                                                      "--effect", "video=" + (folder / "Cold.moef").string()},
                                                     user);
    EXPECT_EQ(full.exitStatus, 1);
    const std::vector<std::string> messages = logMessages(full.standardOutput);
    ASSERT_FALSE(messages.empty());
    EXPECT_THAT(messages.back(), HasSubstr("Color-Grading fehlgeschlagen: Could not write file"));
    EXPECT_THAT(messages.back(), HasSubstr(std::strerror(EFBIG)));
    EXPECT_EQ(readTextFile(memory), remembered);
    EXPECT_EQ(filesIn(output), earlier);
    EXPECT_THAT(filesIn(user.dataHome() / "Tidyreel"), ElementsAre(memory));
}

TEST_F(HostileInput, NoRunReplacesAnEarlierResultOrAnotherProjectsArchive) {
    const std::string project = fixture("roles_mixed.fcpxml").string();
    for (int run = 0; run < 2; ++run) {
        ASSERT_EQ(runTidyreel({"grade", project, "-o", output.string()}, user).exitStatus, 0);
    }
    EXPECT_EQ(filesIn(output).size(), 2u);

    // Two projects of the same name in different folders: the second gets its own bundle.
    writeSound(folder / "a" / "Ton.wav", 440);
    writeSound(folder / "b" / "Ton.wav", 660);
    const std::filesystem::path first = soundProject(folder / "a" / "Ton.fcpxml", folder / "a" / "Ton.wav");
    const std::filesystem::path second = soundProject(folder / "b" / "Ton.fcpxml", folder / "b" / "Ton.wav");
    const UnchangedSources sources({folder / "a" / "Ton.wav", folder / "b" / "Ton.wav", first, second});
    ASSERT_EQ(runTidyreel({"archive", first.string(), "-o", output.string()}, user).exitStatus, 0);
    ASSERT_EQ(runTidyreel({"archive", second.string(), "-o", output.string()}, user).exitStatus, 0);
    ASSERT_EQ(runTidyreel({"archive", first.string(), "-o", output.string()}, user).exitStatus, 0);
    EXPECT_EQ(fileChecksum(output / "archiv_Ton.fcpxmld" / "Media" / "Ton.wav"),
              fileChecksum(folder / "a" / "Ton.wav"));
    EXPECT_EQ(fileChecksum(output / "archiv_Ton 2.fcpxmld" / "Media" / "Ton.wav"),
              fileChecksum(folder / "b" / "Ton.wav"));
    EXPECT_FALSE(std::filesystem::exists(output / "archiv_Ton 3.fcpxmld"));
}

TEST_F(HostileInput, AnOutputFolderInsideTheProjectsBundleIsRefused) {
    const std::filesystem::path bundle = folder / "Film.fcpxmld";
    std::filesystem::copy(fixture("60fps-rubric-markers.fcpxmld"), bundle,
                          std::filesystem::copy_options::recursive);
    const std::vector<std::filesystem::path> before = filesIn(bundle);
    const CommandResult result =
        runTidyreel({"archive", bundle.string(), "-o", (bundle / "out").string(), "--lang", "en"}, user);
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.standardError, HasSubstr("The output folder is inside the project's bundle"));
    EXPECT_EQ(filesIn(bundle), before);
}

TEST_F(HostileInput, ASourceNameThatIsNotUTF8IsArchivedUnderAUTF8Name) {
    const std::filesystem::path sound = folder / "T\xff\xfen.wav";
    writeSound(sound, 440);
    const std::size_t checksum = fileChecksum(sound);
    const std::filesystem::path project = soundProject(folder / "Ton.fcpxml", sound);
    const UnchangedSources sources({sound, project});
    const CommandResult result = runTidyreel({"archive", project.string(), "-o", output.string()}, user);
    EXPECT_EQ(result.exitStatus, 0) << result.standardOutput;
    const std::filesystem::path bundle = output / "archiv_Ton.fcpxmld";
    EXPECT_EQ(fileChecksum(bundle / "Media" / "T__n.wav"), checksum);
    EXPECT_EQ(XmlDocument::load(bundle / "Info.fcpxml")->first("//media-rep").attribute("src"),
              "./Media/T__n.wav");
}

TEST_F(HostileInput, AFIFOAsASourceIsOfflineWithAClearLineAndNeverRead) {
    const std::filesystem::path fifo = folder / "Ton.wav";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::filesystem::path project = soundProject(folder / "Ton.fcpxml", fifo);
    // Whoever opens the FIFO to read would wait for a writer for ever: it is let go at once and noted.
    bool opened = false;
    const auto releaseReaders = [&] {
        if (const int writer = open(fifo.c_str(), O_WRONLY | O_NONBLOCK); writer >= 0) {
            opened = true;
            close(writer);
        }
    };
    const std::vector<std::string> arguments{"archive",       project.string(), "-o",
                                             output.string(), "--lang",         "en"};
    const CommandResult refused = runTidyreel(arguments, user, releaseReaders);
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_THAT(logMessages(refused.standardOutput),
                Contains(AllOf(HasSubstr("✗ Source not a regular file (folder, device or FIFO) (r1)"),
                               HasSubstr(fifo.string()))));

    std::vector<std::string> offline = arguments;
    offline.push_back("--allow-offline");
    const CommandResult archived = runTidyreel(offline, user, releaseReaders);
    EXPECT_EQ(archived.exitStatus, 0) << archived.standardOutput;
    EXPECT_THAT(logMessages(archived.standardOutput),
                Contains(AllOf(::testing::StartsWith("⚠️"),
                               HasSubstr("Source not a regular file (folder, device or FIFO) (r1)"))));
    EXPECT_FALSE(std::filesystem::exists(output / "archiv_Ton.fcpxmld" / "Media" / "Ton.wav"));
    EXPECT_FALSE(opened) << "the FIFO was opened";
}

}  // namespace
}  // namespace tidyreel::test
