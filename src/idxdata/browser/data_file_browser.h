// Walks the index data file of one volume like a file system.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "idxdata/browser/file_entries.h"
#include "idxdata/browser/folder_tree.h"

namespace idxdata {

// Reads the folders and the owners once and the file table again for each listing. The file
// can be replaced between listings; the folders and owners do not change then. One thread
// at a time. After Close, and for a volume without folder records, listings throw CExc
// (E_FAIL). A path that does not exist gives an empty listing.
class CDataFileBrowser {
public:
    explicit CDataFileBrowser(std::u16string_view volumeFilePath);
    CDataFileBrowser(const CDataFileBrowser&) = delete;
    CDataFileBrowser& operator=(const CDataFileBrowser&) = delete;

    // Names as stored, ordered by their lowered form.
    std::vector<std::u16string> GetFolders(std::u16string_view rootPath) const;
    // An empty list for ListFiles. It can outlive the browser.
    std::shared_ptr<CFileEntries> NewFileList() const;
    // Adds the files of a folder, or of its whole subtree, whose names have a permitted
    // ending (nullopt: any), and sorts the list. After a failure the list holds the files
    // that were read before it.
    void ListFiles(std::u16string_view rootPath, bool recursive,
                   std::optional<std::u16string_view> permittedExtensions,
                   CFileEntries& files) const;
    void Close() noexcept { m_tree.reset(); }

private:
    using Tree = std::shared_ptr<const CFolderTree>;

    Tree OpenTree() const;

    std::u16string m_path;
    Tree m_tree;
    std::shared_ptr<const COwnerTable> m_owners;
};

}  // namespace idxdata
