#include "archive/media/media_names.h"

#include "base/file_names.h"
#include "base/utf8.h"
#include "fcpxml/media_path.h"
#include "pipeline/export_context.h"
#include "platform/file_write.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <fstream>

namespace tidyreel {
namespace {

constexpr const char* kBookFileName = ".tidyreel-media.json";

std::string numberedName(const std::string& name, int number) {
    const std::string extension = fileNameExtension(name);
    return fmt::format("{}-{}{}{}", fileNameBase(name), number, extension.empty() ? "" : ".", extension);
}

// The book is JSON text: a source path that is not UTF-8 is kept as its percent-encoded URL.
std::string bookKey(const std::string& sourcePath) {
    return isValidUTF8(sourcePath) ? sourcePath : MediaPath::url(sourcePath);
}

// The length of the valid UTF-8 character at `position`; 0 for a byte that starts none.
std::size_t validCharacterLength(std::string_view text, std::size_t position) {
    for (std::size_t length = 1; length <= 4 && position + length <= text.size(); ++length) {
        if (isValidUTF8(text.substr(position, length))) {
            return length;
        }
    }
    return 0;
}

}  // namespace

std::string bundleFileName(const std::filesystem::path& source) {
    const std::string name = source.filename().string();
    std::string safe;
    for (std::size_t i = 0; i < name.size();) {
        const std::size_t length = validCharacterLength(name, i);
        safe += length == 0 ? std::string("_") : name.substr(i, length);
        i += std::max<std::size_t>(length, 1);
    }
    return safe;
}

MediaNameBook::MediaNameBook(std::filesystem::path bundleFolder) : bundleFolder_(std::move(bundleFolder)) {
    std::ifstream stream(*bundleFolder_ / kBookFileName);
    if (!stream) {
        return;
    }
    // A damaged book only costs the recognition of earlier files; it never stops a run.
    const nlohmann::json book = nlohmann::json::parse(stream, nullptr, false);
    if (!book.is_object()) {
        return;
    }
    for (const auto& [name, source] : book.items()) {
        if (source.is_string()) {
            sourceByName_[name] = source.get<std::string>();
        }
    }
}

std::string MediaNameBook::claim(const std::string& source, const std::string& desiredName,
                                 const UnrecordedFileTest& mayTakeUnrecordedFile) {
    const std::string sourcePath = bookKey(source);
    std::string name = desiredName;
    for (int number = 2; !isAvailable(name, sourcePath, mayTakeUnrecordedFile); ++number) {
        name = numberedName(desiredName, number);
    }
    if (sourceByName_[name] != sourcePath) {
        sourceByName_[name] = sourcePath;
        unsaved_ = true;
    }
    return name;
}

bool MediaNameBook::isAvailable(const std::string& name, const std::string& sourcePath,
                                const UnrecordedFileTest& mayTakeUnrecordedFile) const {
    if (const auto recorded = sourceByName_.find(name); recorded != sourceByName_.end()) {
        return recorded->second == sourcePath;
    }
    if (!bundleFolder_) {
        return true;
    }
    const std::filesystem::path existing = *bundleFolder_ / "Media" / name;
    std::error_code status;
    return !std::filesystem::exists(existing, status) || mayTakeUnrecordedFile(existing);
}

void MediaNameBook::save() {
    if (!bundleFolder_ || !unsaved_) {
        return;
    }
    nlohmann::json book = nlohmann::json::object();
    for (const auto& [name, source] : sourceByName_) {
        book[name] = source;
    }
    writeFileAtomically(*bundleFolder_ / kBookFileName, book.dump(2) + "\n");
    unsaved_ = false;
}

}  // namespace tidyreel
