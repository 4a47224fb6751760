#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace tidyreel {

/// The text raw values of an enumeration whose enumerators count up from 0, in enumerator order.
template <class Enum, std::size_t Count>
struct RawValueTable {
    std::array<std::string_view, Count> values;

    /// The raw value of an enumerator.
    constexpr std::string_view rawValue(Enum value) const {
        return values.at(static_cast<std::size_t>(value));
    }

    /// The enumerator whose raw value is exactly `raw`; no value for any other text.
    constexpr std::optional<Enum> fromRaw(std::string_view raw) const {
        for (std::size_t i = 0; i < Count; ++i) {
            if (values[i] == raw) {
                return static_cast<Enum>(i);
            }
        }
        return std::nullopt;
    }
};

}  // namespace tidyreel
