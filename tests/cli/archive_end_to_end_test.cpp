// Archives projects with real media, made by ffmpeg in the test, through the real `tidyreel` binary.
#include "archive/media/media_probe.h"
#include "archive/media/video_packets.h"
#include "cli/archive_media_support.h"
#include "cli/cli_support.h"
#include "fcpxml/media_path.h"
#include "fcpxml/xml.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>

namespace tidyreel::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

const char* const kH264 = "-c:v libx264 -preset ultrafast -g 50 -pix_fmt yuv420p";

class ArchiveEndToEnd : public ::testing::Test {
protected:
    // Writes the project of a fixture whose media lie below the test's folder.
    void writeProject(const std::string& name) const {
        std::string text = readTextFile(fixture(name));
        for (std::size_t at; (at = text.find("file://MEDIA")) != std::string::npos;) {
            text.replace(at, 12, MediaPath::url(folder.path().string()));
        }
        writeTextFile(project, text);
    }

    CommandResult archive(std::vector<std::string> extra = {}) const {
        std::vector<std::string> arguments{"archive", project.string(), "-o", output.string(), "--buffer",
                                           "5",       "--lang",         "de"};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        return runTidyreel(arguments, user);
    }

    std::filesystem::path bundle() const { return output / "archiv_Archivtest.fcpxmld"; }

    IsolatedUserFolders user;
    TempFolder folder;
    std::filesystem::path project = folder / "Archivtest.fcpxml";
    std::filesystem::path output = folder / "Ausgabe";
};

// A time attribute of the first element `path` finds.
Rational timeAt(const std::shared_ptr<XmlDocument>& document, const std::string& path,
                const char* attribute) {
    return *Rational::fromFCPXML(document->first(path).attribute(attribute).value_or(""));
}

