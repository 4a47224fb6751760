#pragma once

#include "time/rational.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tidyreel {

/// ffprobe's JSON answer as an object; throws `ProbeError` for anything else.
nlohmann::json parsedProbeObject(std::string_view text);

/// The first object of the answer's "streams"; no value when there is none.
std::optional<nlohmann::json> firstProbeStream(const nlohmann::json& document);

/// A signed 64-bit integer given as a JSON integer, a whole JSON number, or a text of decimal digits.
std::optional<std::int64_t> probeInteger(const nlohmann::json& object, const char* key);

/// The text under `key`, or `fallback` when it is missing or no text.
std::string probeText(const nlohmann::json& object, const char* key, const std::string& fallback);

/// A decimal such as "-0.021333" as an exact value: ffprobe prints times in seconds this way (a file's start
/// time and duration, to the microsecond they are kept in); no value for anything else.
std::optional<Rational> probeDecimalSeconds(const std::string& text);

/// A stream time base "numerator/denominator" with a non-zero denominator.
struct ProbeTimeBase {
    std::int64_t numerator;
    std::int64_t denominator;
};

/// The time base in a text such as "1/15360"; no value for anything else.
std::optional<ProbeTimeBase> parsedProbeTimeBase(const std::string& text);

}  // namespace tidyreel
