#include "archive/media/media_names.h"

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

}  // namespace

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

std::string MediaNameBook::claim(const std::string& sourcePath, const std::string& desiredName,
                                 const UnrecordedFileTest& mayTakeUnrecordedFile) {
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
