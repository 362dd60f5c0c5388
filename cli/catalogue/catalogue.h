// Catalogues as a command line names them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zorel::cli {

// Whether the file can be read and begins like an index data file.
bool IsDataFile(const std::string& path);

// A catalogue, named by its folder, its list of volumes or one of its data files.
class CCatalogue {
public:
    struct Volume {
        std::string name;      // "C"
        std::string dataFile;  // its path
    };

    // Reads the list of volumes; opens no data file. Throws CCommandError when the path does
    // not exist or is none of the three, and for a list without volumes.
    explicit CCatalogue(std::string path);

    // The path as given.
    const std::string& Path() const { return m_path; }
    // The folder of the list or of the data file.
    const std::string& Folder() const { return m_folder; }
    // The path of the list of volumes; empty for a data file.
    const std::string& VolumeList() const { return m_list; }
    // In the order of the list, at least one.
    const std::vector<Volume>& Volumes() const { return m_volumes; }
    // The volume with this name, without regard to case. Throws CCommandError, which names the
    // volumes of the catalogue.
    const Volume& FindVolume(std::string_view name) const;

private:
    void ReadList();
    void NameDataFile();

    std::string m_path;
    std::string m_folder;
    std::string m_list;
    std::vector<Volume> m_volumes;
};

}  // namespace zorel::cli
