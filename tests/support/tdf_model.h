// What a generation has to leave behind, worked out slowly and plainly.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "support/index_file_builder.h"

namespace support {

struct TdfModelSettings {
    std::u16string volumeName = u"C";
    std::int32_t recordsPerFile = 1000;
    bool crcMode = false;
    std::int32_t subfoldersMax = 3;
    std::int32_t additionalParts = 2;
    std::u16string separators = u"._- ";
};

// CRC-16/CCITT-FALSE, bit by bit.
std::uint16_t PlainCrc(std::string_view bytes);

// The bytes of UTF-16LE text.
std::string Utf16Bytes(std::u16string_view text);

// File names and contents for a sound volume whose owners differ in their labels.
using TdfFiles = std::map<std::u16string, std::string>;
TdfFiles ModelTdfFiles(const Volume& volume, const TdfModelSettings& settings);

}  // namespace support
