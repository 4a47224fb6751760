// Any bytes as role_effects.json: decoding either fails cleanly or gives mappings that encode and
// decode to the same.
#include "base/error.h"
#include "grading/role_effect_mapping.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tidyreel::RoleEffectMapping mapping;
    try {
        mapping =
            tidyreel::RoleEffectMapping::decoded(std::string_view(reinterpret_cast<const char*>(data), size));
    } catch (const tidyreel::Error&) {
        return 0;
    }
    std::string text;
    try {
        text = mapping.encoded();
    } catch (const tidyreel::Error&) {
        return 0;
    }
    if (tidyreel::RoleEffectMapping::decoded(text).mappings != mapping.mappings) {
        std::abort();
    }
    return 0;
}
