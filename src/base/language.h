#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tidyreel {

/// The two languages of every user-facing text.
enum class Language { german, english };

/// Sets the user's preferred languages, most preferred first (BCP 47 tags such as "de-DE").
void setPreferredLanguages(std::vector<std::string> languages);

/// German when the first preferred language begins with "de", otherwise English (also with no list).
Language currentLanguage();

/// Picks the text of the current language.
std::string localized(std::string_view german, std::string_view english);

}  // namespace tidyreel
