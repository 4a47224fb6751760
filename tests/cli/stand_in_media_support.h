#pragma once

#include "time/rational.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tidyreel::test {

/// A project whose media were made for the test: one tiny file per media reference, at the place the
/// reference names.
struct StandInProject {
    std::filesystem::path project;             ///< the project, its references pointed at the stand-ins
    std::vector<std::filesystem::path> media;  ///< every stand-in file
};

/// Copies the FCPXML `sample` to `folder / projectName` and makes, below `folder`, a stand-in for every
/// file its assets name (original media and proxies): the asset's frame rate, interlacing, picture and
/// sound as declared, long enough for the asset's `start` + `duration` (the file's time 0 is the
/// asset's `start`, also written as its timecode when that is a whole number of frames). Every frame n
/// has the grey level of `makeTestVideo` (n × 37 mod 256), so that a frame can be told from its
/// neighbours. Relative references keep their text and get their file next to the project.
StandInProject makeStandInProject(const std::filesystem::path& sample, const std::filesystem::path& folder,
                                  const std::string& projectName);

/// The mean grey level of every frame of a video file's first picture stream, in decoding order, from one
/// decoding run (empty when it cannot be read).
std::vector<int> frameGreyLevels(const std::filesystem::path& file);

}  // namespace tidyreel::test
