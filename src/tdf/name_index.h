// The names of a Files table, packed for fast searches.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "idxdata/file_record_cursor.h"
#include "tdf/wildcard.h"

namespace tdf {

class CNameProbe;

// One byte for each code unit of each name, in table order, each name behind a separator;
// and from there the way back to the records, which stay where they lie. Made once when
// a volume is loaded; a search then passes over the names only.
class CNameIndex {
public:
    // `table` stands at its first record; its reader's content must outlive the index.
    // Throws what reading the records throws.
    explicit CNameIndex(idxdata::CSeqTableReader& table);

    std::size_t Count() const noexcept { return m_starts.size() - 1; }
    idxdata::FileRecordView RecordAt(std::size_t i) const noexcept;

    // The first record from `from` on whose name may fit the probe's pattern; Count()
    // when there is none.
    std::size_t Next(std::size_t from, const CNameProbe& probe) const noexcept;
    // How often a byte occurs among the names, in parts of some large number.
    std::uint32_t FrequencyOf(std::byte packed) const noexcept {
        return m_frequencies[std::to_integer<std::size_t>(packed)];
    }

private:
    void Append(const idxdata::FileRecordView& file) noexcept;
    void CountFrequencies() noexcept;
    std::size_t RecordOf(std::size_t position, std::size_t from) const noexcept;

    const std::byte* m_firstRecord = nullptr;
    std::unique_ptr<std::byte[]> m_packed;
    std::size_t m_size = 0;  // bytes of m_packed in use
    // Position of each name's separator, and behind the last one the size.
    std::vector<std::uint32_t> m_starts;
    std::array<std::uint32_t, 256> m_frequencies{};
};

// What a search looks for among packed names: the token of its pattern that occurs least.
class CNameProbe {
public:
    CNameProbe(CWildcardPattern pattern, const CNameIndex& index);

    // False when the pattern says nothing that the packed names could tell.
    bool IsUsable() const noexcept { return !m_token.empty(); }
    // Whether a name that the probe finds fits the pattern for certain.
    bool IsExact() const noexcept { return m_exact; }
    // The position of the token in packed names; `size` when it is not there.
    std::size_t Find(const std::byte* packed, std::size_t size) const noexcept;

private:
    void Consider(const std::vector<std::byte>& token, const CNameIndex& index);
    bool FitsAt(const std::byte* packed) const noexcept;

    // Packed, with '?' as it stands; a token for a name's start begins with the separator.
    std::vector<std::byte> m_token;
    std::size_t m_first = 0;  // the two rarest bytes of the token, m_first <= m_last
    std::size_t m_last = 0;
    std::uint64_t m_score = ~std::uint64_t{0};  // how often that pair is met
    bool m_exact = false;
};

}  // namespace tdf
