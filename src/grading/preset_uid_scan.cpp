#include "grading/preset_uid_scan.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace tidyreel {
namespace {

constexpr std::string_view kFxPlugPrefix = "FxPlug:";
constexpr std::string_view kEffectIdMarker = "effectID";
constexpr std::size_t kUuidLength = 36;
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

}  // namespace

// Every byte stands for one Latin-1 character and the patterns are plain ASCII, so the bytes are
// searched as they are, piece by piece.
std::optional<std::string> scanPresetUid(std::istream& bytes, std::size_t chunkSize) {
    PresetScanner scanner;
    std::string window;
    std::uint64_t windowStart = 0;
    while (!scanner.done()) {
        const std::size_t kept = window.size();
        window.resize(kept + chunkSize);
        bytes.read(window.data() + kept, static_cast<std::streamsize>(chunkSize));
        window.resize(kept + static_cast<std::size_t>(bytes.gcount()));
        if (bytes.bad()) {
            return std::nullopt;
        }
        const bool atEnd = bytes.eof();
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

}  // namespace tidyreel
