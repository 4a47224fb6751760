#pragma once

#include "fcpxml/xml.h"
#include "time/rational.h"

namespace tidyreel::FCPXMLTime {

/// The time an attribute of `element` holds; a missing or malformed value reads as zero.
Rational time(XmlElement element, const char* attribute);

}  // namespace tidyreel::FCPXMLTime
