#include "cli/catalogue/catalogue.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>
#include <utility>

#include "ZorelText.h"
#include "cli/catalogue/volume_list.h"
#include "cli/command_line/command_error.h"
#include "cli/command_line/paths.h"
#include "cli/meta_files/meta_file.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kVolumePrefix = "volume.";

std::string FolderOf(const std::string& path) {
    const std::string folder = fs::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

std::string Join(const std::string& folder, const std::string& name) {
    return (fs::path(folder) / name).string();
}

bool IsSameName(std::string_view left, std::string_view right) {
    return Folded(ToUtf16(left)) == Folded(ToUtf16(right));
}

// The volumes of a list; none for any other meta-file. The list is in `folder`.
std::vector<CCatalogue::Volume> VolumesIn(const std::string& list, const std::string& folder) {
    std::vector<CCatalogue::Volume> volumes;
    const CMetaFile file(list, EIdxMetaLoad);
    for (const std::u16string& attribute : file.Names()) {
        const std::string name = ToUtf8(attribute);
        client::CString value;
        if (name.size() > kVolumePrefix.size() &&
            name.find('.', kVolumePrefix.size()) == std::string::npos &&
            IsSameName(name.substr(0, kVolumePrefix.size()), kVolumePrefix) &&
            file.Find(attribute, value) && !value.View().empty()) {
            volumes.push_back(
                {name.substr(kVolumePrefix.size()), Join(folder, WithSlashes(value.Utf8()))});
        }
    }
    return volumes;
}

}  // namespace

bool IsDataFile(const std::string& path) {
    char prefix[4] = {};
    std::ifstream file(path, std::ios::binary);
    return file.read(prefix, sizeof prefix) && std::string_view(prefix, 4) == "VIFD";
}

CCatalogue::CCatalogue(std::string path) : m_path(std::move(path)) {
    const std::string place = WithSlashes(m_path);
    std::error_code error;
    const fs::file_status status = fs::status(place, error);
    if (error && status.type() != fs::file_type::not_found) {
        throw std::system_error(error, m_path);
    }
    if (status.type() == fs::file_type::directory) {
        m_folder = place;
        m_list = Join(m_folder, kVolumeListName);
        if (!MetaFileExists(m_list)) {
            throw CCommandError(
                m_path + ": is a folder; name a data file or a catalogue (the folder has no " +
                kVolumeListName + ")");
        }
        ReadList();
        return;
    }
    m_folder = FolderOf(place);
    if (IsDataFile(place)) {
        NameDataFile();
    } else if (MetaFileExists(place)) {
        m_list = place;
        ReadList();
    } else {
        throw CCommandError(m_path + ": no such file");
    }
}

void CCatalogue::ReadList() {
    if (fs::path(m_list).extension() == ".dat") {
        throw CCommandError(m_path + ": not an index data file");
    }
    m_volumes = VolumesIn(m_list, m_folder);
    if (m_volumes.empty()) {
        throw CCommandError(m_path + ": not a catalogue; the list contains no volume");
    }
}

// The name from the list of volumes beside the data file, else from the file's own name.
void CCatalogue::NameDataFile() {
    const std::string place = WithSlashes(m_path);
    const std::string list = Join(m_folder, kVolumeListName);
    std::vector<Volume> listed;
    if (MetaFileExists(list)) {
        try {
            listed = VolumesIn(list, m_folder);
        } catch (const client::CError&) {
            listed.clear();  // a damaged list names nothing
        }
    }
    const auto found = std::find_if(listed.begin(), listed.end(), [&](const Volume& volume) {
        std::error_code ignored;
        return fs::equivalent(volume.dataFile, place, ignored);
    });
    const std::string own = fs::path(place).filename().string();
    const std::string start = own.substr(0, own.find('.', 1));  // the name of a volume has no dot
    m_volumes = {{found != listed.end() ? found->name : start, place}};
}

const CCatalogue::Volume& CCatalogue::FindVolume(std::string_view name) const {
    const auto found = std::find_if(m_volumes.begin(), m_volumes.end(), [&](const Volume& volume) {
        return IsSameName(volume.name, name);
    });
    if (found == m_volumes.end()) {
        std::string names;
        for (const Volume& volume : m_volumes) {
            names += (names.empty() ? "" : ", ") + volume.name;
        }
        throw CCommandError("no volume " + std::string(name) + " in " + m_path + " (" + names +
                            ")");
    }
    return *found;
}

}  // namespace zorel::cli
