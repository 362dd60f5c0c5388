#include "tdf/binary_search/packed_names.h"

#include <algorithm>

#include "tdf/binary_search/name_prefilter.h"
#include "text/packed_text.h"

namespace tdf {

namespace {

constexpr std::size_t kSampleNames = 1024;
constexpr std::size_t kSampleBytes = 64 * 1024;

}  // namespace

// A record has two bytes for each unit of its name and more than two other bytes, so half of
// the remaining bytes are enough. Unused memory is never touched.
CPackedNames::CPackedNames(idxdata::CSeqTableReader& table) {
    idxdata::IReader& reader = table.Reader();
    const auto capacity = static_cast<std::size_t>(reader.Remaining() / 2);
    m_packed = platform::AllocateLargeBlock(capacity);
    m_firstRecord = reader.Window(0).data();
    m_starts.reserve(static_cast<std::size_t>(table.RecordCount()) + 1);
    idxdata::CFileRecordCursor cursor(table);
    idxdata::FileRecordView file{};
    while (cursor.Next(file)) {
        Append(file);
    }
    m_starts.push_back(static_cast<std::uint32_t>(m_size));
    ChooseSample();
}

void CPackedNames::Append(const idxdata::FileRecordView& file) noexcept {
    m_starts.push_back(static_cast<std::uint32_t>(m_size));
    std::byte* const out = m_packed.get() + m_size;
    *out = text::kPackedSeparator;
    text::PackUnits(file.nameBytes, file.nameLength, out + 1);
    m_size += file.nameLength + std::size_t{1};
    // The largest unsigned value cannot be incremented.
    const auto folder = static_cast<std::uint64_t>(file.dirIndex);
    m_foldersEnd = std::max(m_foldersEnd, std::max(folder, folder + 1));
}

// From the middle: the first names of a volume are often not typical.
void CPackedNames::ChooseSample() noexcept {
    m_sampleStart = Count() / 2;
    m_sampleEnd = m_sampleStart;
    while (m_sampleEnd < std::min(m_sampleStart + kSampleNames, Count()) &&
           m_starts[m_sampleEnd + 1] - m_starts[m_sampleStart] <= kSampleBytes) {
        ++m_sampleEnd;
    }
}

std::span<const std::byte> CPackedNames::Sample() const noexcept {
    return {m_packed.get() + m_starts[m_sampleStart],
            m_starts[m_sampleEnd] - m_starts[m_sampleStart]};
}

std::span<const std::byte> CPackedNames::PackedName(std::size_t record) const noexcept {
    return {m_packed.get() + m_starts[record] + 1, m_starts[record + 1] - m_starts[record] - 1};
}

// Each record before this one has kFixedSize bytes and two bytes for each unit of its name.
// m_starts counts these units and one separator for each record.
const std::byte* CPackedNames::AddressOf(std::size_t record) const noexcept {
    const std::size_t units = m_starts[record] - record;
    return m_firstRecord + record * idxdata::FileRecordView::kFixedSize + 2 * units;
}

// Hits are in ascending order and often close together: an exponential search from `from`.
std::size_t CPackedNames::RecordOf(std::size_t position, std::size_t from) const noexcept {
    std::size_t low = from;
    std::size_t step = 1;
    while (low + step < m_starts.size() && m_starts[low + step] <= position) {
        low += step;
        step *= 2;
    }
    const auto first = m_starts.begin() + static_cast<std::ptrdiff_t>(low);
    const auto last =
        m_starts.begin() + static_cast<std::ptrdiff_t>(std::min(low + step, m_starts.size()));
    const auto next = std::upper_bound(first, last, position);
    return static_cast<std::size_t>(next - m_starts.begin()) - 1;
}

std::size_t CPackedNames::Next(std::size_t from, const CNamePrefilter& prefilter) const noexcept {
    while (from < Count()) {
        const std::size_t start = m_starts[from];
        const std::size_t found =
            start + prefilter.Finder().Find({m_packed.get() + start, m_size - start});
        if (found == m_size) {
            break;
        }
        from = RecordOf(found, from);
        if (prefilter.Fits(PackedName(from))) {
            return from;
        }
        ++from;
    }
    return Count();
}

}  // namespace tdf
