#include "archive/media/probe_json.h"

#include "archive/media/media_probe.h"
#include "time/rational.h"

#include <algorithm>

namespace tidyreel {

using nlohmann::json;

json parsedProbeObject(std::string_view text) {
    json document = json::parse(text, nullptr, false);
    if (document.is_discarded() || !document.is_object()) {
        throw ProbeError("ffprobe output not parseable as JSON");
    }
    return document;
}

std::optional<json> firstProbeStream(const json& document) {
    const auto streams = document.find("streams");
    if (streams == document.end() || !streams->is_array() || streams->empty() ||
        !streams->front().is_object()) {
        return std::nullopt;
    }
    return streams->front();
}

std::optional<std::int64_t> probeInteger(const json& object, const char* key) {
    const auto value = object.find(key);
    if (value == object.end()) {
        return std::nullopt;
    }
    if (value->is_number_integer()) {
        if (value->is_number_unsigned() &&
            value->get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX)) {
            return std::nullopt;
        }
        return value->get<std::int64_t>();
    }
    if (value->is_number_float()) {
        const double number = value->get<double>();
        if (number >= -9223372036854775808.0 && number < 9223372036854775808.0) {
            return static_cast<std::int64_t>(number);
        }
        return std::nullopt;
    }
    if (value->is_string()) {
        return detail::parseInt64(value->get<std::string>());
    }
    return std::nullopt;
}

std::string probeText(const json& object, const char* key, const std::string& fallback) {
    const auto value = object.find(key);
    return value != object.end() && value->is_string() ? value->get<std::string>() : fallback;
}

std::optional<Rational> probeDecimalSeconds(const std::string& text) {
    const std::size_t point = text.find('.');
    const std::string fraction = point == std::string::npos ? "" : text.substr(point + 1);
    const std::optional<std::int64_t> whole = detail::parseInt64(text.substr(0, point));
    if (!whole || fraction.size() > 9 || !std::all_of(fraction.begin(), fraction.end(), ::isdigit)) {
        return std::nullopt;
    }
    std::int64_t scale = 1;
    for (std::size_t i = 0; i < fraction.size(); ++i) {
        scale *= 10;
    }
    const Rational part = fraction.empty() ? Rational::zero() : Rational(std::stoll(fraction), scale);
    return text.starts_with('-') ? Rational(*whole) - part : Rational(*whole) + part;
}

std::optional<ProbeTimeBase> parsedProbeTimeBase(const std::string& text) {
    const std::size_t slash = text.find('/');
    if (slash == std::string::npos) {
        return std::nullopt;
    }
    const std::optional<std::int64_t> numerator = detail::parseInt64(text.substr(0, slash));
    const std::optional<std::int64_t> denominator = detail::parseInt64(text.substr(slash + 1));
    if (!numerator || !denominator || *denominator == 0) {
        return std::nullopt;
    }
    return ProbeTimeBase{*numerator, *denominator};
}

}  // namespace tidyreel
