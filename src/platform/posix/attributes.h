// What the system tells about an entry, in the terms of files.h.
#pragma once

#include <sys/stat.h>

#include <cstdint>

namespace platform::posix {

std::uint32_t AttributesOf(const struct stat& info) noexcept;

// The earliest time known of an entry, in ticks; `folder`, `name` and `flags` as for
// statx, `info` what stat told of the same entry.
std::int64_t CreationTicks(int folder, const char* name, int flags, const struct stat& info);

}  // namespace platform::posix
