#include "tdf/naming/crc_path.h"

#include <algorithm>
#include <limits>

#include "text/ascii_case.h"

namespace tdf {

namespace {

constexpr std::uint16_t kPolynomial = 0x1021;
constexpr std::uint16_t kInitial = 0xFFFF;
constexpr std::size_t kMaxInsertionSort = 16;  // parts; std::stable_sort allocates memory

using CrcTable = std::array<std::uint16_t, 256>;

constexpr CrcTable MakeByteTable() {
    CrcTable table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t crc = i << 8;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x8000U) != 0 ? (crc << 1) ^ kPolynomial : crc << 1;
        }
        table[i] = static_cast<std::uint16_t>(crc);
    }
    return table;
}

// Entry i is the CRC register of entry i of the byte table after one more zero byte, so
// that one step handles two bytes.
constexpr CrcTable MakeSecondTable(const CrcTable& byteTable) {
    CrcTable table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::uint32_t crc = byteTable[i];
        table[i] = static_cast<std::uint16_t>((crc << 8) ^ byteTable[crc >> 8]);
    }
    return table;
}

constexpr CrcTable kByteTable = MakeByteTable();
constexpr CrcTable kSecondTable = MakeSecondTable(kByteTable);
static_assert(kByteTable[1] == 0x1021 && kByteTable[255] == 0x1EF0);

bool IsPathSeparator(char16_t unit) {
    return unit == u'\\' || unit == u'/';
}

bool Longer(std::u16string_view a, std::u16string_view b) {
    return a.size() > b.size();
}

}  // namespace

std::uint16_t ElementCrc(std::u16string_view element) noexcept {
    std::uint32_t crc = kInitial;
    for (const char16_t unit : element) {
        const std::uint32_t folded = text::ToLowerAscii(unit);
        crc = static_cast<std::uint32_t>(kSecondTable[(crc >> 8) ^ (folded & 0xFF)] ^
                                         kByteTable[(crc & 0xFF) ^ (folded >> 8)]);
    }
    return static_cast<std::uint16_t>(crc);
}

void AppendCrcGroup(std::u16string& text, std::uint16_t crc) {
    constexpr std::u16string_view kDigits = u"0123456789abcdef";
    for (int shift = 12; shift >= 0; shift -= 4) {
        text.push_back(kDigits[(crc >> shift) & 0xF]);
    }
}

std::u16string ConvertPathToCrc(std::u16string_view folderPath, std::int32_t subfoldersMax) {
    std::u16string text = u"0h";
    CGroupLimit limit(subfoldersMax);
    while (!folderPath.empty()) {
        const auto end = std::find_if(folderPath.begin(), folderPath.end(), IsPathSeparator);
        const auto length = static_cast<std::size_t>(end - folderPath.begin());
        if (length != 0) {
            if (!limit.TryAdd()) {
                break;
            }
            AppendCrcGroup(text, ElementCrc(folderPath.substr(0, length)));
        }
        folderPath.remove_prefix(std::min(length + 1, folderPath.size()));
    }
    return text;
}

CKeyNameSplitter::CKeyNameSplitter(std::int32_t additionalParts, std::u16string_view separators)
    : m_maxParts(additionalParts < 0 ? std::numeric_limits<std::size_t>::max()
                                     : static_cast<std::size_t>(additionalParts)),
      m_separators(separators) {
    for (const char16_t unit : separators) {
        if (unit < m_asciiSeparators.size()) {
            m_asciiSeparators[unit] = true;
        }
    }
}

void CKeyNameSplitter::Split(std::u16string_view name) {
    const std::size_t dot = name.rfind(u'.');
    m_base = name.substr(0, dot);
    m_extension = dot == std::u16string_view::npos ? u"none" : name.substr(dot + 1);
    m_parts.clear();
    if (m_maxParts != 0) {
        SplitParts();
        SortParts();
        m_parts.resize(std::min(m_parts.size(), m_maxParts));
    }
}

bool CKeyNameSplitter::IsSeparator(char16_t unit) const noexcept {
    return unit < m_asciiSeparators.size() ? m_asciiSeparators[unit]
                                           : m_separators.find(unit) != std::u16string::npos;
}

void CKeyNameSplitter::SplitParts() {
    std::size_t begin = 0;
    for (std::size_t i = 0; i <= m_base.size(); ++i) {
        if (i == m_base.size() || IsSeparator(m_base[i])) {
            if (i != begin) {
                m_parts.push_back(m_base.substr(begin, i - begin));
            }
            begin = i + 1;
        }
    }
}

void CKeyNameSplitter::SortParts() {
    if (m_parts.size() > kMaxInsertionSort) {
        std::stable_sort(m_parts.begin(), m_parts.end(), Longer);
        return;
    }
    for (auto next = m_parts.begin(); next != m_parts.end(); ++next) {
        std::rotate(std::upper_bound(m_parts.begin(), next, *next, Longer), next, next + 1);
    }
}

}  // namespace tdf
