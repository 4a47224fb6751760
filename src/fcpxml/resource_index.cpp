#include "fcpxml/resource_index.h"

#include "fcpxml/media_path.h"

namespace tidyreel {

ResourceIndex::ResourceIndex(const XmlDocument& document)
    : resources_(document.root() ? document.root().firstChild("resources") : XmlElement()) {
    if (!resources_) {
        return;
    }
    for (XmlElement child : resources_.children()) {
        const std::optional<std::string> id = child.attribute("id");
        if (!id) {
            continue;
        }
        if (child.name() == "asset") {
            assets_[*id].push_back(child);
        } else if (child.name() == "media") {
            media_.emplace(*id, child);
        } else if (child.name() == "format") {
            formats_.emplace(*id, child);
        }
    }
}

XmlElement ResourceIndex::asset(const std::string& id) const {
    const auto found = assets_.find(id);
    return found == assets_.end() ? XmlElement() : found->second.front();
}

const std::vector<XmlElement>& ResourceIndex::assets(const std::string& id) const {
    static const std::vector<XmlElement> none;
    const auto found = assets_.find(id);
    return found == assets_.end() ? none : found->second;
}

XmlElement ResourceIndex::media(const std::string& id) const {
    const auto found = media_.find(id);
    return found == media_.end() ? XmlElement() : found->second;
}

XmlElement ResourceIndex::format(const std::string& id) const {
    const auto found = formats_.find(id);
    return found == formats_.end() ? XmlElement() : found->second;
}

std::optional<std::string> assetMediaSource(XmlElement asset) {
    XmlElement firstWithSource;
    for (XmlElement rep : asset.children()) {
        if (rep.name() != "media-rep") {
            continue;
        }
        if (rep.attribute("kind") == "original-media" && rep.hasAttribute("src")) {
            return rep.attribute("src");
        }
        if (!firstWithSource && rep.hasAttribute("src")) {
            firstWithSource = rep;
        }
    }
    if (firstWithSource) {
        return firstWithSource.attribute("src");
    }
    return asset.attribute("src");
}

void resolveRelativeSources(XmlDocument& document, const std::filesystem::path& projectFolder) {
    if (projectFolder.empty()) {
        return;  // no folder to resolve against (a project read from bytes alone)
    }
    const auto resolve = [&](XmlElement element) {
        const std::optional<std::string> src = element.attribute("src");
        if (src && MediaPath::isRelative(*src)) {
            element.setAttribute(
                "src", MediaPath::url((std::filesystem::absolute(projectFolder) / MediaPath::path(*src))
                                          .lexically_normal()
                                          .string()));
        }
    };
    const ResourceIndex index(document);
    if (!index.resources()) {
        return;
    }
    for (XmlElement asset : index.resources().children()) {
        if (asset.name() != "asset") {
            continue;
        }
        resolve(asset);
        for (XmlElement rep : asset.children()) {
            if (rep.name() == "media-rep") {
                resolve(rep);
            }
        }
    }
}

}  // namespace tidyreel
