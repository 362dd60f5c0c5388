// Folder fingerprints and search-key lines (doc/text-data-files.md).
//
// A fingerprint is a chain of CRC groups, one for each path element from the drive
// inwards: CRC-16/CCITT-FALSE over the UTF-16LE bytes of the element in ASCII lower case,
// as four lower-case hexadecimal digits.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tdf {

// What stands in front of a fingerprint: which part of the name follows it.
enum class EKeyTag : char16_t {
    BaseName = u'0',
    Part = u'1',
    ReversedPart = u'2',
};

inline constexpr std::size_t kCrcGroupLength = 4;  // code units

std::uint16_t ElementCrc(std::u16string_view element) noexcept;
void AppendCrcGroup(std::u16string& text, std::uint16_t crc);

// How many groups a fingerprint may still take. A negative limit is none.
class CGroupLimit {
public:
    explicit CGroupLimit(std::int32_t limit) noexcept : m_left(limit) {}
    bool Take() noexcept {
        if (m_left == 0) {
            return false;
        }
        m_left -= m_left > 0 ? 1 : 0;
        return true;
    }

private:
    std::int32_t m_left;
};

// The fingerprint of a folder path behind the tag of base names. Both slashes separate,
// empty elements are passed over, nothing else is normalised. At most `subfoldersMax`
// groups; a negative number stands for all.
std::u16string ConvertPathToCrc(std::u16string_view folderPath, std::int32_t subfoldersMax);

// Cuts file names into the pieces that key lines are made of. Reuses its memory; one
// thread at a time.
class CKeyNameCutter {
public:
    // At most `additionalParts` parts; 0 for none, a negative number for all.
    CKeyNameCutter(std::int32_t additionalParts, std::u16string_view separators);

    // The pieces are views of `name` and valid as long as it is.
    void Cut(std::u16string_view name);

    std::u16string_view Extension() const noexcept { return m_extension; }  // "none" without dot
    std::u16string_view Base() const noexcept { return m_base; }
    // Longest first, those of one length in the order of the name.
    const std::vector<std::u16string_view>& Parts() const noexcept { return m_parts; }

private:
    bool IsSeparator(char16_t unit) const noexcept;
    void CutParts();
    void SortParts();

    std::size_t m_mostParts;
    std::u16string m_separators;
    std::array<bool, 128> m_asciiSeparators{};
    std::u16string_view m_extension;
    std::u16string_view m_base;
    std::vector<std::u16string_view> m_parts;
};

}  // namespace tdf
