#include "pipeline/effect_reference.h"

namespace tidyreel {

std::string_view rawValue(SourceType type) {
    return type == SourceType::fxPlug ? "fxPlug" : "motionTemplate";
}

std::optional<SourceType> sourceTypeFromRaw(std::string_view raw) {
    if (raw == "fxPlug") {
        return SourceType::fxPlug;
    }
    if (raw == "motionTemplate") {
        return SourceType::motionTemplate;
    }
    return std::nullopt;
}

}  // namespace tidyreel
