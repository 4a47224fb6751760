// Archives camera-like media with `--encoder copy` through the real `tidyreel` binary and compares the
// archived pictures with the sources', bit for bit.
#include "archive/media/media_probe.h"
#include "archive/media/video_packets.h"
#include "cli/archive_media_support.h"
#include "cli/cli_support.h"
#include "fcpxml/media_path.h"
#include "fcpxml/xml.h"
#include "test_support.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace tidyreel::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

// One kind of camera original: made by ffmpeg from the numbered grey frames.
struct CopyMedia {
    std::string id;
    std::string file;
    std::string rate;
    Rational frame;
    std::string arguments;
    Rational origin;
    bool copied = true;  ///< false: a codec a cut cannot copy
};

const std::vector<CopyMedia>& copyMedia() {
    static const std::vector<CopyMedia> media{
        {"h2997", "H264_2997.mov", "30000/1001", Rational(1001, 30000),
         "-c:v libx264 -preset veryfast -sc_threshold 0 -bf 3 -g 60 -pix_fmt yuv420p -c:a aac", 0},
        {"h23976", "H264_23976.mp4", "24000/1001", Rational(1001, 24000),
         "-c:v libx264 -preset veryfast -sc_threshold 0 -bf 2 -g 48 -pix_fmt yuv420p -c:a aac", 0},
        {"h50p", "H264_50p.mov", "50", Rational(1, 50),
         "-c:v libx264 -preset veryfast -sc_threshold 0 -bf 3 -g 150 -pix_fmt yuv420p -c:a pcm_s16le", 0},
        {"open", "OpenGOP.mov", "25", Rational(1, 25),
         "-c:v libx264 -preset veryfast -sc_threshold 0 -bf 3 -g 25 -x264-params open-gop=1 -pix_fmt yuv420p "
         "-c:a aac",
         0},
        {"mpeg4", "MPEG4.mp4", "25", Rational(1, 25), "-c:v mpeg4 -g 50 -c:a aac", 0, false},
        {"hevc", "HEVC10.mov", "25", Rational(1, 25),
         "-c:v libx265 -pix_fmt yuv420p10le -tag:v hvc1 -x265-params "
         "keyint=50:open-gop=0:scenecut=0:log-level=error -c:a aac",
         0},
        // x265's open GOPs: cut at keyframes with leading pictures too, each join marked as a broken link.
        // A fixed pattern of four B-frames puts leading pictures before every keyframe; without the marks,
        // ffmpeg's decoder gives the second range's pictures out of order and loses some.
        {"hevcopen", "HEVCOpen.mp4", "25", Rational(1, 25),
         "-c:v libx265 -tag:v hvc1 -x265-params "
         "keyint=26:min-keyint=26:open-gop=1:bframes=4:b-adapt=0:scenecut=0:log-level=error -c:a aac",
         0},
        // Open GOPs throughout, as MPEG-2 cameras write them: cut by leaving leading pictures out.
        // In MP4 a seek goes by decoding time and can land after a leading picture of the range before.
        {"mpeg2", "MPEG2_2997.mp4", "30000/1001", Rational(1001, 30000),
         "-c:v mpeg2video -g 15 -bf 2 -b:v 4M -c:a aac", 0},
        {"prores", "ProRes422.mov", "25", Rational(1, 25), "-c:v prores_ks -profile:v 2 -c:a pcm_s24le", 0},
        {"dnxhr", "DNxHR.mov", "25", Rational(1, 25),
         "-s 256x144 -c:v dnxhd -profile:v dnxhr_lb -pix_fmt yuv422p -c:a pcm_s16le", 0},
        // Ticks of 100 ns: most keyframes lie between two microseconds.
        {"fine", "FineTicks.mov", "30000/1001", Rational(1001, 30000),
         "-c:v libx264 -preset veryfast -sc_threshold 0 -bf 2 -g 7 -pix_fmt yuv420p -c:a pcm_s16le "
         "-video_track_timescale 10000000",
         0},
        // A clock that starts late, as after a cut in another tool.
        {"late", "LateClock.mov", "25", Rational(1, 25),
         "-c:v libx264 -preset veryfast -sc_threshold 0 -bf 2 -g 50 -pix_fmt yuv420p -c:a pcm_s16le "
         "-output_ts_offset 3",
         0},
        // Fragments of 1.3 s that hold their sound before their pictures, as some cameras write them; the
        // pictures start two frames late, without an edit list.
        {"ahead", "SoundAhead.mp4", "25", Rational(1, 25),
         "-map 1:a -map 0:v -c:v libx264 -preset veryfast -sc_threshold 0 -bf 2 -g 50 -pix_fmt yuv420p "
         "-c:a aac -movflags +empty_moov -frag_duration 1300000",
         0},
        {"tc", "Timecode.mov", "25", Rational(1, 25),
         "-c:v libx264 -preset veryfast -sc_threshold 0 -g 50 -pix_fmt yuv420p -an -timecode 01:00:00:00",
         3600},
    };
    return media;
}

