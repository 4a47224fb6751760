// Archives flash-and-click media with `--encoder copy` through the real `tidyreel` binary and measures, at
// every flash of the archived picture, where each sound stream's click falls: a cut or a join that moves
// the sound against the picture shows as a click that left its flash's offset in the source.
#include "archive/media/video_packets.h"
#include "cli/archive_media_support.h"
#include "cli/cli_support.h"
#include "cli/click_track_support.h"
#include "fcpxml/media_path.h"
#include "fcpxml/xml.h"
#include "test_support.h"
#include "time/half_open_range.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <map>
#include <memory>
#include <optional>

namespace tidyreel::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// One camera original: H.264 with B-frames in long GOPs, whose flashes never fall on a keyframe, so
// every cut lies between flashes.
struct SyncMedia {
    std::string id;
    std::string file;
    FlashPattern pattern;
    std::vector<std::string> arguments;
    std::vector<long> clickDelays;  ///< per sound stream: where its click lies after the flash, in samples
    double tolerance;               ///< how far, in samples, a click may move against its flash
};

std::vector<std::string> h264(const std::string& gop, const std::vector<std::string>& audio) {
    std::vector<std::string> arguments{"-c:v", "libx264", "-preset", "veryfast", "-sc_threshold", "0",
                                       "-bf",  "3",       "-g",      gop,        "-pix_fmt",      "yuv420p"};
    arguments.insert(arguments.end(), audio.begin(), audio.end());
    return arguments;
}

// PCM is cut sample-exact, so a click keeps its place to the sample; where a frame starts between two
// samples (29.97 fps) the cut rounds to one of them, moving the click by less than one. A coded sound
// (AAC) may move by less than a millisecond. The first flashes (frames 22 and 25) are chosen so that no
// flash of 72 s meets a keyframe; at 29.97 fps a GOP of 48 frames, no multiple of 5, puts keyframes, and
// so cuts, between two samples.
const std::vector<SyncMedia>& syncMedia() {
    static const FlashPattern at25{"25", Rational(1, 25), 43, 22};
    static const std::vector<SyncMedia> media{
        {"pcm25", "Klick_PCM25.mov", at25, h264("50", {"-c:a", "pcm_s16le"}), {0}, 1},
        {"aac25", "Klick_AAC25.mp4", at25, h264("50", {"-c:a", "aac", "-b:a", "256k"}), {0}, 48},
        {"twoTracks", "Klick_ZweiSpuren.mov", at25, h264("50", {"-c:a", "pcm_s16le"}), {0, 480}, 1},
        {"pcm2997",
         "Klick_PCM2997.mov",
         {"30000/1001", Rational(1001, 30000), 53, 25},
         h264("48", {"-c:a", "pcm_s16le"}),
         {0},
         1},
        // MPEG-2 open GOPs of 12 frames, cut before the leading pictures and after them: flashes every 48
        // frames from 17 lie mid-GOP.
        {"mpeg2",
         "Klick_MPEG2.mov",
         {"25", Rational(1, 25), 48, 17},
         {"-c:v", "mpeg2video", "-g", "12", "-bf", "2", "-b:v", "4M", "-c:a", "pcm_s16le"},
         {0},
         1},
        // HEVC open GOPs of 26 frames with leading pictures before every keyframe, joined as broken links:
        // no flash (every 48 frames from 17) meets a keyframe.
        {"hevc",
         "Klick_HEVC.mov",
         {"25", Rational(1, 25), 48, 17},
         {"-c:v", "libx265", "-tag:v", "hvc1", "-x265-params",
          "keyint=26:min-keyint=26:open-gop=1:bframes=4:b-adapt=0:scenecut=0:log-level=error", "-c:a",
          "pcm_s16le"},
         {0},
         1},
    };
    return media;
}

const int kSeconds = 72;
// Three used seconds per file, 28 s apart: with 5 s handles the gaps stay above the 15 s under which
// segments merge, so every file is cut into three pieces and joined twice.
const std::array<double, 3> kClipStarts{6.28, 34.52, 62.36};

