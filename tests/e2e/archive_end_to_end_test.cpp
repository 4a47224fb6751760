// Archives projects with real media, made by ffmpeg in the test, through the real `tidyreel` binary.
#include "archive/media/media_probe.h"
#include "e2e/archive_media_support.h"
#include "fcpxml/media_path.h"
#include "fcpxml/xml.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
    // An asset element for a file, 25 fps.
    std::string asset(const std::string& id, const std::filesystem::path& file, const std::string& duration,
                      const std::string& flags, const std::string& start = "0s") const {
        return "<asset id=\"" + id + "\" name=\"" + file.stem().string() + "\" uid=\"UID-" + id +
               "\" start=\"" + start + "\" duration=\"" + duration + "\" " + flags +
               " format=\"f25\"><media-rep kind=\"original-media\" sig=\"UID-" + id + "\" src=\"" +
               MediaPath::url(file.string()) + "\"/></asset>";
    }

    void writeProject(const std::string& resources, const std::string& spine) const {
        writeTextFile(
            project,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE fcpxml>\n<fcpxml version=\"1.11\">"
            "<resources><format id=\"f25\" frameDuration=\"1/25s\" width=\"160\" height=\"90\"/>" +
                resources +
                "</resources><library><event name=\"Dreh\"><project name=\"Archivtest\">"
                "<sequence format=\"f25\"><spine>" +
                spine + "</spine></sequence></project></event></library></fcpxml>");
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

// The archived clip must show the frame the original showed at its start, not a neighbour.
void expectSameFrame(const std::filesystem::path& source, Rational oldStart,
                     const std::filesystem::path& archived, Rational newStart, Rational origin,
                     const std::string& what) {
    const long sourceFrame = std::lround(((oldStart - origin) * 25).doubleValue());
    const long archivedFrame = std::lround(((newStart - origin) * 25).doubleValue());
    const double shown = frameBrightness(archived, archivedFrame);
    EXPECT_NEAR(shown, frameBrightness(source, sourceFrame), 6.0) << what;
    EXPECT_GT(std::abs(shown - frameBrightness(source, sourceFrame - 1)), 15.0)
        << what << ": the frame before";
    EXPECT_GT(std::abs(shown - frameBrightness(source, sourceFrame + 1)), 15.0)
        << what << ": the frame after";
}

TEST_F(ArchiveEndToEnd, TrimsCopiesRewritesAndKeepsEveryCutOnItsFrame) {
    const std::filesystem::path cardA = folder / "Karte A" / "C0001.MOV";
    const std::filesystem::path cardB = folder / "Karte B" / "C0001.MOV";
    const std::filesystem::path prores = folder / "Karte A" / "Grafik.mov";
    const std::filesystem::path timecode = folder / "Karte A" / "TC0001.mov";
    const std::filesystem::path shortClip = folder / "Karte A" / "kurz.mov";
    const std::filesystem::path still = folder / "Karte A" / "Standbild.png";
    const std::filesystem::path sound = folder / "Karte A" / "Ton.wav";
    makeTestVideo(cardA, 48, 0, std::string(kH264) + " -c:a aac");
    makeTestVideo(cardB, 48, 100, std::string(kH264) + " -c:a aac");
    makeTestVideo(prores, 30, 50,
                  "-c:v prores_ks -profile:v 4 -vendor apl0 -pix_fmt yuva444p10le "
                  "-metadata:s:v:0 encoder=\"Apple ProRes 4444\" -c:a pcm_s16le");
    makeTestVideo(timecode, 48, 20, std::string(kH264) + " -an -timecode 01:00:00:00");
    makeTestVideo(shortClip, 6, 0, std::string(kH264) + " -c:a aac");
    ASSERT_TRUE(runShell("ffmpeg -nostdin -v error -y -f lavfi -i color=c=red:s=160x90:d=1 -frames:v 1 '" +
                         still.string() + "'"));
    ASSERT_TRUE(runShell("ffmpeg -nostdin -v error -y -f lavfi -i sine=duration=3 '" + sound.string() + "'"));
    const std::vector<std::filesystem::path> sources{cardA, cardB, prores, timecode, shortClip, still, sound};
    std::map<std::filesystem::path, std::size_t> checksums;
    for (const auto& source : sources) {
        checksums[source] = fileChecksum(source);
    }
    writeProject(
        asset("a1", cardA, "48s", "hasVideo=\"1\" hasAudio=\"1\"") +
            asset("a2", cardB, "48s", "hasVideo=\"1\" hasAudio=\"1\"") +
            asset("a3", prores, "30s", "hasVideo=\"1\" hasAudio=\"1\"") +
            asset("a4", still, "0s", "hasVideo=\"1\"") + asset("a5", sound, "3s", "hasAudio=\"1\"") +
            asset("a6", shortClip, "6s", "hasVideo=\"1\" hasAudio=\"1\"") +
            asset("a7", timecode, "48s", "hasVideo=\"1\"", "3600s"),
        "<asset-clip ref=\"a1\" name=\"A1\" offset=\"0s\" start=\"2s\" duration=\"1s\">"
        "<chapter-marker start=\"62/25s\" duration=\"1/25s\" value=\"Kapitel\"/>"
        "<asset-clip ref=\"a7\" lane=\"1\" name=\"T0\" offset=\"2s\" start=\"3606s\" duration=\"1/2s\"/>"
        "<asset-clip ref=\"a5\" lane=\"-1\" name=\"Ton\" offset=\"2s\" start=\"0s\" duration=\"1s\"/>"
        "</asset-clip>"
        "<asset-clip ref=\"a1\" name=\"A2\" offset=\"1s\" start=\"1001/25s\" duration=\"1s\"/>"
        "<asset-clip ref=\"a2\" name=\"B1\" offset=\"2s\" start=\"30s\" duration=\"2s\"/>"
        "<asset-clip ref=\"a3\" name=\"P1\" offset=\"4s\" start=\"503/25s\" duration=\"2s\"/>"
        "<asset-clip ref=\"a4\" name=\"S\" offset=\"6s\" duration=\"1s\"/>"
        "<asset-clip ref=\"a6\" name=\"K\" offset=\"7s\" start=\"1s\" duration=\"2s\"/>"
        "<asset-clip ref=\"a7\" name=\"T1\" offset=\"9s\" start=\"3610s\" duration=\"1s\"/>"
        "<asset-clip ref=\"a7\" name=\"T2\" offset=\"10s\" start=\"18201/5s\" duration=\"1s\"/>");
    const std::shared_ptr<XmlDocument> original = XmlDocument::load(project);

    const CommandResult result = archive();
    ASSERT_EQ(result.exitStatus, 0) << result.standardOutput << result.standardError;
    const std::vector<std::string> messages = logMessages(result.standardOutput);
    EXPECT_THAT(messages, Contains("✅ Trim & Archivierung erfolgreich abgeschlossen"));
    EXPECT_THAT(messages, Contains("✅ Pipeline abgeschlossen"));
    EXPECT_THAT(messages,
                Contains("ℹ️   → Asset a6: Originallänge 6s < minSegment 20s → übersprungen"));
    EXPECT_THAT(messages,
                Contains("ℹ️        → ProRes 4444 (AVFoundation) erkannt → Stream-Copy-Trim"));
    EXPECT_THAT(splitLines(result.standardOutput).back(), ::testing::StartsWith("Original "));

    // Every source is untouched; every reference points into the bundle.
    for (const auto& source : sources) {
        EXPECT_EQ(fileChecksum(source), checksums[source]) << source;
    }
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
    EXPECT_EQ(fileChecksum(mediaFile("a6")), checksums[shortClip]);
    for (const std::string id : {"a1", "a2", "a3", "a7"}) {
        const std::filesystem::path file = mediaFile(id);
        EXPECT_LT(std::filesystem::file_size(file),
                  std::filesystem::file_size(MediaPath::path(
                      original->first("//asset[@id='" + id + "']/media-rep").attribute("src").value_or(""))))
            << id;
        EXPECT_EQ(archived->first("//asset[@id='" + id + "']").attribute("duration"),
                  FFProbe::probeDuration(file).toFCPXML())
            << id;
    }
    EXPECT_EQ(archived->first("//asset[@id='a7']").attribute("start"), "3600s");
    EXPECT_EQ(videoStreamEntry(mediaFile("a7"), "tag:timecode"), "01:00:00:00");

    // The same frame at every cut, later segments of joined files included.
    const auto clipStart = [](const std::shared_ptr<XmlDocument>& document, const std::string& name) {
        return *Rational::fromFCPXML(
            document->first("//asset-clip[@name='" + name + "']").attribute("start").value_or(""));
    };
    const std::map<std::string, std::pair<std::filesystem::path, std::string>> clips{
        {"A1", {cardA, "a1"}},    {"A2", {cardA, "a1"}},    {"B1", {cardB, "a2"}},   {"P1", {prores, "a3"}},
        {"T0", {timecode, "a7"}}, {"T1", {timecode, "a7"}}, {"T2", {timecode, "a7"}}};
    for (const auto& [name, where] : clips) {
        const Rational origin = name.starts_with("T") ? Rational(3600) : Rational(0);
        expectSameFrame(where.first, clipStart(original, name), mediaFile(where.second),
                        clipStart(archived, name), origin, name);
    }
    const auto markerStart = [](const std::shared_ptr<XmlDocument>& document) {
        return *Rational::fromFCPXML(document->first("//chapter-marker").attribute("start").value_or(""));
    };
    expectSameFrame(cardA, markerStart(original), mediaFile("a1"), markerStart(archived), 0,
                    "chapter marker");

    // A second run into the same folder recognises its own copies.
    const CommandResult again = archive();
    EXPECT_EQ(again.exitStatus, 0);
    EXPECT_THAT(logMessages(again.standardOutput), Contains("ℹ️   ⊙ SKIP (existiert): Standbild.png"));
    EXPECT_FALSE(std::filesystem::exists(bundle() / "Media" / "Standbild-2.png"));
}

TEST_F(ArchiveEndToEnd, NtscFramesStayExactThoughSeekTimesAreRounded) {
    // At 30000/1001 fps no frame start is a whole number of microseconds, so printed seek times are rounded.
    const std::filesystem::path clip = folder / "Karte" / "NTSC.mov";
    makeTestVideo(clip, 48, 0, std::string(kH264) + " -r 30000/1001 -c:a aac");
    writeProject(
        "<format id=\"ntsc\" frameDuration=\"1001/30000s\" width=\"160\" height=\"90\"/>"
        "<asset id=\"n1\" start=\"0s\" duration=\"48s\" hasVideo=\"1\" hasAudio=\"1\" format=\"ntsc\">"
        "<media-rep kind=\"original-media\" src=\"" +
            MediaPath::url(clip.string()) + "\"/></asset>",
        "<asset-clip ref=\"n1\" name=\"N1\" start=\"157157/30000s\" duration=\"1001/1000s\"/>"
        "<asset-clip ref=\"n1\" name=\"N2\" start=\"1201201/30000s\" duration=\"1001/1000s\"/>");
    const std::shared_ptr<XmlDocument> original = XmlDocument::load(project);
    const CommandResult result = archive();
    ASSERT_EQ(result.exitStatus, 0) << result.standardOutput;
    EXPECT_THAT(logMessages(result.standardOutput), Contains(HasSubstr("Trim + Concat (2 Segmente)")));
    const std::shared_ptr<XmlDocument> archived = XmlDocument::load(bundle() / "Info.fcpxml");
    const std::filesystem::path trimmed = bundle() / "Media" / "NTSC_trimmed.mov";
    for (const std::string name : {"N1", "N2"}) {
        const auto start = [&](const std::shared_ptr<XmlDocument>& document) {
            return *Rational::fromFCPXML(
                document->first("//asset-clip[@name='" + name + "']").attribute("start").value_or(""));
        };
        const long sourceFrame = start(original).frameNumber(Rational(1001, 30000));
        const long archivedFrame = std::lround((start(archived) / Rational(1001, 30000)).doubleValue());
        const double shown = frameBrightness(trimmed, archivedFrame);
        EXPECT_NEAR(shown, frameBrightness(clip, sourceFrame), 6.0) << name;
        EXPECT_GT(std::abs(shown - frameBrightness(clip, sourceFrame - 1)), 15.0) << name;
        EXPECT_GT(std::abs(shown - frameBrightness(clip, sourceFrame + 1)), 15.0) << name;
    }
}

TEST_F(ArchiveEndToEnd, UnavailableSourcesAreCountedAsOffline) {
    const std::filesystem::path clip = folder / "Karte" / "A.mov";
    makeTestVideo(clip, 48, 0, std::string(kH264) + " -an");
    writeProject(asset("a1", clip, "48s", "hasVideo=\"1\"") +
                     asset("a2", folder / "fehlt" / "Ton.wav", "3s", "hasAudio=\"1\""),
                 "<asset-clip ref=\"a1\" name=\"A\" start=\"2s\" duration=\"1s\"/>"
                 "<asset-clip ref=\"a2\" name=\"T\" start=\"0s\" duration=\"1s\"/>");
    const CommandResult result = archive({"--encoder", "libx265"});
    EXPECT_EQ(result.exitStatus, 0);
    const std::vector<std::string> messages = logMessages(result.standardOutput);
    EXPECT_THAT(messages, Contains("❌   ✗ FEHLER: Ton.wav"));
    EXPECT_THAT(messages,
                Contains("ℹ️ Trim & Archivierung mit 1 Quellen nicht verfügbar/offline abgeschlossen"));
    EXPECT_THAT(messages, Contains("ℹ️ Pipeline abgeschlossen mit 1 Quellen nicht verfügbar/offline"));
    const std::shared_ptr<XmlDocument> archived = XmlDocument::load(bundle() / "Info.fcpxml");
    EXPECT_EQ(archived->first("//asset[@id='a2']/media-rep").attribute("src"),
              MediaPath::url((folder / "fehlt" / "Ton.wav").string()));
}

TEST_F(ArchiveEndToEnd, WithoutFFmpegEverySourceIsCopiedWhole) {
    const std::filesystem::path clip = folder / "Karte" / "A.mov";
    makeTestVideo(clip, 48, 0, std::string(kH264) + " -an");
    writeProject(asset("a1", clip, "48s", "hasVideo=\"1\""),
                 "<asset-clip ref=\"a1\" start=\"2s\" duration=\"1s\"/>");
    const ScopedEnvironment probe("TIDYREEL_FFPROBE", "/usr/bin/ffprobe");
    const ScopedEnvironment noFFmpeg("TIDYREEL_FFMPEG", (folder / "kein-ffmpeg").string());
    const ScopedEnvironment path("PATH", (folder / "leer").string());
    const CommandResult result = archive();
    EXPECT_EQ(result.exitStatus, 0);
    const std::vector<std::string> messages = logMessages(result.standardOutput);
    EXPECT_THAT(messages,
                Contains("❌     ✗ Trim fehlgeschlagen: ffmpeg binary nicht im App-Bundle gefunden"));
    EXPECT_THAT(messages, Contains("✅     ✓ Fallback-Kopie: A.mov"));
    EXPECT_EQ(fileChecksum(bundle() / "Media" / "A.mov"), fileChecksum(clip));
    EXPECT_FALSE(std::filesystem::exists(bundle() / "Media" / "A_trimmed.mov"));
}

TEST_F(ArchiveEndToEnd, FailingFFmpegLeavesNoPartialFile) {
    const std::filesystem::path clip = folder / "Karte" / "A.mov";
    makeTestVideo(clip, 48, 0, std::string(kH264) + " -an");
    writeProject(asset("a1", clip, "48s", "hasVideo=\"1\""),
                 "<asset-clip ref=\"a1\" start=\"2s\" duration=\"1s\"/>");
    writeTextFile(folder / "bin" / "ffmpeg",
                  "#!/bin/sh\nfor last; do :; done\necho halb > \"$last\"\n"
                  "echo 'Conversion failed!' >&2\nexit 1\n");
    std::filesystem::permissions(folder / "bin" / "ffmpeg", std::filesystem::perms::owner_all);
    const ScopedEnvironment failing("TIDYREEL_FFMPEG", (folder / "bin" / "ffmpeg").string());
    const CommandResult result = archive();
    EXPECT_EQ(result.exitStatus, 0);
    const std::vector<std::string> messages = logMessages(result.standardOutput);
    EXPECT_THAT(messages, Contains("❌     ffmpeg stderr (tail):"));
    EXPECT_THAT(result.standardOutput, HasSubstr("Conversion failed!"));
    EXPECT_THAT(messages, Contains("❌     ✗ Trim fehlgeschlagen: ffmpeg failed with status 1"));
    EXPECT_FALSE(std::filesystem::exists(bundle() / "Media" / "A_trimmed.mov"));
    EXPECT_TRUE(std::filesystem::exists(bundle() / "Media" / "A.mov"));
}

TEST_F(ArchiveEndToEnd, UnwritableOutputFolderStartsNothing) {
    writeProject("", "");
    // Nobody, root included, may create files in /sys/kernel.
    const CommandResult result =
        runTidyreel({"archive", project.string(), "-o", "/sys/kernel", "--lang", "en"}, user);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(logMessages(result.standardOutput).back(),
              "❌ Cannot write to selected output directory. Please choose another folder.");
}

}  // namespace
}  // namespace tidyreel::test
