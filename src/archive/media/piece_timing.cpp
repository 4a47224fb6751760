#include "archive/media/piece_timing.h"

#include "archive/media/encoder_profile.h"
#include "base/error.h"
#include "base/error_codes.h"
#include "base/language.h"
#include "time/decimal_text.h"

#include <fmt/format.h>

namespace tidyreel {
namespace {

Rational endOfLastFrame(const std::vector<VideoPacket>& frames) {
    return frames.back().time + frames.back().duration;
}

}  // namespace

std::vector<PieceTiming> measurePieces(const std::vector<VideoPacket>& frames,
                                       const std::vector<HalfOpenRange>& segments, Rational frameDuration) {
    std::vector<std::size_t> firstFrames;
    std::size_t planned = 0;
    for (const HalfOpenRange& segment : segments) {
        firstFrames.push_back(planned);
        planned += static_cast<std::size_t>(std::max<std::int64_t>(framesIn(segment, frameDuration), 0));
    }
    // Only the last piece may come out short: its segment may reach past the source's last frame.
    if (frames.size() > planned || segments.empty() || frames.size() <= firstFrames.back()) {
        throw Error(TrimError::domain, TrimError::frameCount,
                    fmt::format("{}: {} ≠ {}",
                                localized("Geschnittene Datei hat nicht die geplanten Frames",
                                          "Trimmed file does not hold the planned frames"),
                                frames.size(), planned));
    }
    std::vector<PieceTiming> pieces;
    Rational plannedStart;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const Rational start = frames[firstFrames[i]].time;
        const Rational end =
            i + 1 < segments.size() ? frames[firstFrames[i + 1]].time : endOfLastFrame(frames);
        pieces.push_back({plannedStart, segments[i].length(), start, end - start});
        plannedStart = plannedStart + segments[i].length();
    }
    return pieces;
}

std::string pieceTimingLine(std::size_t number, const PieceTiming& piece, Rational frameDuration) {
    const Rational offset = piece.offset();
    const Rational frames = offset / frameDuration;
    return fmt::format("       Segment {}: nominal={}, gemessen={}, drift={}, Versatz={} Frames ({}s)",
                       number, piece.nominal.toFCPXML(), piece.length.toFCPXML(), piece.drift().toFCPXML(),
                       frames.denominator() == 1 ? std::to_string(frames.numerator())
                                                 : shortestDecimal(frames.doubleValue()),
                       shortestDecimal(offset.doubleValue()));
}

}  // namespace tidyreel