const CopyMedia& mediumCalled(const std::string& id) {
    return *std::find_if(copyMedia().begin(), copyMedia().end(),
                         [&](const CopyMedia& media) { return media.id == id; });
}

const int kSeconds = 40;

// The media time of the first frame at or after `seconds`.
Rational frameAt(const CopyMedia& media, double seconds) {
    return media.origin + frameStartAtOrAfter(seconds, media.frame);
}

// Two clips per medium, far enough apart to stay two segments.
std::string projectText(const std::filesystem::path& folder, const std::vector<CopyMedia>& allMedia) {
    std::string formats, assets, clips;
    Rational offset;
    for (const CopyMedia& media : allMedia) {
        formats += fmt::format(R"(<format id="f{}" frameDuration="{}" width="160" height="90"/>)", media.id,
                               media.frame.toFCPXML());
        assets += fmt::format(
            R"(<asset id="{0}" start="{1}" duration="{2}s" hasVideo="1" hasAudio="1" format="f{0}">)"
            R"(<media-rep kind="original-media" src="{3}"/></asset>)",
            media.id, media.origin.toFCPXML(), kSeconds, MediaPath::url((folder / media.file).string()));
        for (const double at : {3.3, 30.7}) {
            const Rational length = Rational(std::lround(1 / media.frame.doubleValue())) * media.frame;
            clips += fmt::format(
                R"(<asset-clip ref="{}" name="{}@{}" offset="{}" start="{}" duration="{}"/>)", media.id,
                media.id, at, offset.toFCPXML(), frameAt(media, at).toFCPXML(), length.toFCPXML());
            offset = offset + 2;
        }
    }
    return std::string(
               R"(<?xml version="1.0" encoding="UTF-8"?><!DOCTYPE fcpxml><fcpxml version="1.11"><resources>)") +
           R"(<format id="f25" frameDuration="1/25s" width="160" height="90"/>)" + formats + assets +
           R"(</resources><library><event name="Dreh"><project name="Kopie"><sequence format="f25"><spine>)" +
           clips + "</spine></sequence></project></event></library></fcpxml>";
}

// Into how many runs of consecutive source frames the archived file's frames fall; none when one of them
// is not a source frame. The grey levels repeat every 256 frames, so every place in the source a run could
// have reached is followed at once.
std::optional<std::size_t> sourceRunCount(const std::vector<std::string>& source,
                                          const std::vector<std::string>& archived) {
    std::size_t runs = 0;
    std::vector<std::size_t> places;
    for (const std::string& frame : archived) {
        std::vector<std::size_t> next;
        for (const std::size_t place : places) {
            if (place + 1 < source.size() && source[place + 1] == frame) {
                next.push_back(place + 1);
            }
        }
        if (next.empty()) {
            ++runs;
            for (std::size_t place = 0; place < source.size(); ++place) {
                if (source[place] == frame) {
                    next.push_back(place);
                }
            }
        }
        if (next.empty()) {
            return std::nullopt;
        }
        places = std::move(next);
    }
    return runs;
}

