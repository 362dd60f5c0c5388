// How the lines of text data files show folders.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "idxdata/tables/folder_table.h"

namespace tdf {

// The text of a folder in the lines of its files: its path, or the groups of its
// fingerprint. A text contains the 64 folders nearest the file and no root folder. Texts
// are cached up to a limit. Throws CExc for an index that the folder table does not contain
// (E_INVALIDARG) and for a path that is longer than any system allows (E_FAIL). One thread
// at a time.
class CFolderTexts {
public:
    static constexpr std::size_t kMaxFolders = 64;  // in one text

    // `groupLimit`: of fingerprints; none for paths. `folders` must outlive the texts.
    CFolderTexts(const idxdata::CFolderTable& folders, std::u16string_view volumeName,
                 std::optional<std::int32_t> groupLimit);

    struct Text {
        std::u16string_view text;  // "C:\Users\john\" or "ac906abf43d5"
        bool isUnicode;            // as text::IsUnicodeText
    };
    // Valid until the next call. `dirIndex` is as the file record stores it; fingerprints use
    // its low 32 bits. `record` is the file record's position, for messages.
    Text TextOf(std::int64_t dirIndex, std::int64_t record);

private:
    struct Slot {
        std::uint32_t begin = 0;  // in m_cache
        std::uint32_t length = 0;
        std::uint32_t round = 0;  // 0: not cached yet
        bool isUnicode = false;
    };

    Text Cache(Slot& slot);
    void Compose(std::int64_t folder, std::int64_t record);
    std::span<const std::size_t> ChainOf(std::int64_t folder, std::int64_t record);
    [[noreturn]] void ThrowOutside(std::int64_t index, std::int64_t record) const;
    void ComposePath(std::span<const std::size_t> chain, std::int64_t folder, std::int64_t record);
    void ComposeGroups(std::span<const std::size_t> chain);

    const idxdata::CFolderTable& m_folders;
    std::u16string m_volumeName;
    std::optional<std::int32_t> m_groupLimit;
    std::array<std::size_t, kMaxFolders> m_chain;  // the folders of the text last composed
    std::vector<Slot> m_slots;                     // by folder
    std::u16string m_cache;
    std::uint32_t m_round = 1;  // incremented when m_cache is emptied
    std::u16string m_text;      // the text last composed
};

}  // namespace tdf