std::string clipName(const SyncMedia& media, std::size_t clip) {
    return fmt::format("{}#{}", media.id, clip + 1);
}

Rational oneSecondOfFrames(const FlashPattern& pattern) {
    return Rational(std::lround(1 / pattern.frame.doubleValue())) * pattern.frame;
}

// Three one-second clips of the medium on a 25 fps timeline.
std::string projectText(const SyncMedia& media, const std::filesystem::path& folder) {
    std::string clips;
    for (std::size_t clip = 0; clip < kClipStarts.size(); ++clip) {
        const Rational start = frameStartAtOrAfter(kClipStarts[clip], media.pattern.frame);
        clips += fmt::format(R"(<asset-clip ref="{}" name="{}" offset="{}s" start="{}" duration="{}"/>)",
                             media.id, clipName(media, clip), 2 * clip, start.toFCPXML(),
                             oneSecondOfFrames(media.pattern).toFCPXML());
    }
    return fmt::format(
        R"(<?xml version="1.0" encoding="UTF-8"?><!DOCTYPE fcpxml><fcpxml version="1.11"><resources>)"
        R"(<format id="f25" frameDuration="1/25s" width="320" height="180"/>)"
        R"(<format id="f{0}" frameDuration="{1}" width="320" height="180"/>)"
        R"(<asset id="{0}" start="0s" duration="{2}s" hasVideo="1" hasAudio="1" format="f{0}" )"
        R"(audioSources="{3}" audioChannels="1" audioRate="48000">)"
        R"(<media-rep kind="original-media" src="{4}"/></asset></resources>)"
        R"(<library><event name="Dreh"><project name="Takt"><sequence format="f25"><spine>{5})"
        R"(</spine></sequence></project></event></library></fcpxml>)",
        media.id, media.pattern.frame.toFCPXML(), kSeconds, media.clickDelays.size(),
        MediaPath::url((folder / media.file).string()), clips);
}

// One medium's source and, once a case asks for it, its archive; made once per test process, so that a
// case run on its own (as ctest runs them) makes only what it needs.
struct SyncFiles {
    IsolatedUserFolders user;
    TempFolder folder;
    std::optional<CommandResult> result;
    std::shared_ptr<XmlDocument> original;
    std::shared_ptr<XmlDocument> archived;

    std::filesystem::path bundle() const { return folder / "Ausgabe" / "archiv_Takt.fcpxmld"; }
};

SyncFiles& sourceFiles(const SyncMedia& media) {
    static std::map<std::string, std::unique_ptr<SyncFiles>> made;
    std::unique_ptr<SyncFiles>& files = made[media.id];
    if (!files) {
        files = std::make_unique<SyncFiles>();
        makeFlashClickVideo(files->folder / media.file, kSeconds, media.pattern, media.clickDelays,
                            media.arguments);
    }
    return *files;
}

const SyncFiles& archivedFiles(const SyncMedia& media) {
    SyncFiles& files = sourceFiles(media);
    if (!files.result) {
        const std::filesystem::path project = files.folder / "Takt.fcpxml";
        writeTextFile(project, projectText(media, files.folder.path()));
        files.result =
            runTidyreel({"archive", project.string(), "-o", (files.folder / "Ausgabe").string(), "--encoder",
                         "copy", "--buffer", "5", "--min-segment", "1", "--lang", "de"},
                        files.user);
        files.original = XmlDocument::load(project);
        if (files.result->exitStatus == 0) {
            files.archived = XmlDocument::load(files.bundle() / "Info.fcpxml");
        }
    }
    return files;
}

std::filesystem::path archivedFile(const SyncFiles& archive, const SyncMedia& media) {
    const std::string src =
        archive.archived->first("//asset[@id='" + media.id + "']/media-rep").attribute("src").value_or("");
    return archive.bundle() / src.substr(2);
}

