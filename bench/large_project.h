#pragma once

// Builds large, realistic FCPXML projects for the benchmarks: thousands of assets, tens of
// thousands of clips with connected clips, markers, chapter markers, slow-motion clips, a few speed
// ramps and compound clips, all on a 29.97 fps frame grid.
#include <fmt/format.h>

#include <string>

namespace tidyreel::bench {

/// The FCPXML text of a project with `clipCount` clip elements using `assetCount` media files.
inline std::string largeProject(int clipCount, int assetCount,
                                const std::string& mediaFolder = "/Volumes/Media") {
    constexpr const char* roles[] = {"Interview.Interview-1", "B-Roll", "Drone", "GoPro.GoPro-2",
                                     "Titles-Cam"};
    constexpr long long frame = 1001;         // numerator of one frame at 30000 per second
    constexpr long long assetFrames = 54000;  // half an hour of media per asset
    std::string xml;
    xml.reserve(static_cast<std::size_t>(clipCount) * 400 + static_cast<std::size_t>(assetCount) * 400);
    xml += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE fcpxml>\n<fcpxml version=\"1.11\">\n";
    xml +=
        "  <resources>\n    <format id=\"r1\" name=\"FFVideoFormat1080p2997\" frameDuration=\"1001/30000s\" "
        "width=\"1920\" height=\"1080\"/>\n";
    for (int asset = 0; asset < assetCount; ++asset) {
        xml += fmt::format(
            "    <asset id=\"r{0}\" name=\"C{1:04}\" uid=\"UID{1}\" start=\"0s\" duration=\"{2}/30000s\" "
            "hasVideo=\"1\" "
            "hasAudio=\"1\" format=\"r1\" audioSources=\"1\" audioChannels=\"2\" audioRate=\"48000\">\n"
            "      <media-rep kind=\"original-media\" sig=\"UID{1}\" "
            "src=\"file://{3}/Card{4}/C{1:04}.MOV\"/>\n"
            "    </asset>\n",
            asset + 2, asset, assetFrames * frame, mediaFolder, asset % 7);
    }
    const int compoundId = assetCount + 2;
    xml += fmt::format(
        "    <media id=\"r{0}\" name=\"Compound\">\n      <sequence format=\"r1\" duration=\"{1}/30000s\">\n"
        "        <spine>\n          <asset-clip ref=\"r2\" offset=\"0s\" start=\"0s\" "
        "duration=\"{1}/30000s\" "
        "videoRole=\"B-Roll\"/>\n        </spine>\n      </sequence>\n    </media>\n  </resources>\n",
        compoundId, 300 * frame);
    xml += "  <library>\n    <event name=\"Bench\">\n      <project name=\"Feature\">\n";
    xml += "        <sequence format=\"r1\" tcStart=\"0s\">\n          <spine>\n";
    long long offset = 0;
    for (int clip = 0; clip < clipCount; ++clip) {
        const int asset = clip % assetCount + 2;
        const long long duration = (90 + clip % 120) * frame;
        const long long start = ((clip * 7919LL) % (assetFrames - 400)) * frame;
        const char* role = roles[clip % 5];
        if (clip % 97 == 0) {
            xml += fmt::format(
                "            <ref-clip ref=\"r{}\" offset=\"{}/30000s\" duration=\"{}/30000s\"/>\n",
                compoundId, offset, duration);
        } else if (clip % 5 == 1 && clip + 1 < clipCount) {
            // A clip with a connected clip on lane 1: two clip elements.
            xml += fmt::format(
                "            <asset-clip ref=\"r{0}\" offset=\"{1}/30000s\" start=\"{2}/30000s\" "
                "duration=\"{3}/30000s\" "
                "videoRole=\"{4}\">\n"
                "              <marker start=\"{2}/30000s\" duration=\"1001/30000s\" value=\"Note {5}\"/>\n"
                "              <asset-clip ref=\"r{6}\" lane=\"1\" offset=\"{2}/30000s\" "
                "start=\"{7}/30000s\" "
                "duration=\"{8}/30000s\" videoRole=\"B-Roll\"/>\n"
                "            </asset-clip>\n",
                asset, offset, start, duration, role, clip, (clip + 3) % assetCount + 2, 600 * frame,
                60 * frame);
            ++clip;
        } else if (clip % 13 == 0) {
            // Half-speed slow motion; one in ten of these is a speed ramp with a third point.
            const long long mediaLength = assetFrames * frame;
            const std::string ramp =
                clip % 130 == 0 ? fmt::format(
                                      "                <timept time=\"{}/30000s\" value=\"{}/30000s\" "
                                      "interp=\"smooth2\"/>\n",
                                      mediaLength * 3, mediaLength)
                                : "";
            xml += fmt::format(
                "            <asset-clip ref=\"r{0}\" offset=\"{1}/30000s\" start=\"{2}/30000s\" "
                "duration=\"{3}/30000s\" videoRole=\"{4}\">\n"
                "              <conform-rate srcFrameRate=\"29.97\"/>\n"
                "              <timeMap>\n"
                "                <timept time=\"0s\" value=\"0s\" interp=\"linear\"/>\n"
                "                <timept time=\"{5}/30000s\" value=\"{6}/30000s\" interp=\"linear\"/>\n{7}"
                "              </timeMap>\n"
                "            </asset-clip>\n",
                asset, offset, start, duration, role, 2 * mediaLength, mediaLength, ramp);
        } else {
            const bool chapter = clip % 11 == 0;
            xml += fmt::format(
                "            <asset-clip ref=\"r{0}\" offset=\"{1}/30000s\" start=\"{2}/30000s\" "
                "duration=\"{3}/30000s\" "
                "videoRole=\"{4}\" audioRole=\"dialogue\">{5}</asset-clip>\n",
                asset, offset, start, duration, role,
                chapter ? fmt::format(
                              "\n              <chapter-marker start=\"{}/30000s\" duration=\"1001/30000s\" "
                              "value=\"Chapter {}\" posterOffset=\"0s\"/>\n            ",
                              start, clip)
                        : "");
        }
        offset += duration;
    }
    xml +=
        "          </spine>\n        </sequence>\n      </project>\n    </event>\n  </library>\n</fcpxml>\n";
    return xml;
}

}  // namespace tidyreel::bench
