#pragma once

#include "pipeline/effect_reference.h"

#include <filesystem>
#include <string>

namespace tidyreel::test {

/// An FxPlug UUID as presets hold it (mixed case, kept as found).
inline constexpr const char* kPresetUuid = "1A2B3C4D-1111-2222-3333-44445555abcd";
/// The uid a preset holding `kPresetUuid` gets.
inline const std::string kFxPlugUid = std::string("FxPlug:") + kPresetUuid;

/// A Motion template reference as the reader makes it for a file in the user's effects folder.
inline const EffectReference kWarmTemplate{
    "Warm", "~/Effects.localized/Looks/Warm/Warm.moef",
    "file:///Users/a/Movies/Motion%20Templates.localized/Effects.localized/Looks/Warm/Warm.moef",
    SourceType::motionTemplate};
/// An FxPlug preset reference.
inline const EffectReference kSoftPreset{"Soft", kFxPlugUid, std::nullopt, SourceType::fxPlug};

/// Writes a small Motion effect template file at `folder / relativePath` and returns its path.
std::filesystem::path writeMotionTemplate(const std::filesystem::path& folder,
                                          const std::string& relativePath);

/// Writes an effects preset whose bytes are `content` surrounded by binary noise (NUL and high bytes).
std::filesystem::path writePreset(const std::filesystem::path& file, const std::string& content);

/// Folder that stands in for the user's Motion effects folder below `home`.
std::filesystem::path motionEffectsFolder(const std::filesystem::path& home);

}  // namespace tidyreel::test
