// Conversions of stat results to the attributes and times of files.h.
#pragma once

#include <sys/stat.h>

#include <cstdint>

namespace platform::posix {

std::uint32_t AttributesOf(const struct stat& info) noexcept;

// The earliest of an entry's times, in ticks. `folder`, `name` and `flags` as for statx;
// `info` is the result of stat for the same entry.
std::int64_t CreationTicks(int folder, const char* name, int flags, const struct stat& info);

}  // namespace platform::posix
