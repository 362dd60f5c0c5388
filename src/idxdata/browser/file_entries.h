// The files that a listing found.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "idxdata/browser/path_key.h"
#include "idxdata/tables/file_record_cursor.h"
#include "idxdata/tables/owner_table.h"
#include "text/text_arena.h"

namespace idxdata {

// Folder paths relative to the listed folder, each ending with a backslash (the listed
// folder's own is empty), and how they nest.
class CListedFolders {
public:
    using Id = std::uint32_t;
    static constexpr Id kListedFolder = 0;
    static constexpr Id kNoFolder = 0xFFFFFFFFU;

    CListedFolders() : m_prefixes(1), m_parents(1, kNoFolder) {}
    Id Add(Id parent, std::u16string_view name);

    std::u16string_view PrefixOf(Id folder) const noexcept { return m_prefixes[folder]; }
    // The folder's own name, followed by a backslash.
    std::u16string_view LastElementOf(Id folder) const noexcept;
    Id ParentOf(Id folder) const noexcept { return m_parents[folder]; }
    std::size_t Count() const noexcept { return m_prefixes.size(); }
    // Whether the name of a folder contains a backslash.
    bool HasSeparatorInName() const noexcept { return m_hasSeparatorInName; }

private:
    std::vector<std::u16string> m_prefixes;
    std::vector<Id> m_parents;
    bool m_hasSeparatorInName = false;
};

struct CFileEntry {
    const char16_t* name;  // in the arena of the list
    std::uint32_t nameLength;
    CListedFolders::Id folder;
    std::uint32_t owner;      // as the record stores it
    std::int64_t modifyTime;  // ticks
    std::int64_t size;        // bytes
};

// An ordered list of files, addressed from 0. Owns the names of the files and shares the
// owners with the browser.
class CFileEntries {
public:
    explicit CFileEntries(std::shared_ptr<const COwnerTable> owners)
        : m_owners(std::move(owners)) {}

    CListedFolders& Folders() noexcept { return m_folders; }
    // Reserves memory for that many files.
    void Reserve(std::size_t files);
    void AddFile(CListedFolders::Id folder, const FileRecordView& file);
    // Orders by folder prefix and name without regard to the case of ASCII letters; the
    // order of equal names is not defined.
    void SortByName();

    std::size_t Count() const noexcept { return m_entries.size(); }
    const CFileEntry& At(std::size_t index) const noexcept { return m_entries[m_order[index]]; }
    std::u16string_view FolderPrefixOf(const CFileEntry& entry) const noexcept {
        return m_folders.PrefixOf(entry.folder);
    }
    static std::u16string_view NameOf(const CFileEntry& entry) noexcept {
        return {entry.name, entry.nameLength};
    }
    // The owner's name; empty for an owner index that is no owner.
    std::u16string_view OwnerOf(const CFileEntry& entry) const noexcept;
    // Sum of all sizes, wrapping at 2^64.
    std::uint64_t TotalSize() const noexcept;

private:
    int CompareFull(std::uint32_t a, std::uint32_t b) const noexcept;

    std::shared_ptr<const COwnerTable> m_owners;
    CListedFolders m_folders;
    std::vector<CFileEntry> m_entries;
    std::vector<PathKey> m_keys;         // of the entries' names; empty after SortByName
    std::vector<std::uint32_t> m_order;  // positions in m_entries, in list order
    text::CTextArena m_names;
    bool m_hasSeparatorInName = false;
};

}  // namespace idxdata
