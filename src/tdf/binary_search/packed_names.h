// The names of a Files table, packed for fast searches.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "idxdata/tables/file_record_cursor.h"
#include "platform/memory.h"

namespace tdf {

class CNamePrefilter;

// One byte for each code unit of each name, in table order, each name behind a separator;
// and from there the way back to the records, which stay where they lie. Made once when
// a volume is loaded; a search then passes over the names only.
class CPackedNames {
public:
    // `table` stands at its first record; its reader's content must outlive the index.
    // Throws what reading the records throws.
    explicit CPackedNames(idxdata::CSeqTableReader& table);

    std::size_t Count() const noexcept { return m_starts.size() - 1; }
    const std::byte* AddressOf(std::size_t record) const noexcept;
    idxdata::FileRecordView RecordAt(std::size_t record) const noexcept {
        return idxdata::ViewFileRecord(AddressOf(record));
    }
    // Whether every record's folder index lies within 0 to `folders` - 1.
    bool StaysBelow(std::size_t folders) const noexcept { return m_foldersEnd <= folders; }

    // The first record from `from` on whose packed name fits the probe; Count() when there
    // is none. Needs a usable probe.
    std::size_t Next(std::size_t from, const CNamePrefilter& probe) const noexcept;

    // Some names in a row, from a name's separator on, and how many they are: what can be
    // expected of all.
    std::span<const std::byte> Sample() const noexcept;
    std::size_t SampleCount() const noexcept { return m_sampleEnd - m_sampleStart; }

private:
    void Append(const idxdata::FileRecordView& file) noexcept;
    void ChooseSample() noexcept;
    std::span<const std::byte> PackedName(std::size_t record) const noexcept;
    std::size_t RecordOf(std::size_t position, std::size_t from) const noexcept;

    const std::byte* m_firstRecord = nullptr;
    platform::CBlockPtr m_packed;
    std::size_t m_size = 0;  // bytes of m_packed in use
    // Position of each name's separator, and behind the last one the size.
    std::vector<std::uint32_t> m_starts;
    std::uint64_t m_foldersEnd = 0;  // above every folder index, read as unsigned
    std::size_t m_sampleStart = 0;   // records
    std::size_t m_sampleEnd = 0;
};

}  // namespace tdf
