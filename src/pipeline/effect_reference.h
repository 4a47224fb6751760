#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace tidyreel {

/// The kind of an effect: an FxPlug plug-in or a Motion template.
enum class SourceType { fxPlug, motionTemplate };

/// The raw value of a source type ("fxPlug", "motionTemplate").
std::string_view rawValue(SourceType type);
/// The source type with that raw value; no value for any other text.
std::optional<SourceType> sourceTypeFromRaw(std::string_view raw);

/// What an FCPXML document needs to reference an effect.
struct EffectReference {
    std::string name;                ///< display name: the file name without its extension
    std::string uid;                 ///< the identifier FCPXML uses for the effect
    std::optional<std::string> src;  ///< file URL text of a Motion template; absent for FxPlug presets
    SourceType sourceType = SourceType::motionTemplate;  ///< kind of effect

    bool operator==(const EffectReference&) const = default;
};

/// Effects assigned to main role names.
using RoleEffectMappings = std::map<std::string, EffectReference>;

}  // namespace tidyreel
