#pragma once

#include "base/error.h"
#include "pipeline/effect_reference.h"

#include <filesystem>
#include <string>

namespace tidyreel {

/// Why an effect file could not be turned into an effect reference.
class ParseError : public Error {
public:
    /// The three ways reading an effect file can fail.
    enum class Kind { unsupportedFormat, missingData, readError };

    /// The file's extension (lower-cased) is neither "moef" nor "effectspreset".
    static ParseError unsupportedFormat(const std::string& extension);
    /// The file does not hold the named piece of information.
    static ParseError missingData(const std::string& what);
    /// The file could not be read for the given reason.
    static ParseError readError(const std::string& message);

    /// Which of the three failures this is.
    Kind kind() const noexcept { return kind_; }
    /// The text the failure carries (extension, missing item or message).
    const std::string& detail() const noexcept { return detail_; }

private:
    ParseError(Kind kind, std::string detail, const std::string& description);

    Kind kind_;
    std::string detail_;
};

/// Reads Motion effect templates (.moef) and FxPlug effects presets (.effectspreset).
namespace EffectPresetParser {

/// The effect reference of an effect file; throws `ParseError`, or the file system's `Error` when a
/// preset cannot be read. Reads presets in pieces, so that files of any size need little memory.
EffectReference parse(const std::filesystem::path& file);

}  // namespace EffectPresetParser

}  // namespace tidyreel
