#include "base/file_names.h"

#include "base/text.h"

namespace tidyreel {

std::string fileNameBase(const std::string& fileName) {
    const std::size_t dot = fileName.rfind('.');
    return dot == std::string::npos || dot == 0 ? fileName : fileName.substr(0, dot);
}

std::string fileNameExtension(const std::string& fileName) {
    const std::size_t dot = fileName.rfind('.');
    return dot == std::string::npos || dot == 0 ? std::string() : fileName.substr(dot + 1);
}

std::string lowercasedExtension(const std::filesystem::path& path) {
    return lowercased(path.extension().string());
}

}  // namespace tidyreel
