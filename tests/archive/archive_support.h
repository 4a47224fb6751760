#pragma once

#include "fcpxml/xml.h"
#include "test_support.h"

#include <memory>
#include <string>
#include <vector>

namespace tidyreel::test {

/// An FCPXML document made of `resources` and a project spine holding `spine` (both element text).
std::shared_ptr<XmlDocument> projectWith(const std::string& resources, const std::string& spine);

/// An `asset` element text with one original-media `media-rep`.
std::string assetElement(const std::string& id, const std::string& file, const std::string& duration,
                         const std::string& extraAttributes = "hasVideo=\"1\" hasAudio=\"1\" format=\"f1\"");

/// The words of a text split at single spaces, for writing argument lists compactly.
std::vector<std::string> words(const std::string& text);

}  // namespace tidyreel::test
