#include "base/language.h"

#include <mutex>

namespace tidyreel {
namespace {

std::mutex languageMutex;
std::vector<std::string> preferredLanguages;

}  // namespace

void setPreferredLanguages(std::vector<std::string> languages) {
    std::lock_guard lock(languageMutex);
    preferredLanguages = std::move(languages);
}

Language currentLanguage() {
    std::lock_guard lock(languageMutex);
    if (!preferredLanguages.empty() && preferredLanguages.front().starts_with("de")) {
        return Language::german;
    }
    return Language::english;
}

std::string localized(std::string_view german, std::string_view english) {
    return std::string(currentLanguage() == Language::german ? german : english);
}

}  // namespace tidyreel
