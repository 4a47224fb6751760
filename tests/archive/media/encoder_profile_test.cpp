#include "archive/media/encoder_profile.h"

#include "archive/archive_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel {
namespace {

using Arguments = std::vector<std::string>;
using test::words;

TEST(EncoderProfiles, NamesAndPlatformDefault) {
    EXPECT_EQ(encoderProfileNamed("libx265"), EncoderProfile::libx265);
    EXPECT_EQ(encoderProfileNamed("hevc_videotoolbox"), EncoderProfile::hevcVideoToolbox);
    EXPECT_EQ(encoderProfileNamed("copy"), EncoderProfile::copy);
    EXPECT_FALSE(encoderProfileNamed("x264"));
    EXPECT_FALSE(encoderProfileNamed("Copy"));
    EXPECT_TRUE(isEncoderProfileAvailable(EncoderProfile::copy));
    EXPECT_EQ(selectedEncoderProfile("copy"), EncoderProfile::copy);
#ifdef __APPLE__
    EXPECT_EQ(defaultEncoderProfile(), EncoderProfile::hevcVideoToolbox);
#else
    EXPECT_EQ(defaultEncoderProfile(), EncoderProfile::libx265);
#endif
}

TEST(VideoToolboxProfile, KeepsTheSystemsArgumentLists) {
    EXPECT_EQ(
        videoToolboxArguments("/in.mov", "/out.mov", 10, 15.5),
        words("-i /in.mov -ss 10.000000 -t 15.500000 -c:v hevc_videotoolbox -tag:v hvc1 -q:v 65 -b:v 0 "
              "-bf 0 -spatial_aq 1 -c:a aac -b:a 320k -avoid_negative_ts make_zero -map 0:v:0 -map 0:a? "
              "-y /out.mov"));
    EXPECT_EQ(streamCopyArguments("/in.mov", "/out.mov", 10, 15.5),
              words("-ss 10.000000 -i /in.mov -t 15.500000 -map 0:v:0 -map 0:a? -c copy -avoid_negative_ts "
                    "make_zero -y /out.mov"));
    EXPECT_EQ(concatArguments("/out.mov"),
              words("-f concat -i concat_list.txt -map 0 -map -0:d -ignore_unknown -c copy -y /out.mov"));
    // M4V outputs use the iPod muxer.
    const Arguments m4v = concatArguments("/b/CLIP_trimmed.M4V");
    EXPECT_EQ(Arguments(m4v.end() - 4, m4v.end()), words("-f ipod -y /b/CLIP_trimmed.M4V"));
}

TEST(X265Profile, ReadsEverySegmentFromItsKeyframeAndPicksItsFramesByTime) {
    // The second segment is read from the keyframe at 3 s; its frames are moved to start at its start.
    const std::vector<SegmentCut> cuts{{{0, 14}, 0},
                                       {{Rational(149149, 30000), Rational(1350349, 30000)}, Rational(3, 1)}};
    EXPECT_EQ(
        x265Arguments("/in.mov", "/out.mov", cuts, Rational(1001, 30000), true),
        words(
            "-nostdin -ss 0.000000 -t 14.033367 -i /in.mov -ss 3.000000 -t 42.045000 -i /in.mov "
            "-filter_complex "
            "[0:v:0]setpts=PTS-round(0/TB),fps=fps=30000/1001:start_time=0:round=near,trim=end_frame=420[v0];"
            "[0:a:0]atrim=start=0.000000:duration=14.000000,asetpts=PTS-STARTPTS[a0];"
            "[1:v:0]setpts=PTS-round(59149/30000/TB),fps=fps=30000/1001:start_time=0:round=near,"
            "trim=end_frame=1200[v1];"
            "[1:a:0]atrim=start=1.971633:duration=40.040000,asetpts=PTS-STARTPTS[a1];"
            "[v0][a0][v1][a1]concat=n=2:v=1:a=1[v][a] "
            "-map [v] -map [a] -map_metadata:s:v:0 0:s:v:0 -c:v libx265 -preset medium -crf 20 "
            "-x265-params bframes=0:log-level=error -pix_fmt yuv420p10le -tag:v hvc1 -c:a aac "
            "-b:a 320k -y /out.mov"));
}

TEST(X265Profile, SeeksNeverPastTheKeyframeOrTheSegment) {
    EXPECT_EQ(seekTime(Rational(1001, 30000)), Rational(33366, 1000000));
    EXPECT_EQ(seekTime(Rational(-1, 3)), Rational(-333334, 1000000));
    // A keyframe after the segment's start (none found before it) is not where reading begins.
    const Arguments arguments = x265Arguments("/in.mp4", "/out.mp4", {{{2, 4}, 3}}, Rational(1, 25), false);
    EXPECT_EQ(Arguments(arguments.begin() + 1, arguments.begin() + 5), words("-ss 2.000000 -t 2.040000"));
}

TEST(X265Profile, VideoOnlyAndUnknownFrameRate) {
    const Arguments arguments =
        x265Arguments("/in.mp4", "/out.m4v", {{{2, 4}, Rational(3, 2)}}, std::nullopt, false);
    EXPECT_THAT(arguments,
                ::testing::Contains(
                    "[0:v:0]setpts=PTS-round(1/2/TB),trim=start=0:duration=2.000000,setpts=PTS-STARTPTS[v0];"
                    "[v0]concat=n=1:v=1:a=0[v]"));
    EXPECT_THAT(arguments, ::testing::Not(::testing::Contains("-c:a")));
    EXPECT_EQ(Arguments(arguments.begin() + 1, arguments.begin() + 5), words("-ss 1.500000 -t 2.500000"));
    EXPECT_EQ(Arguments(arguments.end() - 4, arguments.end()), words("-f ipod -y /out.m4v"));
}

TEST(X265Profile, FrameCounts) {
    EXPECT_EQ(framesIn({0, 14}, Rational(1, 25)), 350);
    EXPECT_EQ(framesIn({Rational(149149, 30000), Rational(1350349, 30000)}, Rational(1001, 30000)), 1200);
    EXPECT_EQ(ffmpegSeconds(4.9716333333), "4.971633");
}

}  // namespace
}  // namespace tidyreel
