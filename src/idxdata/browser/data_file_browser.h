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

// Reads the folder tree and the owners once and the file table anew for each listing, so
// the file may be replaced between listings; the tree does not follow. One thread at a
// time. After Close, and for a volume without any folder record, listings throw CExc
// (E_FAIL). A path that does not exist lists nothing.
class CDataFileBrowser {
public:
    explicit CDataFileBrowser(std::u16string_view volumeFilePath);

    // Names as stored, ordered by their lowered form.
    std::vector<std::u16string> GetFolders(std::u16string_view rootPath) const;
    // An empty list to be filled by ListFiles; it outlives the browser.
    std::shared_ptr<CFileEntries> NewFileList() const;
    // Adds the files of a folder, or of its whole subtree, whose names have a permitted
    // ending (nullopt: any), and sorts the list. A failure leaves what was read so far.
    void ListFiles(std::u16string_view rootPath, bool recursive,
                   std::optional<std::u16string_view> permittedExtensions,
                   CFileEntries& files) const;
    void Close() noexcept { m_tree.reset(); }

private:
    using Tree = std::shared_ptr<const CFolderTree>;

    Tree OpenTree() const;

    std::u16string m_path;
    Tree m_tree;
    std::shared_ptr<const OwnerNames> m_owners;
};

}  // namespace idxdata
