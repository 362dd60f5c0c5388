// A data file opened for browsing.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ZorelClient.h"

namespace zorel::cli {

// The folder names of a path, without its volume and without empty names.
std::vector<std::u16string> SplitPath(std::u16string_view path);
// The letter of the volume that a path begins with; empty when it has none.
std::string VolumeIn(const std::string& path);
// The path for the library, which ignores the first name: it is the volume.
std::u16string JoinPath(const std::vector<std::u16string>& names);

// The folders and files of one volume. Failures are client::CError with the path of the data file.
// For one thread at a time.
class CVolumeBrowser {
public:
    explicit CVolumeBrowser(const std::string& dataFile);

    std::vector<std::u16string> Folders(const std::u16string& path) const;
    // Every folder below `path`, each before its own subfolders, with names relative to it.
    std::vector<std::u16string> AllFolders(const std::u16string& path) const;
    // The folder names of a path as the volume has them; none for a path that does not exist.
    std::optional<std::vector<std::u16string>> Resolve(
        const std::vector<std::u16string>& names) const;
    // Without `endings`: all files.
    client::CComPtr<IOibFilesArray> Files(const std::u16string& path, bool isRecursive,
                                          const std::optional<std::string>& endings) const;

private:
    std::string m_path;
    client::CComPtr<IOibDFBrowser> m_browser;
};

}  // namespace zorel::cli
