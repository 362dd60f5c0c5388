// The folders of one volume.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "idxdata/tables/seq_table_reader.h"
#include "text/text_arena.h"

namespace idxdata {

// Which parents a folder table accepts.
enum class EParentRule {
    Any,            // any number; CFolderTable::WalkUp handles those that are no folder
    EarlierRecord,  // the folder's parent is an earlier record
};

// The Dirs table by record position. Record 0 is the root; its name and parent have no
// meaning. Any other record can have any name and, under EParentRule::Any, any parent.
class CFolderTable {
public:
    static constexpr std::int64_t kRoot = 0;

    // Reads the table from its first record to its end. Throws what reading the records
    // throws, and CExc (E_INVALIDARG) for the first record that violates the rule.
    explicit CFolderTable(CSeqTableReader& table, EParentRule rule = EParentRule::Any);

    std::size_t Count() const noexcept { return m_folders.size(); }
    // Whether an index, as a record stores it, is that of a folder.
    bool Contains(std::int64_t index) const noexcept {
        return static_cast<std::uint64_t>(index) < m_folders.size();
    }
    std::u16string_view NameOf(std::size_t folder) const noexcept { return m_folders[folder].name; }
    std::int64_t ParentOf(std::size_t folder) const noexcept { return m_folders[folder].parent; }

    // Calls `visit`(std::size_t) for `folder` and each of its ancestors below the root, from
    // the inside out, until it returns false. Returns the index at which the walk stops:
    // kRoot at the root, an index that is no folder, or the folder for which `visit`
    // returned false. A chain of parents can have a loop; `visit` has to end it.
    template <class Visit>
    std::int64_t WalkUp(std::int64_t folder, Visit&& visit) const {
        while (folder != kRoot && Contains(folder) && visit(static_cast<std::size_t>(folder))) {
            folder = ParentOf(static_cast<std::size_t>(folder));
        }
        return folder;
    }

    // The code units that AppendPath appends.
    std::size_t PathLength(std::span<const std::size_t> chain) const noexcept;
    // Appends the names of a chain of folders, each followed by a backslash. The chain is
    // in the order of WalkUp, the text in the opposite order.
    void AppendPath(std::u16string& path, std::span<const std::size_t> chain) const;

private:
    struct Folder {
        std::u16string_view name;
        std::int64_t parent;
    };

    text::CTextArena m_names;
    std::vector<Folder> m_folders;
};

}  // namespace idxdata
