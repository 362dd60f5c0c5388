#include "idxdata/browser/data_file_browser.h"

#include <utility>

#include "frame/errors.h"
#include "idxdata/browser/extension_filter.h"
#include "idxdata/streams/file_reader.h"
#include "idxdata/tables/seq_table_reader.h"

namespace idxdata {

namespace {

// For each folder of the volume its number in the listing, or kNoFolder.
using FolderMap = std::vector<CListedFolders::Id>;

// Adds the folders below `root`, depth first, children in tree order.
void AddSubtree(const CFolderTree& tree, CFolderTree::Node root, CListedFolders& folders,
                FolderMap& map) {
    std::vector<CFolderTree::Node> pending = {root};
    while (!pending.empty()) {
        const CFolderTree::Node parent = pending.back();
        pending.pop_back();
        const auto children = tree.ChildrenOf(parent);
        for (const CFolderTree::Node child : children) {
            map[child] = folders.Add(map[parent], tree.NameOf(child));
        }
        pending.insert(pending.end(), children.rbegin(), children.rend());
    }
}

CListedFolders::Id FolderOf(const FolderMap& map, std::int64_t dirIndex) {
    const auto index = static_cast<std::uint64_t>(dirIndex);
    return index < map.size() ? map[index] : CListedFolders::kNoFolder;
}

}  // namespace

CDataFileBrowser::CDataFileBrowser(std::u16string_view volumeFilePath) : m_path(volumeFilePath) {
    const auto reader = std::make_shared<CFileReader>();
    reader->Open(volumeFilePath);
    CSeqTableReader folders(reader, EIdxTableDirs, rec::CDirRecord());
    m_tree = std::make_shared<const CFolderTree>(folders);
    reader->SetCurFilePos(0);
    CSeqTableReader owners(reader, EIdxTableOwners, rec::COwnerRecord());
    m_owners = std::make_shared<const COwnerTable>(owners);
}

CDataFileBrowser::Tree CDataFileBrowser::OpenTree() const {
    if (!m_tree) {
        throw frame::CExc(u"The data file browser is closed.", frame::kFail);
    }
    if (!m_tree->HasRoot()) {
        throw frame::CExc(u"The index data file holds no root folder. File path: [%1].", {m_path},
                          frame::kFail);
    }
    return m_tree;
}

std::vector<std::u16string> CDataFileBrowser::GetFolders(std::u16string_view rootPath) const {
    const Tree tree = OpenTree();
    std::vector<std::u16string> names;
    if (const auto node = tree->Resolve(rootPath)) {
        for (const CFolderTree::Node child : tree->ChildrenOf(*node)) {
            names.emplace_back(tree->NameOf(child));
        }
    }
    return names;
}

std::shared_ptr<CFileEntries> CDataFileBrowser::NewFileList() const {
    return std::make_shared<CFileEntries>(m_owners);
}

void CDataFileBrowser::ListFiles(std::u16string_view rootPath, bool recursive,
                                 std::optional<std::u16string_view> permittedExtensions,
                                 CFileEntries& files) const {
    const Tree tree = OpenTree();
    const auto root = tree->Resolve(rootPath);
    if (!root) {
        return;
    }
    FolderMap map(tree->NodeCount(), CListedFolders::kNoFolder);
    map[*root] = CListedFolders::kListedFolder;
    if (recursive) {
        AddSubtree(*tree, *root, files.Folders(), map);
    }
    const CExtensionFilter filter(permittedExtensions.has_value(),
                                  permittedExtensions.value_or(u""));
    CSeqTableReader table(m_path, EIdxTableFiles, rec::CFileRecord());
    if (*root == CFolderTree::kRoot && recursive && !filter.IsEnabled()) {
        files.Reserve(static_cast<std::size_t>(table.RecordCount()));
    }
    CFileRecordCursor cursor(table);
    FileRecordView file{};
    while (cursor.Next(file)) {
        const CListedFolders::Id folder = FolderOf(map, file.dirIndex);
        if (folder != CListedFolders::kNoFolder &&
            filter.IsPermitted(file.nameBytes, file.nameLength)) {
            files.AddFile(folder, file);
        }
    }
    files.SortByName();
}

}  // namespace idxdata
