#include "cli/archive_media_support.h"

#include "archive/media/video_packets.h"
#include "fcpxml/xml.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <numeric>

namespace tidyreel::test {

bool runShell(const std::string& commandLine) {
    return std::system(commandLine.c_str()) == 0;
}

namespace {

// Frame n of the picture has the grey level (n × 37 + shift) mod 256.
void makeRampVideo(const std::filesystem::path& file, int seconds, const std::string& rate, int shift,
                   const std::string& extraArguments) {
    std::filesystem::create_directories(file.parent_path());
    const std::string duration = std::to_string(seconds);
    const std::string source = "color=c=black:s=160x90:r=" + rate + ":d=" + duration + ",geq=lum='mod(N*37+" +
                               std::to_string(shift) + "\\,256)':cb=128:cr=128";
    const std::string tone = "sine=frequency=440:duration=" + duration;
    const std::string line = "ffmpeg -nostdin -v error -y -f lavfi -i \"" + source + "\" -f lavfi -i \"" +
                             tone + "\" " + extraArguments + " -shortest '" + file.string() + "'";
    if (!runShell(line)) {
        throw std::runtime_error("cannot make test media: " + line);
    }
}

}  // namespace

void makeTestVideo(const std::filesystem::path& file, int seconds, int shift,
                   const std::string& extraArguments, const std::string& rate) {
    makeRampVideo(file, seconds, rate, shift, extraArguments);
}

void makeVariableRateVideo(const std::filesystem::path& file, int seconds) {
    // Every 108 frames last 4 s: 60 at 1/30 s, then 48 at 1/24 s.
    makeRampVideo(file, seconds, "30", 0,
                  "-vf \"settb=1/600,setpts='(4*floor(N/108)+if(lt(mod(N\\,108)\\,60)\\,mod(N\\,108)/30\\,"
                  "2+(mod(N\\,108)-60)/24))/TB'\" -fps_mode passthrough -enc_time_base -1 -c:v libx264 "
                  "-preset ultrafast -g 30 -pix_fmt yuv420p -video_track_timescale 600 -c:a aac");
}

double frameBrightness(const std::filesystem::path& file, long index) {
    const std::filesystem::path raw = file.string() + "." + std::to_string(index) + ".gray";
    const std::string line = "ffmpeg -nostdin -v error -y -i '" + file.string() + "' -vf \"select=eq(n\\," +
                             std::to_string(index) + ")\" -frames:v 1 -f rawvideo -pix_fmt gray '" +
                             raw.string() + "'";
    if (!runShell(line)) {
        return -1;
    }
    const std::string bytes = readTextFile(raw);
    std::filesystem::remove(raw);
    if (bytes.empty()) {
        return -1;
    }
    const double sum = std::accumulate(bytes.begin(), bytes.end(), 0.0, [](double total, char c) {
        return total + static_cast<unsigned char>(c);
    });
    return sum / static_cast<double>(bytes.size());
}

namespace {

// The hashes of ffmpeg's framemd5 output: the last field of each frame line.
std::vector<std::string> framemd5Hashes(const std::string& text) {
    std::vector<std::string> hashes;
    for (const std::string& line : splitLines(text)) {
        const std::size_t comma = line.find_last_of(',');
        if (line.empty() || line.front() == '#' || comma == std::string::npos) {
            continue;
        }
        std::string hash = line.substr(comma + 1);
        hash.erase(0, hash.find_first_not_of(' '));
        hash.erase(hash.find_last_not_of(" \r") + 1);
        hashes.push_back(hash);
    }
    return hashes;
}

// The frame hashes of `file` after the video filter `filter` ("null" for all of them).
std::vector<std::string> filteredFrameMD5s(const std::filesystem::path& file, const std::string& filter,
                                           const std::string& name) {
    const std::filesystem::path out = file.string() + "." + name + ".md5";
    runShell("ffmpeg -nostdin -v error -y -i '" + file.string() + "' -map 0:v:0 -vf \"" + filter +
             "\" -f framemd5 '" + out.string() + "'");
    const std::string text = readTextFile(out);
    std::filesystem::remove(out);
    return framemd5Hashes(text);
}

}  // namespace

std::string frameMD5(const std::filesystem::path& file, long index) {
    const std::vector<std::string> hashes =
        filteredFrameMD5s(file, "select=eq(n\\," + std::to_string(index) + ")", std::to_string(index));
    return hashes.size() == 1 ? hashes.front() : std::string{};
}

std::vector<std::string> frameMD5s(const std::filesystem::path& file) {
    return filteredFrameMD5s(file, "null", "all");
}

Rational frameStartAtOrAfter(double seconds, Rational frame) {
    return Rational(std::lround(std::ceil(seconds / frame.doubleValue()))) * frame;
}

Rational clipStart(const XmlDocument& document, const std::string& name) {
    return *Rational::fromFCPXML(
        document.first("//asset-clip[@name='" + name + "']").attribute("start").value_or(""));
}

std::string videoStreamEntry(const std::filesystem::path& file, const std::string& entry) {
    const std::filesystem::path out = file.string() + ".probe";
    const bool isTag = entry.starts_with("tag:");
    const std::string show = isTag ? "stream_tags=" + entry.substr(4) : "stream=" + entry;
    runShell("ffprobe -v error -select_streams v:0 -show_entries " + show + " -of default=nw=1:nk=1 '" +
             file.string() + "' > '" + out.string() + "'");
    std::string value = readTextFile(out);
    std::filesystem::remove(out);
    while (!value.empty() && (value.back() == '\n' || value.back() == '\r')) {
        value.pop_back();
    }
    return value;
}

long shownFrame(const std::filesystem::path& file, Rational time, Rational frame) {
    const std::vector<VideoPacket> frames = probeVideoPackets(file, {});
    const auto after = std::lower_bound(frames.begin(), frames.end(), time + frame / 2,
                                        [](const VideoPacket& shown, Rational t) { return shown.time < t; });
    return static_cast<long>(after - frames.begin()) - 1;
}

void expectSameFrame(const std::filesystem::path& source, Rational oldStart,
                     const std::filesystem::path& archived, Rational newStart, Rational origin,
                     Rational frame, const std::string& what) {
    const long sourceFrame = shownFrame(source, oldStart - origin, frame);
    const double shown = frameBrightness(archived, shownFrame(archived, newStart - origin, frame));
    EXPECT_NEAR(shown, frameBrightness(source, sourceFrame), 6.0) << what;
    EXPECT_GT(std::abs(shown - frameBrightness(source, sourceFrame - 1)), 15.0)
        << what << ": the frame before";
    EXPECT_GT(std::abs(shown - frameBrightness(source, sourceFrame + 1)), 15.0)
        << what << ": the frame after";
}

std::size_t fileChecksum(const std::filesystem::path& file) {
    return std::hash<std::string>{}(readTextFile(file));
}

UnchangedSources::UnchangedSources(const std::vector<std::filesystem::path>& sources) {
    for (const std::filesystem::path& source : sources) {
        EXPECT_TRUE(std::filesystem::is_regular_file(source)) << source;
        checksums_[source] = fileChecksum(source);
    }
}

UnchangedSources::~UnchangedSources() {
    for (const auto& [source, checksum] : checksums_) {
        EXPECT_EQ(fileChecksum(source), checksum) << "a source was changed: " << source;
    }
}

}  // namespace tidyreel::test
