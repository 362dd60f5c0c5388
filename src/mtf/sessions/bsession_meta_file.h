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

// One reference: what the attribute lines of a group say.
struct OibRef {
    std::u16string vmName;
    std::u16string backupTimeUtc;
    GUID uniqueId{};          // all zero when the group has none
    std::uint64_t group = 0;  // a negative number in the file counts as a huge one
};

// The references in the lines of a meta-file; there is no tree, so that lines which a tree
// would refuse do no harm. Owns the meta-file and alone changes its lines; no locks.
class CBSessionMetaFile {
public:
    static std::shared_ptr<CBSessionMetaFile> Open(std::u16string_view path, EMtfOpenMode mode);

    // By descending group number. Throws CExc for a malformed line; no partial result.
    std::vector<OibRef> EnumOibRefs() const;
    // Deletes the lines of the first group with this identifier; nothing happens without
    // one. Throws CExc when a malformed identifier stands before it. The first call reads
    // all lines, later ones cost as much as the lines of their group.
    void DeleteOibRef(const GUID& id);

    void Save() { m_file->Save(); }
    void CloseFile() noexcept { m_file->CloseFile(); }

private:
    using GuidBytes = std::array<std::byte, sizeof(GUID)>;

    // A line of a group, by the subtree's name.
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
    // What DeleteOibRef looks up: lines that are still there. The names are views into the
    // loaded text, which lasts as long as the lines.
    bool m_indexed = false;
    std::vector<GroupLine> m_groupLines;  // by subtree, then by line
    std::set<std::pair<GuidBytes, std::uint64_t>> m_idLines;
    std::set<std::uint64_t> m_malformedIdLines;
};

}  // namespace mtf
