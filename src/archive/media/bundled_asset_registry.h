#pragma once

#include "archive/media/media_names.h"
#include "archive/planning/plan_table.h"

#include <filesystem>
#include <map>
#include <mutex>
#include <string>

namespace tidyreel {

/// One file placed in the bundle's `Media` folder for an asset.
struct Registration {
    std::string relativePath;             ///< "./Media/" + file name
    std::string originalSrc;              ///< the asset's `src` before archiving
    bool isTrimmed = false;               ///< cut down (true) or copied whole (false)
    CutMethod cut = CutMethod::reEncode;  ///< how a trimmed file was cut
    bool sourcePacketsProven = false;     ///< its video packets were checked to be the source's own bytes

    bool operator==(const Registration&) const = default;
};

/// What an archive run has placed in the bundle; shared by the archive tasks and the controller, every
/// access under one lock.
class BundledAssetRegistry {
public:
    /// Records (or replaces) the asset's file.
    void registerAsset(const std::string& assetID, Registration registration);
    /// A copy of every registration, to walk without holding the lock.
    std::map<std::string, Registration> snapshot() const;
    /// The number of sources that were unavailable or offline.
    int offlineAssetCount() const;
    /// Adds unavailable sources to the count.
    void addOfflineAssets(int count);

    /// Starts using the name book of the bundle at `bundleFolder` (see `MediaNameBook`).
    void openMediaNames(const std::filesystem::path& bundleFolder);
    /// The file name in `Media` for a source (see `MediaNameBook::claim`).
    std::string claimMediaName(const std::string& sourcePath, const std::string& desiredName,
                               const MediaNameBook::UnrecordedFileTest& mayTakeUnrecordedFile);
    /// Writes the media names claimed so far into the bundle.
    void saveMediaNames();

private:
    mutable std::mutex lock_;
    std::map<std::string, Registration> assets_;
    int offlineAssetCount_ = 0;
    MediaNameBook mediaNames_;
};

}  // namespace tidyreel
