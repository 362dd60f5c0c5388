// The summary of a catalogue: summary.txt, which names the data file of each volume.
#pragma once

#include <string>
#include <vector>

namespace zorel::tools {

inline constexpr const char* kSummaryName = "summary.txt";

// Where the data file of the volume `letter` (A-Z) stands in the catalogue `folder`.
std::string VolumeFilePath(const std::string& folder, char letter);

// The lines of a summary in file order. A safety copy beside it ("summary.txt.old")
// marks an unfinished save and is read in its place. Saving replaces the file whole.
class CCatalogueSummary {
public:
    // Reads the summary of the catalogue `folder`; a missing one has no lines. Throws
    // std::system_error, and std::runtime_error for a file that is no summary.
    explicit CCatalogueSummary(const std::string& folder);

    // Gives the volume `letter` its data file and leaves every other line as it is.
    void SetVolume(char letter, std::u16string_view dataFile);
    void Save() const;
    // The data files named by the lines.
    std::vector<std::u16string> DataFiles() const;

private:
    std::string m_path;
    std::vector<std::u16string> m_lines;
};

}  // namespace zorel::tools
