// What the two searches have to find, worked out slowly and plainly through the plain
// readers, damaged files included.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "automation/automation.h"
#include "automation/bstr.h"
#include "frame/errors.h"

namespace support {

// A SearchSpec in plain types; what is not set is not given.
struct Criteria {
    std::optional<std::u16string> root = {}, pattern = {}, owner = {}, extensions = {};
    std::optional<std::pair<double, double>> time = {};
    std::optional<std::pair<std::int64_t, std::int64_t>> size = {};
    bool serverRule = false;

    // Adds what `later` gives.
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

struct FoundFile {
    std::u16string line;  // of a text search
    std::u16string name;
    std::optional<double> time;  // none: it cannot be converted
    std::int64_t size = 0;
    std::u16string owner;

    bool operator==(const FoundFile&) const = default;
};

struct SearchOutcome {
    std::vector<FoundFile> files;  // those before the failure, if there is one
    frame::HResult hr = 0;
    std::vector<std::u16string> clues;  // texts that the failure's description holds
};

SearchOutcome ModelTextSearch(const std::u16string& path, const Criteria& criteria);

// Volumes as keys and paths of index data files.
using VolumeFiles = std::vector<std::pair<std::u16string, std::u16string>>;
SearchOutcome ModelBinSearch(const VolumeFiles& volumes, const Criteria& criteria);

}  // namespace support
