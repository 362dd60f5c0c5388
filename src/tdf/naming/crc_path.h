// Folder fingerprints and search-key lines (doc/text-data-files.md).
//
// A fingerprint is a sequence of CRC groups, one for each path element from the drive to
// the innermost folder: CRC-16/CCITT-FALSE over the UTF-16LE bytes of the element in ASCII lower
// case, as four lower-case hexadecimal digits.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tdf {

// The tag before a fingerprint: which part of the name follows the fingerprint.
enum class EKeyTag : char16_t {
    BaseName = u'0',
    Part = u'1',
    ReversedPart = u'2',
};

inline constexpr std::size_t kCrcGroupLength = 4;  // code units

std::uint16_t ElementCrc(std::u16string_view element) noexcept;
void AppendCrcGroup(std::u16string& text, std::uint16_t crc);

// Counts the groups that a fingerprint may still receive. A negative limit is unlimited.
class CGroupLimit {
public:
    explicit CGroupLimit(std::int32_t limit) noexcept : m_left(limit) {}
    // Counts one group; false when the limit is reached.
    bool TryAdd() noexcept {
        if (m_left == 0) {
            return false;
        }
        m_left -= m_left > 0 ? 1 : 0;
        return true;
    }

private:
    std::int32_t m_left;
};

// The fingerprint of a folder path, after the tag of base names. Backslash and slash
// separate elements; empty elements are skipped; nothing else is normalised. At most
// `subfoldersMax` groups; all of them for a negative number.
std::u16string ConvertPathToCrc(std::u16string_view folderPath, std::int32_t subfoldersMax);

// Divides file names into the pieces of key lines. Reuses its memory; for one thread at a
// time.
class CKeyNameSplitter {
public:
    // At most `additionalParts` parts; all of them for a negative number.
    CKeyNameSplitter(std::int32_t additionalParts, std::u16string_view separators);

    // The pieces are views of `name`.
    void Split(std::u16string_view name);

    std::u16string_view Extension() const noexcept { return m_extension; }  // "none" without a dot
    std::u16string_view Base() const noexcept { return m_base; }
    // Longest first; parts of equal length in the order of the name.
    const std::vector<std::u16string_view>& Parts() const noexcept { return m_parts; }

private:
    bool IsSeparator(char16_t unit) const noexcept;
    void SplitParts();
    void SortParts();

    std::size_t m_maxParts;
    std::u16string m_separators;
    std::array<bool, 128> m_asciiSeparators{};
    std::u16string_view m_extension;
    std::u16string_view m_base;
    std::vector<std::u16string_view> m_parts;
};

}  // namespace tdf
