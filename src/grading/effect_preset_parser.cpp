#include "grading/effect_preset_parser.h"

#include "base/error_codes.h"
#include "base/file_names.h"
#include "base/text.h"

#include "base/language.h"
#include "fcpxml/media_path.h"
#include "grading/preset_uid_scan.h"
#include "pipeline/export_context.h"
#include "platform/file_write.h"

#include <cctype>
#include <cerrno>
#include <fstream>
#include <optional>
#include <string_view>

namespace tidyreel {
namespace {

constexpr std::string_view kEffectsFolder = "Effects.localized/";
Error readFailure(const std::filesystem::path& file, int code) {
    return fileSystemError(localized("Datei konnte nicht gelesen werden", "Could not read file"), file,
                           std::error_code(code, std::generic_category()));
}

std::optional<std::string> scanPreset(const std::filesystem::path& file) {
    std::error_code status;
    if (std::filesystem::is_directory(file, status)) {
        throw readFailure(file, EISDIR);
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw readFailure(file, errno ? errno : ENOENT);
    }
    std::optional<std::string> uid = scanPresetUid(stream);
    if (stream.bad()) {
        throw readFailure(file, EIO);
    }
    return uid;
}

EffectReference parseFxPlugPreset(const std::filesystem::path& file) {
    std::optional<std::string> uid = scanPreset(file);
    if (!uid) {
        throw ParseError::missingData("FxPlug-UUID oder effectID");
    }
    return EffectReference{fileNameBase(file.filename().string()), std::move(*uid), std::nullopt,
                           SourceType::fxPlug};
}

// The template is referenced by its place in the Motion effects folder, not by its content. A path
// that does not name a file is still refused: a drop always names one, a typed path may not.
EffectReference parseMotionTemplate(const std::filesystem::path& file) {
    std::error_code status;
    const std::filesystem::file_status type = std::filesystem::status(file, status);
    if (!std::filesystem::exists(type)) {
        throw readFailure(file, ENOENT);
    }
    if (std::filesystem::is_directory(type)) {
        throw readFailure(file, EISDIR);
    }
    const std::string path = file.string();
    const std::string name = fileNameBase(file.filename().string());
    const std::size_t folder = path.find(kEffectsFolder);
    std::string uid = folder != std::string::npos ? "~/" + path.substr(folder)
                                                  : "~/" + std::string(kEffectsFolder) + name + ".moef";
    return EffectReference{name, std::move(uid), MediaPath::url(path), SourceType::motionTemplate};
}

// The absolute, normalized form of a dropped or typed path, as a file URL would hold it.
std::filesystem::path absoluteFilePath(const std::filesystem::path& file) {
    std::error_code status;
    std::filesystem::path absolute = std::filesystem::absolute(file, status);
    if (status) {
        absolute = file;
    }
    absolute = absolute.lexically_normal();
    return absolute.has_filename() ? absolute : absolute.parent_path();
}

}  // namespace

ParseError::ParseError(Kind kind, std::string detail, const std::string& description)
    : Error(EffectPresetError::domain, static_cast<int>(kind), description),
      kind_(kind),
      detail_(std::move(detail)) {}

ParseError ParseError::unsupportedFormat(const std::string& extension) {
    return ParseError(Kind::unsupportedFormat, extension, "Nicht unterstütztes Format: ." + extension);
}

ParseError ParseError::missingData(const std::string& what) {
    return ParseError(Kind::missingData, what, "Konnte " + what + " nicht aus der Datei lesen");
}

ParseError ParseError::readError(const std::string& message) {
    return ParseError(Kind::readError, message, "Lesefehler: " + message);
}

EffectReference EffectPresetParser::parse(const std::filesystem::path& file) {
    const std::filesystem::path path = absoluteFilePath(file);
    const std::string extension = lowercased(fileNameExtension(path.filename().string()));
    if (extension == "effectspreset") {
        return parseFxPlugPreset(path);
    }
    if (extension == "moef") {
        return parseMotionTemplate(path);
    }
    throw ParseError::unsupportedFormat(extension);
}

bool EffectPresetParser::liesInMotionEffectsFolder(const EffectReference& reference) {
    return reference.sourceType != SourceType::motionTemplate || !reference.src ||
           MediaPath::path(*reference.src).find(kEffectsFolder) != std::string::npos;
}

}  // namespace tidyreel
