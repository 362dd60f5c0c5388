// The bytes of meta-files.
#pragma once

#include <string>
#include <string_view>

namespace support {

// The bytes of UTF-16 text, and of a meta-file with this content.
inline std::string WideBytes(std::u16string_view text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}
inline std::string MetaFileBytes(std::u16string_view content) {
    return "\xFF\xFE" + WideBytes(content);
}

}  // namespace support
