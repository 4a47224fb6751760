#pragma once

#include <filesystem>
#include <string>

namespace tidyreel::test {

/// An FxPlug UUID as presets hold it (mixed case, kept as found).
inline constexpr const char* kPresetUuid = "1A2B3C4D-1111-2222-3333-44445555abcd";

/// Writes a small Motion effect template file at `folder / relativePath` and returns its path.
std::filesystem::path writeMotionTemplate(const std::filesystem::path& folder,
                                          const std::string& relativePath);

/// Writes an effects preset whose bytes are `content` surrounded by binary noise (NUL and high bytes).
std::filesystem::path writePreset(const std::filesystem::path& file, const std::string& content);

/// Folder that stands in for the user's Motion effects folder below `home`.
std::filesystem::path motionEffectsFolder(const std::filesystem::path& home);

}  // namespace tidyreel::test
