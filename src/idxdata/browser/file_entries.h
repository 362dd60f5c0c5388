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

// The folders of a listing and how they nest. The prefix of a folder is its path relative to the
// listed folder, with a backslash at its end; that of the listed folder is empty. Prefixes are
// composed on demand: those of a deep tree can need far more memory than the volume.
class CListedFolders {
public:
    using Id = std::uint32_t;
    static constexpr Id kListedFolder = 0;
    static constexpr Id kNoFolder = 0xFFFFFFFFU;

    CListedFolders() : m_elements(1), m_parents(1, kNoFolder) {}
    Id Add(Id parent, std::u16string_view name);

    std::size_t PrefixLength(Id folder) const noexcept;
    // Replaces `prefix`, reusing its memory.
    void ComposePrefix(Id folder, std::u16string& prefix) const;
    // The folder's own name, followed by a backslash.
    std::u16string_view LastElementOf(Id folder) const noexcept { return m_elements[folder]; }
    Id ParentOf(Id folder) const noexcept { return m_parents[folder]; }
    std::size_t Count() const noexcept { return m_elements.size(); }
    // Code units of all last elements.
    std::size_t ElementUnits() const noexcept { return m_elementUnits; }
    // Whether the name of a folder contains a backslash.
    bool HasSeparatorInName() const noexcept { return m_hasSeparatorInName; }

private:
    std::vector<std::u16string_view> m_elements;  // by folder
    std::vector<Id> m_parents;                    // by folder
    text::CTextArena m_texts;
    std::u16string m_element;  // the one that is being added
    std::size_t m_elementUnits = 0;
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
    // order of equal names is not defined. Throws CExc (E_FAIL) when names contain backslashes
    // and the prefixes are too long for a comparison of whole paths.
    void SortByName();

    std::size_t Count() const noexcept { return m_entries.size(); }
    const CFileEntry& At(std::size_t index) const noexcept { return m_entries[m_order[index]]; }
    std::size_t FolderPrefixLength(CListedFolders::Id folder) const noexcept {
        return m_folders.PrefixLength(folder);
    }
    void ComposeFolderPrefix(CListedFolders::Id folder, std::u16string& prefix) const {
        m_folders.ComposePrefix(folder, prefix);
    }
    static std::u16string_view NameOf(const CFileEntry& entry) noexcept {
        return {entry.name, entry.nameLength};
    }
    // The owner's name; empty for an owner index that is no owner.
    std::u16string_view OwnerOf(const CFileEntry& entry) const noexcept;
    // Sum of all sizes, wrapping at 2^64.
    std::uint64_t TotalSize() const noexcept;

private:
    std::vector<std::u16string> ComposeUsedPrefixes() const;
    void SortByWholePath();

    std::shared_ptr<const COwnerTable> m_owners;
    CListedFolders m_folders;
    std::vector<CFileEntry> m_entries;
    std::vector<PathKey> m_keys;         // of the entries' names; empty after SortByName
    std::vector<std::uint32_t> m_order;  // positions in m_entries, in list order
    text::CTextArena m_names;
    bool m_hasSeparatorInName = false;
};

}  // namespace idxdata
