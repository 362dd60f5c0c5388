#include "tdf/name_index.h"

#include <algorithm>
#include <iterator>
#include <tuple>

#include "platform/packed_text.h"

namespace tdf {

namespace {

constexpr std::size_t kSampledBytes = 16 * 1024;
constexpr std::byte kAny{'?'};

}  // namespace

// A record takes two bytes for each unit of its name and more than two beside it, so half
// of what the reader still holds is room enough; what is not used is never touched.
CNameIndex::CNameIndex(idxdata::CSeqTableReader& table) {
    idxdata::IReader& reader = table.Reader();
    m_packed = std::make_unique_for_overwrite<std::byte[]>(
        static_cast<std::size_t>(reader.Remaining() / 2));
    m_firstRecord = reader.Window(0).data();
    m_starts.reserve(static_cast<std::size_t>(std::max<std::int64_t>(table.RecordCount(), 0)) + 1);
    idxdata::CFileRecordCursor cursor(table);
    idxdata::FileRecordView file{};
    while (cursor.Next(file)) {
        Append(file);
    }
    m_starts.push_back(static_cast<std::uint32_t>(m_size));
    CountFrequencies();
}

void CNameIndex::Append(const idxdata::FileRecordView& file) noexcept {
    m_starts.push_back(static_cast<std::uint32_t>(m_size));
    std::byte* const out = m_packed.get() + m_size;
    *out = platform::kPackedSeparator;
    platform::PackUnits(file.nameBytes, file.nameLength, out + 1);
    m_size += file.nameLength + std::size_t{1};
}

// A sample will do: the frequencies only choose what to look for.
void CNameIndex::CountFrequencies() noexcept {
    m_frequencies.fill(1);
    const std::size_t step = m_size / kSampledBytes + 1;
    for (std::size_t i = 0; i < m_size; i += step) {
        ++m_frequencies[std::to_integer<std::size_t>(m_packed[i])];
    }
}

// All records before record i take idxdata::FileRecordView::kFixedSize bytes and two for each unit
// of their names; m_starts[i] counts these units and one separator for each record.
idxdata::FileRecordView CNameIndex::RecordAt(std::size_t i) const noexcept {
    const std::size_t units = m_starts[i] - i;
    return idxdata::ViewFileRecord(m_firstRecord + i * idxdata::FileRecordView::kFixedSize +
                                   2 * units);
}

// Hits come in order and often close together: steps double from `from` on.
std::size_t CNameIndex::RecordOf(std::size_t position, std::size_t from) const noexcept {
    std::size_t low = from;
    std::size_t step = 1;
    while (low + step < m_starts.size() && m_starts[low + step] <= position) {
        low += step;
        step *= 2;
    }
    const auto first = m_starts.begin() + static_cast<std::ptrdiff_t>(low);
    const auto last =
        m_starts.begin() + static_cast<std::ptrdiff_t>(std::min(low + step, m_starts.size()));
    const auto behind = std::upper_bound(first, last, position);
    return static_cast<std::size_t>(behind - m_starts.begin()) - 1;
}

std::size_t CNameIndex::Next(std::size_t from, const CNameProbe& probe) const noexcept {
    if (from >= Count() || !probe.IsUsable()) {
        return from;
    }
    const std::size_t start = m_starts[from];
    const std::size_t rest = m_size - start;
    const std::size_t found = probe.Find(m_packed.get() + start, rest);
    return found == rest ? Count() : RecordOf(start + found, from);
}

CNameProbe::CNameProbe(CWildcardPattern pattern, const CNameIndex& index) {
    std::u16string_view token;
    bool floating = true;
    std::size_t tokens = 0;
    bool ascii = true;
    for (bool more = pattern.FirstToken(token, floating); more; more = pattern.NextToken(token)) {
        std::vector<std::byte> packed;
        if (!floating) {
            packed.push_back(platform::kPackedSeparator);
        }
        std::transform(token.begin(), token.end(), std::back_inserter(packed), platform::PackUnit);
        Consider(packed, index);
        ascii =
            ascii && std::all_of(token.begin(), token.end(), [](char16_t c) { return c < 0x80; });
        floating = true;
        ++tokens;
    }
    m_exact = tokens == 1 && ascii && IsUsable();
}

// Takes the token when its two rarest bytes are met less often than those taken before.
void CNameProbe::Consider(const std::vector<std::byte>& token, const CNameIndex& index) {
    std::vector<std::size_t> known;
    for (std::size_t i = 0; i < token.size(); ++i) {
        if (token[i] != kAny) {
            known.push_back(i);
        }
    }
    if (known.empty()) {
        return;
    }
    const auto frequency = [&](std::size_t i) { return index.FrequencyOf(token[i]); };
    const std::size_t pair = std::min<std::size_t>(known.size(), 2);
    std::partial_sort(known.begin(), known.begin() + static_cast<std::ptrdiff_t>(pair), known.end(),
                      [&](std::size_t a, std::size_t b) { return frequency(a) < frequency(b); });
    const std::uint64_t score =
        std::uint64_t{frequency(known[0])} * (pair == 2 ? frequency(known[1]) : kSampledBytes);
    if (score < m_score) {
        m_score = score;
        m_token = token;
        std::tie(m_first, m_last) = std::minmax({known[0], known[pair - 1]});
    }
}

std::size_t CNameProbe::Find(const std::byte* packed, std::size_t size) const noexcept {
    for (std::size_t at = 0; size - at >= m_token.size(); ++at) {
        const std::size_t starts = size - at - m_token.size() + 1;
        const std::size_t skipped = platform::FindBytePair(
            packed + at + m_first, starts, m_token[m_first], m_token[m_last], m_last - m_first);
        if (skipped == starts) {
            break;
        }
        at += skipped;
        if (FitsAt(packed + at)) {
            return at;
        }
    }
    return size;
}

bool CNameProbe::FitsAt(const std::byte* packed) const noexcept {
    for (std::size_t i = 0; i < m_token.size(); ++i) {
        const bool fits =
            m_token[i] == kAny ? packed[i] != platform::kPackedSeparator : packed[i] == m_token[i];
        if (!fits) {
            return false;
        }
    }
    return true;
}

}  // namespace tdf