// Per flash, how many samples after its start the nearest click of `track` begins (negative when before);
// none when no click lies within half the flash period.
std::vector<std::optional<Rational>> clickOffsets(const std::vector<Rational>& flashes,
                                                  const ClickTrack& track, const FlashPattern& pattern) {
    const double reach = (Rational(pattern.period) * pattern.frame / 2).doubleValue();
    std::vector<std::optional<Rational>> offsets;
    for (const Rational flash : flashes) {
        std::optional<Rational> nearest;
        for (const long click : track.clicks) {
            const Rational offset = track.timeOf(click) - flash;
            const double distance = std::abs(offset.doubleValue());
            if (distance < reach && (!nearest || distance < std::abs(nearest->doubleValue()))) {
                nearest = offset;
            }
        }
        offsets.push_back(nearest ? std::optional<Rational>(*nearest * kClickSampleRate) : std::nullopt);
    }
    return offsets;
}

void PrintTo(const SyncMedia& media, std::ostream* stream) {
    *stream << media.id;
}

class StreamCopySync : public ::testing::TestWithParam<SyncMedia> {
protected:
    std::filesystem::path source() const { return sourceFiles(GetParam()).folder / GetParam().file; }
};

// The measurement itself, on the source: every flash where the pattern puts it and never on a keyframe,
// every click of every stream on its flash, at its own delay (plus less than a sample where a frame
// starts between two).
TEST_P(StreamCopySync, SourceClicksLieOnTheirFlashes) {
    const SyncMedia& media = GetParam();
    const ShownPictures pictures = decodePictures(source());
    ASSERT_EQ(pictures.flashes, media.pattern.flashTimes(kSeconds));
    for (const VideoPacket& packet : probeVideoPackets(source(), {})) {
        if (packet.keyframe) {
            // Both clocks agree: the keyframe is a decoded picture's start.
            EXPECT_EQ(std::count(pictures.starts.begin(), pictures.starts.end(), packet.time), 1)
                << "no picture at the keyframe at " << packet.time.doubleValue();
            EXPECT_EQ(std::count(pictures.flashes.begin(), pictures.flashes.end(), packet.time), 0)
                << "a flash on the keyframe at " << packet.time.doubleValue();
        }
    }
    ASSERT_EQ(audioStreamCount(source()), static_cast<int>(media.clickDelays.size()));
    for (std::size_t stream = 0; stream < media.clickDelays.size(); ++stream) {
        const ClickTrack track = decodeClickTrack(source(), static_cast<int>(stream));
        EXPECT_EQ(track.clicks.size(), pictures.flashes.size()) << "stream " << stream;
        const std::vector<std::optional<Rational>> offsets =
            clickOffsets(pictures.flashes, track, media.pattern);
        for (std::size_t flash = 0; flash < offsets.size(); ++flash) {
            ASSERT_TRUE(offsets[flash]) << "stream " << stream << ", flash " << flash;
            EXPECT_GE(offsets[flash]->doubleValue(), media.clickDelays[stream]) << "flash " << flash;
            EXPECT_LT(offsets[flash]->doubleValue(), media.clickDelays[stream] + 1) << "flash " << flash;
        }
    }
}

// One piece of the archived file: the source range it keeps and how far it moved.
struct Segment {
    HalfOpenRange kept;
    Rational shift;  ///< its time in the archive minus its time in the source

    bool holds(Rational archivedTime) const {
        return archivedTime - shift >= kept.start && archivedTime - shift < kept.end;
    }
};

// The source range kept around a clip: its 5 s handles widened out to the keyframes a copied piece must
// start and end on.
HalfOpenRange keptAround(Rational clipStart, Rational clipLength, const std::vector<VideoPacket>& packets,
                         Rational fileEnd) {
    HalfOpenRange kept{Rational::zero(), fileEnd};
    for (const VideoPacket& packet : packets) {
        if (packet.keyframe && packet.time <= clipStart - 5) {
            kept.start = packet.time;
        }
        if (packet.keyframe && packet.time >= clipStart + clipLength + 5 && kept.end == fileEnd) {
            kept.end = packet.time;
        }
    }
    return kept;
}

