// Searches the index data files of a restore point.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "idxdata/browser/extension_filter.h"
#include "tdf/binary_search/volume_catalogue.h"
#include "tdf/matching/search_limits.h"
#include "tdf/matching/wildcard.h"

namespace tdf {

// The criteria of a search. Texts may be in any case; an empty text is no criterion.
struct SearchCriteria {
    std::u16string rootPath;
    std::u16string namePattern;
    std::u16string owner;
    EStarRule starRule = EStarRule::Standard;
    std::u16string permittedExtensions;
    std::optional<TimeLimits> timeLimits;
    std::optional<SizeLimits> sizeLimits;
};

// Holds all volumes in memory, the criteria, and the results of all searches so far. For one
// thread at a time.
class CBinDataSearcher {
public:
    explicit CBinDataSearcher(VolumeList volumes) : m_volumes(std::move(volumes)) {}

    // Criteria keep their values for later searches.
    SearchCriteria& Criteria() noexcept { return m_criteria; }

    // Appends the files that meet the criteria, in the order of the volumes and of their
    // file tables. Throws CExc for a table that cannot be read, for a time out of range
    // (E_FAIL) and for an invalid folder index (E_INVALIDARG); the results found before the
    // failure are kept.
    void Search();

    std::int32_t GetResultsCount() const noexcept {
        return static_cast<std::int32_t>(m_results.size());
    }

    struct ResultRecord {
        std::u16string fileName;  // the full path
        double modifyTime = 0;    // DATE
        std::int64_t size = 0;    // bytes
        std::u16string_view owner;
    };
    // Reuses the memory of `record`. Throws CExc: E_INVALIDARG for an index out of range,
    // E_FAIL for a time out of range.
    void GetResultRecord(std::int32_t index, ResultRecord& record);

private:
    class CVolumeSearch;

    // The address of the file's record in the loaded volume.
    struct Result {
        const std::byte* record;
        std::uint32_t volume;
    };

    VolumeList m_volumes;
    SearchCriteria m_criteria;
    std::vector<Result> m_results;
};

}  // namespace tdf
