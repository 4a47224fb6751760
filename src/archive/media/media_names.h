#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace tidyreel {

/// The name a source's file takes in the bundle: its own name, with every byte that is not part of
/// valid UTF-8 replaced by "_", since the name is written into the project's XML and the name book.
std::string bundleFileName(const std::filesystem::path& source);

/// Which source file each file name in the bundle's `Media` folder belongs to, kept in the bundle
/// (".tidyreel-media.json") so that a later run into the same folder recognises its own files. Two
/// different sources with the same file name (two camera cards with C0001.MOV) never share a name.
class MediaNameBook {
public:
    /// Decides whether an existing file that no run recorded may be taken as this source's file.
    using UnrecordedFileTest = std::function<bool(const std::filesystem::path& existing)>;

    /// An empty book, not tied to a bundle (nothing is saved).
    MediaNameBook() = default;
    /// The book of the bundle at `bundleFolder`, with the names its earlier runs recorded.
    explicit MediaNameBook(std::filesystem::path bundleFolder);

    /// The file name in `Media` for the source: `desiredName` when it is free or already this source's,
    /// else the first free "stem-2.ext", "stem-3.ext", …; records the claim.
    std::string claim(const std::string& sourcePath, const std::string& desiredName,
                      const UnrecordedFileTest& mayTakeUnrecordedFile);
    /// Writes new claims into the bundle. Called after each phase rather than each claim, so that thousands
    /// of copies do not rewrite the book thousands of times.
    void save();

private:
    bool isAvailable(const std::string& name, const std::string& sourcePath,
                     const UnrecordedFileTest& mayTakeUnrecordedFile) const;

    std::optional<std::filesystem::path> bundleFolder_;
    std::map<std::string, std::string> sourceByName_;
    bool unsaved_ = false;
};

}  // namespace tidyreel