// The pieces the archived file is joined from, in order, one per clip.
std::vector<Segment> archivedSegments(const SyncFiles& archive, const SyncMedia& media,
                                      const std::filesystem::path& source, Rational sourceEnd) {
    const std::vector<VideoPacket> packets = probeVideoPackets(source, {});
    std::vector<Segment> segments;
    for (std::size_t clip = 0; clip < kClipStarts.size(); ++clip) {
        const Rational start = clipStart(*archive.original, clipName(media, clip));
        segments.push_back({keptAround(start, oneSecondOfFrames(media.pattern), packets, sourceEnd),
                            clipStart(*archive.archived, clipName(media, clip)) - start});
    }
    return segments;
}

// The smallest and largest of a set of figures.
struct Span {
    double lowest = 0;
    double highest = 0;
    bool empty = true;

    void add(double value) {
        lowest = empty ? value : std::min(lowest, value);
        highest = empty ? value : std::max(highest, value);
        empty = false;
    }
    double largestMagnitude() const { return std::max(std::abs(lowest), std::abs(highest)); }
};

// Where one stream's clicks lie in one segment, in samples: after their flashes, and moved against the
// same flashes' clicks in the source.
struct SegmentClicks {
    std::size_t flashes = 0;
    Span offset;
    Span moved;
};

// The archived flashes with the segment each lies in and the source flash it shows.
struct MappedFlashes {
    std::vector<Rational> times;
    std::vector<std::size_t> segment;
    std::vector<std::size_t> sourceFlash;
};

MappedFlashes mapToSource(const std::vector<Rational>& flashes, const std::vector<Segment>& segments,
                          const std::vector<Rational>& sourceFlashes) {
    MappedFlashes mapped{flashes, {}, {}};
    for (const Rational flash : flashes) {
        const auto segment = std::find_if(segments.begin(), segments.end(),
                                          [&](const Segment& piece) { return piece.holds(flash); });
        const auto found = segment == segments.end() ? sourceFlashes.end()
                                                     : std::find(sourceFlashes.begin(), sourceFlashes.end(),
                                                                 flash - segment->shift);
        if (found == sourceFlashes.end()) {
            throw std::runtime_error(
                fmt::format("the archived flash at {} s shows no source flash", flash.doubleValue()));
        }
        mapped.segment.push_back(static_cast<std::size_t>(segment - segments.begin()));
        mapped.sourceFlash.push_back(static_cast<std::size_t>(found - sourceFlashes.begin()));
    }
    return mapped;
}

// Where the clicks of one archived stream lie, per segment, against those of the source's.
std::vector<SegmentClicks> measureClicks(const MappedFlashes& flashes, std::size_t segmentCount,
                                         const std::vector<std::optional<Rational>>& offsets,
                                         const std::vector<std::optional<Rational>>& sourceOffsets) {
    std::vector<SegmentClicks> segments(segmentCount);
    for (std::size_t flash = 0; flash < offsets.size(); ++flash) {
        SegmentClicks& segment = segments[flashes.segment[flash]];
        ++segment.flashes;
        const std::optional<Rational>& inSource = sourceOffsets[flashes.sourceFlash[flash]];
        if (!offsets[flash] || !inSource) {
            ADD_FAILURE() << "no click near the flash at " << flashes.times[flash].doubleValue() << " s";
            continue;
        }
        segment.offset.add(offsets[flash]->doubleValue());
        segment.moved.add((*offsets[flash] - *inSource).doubleValue());
    }
    return segments;
}

