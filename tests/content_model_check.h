#pragma once

#include "fcpxml/xml.h"

#include <string>
#include <vector>

namespace tidyreel::test {

/// Checks the elements Tidyreel adds to or changes in a project (clips that take video filters,
/// multicam sources, the filters and effect resources themselves) against the content models of
/// Final Cut Pro's document type, as published for FCPXML 1.8 to 1.14: which children such an element
/// may hold, in which order and how often, and the attributes the added elements need. Returns one
/// readable line per problem; an empty list means the document keeps to those rules.
std::vector<std::string> contentModelViolations(const XmlDocument& document);

}  // namespace tidyreel::test
