// Backup-session meta-files: references to restore points.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "automation/guid.h"
#include "mtf/store/meta_file.h"

namespace mtf {

// One reference, from the attribute lines of one group.
struct OibRef {
    std::u16string vmName;
    std::u16string backupTimeUtc;
    GUID uniqueId{};          // all zero when the group has none
    std::uint64_t group = 0;  // negative numbers are converted to unsigned
};

// The references in the lines of a meta-file. Builds no attribute tree, so lines that a tree
// refuses are accepted. No other object changes the lines; no locks.
class CBSessionMetaFile {
public:
    static std::shared_ptr<CBSessionMetaFile> Open(std::u16string_view path, EMtfOpenMode mode);

    // By descending group number. Throws CExc for a malformed line; no partial result.
    std::vector<OibRef> EnumOibRefs() const;
    // Deletes the lines of the first group with this identifier; does nothing when there is
    // none. Throws CExc when a malformed identifier precedes it. The first call reads all
    // lines, later calls only the lines of their group.
    void DeleteOibRef(const GUID& id);

    void Save() { m_file->Save(); }
    void CloseFile() noexcept { m_file->CloseFile(); }

private:
    using GuidBytes = std::array<std::byte, sizeof(GUID)>;

    // A line with the name of its group's subtree.
    struct GroupLine {
        std::u16string_view subtree;
        std::uint64_t line;

        // Without regard to case.
        static bool Before(const GroupLine& a, const GroupLine& b) noexcept;
    };

    explicit CBSessionMetaFile(std::shared_ptr<CMtfMetaFile> file) : m_file(std::move(file)) {}

    const CMtfLines& Lines() const noexcept { return *m_file->GetLines(); }
    CMtfAttrLine AttrAt(std::uint64_t line) const noexcept;
    void BuildIndex();
    void AddIdLine(const CMtfAttrLine& attr);
    // kNoLine when no line has the identifier.
    std::uint64_t FindLineOf(const GUID& id) const;
    void DeleteGroup(std::u16string_view subtree);

    std::shared_ptr<CMtfMetaFile> m_file;
    // Index for DeleteOibRef. The names are views of the loaded text, which is kept as long
    // as the lines.
    bool m_indexed = false;
    std::vector<GroupLine> m_groupLines;                      // by subtree, then by line
    std::set<std::pair<GuidBytes, std::uint64_t>> m_idLines;  // without deleted lines
    std::set<std::uint64_t> m_malformedIdLines;               // without deleted lines
};

}  // namespace mtf
