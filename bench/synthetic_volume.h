// The volume that the benchmarks work on: the same for every run of one size.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace bench {

// Folders nested up to nine levels, names as on file servers, a fixed seed. Of every
// million files about one in five ends with .txt, and 80,000 folders and 200 owners hold
// them.
struct SyntheticVolume {
    std::string folder;  // the catalogue: C.dat and summary.txt
    std::string path;    // of C.dat
    std::uint64_t bytes = 0;
    std::uint64_t files = 0;
    std::uint64_t folders = 0;
    std::uint64_t topFolders = 0;  // directly below the root
    std::uint64_t txtFiles = 0;
    // One folder in the middle of the table, as a path with its volume, and its files.
    std::u16string samplePath;
    std::uint64_t sampleFiles = 0;
};

// Writes the volume as a catalogue into a folder, which is created when missing. Exits the
// program when a write fails.
SyntheticVolume WriteVolume(std::uint64_t files, const std::string& folder);

// The volume of this size, written at the first call below the system's folder for
// temporary files and removed when the program ends.
const SyntheticVolume& VolumeOf(std::uint64_t files);

}  // namespace bench