TEST_F(ArchiveEndToEnd, TrimsCopiesRewritesAndKeepsEveryCutOnItsFrame) {
    const std::filesystem::path cardA = folder / "Karte A" / "C0001.MOV";
    const std::filesystem::path cardB = folder / "Karte B" / "C0001.MOV";
    const std::filesystem::path prores = folder / "Karte A" / "Grafik.mov";
    const std::filesystem::path timecode = folder / "Karte A" / "TC0001.mov";
    const std::filesystem::path shortClip = folder / "Karte A" / "kurz.mov";
    const std::filesystem::path still = folder / "Karte A" / "Standbild.png";
    const std::filesystem::path sound = folder / "Karte A" / "Ton.wav";
    const std::filesystem::path ntsc = folder / "Karte A" / "NTSC.mov";
    makeTestVideo(cardA, 48, 0, std::string(kH264) + " -c:a aac");
    makeTestVideo(cardB, 48, 100, std::string(kH264) + " -c:a aac");
    makeTestVideo(prores, 30, 50,
                  "-c:v prores_ks -profile:v 4 -vendor apl0 -pix_fmt yuva444p10le "
                  "-metadata:s:v:0 encoder=\"Apple ProRes 4444\" -c:a pcm_s16le");
    makeTestVideo(timecode, 48, 20, std::string(kH264) + " -an -timecode 01:00:00:00");
    makeTestVideo(shortClip, 6, 0, std::string(kH264) + " -c:a aac");
    makeTestVideo(ntsc, 48, 0, std::string(kH264) + " -r 30000/1001 -c:a aac");
    ASSERT_TRUE(runShell("ffmpeg -nostdin -v error -y -f lavfi -i color=c=red:s=160x90:d=1 -frames:v 1 '" +
                         still.string() + "'"));
    ASSERT_TRUE(runShell("ffmpeg -nostdin -v error -y -f lavfi -i sine=duration=3 '" + sound.string() + "'"));
    writeProject("archive/archive_tour.fcpxml");
    const UnchangedSources sources({cardA, cardB, prores, timecode, shortClip, still, sound, ntsc, project});
    const std::shared_ptr<XmlDocument> original = XmlDocument::load(project);

    const CommandResult result = archive();
    ASSERT_EQ(result.exitStatus, 0) << result.standardOutput << result.standardError;
    const std::vector<std::string> messages = logMessages(result.standardOutput);
    EXPECT_THAT(messages, Contains("✅ Trim & Archivierung erfolgreich abgeschlossen"));
    EXPECT_THAT(messages, Contains("✅ Pipeline abgeschlossen"));
    EXPECT_THAT(messages,
                Contains("ℹ️        → ProRes 4444 (AVFoundation) erkannt → Stream-Copy-Trim"));
    EXPECT_THAT(splitLines(result.standardOutput).back(), ::testing::StartsWith("Original "));
    // Notifications are the window's; macOS-only diagnostics and DEBUG lines stay out of this log.
    EXPECT_EQ(result.standardError.find("notification"), std::string::npos) << result.standardError;
    for (const char* macOnly : {"SecurityScoped", "Sandbox", "NSError", "DEBUG:"}) {
        EXPECT_EQ(result.standardOutput.find(macOnly), std::string::npos) << macOnly;
    }

    // Every reference points into the bundle.
    const std::shared_ptr<XmlDocument> archived = XmlDocument::load(bundle() / "Info.fcpxml");
    for (XmlElement rep : archived->xpath("//media-rep")) {
        EXPECT_THAT(rep.attribute("src").value_or(""), ::testing::StartsWith("./Media/"));
    }
    const auto mediaFile = [&](const std::string& id) {
        const std::string src =
            archived->first("//asset[@id='" + id + "']/media-rep").attribute("src").value_or("");
        return bundle() / src.substr(2);
    };
    EXPECT_EQ(mediaFile("a1").filename(), "C0001_trimmed.MOV");
    EXPECT_NE(mediaFile("a2"), mediaFile("a1"));
    EXPECT_EQ(mediaFile("a4").filename(), "Standbild.png");
    EXPECT_EQ(mediaFile("a5").filename(), "Ton.wav");
    EXPECT_EQ(mediaFile("a6").filename(), "kurz.mov");
    EXPECT_EQ(fileChecksum(mediaFile("a6")), sources.checksumOf(shortClip));
    for (const std::string id : {"a1", "a2", "a3", "a7", "n1"}) {
        const std::filesystem::path file = mediaFile(id);
        EXPECT_LT(std::filesystem::file_size(file),
                  std::filesystem::file_size(MediaPath::path(
                      original->first("//asset[@id='" + id + "']/media-rep").attribute("src").value_or(""))))
            << id;
        EXPECT_EQ(archived->first("//asset[@id='" + id + "']").attribute("duration"),
                  FFProbe::probeDuration(file, {}).toFCPXML())
            << id;
    }
    EXPECT_EQ(archived->first("//asset[@id='a7']").attribute("start"), "3600s");
    EXPECT_EQ(videoStreamEntry(mediaFile("a7"), "tag:timecode"), "01:00:00:00");

    // The same frame at every cut, later segments of joined files included.
    const auto clipStart = [](const std::shared_ptr<XmlDocument>& document, const std::string& name) {
        return timeAt(document, "//asset-clip[@name='" + name + "']", "start");
    };
    struct Source {
        std::filesystem::path file;
        std::string asset;
        Rational origin, frame;
    };
    const Rational pal(1, 25);
    const Source a{cardA, "a1", 0, pal}, t{timecode, "a7", 3600, pal},
        n{ntsc, "n1", 0, Rational(1001, 30000)};
    const std::map<std::string, Source> clips{{"A1", a},
                                              {"A2", a},
                                              {"B1", {cardB, "a2", 0, pal}},
                                              {"P1", {prores, "a3", 0, pal}},
                                              {"T0", t},
                                              {"T1", t},
                                              {"T2", t},
                                              {"N1", n},
                                              {"N2", n}};
    for (const auto& [name, source] : clips) {
        expectSameFrame(source.file, clipStart(original, name), mediaFile(source.asset),
                        clipStart(archived, name), source.origin, source.frame, name);
    }
    expectSameFrame(cardA, timeAt(original, "//chapter-marker", "start"), mediaFile("a1"),
                    timeAt(archived, "//chapter-marker", "start"), 0, pal, "chapter marker");

    // A second run into the same folder recognises its own copies.
    const CommandResult again = archive();
    EXPECT_EQ(again.exitStatus, 0);
    EXPECT_THAT(logMessages(again.standardOutput), Contains("ℹ️   ⊙ SKIP (existiert): Standbild.png"));
    EXPECT_FALSE(std::filesystem::exists(bundle() / "Media" / "Standbild-2.png"));
}

