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

// One byte for each code unit of each name, in table order, with a separator before each
// name. Positions in the packed names can be converted to record addresses. Built once when
// a volume is loaded, so that a search reads the packed names instead of the records.
class CPackedNames {
public:
    // `table` is at its first record; the content of its reader must outlive this object.
    // Throws what reading the records throws.
    explicit CPackedNames(idxdata::CSeqTableReader& table);

    std::size_t Count() const noexcept { return m_starts.size() - 1; }
    const std::byte* AddressOf(std::size_t record) const noexcept;
    idxdata::FileRecordView RecordAt(std::size_t record) const noexcept {
        return idxdata::ViewFileRecord(AddressOf(record));
    }
    // Whether the folder index of every record is in the range 0 to `folders` - 1.
    bool FolderIndexesAreBelow(std::size_t folders) const noexcept {
        return m_foldersEnd <= folders;
    }

    // The first record from `from` on whose packed name passes the prefilter, which must be
    // usable; Count() if there is none.
    std::size_t Next(std::size_t from, const CNamePrefilter& prefilter) const noexcept;

    // Some consecutive names with their separators, as a sample of all names; none if the first
    // of them is very long.
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
    // Position of each name's separator, then m_size.
    std::vector<std::uint32_t> m_starts;
    std::uint64_t m_foldersEnd = 0;  // greater than every folder index, as unsigned
    std::size_t m_sampleStart = 0;   // records
    std::size_t m_sampleEnd = 0;
};

}  // namespace tdf
