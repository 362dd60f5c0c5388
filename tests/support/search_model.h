// The expected results of the two searches, computed by slow, simple code that shares nothing
// with the library.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "automation/automation.h"
#include "automation/bstr.h"
#include "support/index_file_builder.h"

namespace support {

// A SearchSpec in plain types. A field without a value is not given.
struct Criteria {
    std::optional<std::u16string> root = {}, pattern = {}, owner = {}, extensions = {};
    std::optional<std::pair<double, double>> time = {};
    std::optional<std::pair<std::int64_t, std::int64_t>> size = {};
    bool serverRule = false;

    // Sets the fields that `later` gives.
    void Merge(const Criteria& later);
};

// The record for a call; it owns its strings.
class CSpec {
public:
    explicit CSpec(const Criteria& criteria);
    SearchSpec* Get() { return &m_spec; }

private:
    BSTR Keep(const std::optional<std::u16string>& text);

    SearchSpec m_spec{};
    std::vector<automation::CBstr> m_strings;
};

// Empty if its time cannot be converted.
struct FoundFile {
    std::u16string name;
    std::optional<double> time;
    std::int64_t size = 0;
    std::u16string owner;
    bool operator==(const FoundFile&) const = default;
};

struct SearchOutcome {
    std::vector<FoundFile> files;       // the files found before a failure
    std::vector<std::u16string> lines;  // of a text search
    HRESULT hr = S_OK;
    std::vector<std::u16string> clues;  // texts that the failure's description contains
};

// The DATE of a file time; none outside the years 100 to 9999.
std::optional<double> DateOfTicks(std::int64_t ticks);
bool PlainWildcardMatch(std::u16string_view name, std::u16string_view pattern, bool serverRule);

// The search of the text data file at `path`, which exists.
SearchOutcome ModelTextSearch(const std::u16string& path, const Criteria& criteria);

// The volumes with their keys.
using Volumes = std::vector<std::pair<std::u16string, Volume>>;
SearchOutcome ModelBinSearch(const Volumes& volumes, const Criteria& criteria);

}  // namespace support