TEST(StreamCopyArchive, EveryCutShowsTheSourcesOwnPicturesOnTheSameFrame) {
    IsolatedUserFolders user;
    TempFolder folder;
    int shift = 0;
    for (const CopyMedia& media : copyMedia()) {
        makeTestVideo(folder / media.file, kSeconds, shift += 30, media.arguments, media.rate);
    }
    const std::filesystem::path project = folder / "Kopie.fcpxml";
    writeTextFile(project, projectText(folder.path(), copyMedia()));
    const std::filesystem::path output = folder / "Ausgabe";

    const CommandResult result = runTidyreel({"archive", project.string(), "-o", output.string(), "--encoder",
                                              "copy", "--buffer", "5", "--min-segment", "1", "--lang", "de"},
                                             user);
    ASSERT_EQ(result.exitStatus, 0) << result.standardOutput << result.standardError;
    // Each file says how it was cut; MPEG-4 Part 2 is re-encoded, saying why.
    const std::vector<std::string> messages = logMessages(result.standardOutput);
    for (const CopyMedia& media : copyMedia()) {
        const std::string trimmed =
            media.file.substr(0, media.file.find('.')) + "_trimmed" + media.file.substr(media.file.find('.'));
        EXPECT_THAT(messages,
                    Contains("ℹ️   → " + trimmed + ": " + (media.copied ? "Stream-Copy" : "Re-Encode")))
            << result.standardOutput;
    }
    EXPECT_THAT(result.standardOutput,
                HasSubstr("→ Stream-Copy nicht möglich (Codec mpeg4 nicht kopierbar)"));
    // Seeking to each range is exact everywhere but where the sound lies ahead, which is read through.
    const auto readThrough = std::count_if(messages.begin(), messages.end(), [](const std::string& message) {
        return message.find("wird durchgelesen") != std::string::npos;
    });
    EXPECT_EQ(readThrough, 1) << result.standardOutput;
    EXPECT_THAT(result.standardOutput, HasSubstr(") → Re-Encode (libx265)"));
    const std::filesystem::path bundle = output / "archiv_Kopie.fcpxmld";
    const CommandResult verified = runTidyreel({"verify", bundle.string(), "--lang", "de"}, user);
    EXPECT_EQ(verified.exitStatus, 0) << verified.standardOutput;

    const std::shared_ptr<XmlDocument> original = XmlDocument::load(project);
    const std::shared_ptr<XmlDocument> archived = XmlDocument::load(bundle / "Info.fcpxml");
    for (const CopyMedia& media : copyMedia()) {
        const std::filesystem::path source = folder / media.file;
        const std::string src =
            archived->first("//asset[@id='" + media.id + "']/media-rep").attribute("src").value_or("");
        ASSERT_THAT(src, HasSubstr("_trimmed")) << media.id;
        const std::filesystem::path file = bundle / src.substr(2);
        // Trimmed, not copied whole (the size says little: the tiny pictures weigh less than the sound).
        EXPECT_LT(FFProbe::probeDuration(file, {}), FFProbe::probeDuration(source, {})) << media.id;
        EXPECT_EQ(archived->first("//asset[@id='" + media.id + "']").attribute("duration"),
                  FFProbe::probeDuration(file, {}).toFCPXML())
            << media.id;
        // The first picture shows at zero: no edit list moves the start.
        EXPECT_EQ(videoStreamEntry(file, "start_time"), "0.000000") << media.id;
        if (media.copied) {
            EXPECT_EQ(videoStreamEntry(file, "codec_name"), videoStreamEntry(source, "codec_name"))
                << media.id;
        }
        // Played from start to end, the file shows the source's own pictures, one range after the other:
        // none lost, none out of order at the join.
        if (media.copied) {
            EXPECT_EQ(sourceRunCount(frameMD5s(source), frameMD5s(file)), 2u) << media.id;
        }
        for (const double at : {3.3, 30.7}) {
            const std::string name = fmt::format("{}@{}", media.id, at);
            const Rational oldStart = clipStart(*original, name);
            const Rational newStart = clipStart(*archived, name);
            expectSameFrame(source, oldStart, file, newStart, media.origin, media.frame, name);
            if (!media.copied) {
                continue;
            }
            // A picture inside the kept range is the source's own, bit for bit (counted from the source's
            // first picture, which may show late).
            const double firstPicture = probeVideoPackets(source, {}).front().time.doubleValue();
            const long sourceFrame =
                std::lround((oldStart - media.origin).doubleValue() / media.frame.doubleValue() -
                            firstPicture / media.frame.doubleValue()) +
                5;
            const long archivedFrame =
                std::lround(((newStart - media.origin) / media.frame).doubleValue()) + 5;
            const std::string md5 = frameMD5(source, sourceFrame);
            EXPECT_FALSE(md5.empty()) << name;
            EXPECT_EQ(frameMD5(file, archivedFrame), md5) << name;
        }
    }
    EXPECT_EQ(videoStreamEntry(bundle / "Media" / "Timecode_trimmed.mov", "tag:timecode"), "01:00:00:00");
}

