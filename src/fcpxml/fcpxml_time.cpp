#include "fcpxml/fcpxml_time.h"

namespace tidyreel::FCPXMLTime {

Rational time(XmlElement element, const char* attribute) {
    const std::optional<std::string> text = element.attribute(attribute);
    if (!text) {
        return Rational(0);
    }
    return Rational::fromFCPXML(*text).value_or(Rational(0));
}

}  // namespace tidyreel::FCPXMLTime
