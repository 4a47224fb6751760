// Writes a large generated project to a file, for trying the command line on feature-film sizes.
// Usage: generate_project CLIPS ASSETS OUTPUT.fcpxml [MEDIA_FOLDER]
#include "large_project.h"

#include <fstream>
#include <iostream>

int main(int argc, char** argv) {
    if (argc < 4) {
        std::cerr << "usage: generate_project CLIPS ASSETS OUTPUT.fcpxml [MEDIA_FOLDER]\n";
        return 2;
    }
    const std::string media = argc > 4 ? argv[4] : "/Volumes/Media";
    std::ofstream(argv[3], std::ios::binary)
        << tidyreel::bench::largeProject(std::stoi(argv[1]), std::stoi(argv[2]), media);
    return 0;
}