// The dry run foresees each cut before anything is written: a long-GOP segment that starts between
// keyframes widens to the closed keyframes around it, and a codec no cut can copy is re-encoded, saying
// why.
TEST(StreamCopyArchive, DryRunShowsKeyframeRangesAndReencodeReasons) {
    IsolatedUserFolders user;
    TempFolder folder;
    const std::vector<CopyMedia> media{
        copyMedia().front(),
        {"mpeg4", "MPEG4.mov", "25", Rational(1, 25), "-c:v mpeg4 -c:a aac", 0, false},
        // x264's open GOPs: H.264 keyframes with leading pictures cannot be cut at, and widening passes them.
        mediumCalled("open"),
        // x264's open GOPs with a fixed pattern of B-frames: the keyframes have no leading pictures, but as I
        // pictures that are no IDR the decoder cannot begin at them, and the second range moves back.
        {"noidr", "NoIDR.mp4", "25", Rational(1, 25),
         "-c:v libx264 -x264-params open-gop=1:keyint=25:min-keyint=25:bframes=3:b-adapt=0:scenecut=0 "
         "-pix_fmt yuv420p -c:a aac",
         0}};
    for (const CopyMedia& medium : media) {
        makeTestVideo(folder / medium.file, kSeconds, 0, medium.arguments, medium.rate);
    }
    const std::filesystem::path project = folder / "Kopie.fcpxml";
    writeTextFile(project, projectText(folder.path(), media));
    const std::filesystem::path output = folder / "Ausgabe";

    const CommandResult result =
        runTidyreel({"archive", project.string(), "-o", output.string(), "--encoder", "copy", "--buffer", "5",
                     "--min-segment", "1", "--dry-run", "--lang", "de"},
                    user);
    ASSERT_EQ(result.exitStatus, 0) << result.standardOutput << result.standardError;
    EXPECT_FALSE(std::filesystem::exists(output));
    const std::vector<std::string> lines = splitLines(result.standardOutput);
    // The asset's row and the line below it.
    const auto rowOf = [&](const std::string& id) -> std::vector<std::string> {
        const auto row = std::find_if(lines.begin(), lines.end(),
                                      [&](const std::string& line) { return line.starts_with(id + " "); });
        return row == lines.end() || row + 1 == lines.end() ? std::vector<std::string>{}
                                                            : std::vector<std::string>{*row, *(row + 1)};
    };
    // 60-frame GOPs at 30000/1001 put a keyframe every 2.002 s: the segments 0–9.3 s and 25.7–36.7 s
    // reach out to 10.01 s, and back to 24.024 s and on to 38.038 s.
    const std::vector<std::string> copied = rowOf("h2997");
    ASSERT_EQ(copied.size(), 2u) << result.standardOutput;
    EXPECT_THAT(copied[0], HasSubstr("schneiden: 2 Segmente, Stream-Copy"));
    const std::string widened = "↳ auf Keyframes erweitert: 0.0..10.01, 24.024..38.038 (+";
    ASSERT_THAT(copied[1], HasSubstr(widened));
    EXPECT_GT(std::stod(copied[1].substr(copied[1].find(widened) + widened.size())), 0.0) << copied[1];
    const std::vector<std::string> open = rowOf("open");
    ASSERT_EQ(open.size(), 2u) << result.standardOutput;
    EXPECT_THAT(open[1], HasSubstr("↳ auf Keyframes erweitert: 0.0.."));
    EXPECT_THAT(open[1], HasSubstr("s über offene GOPs)")) << open[1];
    const std::vector<std::string> moved = rowOf("noidr");
    ASSERT_EQ(moved.size(), 2u) << result.standardOutput;
    EXPECT_THAT(moved[1], HasSubstr("s bis zu einem sauberen Anfang)")) << moved[1];
    const std::vector<std::string> reencoded = rowOf("mpeg4");
    ASSERT_EQ(reencoded.size(), 2u) << result.standardOutput;
    EXPECT_THAT(reencoded[0], HasSubstr("schneiden: 2 Segmente, Re-Encode"));
    EXPECT_THAT(reencoded[1], HasSubstr("↳ kein Stream-Copy: Codec mpeg4 nicht kopierbar"));
}

}  // namespace
}  // namespace tidyreel::test
