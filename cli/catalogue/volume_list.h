// The list of the volumes of a catalogue: the meta-file summary.txt, with an attribute
// Volume.C = C.dat for each volume (doc/meta-file.md).
#pragma once

#include <string>
#include <vector>

namespace zorel::cli {

class CCatalogueLock;

inline constexpr const char* kVolumeListName = "summary.txt";

// The names of the data files that the list of the catalogue contains; none when there is no
// list. Waits while a scan changes the list. Throws client::CError and std::system_error.
std::vector<std::string> ListedDataFiles(const std::string& catalogue);

// Sets the data file of the volume `letter` (A-Z) and keeps the other lines. The caller holds the
// lock of the catalogue. Throws client::CError.
void ListVolume(const std::string& catalogue, char letter, const std::string& dataFile,
                const CCatalogueLock& lock);

}  // namespace zorel::cli
