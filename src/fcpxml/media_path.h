#pragma once

#include <string>
#include <string_view>

// Conversion between the "file://" URLs of FCPXML media references and file paths.
namespace tidyreel::MediaPath {

// File path of an FCPXML src URL, percent-decoded; the undecoded text when it holds a malformed % sequence.
std::string path(std::string_view fromURL);

// Percent-encoded "file://" URL of a path; "~" means the home folder, relative paths start at the current
// working folder.
std::string url(std::string_view fromPath);

// A relative URL reference (such as "./Media/Take #1.mov") with every character a URL path may not hold
// raw percent-encoded: "./Media/Take%20%231.mov".
std::string relativeURL(std::string_view relativePath);

// Whether an FCPXML src is relative (no scheme, no leading "/"): it names a file from the project's folder.
bool isRelative(std::string_view src);

}  // namespace tidyreel::MediaPath
