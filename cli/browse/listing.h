#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/browse/file_owners.h"
#include "cli/browse/volume_browser.h"
#include "cli/catalogue/catalogue.h"
#include "cli/output/output.h"
#include "cli/output/row_writer.h"
#include "cli/volume/volume_tables.h"

namespace zorel::cli {

// The listing of one folder. Call Open, then the other functions. Failures are client::CError.
class CListing {
public:
    CListing(const CCatalogue::Volume& volume, bool isRecursive,
             std::optional<std::string> endings);

    // Returns false for a path that does not exist.
    bool Open(const std::vector<std::u16string>& names);
    // Writes folders and files; columns get the widths that the rows need.
    void Print(COutput& output, RowStyle style) const;

    std::size_t FolderCount() const { return m_folders.size(); }
    ULONG FileCount() const { return m_fileCount; }
    std::int64_t TotalSize() const;
    // The folders at or below the listed one that the listing leaves out, or that no path reaches.
    const std::vector<HiddenFolder>& HiddenFolders() const { return m_hidden; }
    bool HasOmittedFiles() const;

private:
    void ReadFolders();
    void FindHidden();
    void SetWidths(RowStyle& style) const;

    std::string m_dataFile;
    std::u16string m_root;  // u"C:\\"
    bool m_isRecursive;
    std::optional<std::string> m_endings;
    CVolumeBrowser m_browser;
    std::u16string m_base;  // the path of the listed folder, with a backslash at its end
    std::vector<std::u16string> m_folders;
    client::CComPtr<IOibFilesArray> m_files;
    ULONG m_fileCount = 0;
    std::unique_ptr<CFileOwners> m_owners;
    std::vector<HiddenFolder> m_hidden;
};

}  // namespace zorel::cli
