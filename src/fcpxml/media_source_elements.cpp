#include "fcpxml/media_source_elements.h"

namespace tidyreel {

std::vector<XmlElement> mediaSourceElements(XmlElement asset) {
    std::vector<XmlElement> elements;
    for (XmlElement rep : asset.children()) {
        if (rep.name() == "media-rep" && rep.hasAttribute("src")) {
            elements.push_back(rep);
        }
    }
    if (elements.empty() && asset.hasAttribute("src")) {
        elements.push_back(asset);
    }
    return elements;
}

}  // namespace tidyreel
