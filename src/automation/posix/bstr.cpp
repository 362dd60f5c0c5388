// A string is a header of eight bytes, the last four of them the byte count, then the code
// units and a NUL unit.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "automation/posix/automation_internal.h"

namespace {

constexpr std::size_t kHeader = 8;  // bytes; keeps the alignment of the text
// The whole block's size must fit the 32-bit arithmetic of clients.
constexpr std::size_t kMaxBytes = 0xFFFFFFFFU - kHeader - sizeof(OLECHAR);

// Writes the terminator only.
BSTR NewString(std::size_t bytes) noexcept {
    if (bytes > kMaxBytes) {
        return nullptr;
    }
    auto* block = static_cast<char*>(std::malloc(kHeader + bytes + sizeof(OLECHAR)));
    if (block == nullptr) {
        return nullptr;
    }
    const auto count = static_cast<std::uint32_t>(bytes);
    std::memcpy(block + kHeader - sizeof(count), &count, sizeof(count));
    std::memset(block + kHeader + bytes, 0, sizeof(OLECHAR));
    return reinterpret_cast<BSTR>(block + kHeader);
}

}  // namespace

extern "C" {

ZOREL_EXPORT BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
    const std::size_t bytes = std::size_t{length} * sizeof(OLECHAR);
    const BSTR string = NewString(bytes);
    if (string != nullptr && text != nullptr) {
        std::memcpy(string, text, bytes);
    }
    return string;
}

ZOREL_EXPORT BSTR SysAllocString(const OLECHAR* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const std::size_t length = std::u16string_view(text).size();
    return length > kMaxBytes ? nullptr : SysAllocStringLen(text, static_cast<UINT>(length));
}

ZOREL_EXPORT void SysFreeString(BSTR text) {
    if (text != nullptr) {
        std::free(reinterpret_cast<char*>(text) - kHeader);
    }
}

ZOREL_EXPORT UINT SysStringByteLen(BSTR text) {
    std::uint32_t count = 0;
    if (text != nullptr) {
        std::memcpy(&count, reinterpret_cast<const char*>(text) - sizeof(count), sizeof(count));
    }
    return count;
}

ZOREL_EXPORT UINT SysStringLen(BSTR text) {
    return SysStringByteLen(text) / static_cast<UINT>(sizeof(OLECHAR));
}

}  // extern "C"

namespace automation::detail {

BSTR CopyBstr(BSTR text) noexcept {
    if (text == nullptr) {
        return nullptr;
    }
    const UINT bytes = SysStringByteLen(text);
    const BSTR copy = NewString(bytes);
    if (copy != nullptr) {
        std::memcpy(copy, text, bytes);
    }
    return copy;
}

bool CopyFailed(const OLECHAR* source, const OLECHAR* copy) noexcept {
    return source != nullptr && copy == nullptr;
}

}  // namespace automation::detail