// Every archived flash shows a source flash and every source flash a segment keeps is there, once; every
// click of every stream sounds inside its flash's frame at the offset it had in the source, in every
// segment (each line printed gives the figures).
TEST_P(StreamCopySync, EveryClickKeepsItsFlashOffsetAcrossTheJoins) {
    const SyncMedia& media = GetParam();
    const SyncFiles& archive = archivedFiles(media);
    ASSERT_EQ(archive.result->exitStatus, 0)
        << archive.result->standardOutput << archive.result->standardError;
    // The joins measured are those of a stream copy, not of a re-encode it fell back to.
    EXPECT_THAT(archive.result->standardOutput, Not(HasSubstr("Re-Encode")));
    const std::filesystem::path file = archivedFile(archive, media);
    const ShownPictures sourcePictures = decodePictures(source());
    const ShownPictures pictures = decodePictures(file);
    const std::vector<Segment> segments =
        archivedSegments(archive, media, source(), sourcePictures.starts.back() + media.pattern.frame);
    const MappedFlashes flashes = mapToSource(pictures.flashes, segments, sourcePictures.flashes);
    for (std::size_t segment = 0; segment < segments.size(); ++segment) {
        const HalfOpenRange& kept = segments[segment].kept;
        EXPECT_EQ(std::count(flashes.segment.begin(), flashes.segment.end(), segment),
                  std::count_if(sourcePictures.flashes.begin(), sourcePictures.flashes.end(),
                                [&](Rational flash) { return flash >= kept.start && flash < kept.end; }))
            << "segment " << segment + 1;
    }
    const double frameSamples = (media.pattern.frame * kClickSampleRate).doubleValue();
    const int streams = std::min(audioStreamCount(file), static_cast<int>(media.clickDelays.size()));
    for (int stream = 0; stream < streams; ++stream) {
        const ClickTrack track = decodeClickTrack(file, stream);
        EXPECT_EQ(track.clicks.size(), pictures.flashes.size()) << "stream " << stream;
        const std::vector<SegmentClicks> clicks = measureClicks(
            flashes, segments.size(), clickOffsets(pictures.flashes, track, media.pattern),
            clickOffsets(sourcePictures.flashes, decodeClickTrack(source(), stream), media.pattern));
        for (std::size_t segment = 0; segment < clicks.size(); ++segment) {
            const SegmentClicks& measured = clicks[segment];
            const std::string figures = fmt::format(
                "{} stream {} segment {}: {} flashes, click {:.2f}..{:.2f} samples after the flash, moved "
                "{:+.2f}..{:+.2f} samples ({:+.3f}..{:+.3f} ms) against the source",
                media.id, stream, segment + 1, measured.flashes, measured.offset.lowest,
                measured.offset.highest, measured.moved.lowest, measured.moved.highest,
                measured.moved.lowest * 1000 / kClickSampleRate,
                measured.moved.highest * 1000 / kClickSampleRate);
            std::cout << "[ sync     ] " << figures << "\n";
            EXPECT_LT(measured.moved.largestMagnitude(), media.tolerance) << figures;
            EXPECT_GE(measured.offset.lowest, 0) << figures;
            EXPECT_LT(measured.offset.highest, frameSamples) << figures;
        }
    }
}

// The archive keeps every sound stream of the source, each as long as the picture, give or take a frame.
TEST_P(StreamCopySync, EverySoundStreamIsKeptAsLongAsThePicture) {
    const SyncMedia& media = GetParam();
    const SyncFiles& archive = archivedFiles(media);
    ASSERT_EQ(archive.result->exitStatus, 0)
        << archive.result->standardOutput << archive.result->standardError;
    const std::filesystem::path file = archivedFile(archive, media);
    const ShownPictures pictures = decodePictures(file);
    ASSERT_FALSE(pictures.starts.empty());
    const Rational pictureLength = pictures.starts.back() + media.pattern.frame - pictures.starts.front();
    const int streams = audioStreamCount(file);
    EXPECT_EQ(streams, static_cast<int>(media.clickDelays.size()));
    for (int stream = 0; stream < streams; ++stream) {
        const Rational soundLength(decodeClickTrack(file, stream).samples, kClickSampleRate);
        EXPECT_LE(std::abs((soundLength - pictureLength).doubleValue()), media.pattern.frame.doubleValue())
            << "stream " << stream << ": sound " << soundLength.doubleValue() << " s, picture "
            << pictureLength.doubleValue() << " s";
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, StreamCopySync, ::testing::ValuesIn(syncMedia()),
                         [](const ::testing::TestParamInfo<SyncMedia>& info) { return info.param.id; });

}  // namespace
}  // namespace tidyreel::test