TEST_F(ArchiveEndToEnd, OpenGopAndVariableRateSourcesKeepEveryItemOnItsFrame) {
    const std::filesystem::path openGop = folder / "Karte" / "OpenGOP.mov";
    const std::filesystem::path phone = folder / "Karte" / "Telefon.mp4";
    makeTestVideo(
        openGop, 120, 0,
        "-c:v libx264 -preset ultrafast -x264-params "
        "open-gop=1:keyint=27:min-keyint=27:scenecut=0:bframes=3:b-adapt=0 -pix_fmt yuv420p -c:a aac");
    makeVariableRateVideo(phone, 120);
    writeProject("archive/open_gop_vfr.fcpxml");
    const std::shared_ptr<XmlDocument> original = XmlDocument::load(project);

    const CommandResult result = archive({"--encoder", "libx265"});
    ASSERT_EQ(result.exitStatus, 0) << result.standardOutput << result.standardError;
    const std::vector<std::string> messages = logMessages(result.standardOutput);
    EXPECT_THAT(messages, Contains("✅ Trim & Archivierung erfolgreich abgeschlossen"));
    // Three pieces per file, each measured where it landed: nothing is late or early.
    for (const char* piece : {"Segment 1: ", "Segment 2: ", "Segment 3: "}) {
        EXPECT_EQ(std::count_if(messages.begin(), messages.end(),
                                [&](const std::string& line) {
                                    return line.find(piece) != std::string::npos &&
                                           line.ends_with("drift=0s, Versatz=0 Frames (0.0s)");
                                }),
                  2)
            << piece << result.standardOutput;
    }
    const std::shared_ptr<XmlDocument> archived = XmlDocument::load(bundle() / "Info.fcpxml");
    const std::map<std::string, std::pair<std::filesystem::path, Rational>> sources{
        {"g1", {openGop, Rational(1, 25)}}, {"v1", {phone, Rational(1, 30)}}};
    for (const auto& [asset, media] : sources) {
        const auto& [source, frame] = media;
        const std::filesystem::path trimmed =
            bundle() / "Media" / (source.stem().string() + "_trimmed" + source.extension().string());
        // Clips with their connected clips, and the markers inside them.
        for (const std::string& path :
             {"//asset-clip[@ref='" + asset + "']", "//asset-clip[@ref='" + asset + "']/chapter-marker"}) {
            const std::vector<XmlElement> before = original->xpath(path);
            const std::vector<XmlElement> after = archived->xpath(path);
            ASSERT_EQ(before.size(), after.size()) << path;
            for (std::size_t i = 0; i < before.size(); ++i) {
                const std::string name =
                    before[i].attribute("name").value_or(before[i].attribute("value").value_or(""));
                expectSameFrame(source, *Rational::fromFCPXML(before[i].attribute("start").value_or("")),
                                trimmed, *Rational::fromFCPXML(after[i].attribute("start").value_or("")), 0,
                                frame, name);
            }
        }
    }
}

TEST_F(ArchiveEndToEnd, AFailingCutAndAnOfflineSourceLeaveNoPartialFileAndKeepTheReference) {
    const std::filesystem::path clip = folder / "Karte" / "A.mov";
    makeTestVideo(clip, 48, 0, std::string(kH264) + " -an");
    writeProject("archive/failing_cut.fcpxml");
    const UnchangedSources sources({clip, project});
    // ffmpeg writes half an output, then fails.
    const ScopedEnvironment failing("TIDYREEL_FFMPEG",
                                    writeScript(folder / "bin" / "ffmpeg",
                                                "for last; do :; done\necho halb > \"$last\"\n"
                                                "echo 'Conversion failed!' >&2\nexit 1")
                                        .string());
    const CommandResult result = archive({"--encoder", "libx265", "--allow-offline"});
    EXPECT_EQ(result.exitStatus, 0);
    const std::vector<std::string> messages = logMessages(result.standardOutput);
    EXPECT_THAT(messages, Contains("❌     ffmpeg stderr (tail):"));
    EXPECT_THAT(result.standardOutput, HasSubstr("Conversion failed!"));
    EXPECT_THAT(messages, Contains("❌     ✗ Trim fehlgeschlagen: ffmpeg failed with status 1"));
    EXPECT_FALSE(std::filesystem::exists(bundle() / "Media" / "A_trimmed.mov"));
    EXPECT_EQ(fileChecksum(bundle() / "Media" / "A.mov"), fileChecksum(clip));
    EXPECT_THAT(messages, Contains("⚠️   Quelle fehlt (a2): " + (folder / "fehlt" / "Ton.wav").string()));
    EXPECT_THAT(messages,
                Contains("ℹ️ Trim & Archivierung mit 1 Quellen nicht verfügbar/offline abgeschlossen"));
    EXPECT_THAT(messages, Contains("ℹ️ Pipeline abgeschlossen mit 1 Quellen nicht verfügbar/offline"));
    EXPECT_EQ(
        XmlDocument::load(bundle() / "Info.fcpxml")->first("//asset[@id='a2']/media-rep").attribute("src"),
        MediaPath::url((folder / "fehlt" / "Ton.wav").string()));
}

TEST_F(ArchiveEndToEnd, UnwritableOutputFolderStartsNothing) {
    writeProject("archive/failing_cut.fcpxml");
    // Nobody, root included, may create files in /sys/kernel.
    const CommandResult result =
        runTidyreel({"archive", project.string(), "-o", "/sys/kernel", "--lang", "en"}, user);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(logMessages(result.standardOutput).back(),
              "❌ Cannot write to selected output directory. Please choose another folder.");
}

}  // namespace
}  // namespace tidyreel::test
