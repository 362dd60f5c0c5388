// The folders of one volume for the generation of text data files.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "text/line_store.h"
#include "text/unicode_text.h"

namespace tdf {

// The folder table by record position. Index 0 is the volume root and has no part in any
// path; a path keeps the 64 folders nearest the file.
class CTdfFolders {
public:
    static constexpr std::size_t kMaxFolders = 64;

    void Add(std::u16string_view name, std::int64_t parent);
    std::size_t Count() const noexcept { return m_names.size(); }
    std::u16string_view NameOf(std::size_t folder) const noexcept { return m_names[folder]; }

    // The folders from one up to the root, innermost first.
    struct Chain {
        std::array<std::uint32_t, kMaxFolders> folders;
        std::size_t count = 0;
        std::optional<std::int64_t> missing;  // the index that the table does not have
    };
    Chain ChainOf(std::int64_t folder) const noexcept;

private:
    text::CLineStore m_names;
    std::vector<std::int64_t> m_parents;
};

// What stands for a folder in the lines of its files: its path, or the groups of its
// fingerprint. Texts are kept, up to a limit in memory, and made once while they are.
// Throws CExc for an index that the table does not have, met on the way (E_INVALIDARG), and
// for names that together are longer than any path (E_FAIL).
class CFolderTexts {
public:
    // `groupLimit`: of fingerprints; none for paths. `folders` must outlive the texts.
    CFolderTexts(const CTdfFolders& folders, std::u16string_view volumeName,
                 std::optional<std::int32_t> groupLimit);

    struct Text {
        std::u16string_view text;  // "C:\Users\john\" or "ac906abf43d5"
        text::TextStatistics survey;
    };
    // Valid until the next call. `record` is the file record's position, for messages.
    Text TextOf(std::int64_t folder, std::int64_t record);

private:
    struct Slot {
        std::uint32_t begin = 0;  // in m_kept
        std::uint32_t length = 0;
        std::uint32_t round = 0;     // 0: never kept
        std::uint32_t eightBit = 0;  // of the survey
    };

    Text Keep(Slot& slot);
    void Compose(std::int64_t folder, std::int64_t record);
    void ComposePath(const CTdfFolders::Chain& chain, std::int64_t folder, std::int64_t record);
    void ComposeGroups(const CTdfFolders::Chain& chain);

    const CTdfFolders& m_folders;
    std::u16string m_volumeName;
    std::optional<std::int32_t> m_groupLimit;
    std::vector<Slot> m_slots;  // by folder
    std::u16string m_kept;
    std::uint32_t m_round = 1;  // m_kept was emptied this often, and once more
    std::u16string m_text;      // the text last made
};

}  // namespace tdf
