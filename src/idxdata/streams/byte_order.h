// Little-endian numbers in bytes, at any alignment.
#pragma once

#include <bit>
#include <cstddef>
#include <cstring>

namespace idxdata {

static_assert(std::endian::native == std::endian::little,
              "fields are copied as they lie in the file");

template <class Number>
Number LoadLittle(const std::byte* bytes) noexcept {
    Number value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

}  // namespace idxdata
