#include "archive/media/bundled_asset_registry.h"

namespace tidyreel {

void BundledAssetRegistry::registerAsset(const std::string& assetID, Registration registration) {
    const std::lock_guard guard(lock_);
    assets_[assetID] = std::move(registration);
}

std::map<std::string, Registration> BundledAssetRegistry::snapshot() const {
    const std::lock_guard guard(lock_);
    return assets_;
}

int BundledAssetRegistry::offlineAssetCount() const {
    const std::lock_guard guard(lock_);
    return offlineAssetCount_;
}

void BundledAssetRegistry::addOfflineAssets(int count) {
    const std::lock_guard guard(lock_);
    offlineAssetCount_ += count;
}

void BundledAssetRegistry::openMediaNames(const std::filesystem::path& bundleFolder) {
    const std::lock_guard guard(lock_);
    mediaNames_ = MediaNameBook(bundleFolder);
}

std::string BundledAssetRegistry::claimMediaName(
    const std::string& sourcePath, const std::string& desiredName,
    const MediaNameBook::UnrecordedFileTest& mayTakeUnrecordedFile) {
    const std::lock_guard guard(lock_);
    return mediaNames_.claim(sourcePath, desiredName, mayTakeUnrecordedFile);
}

void BundledAssetRegistry::saveMediaNames() {
    const std::lock_guard guard(lock_);
    mediaNames_.save();
}

}  // namespace tidyreel
