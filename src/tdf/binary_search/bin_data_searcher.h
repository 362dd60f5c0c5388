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

// What to search for. Texts in any case; an empty one asks for nothing.
struct SearchCriteria {
    std::u16string rootPath;
    std::u16string namePattern;
    std::u16string owner;
    EStarRule starRule = EStarRule::Standard;
    std::u16string permittedExtensions;
    std::optional<TimeLimits> timeLimits;
    std::optional<SizeLimits> sizeLimits;
};

// Holds all volumes in memory for its life, the criteria, and the results of all searches
// so far. One thread at a time.
class CBinDataSearcher {
public:
    explicit CBinDataSearcher(VolumeList volumes) : m_volumes(std::move(volumes)) {}

    // Criteria stay for later searches until they are set anew.
    SearchCriteria& Criteria() noexcept { return m_criteria; }

    // Appends the files that meet the criteria, in the order of volumes and file tables.
    // Throws CExc for a table that cannot be read, a time that is none (E_FAIL), and a
    // folder that is none (E_INVALIDARG); the results before it stay.
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
    // Reuses the memory of `record`. Throws CExc: E_INVALIDARG for an index that names no
    // result, E_FAIL for a time that is none.
    void GetResultRecord(std::int32_t index, ResultRecord& record);

private:
    class CVolumeSearch;

    // The file's record where it lies in its volume.
    struct Result {
        const std::byte* record;
        std::uint32_t volume;
    };

    VolumeList m_volumes;
    SearchCriteria m_criteria;
    std::vector<Result> m_results;
};

}  // namespace tdf
