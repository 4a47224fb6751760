#pragma once

#include "fcpxml/xml.h"

#include <vector>

namespace tidyreel {

/// The elements that hold an asset's media references: every `media-rep` with a `src`, else (FCPXML before
/// 1.9) the asset itself when it has a `src`.
std::vector<XmlElement> mediaSourceElements(XmlElement asset);

}  // namespace tidyreel
