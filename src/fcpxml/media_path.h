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

}  // namespace tidyreel::MediaPath
