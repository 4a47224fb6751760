#include "cli/stand_in_media_support.h"

#include "archive/planning/clip_usage_analysis.h"
#include "cli/archive_media_support.h"
#include "fcpxml/fcpxml_time.h"
#include "fcpxml/media_path.h"
#include "fcpxml/media_source_elements.h"
#include "fcpxml/resource_index.h"
#include "fcpxml/xml.h"
#include "test_support.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>

namespace tidyreel::test {
namespace {

// What one stand-in file must hold; several assets naming one file ask for the longest of their needs.
struct MediaNeed {
    Rational length;
    Rational frame = Rational(1, 25);
    bool interlaced = false;
    bool video = false;
    bool audio = false;
    std::string audioRate = "48000";
    std::string timecode;
};

// The asset's `start` as a non-drop timecode, or nothing when it is zero or between two frames.
std::string timecodeOf(Rational start, Rational frame) {
    const Rational frames = start / frame;
    if (start <= Rational::zero() || frames.denominator() != 1) {
        return "";
    }
    const std::int64_t perSecond = std::llround((Rational::one() / frame).doubleValue());
    const std::int64_t count = frames.numerator();
    const std::int64_t seconds = count / perSecond;
    return fmt::format("{:02}:{:02}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60,
                       count % perSecond);
}

MediaNeed needOf(XmlElement asset, const ResourceIndex& resources) {
    MediaNeed need;
    const std::string id = asset.attribute("id").value_or("");
    need.frame = frameDuration(id, resources).value_or(need.frame);
    const XmlElement format = resources.format(asset.attribute("format").value_or(""));
    need.interlaced = format && format.attribute("fieldOrder").value_or("progressive") != "progressive";
    need.length = FCPXMLTime::time(asset, "duration");
    need.video = asset.attribute("hasVideo") == "1";
    need.audio = asset.attribute("hasAudio") == "1";
    need.audioRate = asset.attribute("audioRate").value_or(need.audioRate);
    need.timecode = timecodeOf(FCPXMLTime::time(asset, "start"), need.frame);
    return need;
}

void merge(MediaNeed& into, const MediaNeed& more) {
    into.length = std::max(into.length, more.length);
    into.video = into.video || more.video;
    into.audio = into.audio || more.audio;
}

std::string frameRateText(Rational frame) {
    const Rational rate = Rational::one() / frame;
    return fmt::format("{}/{}", rate.numerator(), rate.denominator());
}

// A little more than the length, so that rounding never leaves sound short of the declared end.
std::string secondsText(Rational length) {
    return fmt::format("{:.3f}", length.doubleValue() + 0.002);
}

std::string lowercasedExtension(const std::filesystem::path& file) {
    std::string extension = file.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

// Sound files keep plain PCM at the declared rate; sound inside a movie is cheap AC-3.
std::string soundCodec(const std::filesystem::path& file) {
    const std::string extension = lowercasedExtension(file);
    if (extension == ".wav" || extension == ".caf") {
        return "-c:a pcm_s16le -ac 1";
    }
    if (extension == ".aif" || extension == ".aiff") {
        return "-c:a pcm_s16be -ac 1";
    }
    return "-c:a ac3 -b:a 64k -ar 48000";
}

// The grey ramp is drawn for one period of 256 frames and looped, which keeps hours of media cheap.
std::string pictureSource(const MediaNeed& need) {
    return fmt::format(
        "nullsrc=s=64x36:r={},geq=lum='mod(N*37\\,256)':cb=128:cr=128,trim=end_frame=256,"
        "loop=loop=-1:size=256,setpts=N/FRAME_RATE/TB{}",
        frameRateText(need.frame), need.interlaced ? ",setfield=tff" : "");
}

void makeStandIn(const std::filesystem::path& file, const MediaNeed& need) {
    std::filesystem::create_directories(file.parent_path());
    const std::string sampleRate = need.video ? "48000" : need.audioRate;
    const std::string sound = fmt::format("-f lavfi -i \"sine=frequency=440:sample_rate={}:duration={}\"",
                                          sampleRate, secondsText(need.length));
    std::string line = "ffmpeg -nostdin -v error -y ";
    if (need.video) {
        const std::int64_t frames =
            (need.length / need.frame).snappedToFrameGridCeiling(Rational::one()).numerator();
        line += fmt::format(
            "-f lavfi -i \"{}\" {} -frames:v {} -c:v libx264 -preset ultrafast -threads 1 "
            "-g 50 -pix_fmt yuv420p {} ",
            pictureSource(need), need.audio ? sound : "", frames,
            need.interlaced ? "-flags +ildct+ilme -field_order tt" : "");
        if (!need.timecode.empty()) {
            line += "-timecode " + need.timecode + " ";
        }
    } else {
        line += sound + " ";
    }
    if (need.audio) {
        line += soundCodec(file) + " ";
    }
    line += "'" + file.string() + "'";
    if (!runShell(line)) {
        throw std::runtime_error("cannot make stand-in media: " + line);
    }
}

}  // namespace

StandInProject makeStandInProject(const std::filesystem::path& sample, const std::filesystem::path& folder,
                                  const std::string& projectName) {
    StandInProject made{folder / projectName, {}};
    const std::shared_ptr<XmlDocument> document = XmlDocument::load(sample);
    const ResourceIndex resources(*document);
    std::map<std::filesystem::path, MediaNeed> needs;
    for (XmlElement asset : document->xpath("/fcpxml/resources/asset")) {
        const MediaNeed need = needOf(asset, resources);
        for (XmlElement element : mediaSourceElements(asset)) {
            const std::string src = element.attribute("src").value_or("");
            std::filesystem::path file;
            if (MediaPath::isRelative(src)) {
                file = made.project.parent_path() / MediaPath::path(src);
            } else {
                file = folder / "Quellen" / std::filesystem::path(MediaPath::path(src)).relative_path();
                element.setAttribute("src", MediaPath::url(file.string()));
            }
            const auto [entry, isNew] = needs.try_emplace(file, need);
            if (!isNew) {
                merge(entry->second, need);
            }
        }
    }
    for (const auto& [file, need] : needs) {
        makeStandIn(file, need);
        made.media.push_back(file);
    }
    writeTextFile(made.project, document->serialize(true));
    return made;
}

std::vector<int> frameGreyLevels(const std::filesystem::path& file) {
    const std::filesystem::path raw = file.string() + ".levels.gray";
    const std::string line = "ffmpeg -nostdin -v error -y -i '" + file.string() +
                             "' -map 0:v:0 -vf scale=1:1:flags=area -f rawvideo -pix_fmt gray '" +
                             raw.string() + "'";
    if (!runShell(line)) {
        return {};
    }
    const std::string bytes = readTextFile(raw);
    std::filesystem::remove(raw);
    std::vector<int> levels;
    for (const char byte : bytes) {
        levels.push_back(static_cast<unsigned char>(byte));
    }
    return levels;
}

}  // namespace tidyreel::test
