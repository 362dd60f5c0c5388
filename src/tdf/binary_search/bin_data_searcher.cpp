#include "tdf/binary_search/bin_data_searcher.h"

#include "frame/conversions.h"
#include "frame/errors.h"
#include "frame/file_system.h"
#include "tdf/binary_search/name_prefilter.h"
#include "tdf/binary_search/root_folder_set.h"
#include "tdf/binary_search/tick_limits.h"
#include "text/ascii_case.h"

namespace tdf {

namespace {

// The criteria, compiled once for the search of all volumes.
struct PreparedSearch {
    explicit PreparedSearch(const SearchCriteria& criteria)
        : rootPath(criteria.rootPath),
          pattern(criteria.namePattern, criteria.starRule),
          sizeLimits(criteria.sizeLimits),
          // Folded, while names are not: an extension with capital letters is not permitted.
          extensions(!criteria.permittedExtensions.empty(),
                     text::ToLowerAscii(criteria.permittedExtensions)) {
        if (!criteria.owner.empty()) {
            owner.emplace(criteria.owner);
        }
        if (criteria.timeLimits) {
            tickLimits.emplace(*criteria.timeLimits);
        }
    }

    std::u16string_view rootPath;
    CWildcardPattern pattern;
    std::optional<COwnerFilter> owner;
    std::optional<CTickLimits> tickLimits;
    std::optional<SizeLimits> sizeLimits;
    idxdata::CExtensionFilter extensions;
};

}  // namespace

// The search of one volume.
class CBinDataSearcher::CVolumeSearch {
public:
    CVolumeSearch(const PreparedSearch& search, const Volume& volume, std::uint32_t volumeNumber,
                  std::vector<Result>& results)
        : m_search(search),
          m_key(volume.key),
          m_volume(*volume.catalogue),
          m_number(volumeNumber),
          m_results(results) {}

    void Run() {
        if (FindOwner() && FindRootFolders()) {
            if (const CPackedNames* names = m_volume.Names()) {
                RunOver(*names);
            } else {
                RunOverTable();
            }
        }
    }

private:
    // Both read their table even if no criterion needs it, so that damage is reported. They
    // return false when no file of the volume can match.
    bool FindOwner() {
        const COwnerList& owners = m_volume.Owners();
        if (m_search.owner) {
            m_owner = owners.Find(*m_search.owner);
        }
        return m_owner.has_value() || !m_search.owner;
    }
    bool FindRootFolders() {
        m_folders = &m_volume.Folders();
        if (!m_search.rootPath.empty()) {
            m_root.emplace(m_folders->Folders(), m_search.rootPath);
        }
        return !m_root || !m_root->IsEmpty();
    }

    void RunOver(const CPackedNames& names) {
        const CNamePrefilter prefilter(m_search.pattern, names);
        const bool readAll = prefilter.IsDense() && (m_owner || m_root);
        if (!prefilter.IsUsable() || readAll) {
            for (std::size_t i = 0; i < names.Count(); ++i) {
                Test(names.RecordAt(i), i, false);
            }
            return;
        }
        const bool nameIsEnough = prefilter.IsExact() && !HasOtherCriteria() &&
                                  names.FolderIndexesAreBelow(m_folders->Folders().Count()) &&
                                  m_folders->AllLeadToRoot();
        for (std::size_t i = names.Next(0, prefilter); i < names.Count();
             i = names.Next(i + 1, prefilter)) {
            if (nameIsEnough) {
                Add(names.AddressOf(i));
            } else {
                Test(names.RecordAt(i), i, prefilter.IsExact());
            }
        }
    }
    bool HasOtherCriteria() const noexcept {
        return m_owner || m_root || m_search.extensions.IsEnabled() || m_search.tickLimits ||
               m_search.sizeLimits;
    }
    void RunOverTable() {
        idxdata::CSeqTableReader table = m_volume.OpenFiles();
        idxdata::CFileRecordCursor cursor(table);
        idxdata::FileRecordView file{};
        for (std::uint64_t i = 0; cursor.Next(file); ++i) {
            Test(file, i, false);
        }
    }

    void Test(const idxdata::FileRecordView& file, std::uint64_t number, bool nameMatches) {
        if (!Accepts(file, nameMatches)) {
            return;
        }
        if (!m_folders->LeadsToRoot(file.dirIndex)) {
            ThrowBadFolder(file.dirIndex, number);
        }
        Add(file.nameBytes - sizeof file.nameLength);
    }
    void Add(const std::byte* record) { m_results.push_back({record, m_number}); }
    // The time is tested after the names because it can throw: it does so only for a file
    // that meets the criteria before it.
    bool Accepts(const idxdata::FileRecordView& file, bool nameMatches) const {
        return (!m_owner || file.ownerIndex == *m_owner) &&
               (!m_root || m_root->Contains(file.dirIndex)) &&
               (nameMatches || m_search.pattern.Match(file.nameBytes, file.nameLength)) &&
               m_search.extensions.IsPermitted(file.nameBytes, file.nameLength) &&
               !(m_search.tickLimits && m_search.tickLimits->Rejects(file.modifyTime)) &&
               !(m_search.sizeLimits && m_search.sizeLimits->Rejects(file.size));
    }
    [[noreturn]] void ThrowBadFolder(std::int64_t folder, std::uint64_t number) {
        const bool exists = m_folders->Folders().Contains(folder);
        throw frame::CExc(
            exists ? u"The file record %1 of the volume %2 lies in the folder %3, whose parents do "
                     u"not lead to the root folder."
                   : u"The file record %1 of the volume %2 lies in the folder %3, which the volume "
                     u"does not have.",
            {frame::UInt64ToString(number), m_key, frame::Int64ToString(folder)},
            frame::kInvalidArg);
    }

    const PreparedSearch& m_search;
    const std::u16string& m_key;
    CVolumeCatalogue& m_volume;
    std::uint32_t m_number;
    std::vector<Result>& m_results;
    std::optional<std::uint32_t> m_owner;
    const CFolderPaths* m_folders = nullptr;
    std::optional<CRootFolderSet> m_root;
};

void CBinDataSearcher::Search() {
    const PreparedSearch search(m_criteria);
    for (std::size_t i = 0; i < m_volumes.size(); ++i) {
        CVolumeSearch(search, m_volumes[i], static_cast<std::uint32_t>(i), m_results).Run();
    }
}

void CBinDataSearcher::GetResultRecord(std::int32_t index, ResultRecord& record) {
    if (index < 0 || static_cast<std::size_t>(index) >= m_results.size()) {
        throw frame::CExc(u"Index is out of bounds in CBinDataSearcher::GetResultRecord",
                          frame::kInvalidArg);
    }
    const Result& result = m_results[static_cast<std::size_t>(index)];
    const Volume& listed = m_volumes[result.volume];
    CVolumeCatalogue& volume = *listed.catalogue;
    const idxdata::FileRecordView file = idxdata::ViewFileRecord(result.record);
    record.fileName = listed.pathPrefix;
    record.fileName += volume.Folders().PathOf(file.dirIndex);
    file.AppendNameTo(record.fileName);
    if (file.nameLength > 0) {
        // A joined path has no separator at its end.
        record.fileName.resize(frame::StripTrailingSeparator(record.fileName).size());
    }
    record.modifyTime = DateOfTicks(file.modifyTime);
    record.size = file.size;
    record.owner = volume.Owners().LabelOf(file.ownerIndex);
}

}  // namespace tdf
