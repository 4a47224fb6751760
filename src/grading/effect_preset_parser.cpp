#include "grading/effect_preset_parser.h"

#include "base/error_codes.h"
#include "base/file_names.h"
#include "base/text.h"

#include "base/language.h"
#include "fcpxml/media_path.h"
#include "pipeline/export_context.h"
#include "platform/file_write.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string_view>

namespace tidyreel {
namespace {

constexpr std::string_view kEffectsFolder = "Effects.localized/";
constexpr std::string_view kFxPlugPrefix = "FxPlug:";
constexpr std::string_view kEffectIdMarker = "effectID";
constexpr std::size_t kUuidLength = 36;
constexpr std::size_t kChunkSize = std::size_t{1} << 20;
// A match can begin in one piece of the file and end in the next; the longest one ("FxPlug:" and a
// UUID) needs this many bytes of the previous piece carried over.
constexpr std::size_t kCarryLength = kFxPlugPrefix.size() + kUuidLength - 1;

// By hand rather than std::isxdigit: the process locale must not change what counts as a digit.
bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Whether a UUID in its 8-4-4-4-12 hexadecimal form starts at `position`.
bool isUuidAt(std::string_view text, std::size_t position) {
    if (position > text.size() || text.size() - position < kUuidLength) {
        return false;
    }
    for (std::size_t i = 0; i < kUuidLength; ++i) {
        const char c = text[position + i];
        const bool wantsDash = i == 8 || i == 13 || i == 18 || i == 23;
        if (wantsDash ? c != '-' : !isHexDigit(c)) {
            return false;
        }
    }
    return true;
}

Error readFailure(const std::filesystem::path& file, int code) {
    return fileSystemError(localized("Datei konnte nicht gelesen werden", "Could not read file"), file,
                           std::error_code(code, std::generic_category()));
}

// Finds, in one pass over a preset's bytes, the first "FxPlug:" followed by a UUID and the first bare
// UUID after the first "effectID". The bytes arrive as windows; in each window only matches that
// start before `limit` are considered, the rest of the window is seen again at the next window's start.
class PresetScanner {
public:
    void scan(std::string_view window, std::size_t limit, std::uint64_t windowStart) {
        findFxPlugUid(window, limit);
        findEffectIdMarker(window, limit, windowStart);
        findUuidAfterMarker(window, limit, windowStart);
    }

    /// Nothing later in the file can change the result any more.
    bool done() const { return fxPlugUid_.has_value(); }

    /// The preset's uid: the "FxPlug:" text as found, else "FxPlug:" and the UUID after "effectID".
    std::optional<std::string> uid() const {
        if (fxPlugUid_) {
            return fxPlugUid_;
        }
        if (uuidAfterMarker_) {
            return std::string(kFxPlugPrefix) + *uuidAfterMarker_;
        }
        return std::nullopt;
    }

private:
    void findFxPlugUid(std::string_view window, std::size_t limit) {
        for (std::size_t position = window.find(kFxPlugPrefix); position < limit;
             position = window.find(kFxPlugPrefix, position + 1)) {
            if (isUuidAt(window, position + kFxPlugPrefix.size())) {
                fxPlugUid_ = std::string(window.substr(position, kFxPlugPrefix.size() + kUuidLength));
                return;
            }
        }
    }

    void findEffectIdMarker(std::string_view window, std::size_t limit, std::uint64_t windowStart) {
        if (uuidSearchStart_) {
            return;
        }
        if (const std::size_t position = window.find(kEffectIdMarker); position < limit) {
            uuidSearchStart_ = windowStart + position + kEffectIdMarker.size();
        }
    }

    // A UUID has its first dash at offset 8, so each dash names exactly one candidate start, and the
    // dashes come in the order of those starts.
    void findUuidAfterMarker(std::string_view window, std::size_t limit, std::uint64_t windowStart) {
        if (!uuidSearchStart_ || uuidAfterMarker_) {
            return;
        }
        const std::size_t from =
            static_cast<std::size_t>(std::max(*uuidSearchStart_, windowStart) - windowStart);
        for (std::size_t dash = window.find('-', from + 8);
             dash != std::string_view::npos && dash - 8 < limit; dash = window.find('-', dash + 1)) {
            if (isUuidAt(window, dash - 8)) {
                uuidAfterMarker_ = std::string(window.substr(dash - 8, kUuidLength));
                return;
            }
        }
    }

    std::optional<std::string> fxPlugUid_;
    std::optional<std::uint64_t> uuidSearchStart_;  ///< file offset right after the first "effectID"
    std::optional<std::string> uuidAfterMarker_;
};

// Every byte stands for one Latin-1 character and the patterns are plain ASCII, so the bytes are
// searched as they are, piece by piece, and a preset of any size costs about one piece of memory.
std::optional<std::string> scanPreset(const std::filesystem::path& file) {
    std::error_code status;
    if (std::filesystem::is_directory(file, status)) {
        throw readFailure(file, EISDIR);
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw readFailure(file, errno ? errno : ENOENT);
    }
    PresetScanner scanner;
    std::string window;
    std::uint64_t windowStart = 0;
    while (!scanner.done()) {
        const std::size_t kept = window.size();
        window.resize(kept + kChunkSize);
        stream.read(window.data() + kept, static_cast<std::streamsize>(kChunkSize));
        window.resize(kept + static_cast<std::size_t>(stream.gcount()));
        if (stream.bad()) {
            throw readFailure(file, EIO);
        }
        const bool atEnd = stream.eof();
        const std::size_t limit =
            atEnd ? window.size() : window.size() - std::min(window.size(), kCarryLength);
        scanner.scan(window, limit, windowStart);
        if (atEnd) {
            break;
        }
        window.erase(0, limit);
        windowStart += limit;
    }
    return scanner.uid();
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

}  // namespace tidyreel
