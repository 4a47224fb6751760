#pragma once

#include "fcpxml/xml.h"

#include <filesystem>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tidyreel {

/// The children of a document's `resources` element by `id`, indexed once so that per-asset lookups
/// never search the whole document again.
class ResourceIndex {
public:
    /// Indexes the root's `resources` element (an empty index without one).
    explicit ResourceIndex(const XmlDocument& document);

    /// The `resources` element, or null.
    XmlElement resources() const { return resources_; }
    /// The first `asset` with this id, or null.
    XmlElement asset(const std::string& id) const;
    /// Every `asset` with this id, in document order.
    const std::vector<XmlElement>& assets(const std::string& id) const;
    /// The first `media` (compound or multicam clip) with this id, or null.
    XmlElement media(const std::string& id) const;
    /// The first `format` with this id, or null.
    XmlElement format(const std::string& id) const;

private:
    XmlElement resources_;
    std::unordered_map<std::string, std::vector<XmlElement>> assets_;
    std::unordered_map<std::string, XmlElement> media_;
    std::unordered_map<std::string, XmlElement> formats_;
};

/// The `src` of an asset's media: the first `media-rep` of kind "original-media", else the first
/// `media-rep` with a `src`, else (FCPXML before 1.9) the asset's own `src`; no value without one.
std::optional<std::string> assetMediaSource(XmlElement asset);

/// Turns every relative media `src` of the document's assets into a file URL below `projectFolder` (the
/// folder of the project file, or the bundle): relative references never depend on the current folder.
void resolveRelativeSources(XmlDocument& document, const std::filesystem::path& projectFolder);

}  // namespace tidyreel
