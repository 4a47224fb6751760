#pragma once

#include "archive/media/video_packets.h"
#include "time/half_open_range.h"
#include "time/rational.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tidyreel {

/// What a stream copy reads from.
struct CopySource {
    std::filesystem::path file;
    VideoClock clock;                  ///< of its first video stream
    std::vector<VideoPacket> packets;  ///< its shown video packets around the ranges' ends, sorted by time
    Rational halfFrame;                ///< keeps thresholds between pictures clear of rounding
    std::vector<std::string> audioCodecs;  ///< of each of its sound streams, in order
    std::string videoCodec{};              ///< of its first video stream
};

/// Where each range starts in the file that holds them back to back.
std::vector<Rational> backToBackStarts(const std::vector<HalfOpenRange>& ranges);

/// The concat demuxer's list that plays each of `ranges` (media time since the file's start, ascending,
/// disjoint, each from a keyframe to the next keyframe, the first leading picture of an open one, or the
/// end) of the source: one entry each,
/// which seeks to the range's keyframe and stops at the decoding time of the packet after the range.
std::string rangeListText(const CopySource& source, const std::vector<HalfOpenRange>& ranges);

/// The ffmpeg arguments that write the ranges back to back from time zero into `output`: the video packets
/// as the list at `list` (`rangeListText`) plays them, moved to the exact tick where the demuxer's
/// microseconds fall short, without the leading pictures of each range's keyframe (open GOP), with decoding
/// times counted anew where a range cuts an open GOP, and each sound stream cut to the same times, to the
/// sample (PCM as the same PCM, anything else as AAC whose priming takes the place of its first samples).
/// Reads only the ranges.
std::vector<std::string> seekingCopyArguments(const CopySource& source,
                                              const std::vector<HalfOpenRange>& ranges,
                                              const std::filesystem::path& list,
                                              const std::filesystem::path& output);

/// The ffmpeg arguments that write the same in one pass from the first range's keyframe to the last range's
/// end, dropping the packets between the ranges: for a file whose sound lies so far ahead of its pictures
/// that the list's entries stop early. Reads the gaps too, and looks at every byte it keeps.
std::vector<std::string> readThroughCopyArguments(const CopySource& source,
                                                  const std::vector<HalfOpenRange>& ranges,
                                                  const std::filesystem::path& output);

}  // namespace tidyreel
