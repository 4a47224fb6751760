#pragma once

#include <string>
#include <vector>

namespace tidyreel {

class XmlDocument;

/// The texts of the two special description titles (made from the templates QUILLT1 and QUILLT2).
struct DescriptionTitleTexts {
    std::string first;   ///< text of the first title using QUILLT1; empty when there is none
    std::string second;  ///< text of the first title using QUILLT2; empty when there is none

    bool operator==(const DescriptionTitleTexts&) const = default;
};

/// Reads both title texts: each title's `text-style` runs, one per line, trimmed at both ends.
/// Never fails: a template, title or text that is not there gives an empty text.
DescriptionTitleTexts readDescriptionTitleTexts(const XmlDocument& document);

/// The "DEBUG: QUILLT1 = '…'" lines of a run, one for each non-empty text.
std::vector<std::string> titleTextDebugLines(const DescriptionTitleTexts& texts);

}  // namespace tidyreel
