#include "cli/generate/line_count.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "cli/catalogue/posix/descriptor.h"

namespace zorel::cli {

namespace {

CDescriptor OpenForReading(const std::string& path) {
    constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW;
    CDescriptor file(::open(path.c_str(), kFlags | O_NOATIME));
    if (!file && errno == EPERM) {
        file = CDescriptor(::open(path.c_str(), kFlags));
    }
    if (!file) {
        ThrowSystemError(path, errno);
    }
    return file;
}

}  // namespace

std::int64_t CountLines(const std::string& path) {
    constexpr std::size_t kUnits = 1U << 17;
    const CDescriptor file = OpenForReading(path);
    std::vector<char16_t> units(kUnits);
    auto* const bytes = reinterpret_cast<char*>(units.data());
    std::size_t filled = 0;  // bytes; an odd one is the first half of a unit
    std::int64_t lines = 0;
    for (;;) {
        const ssize_t got = ::read(file.Get(), bytes + filled, kUnits * sizeof(char16_t) - filled);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            ThrowSystemError(path, errno);
        }
        if (got == 0) {
            return lines;
        }
        filled += static_cast<std::size_t>(got);
        const auto end = units.begin() + static_cast<std::ptrdiff_t>(filled / sizeof(char16_t));
        lines += std::count(units.begin(), end, u'\n');
        if (filled % sizeof(char16_t) != 0) {
            bytes[0] = bytes[filled - 1];
        }
        filled %= sizeof(char16_t);
    }
}

}  // namespace zorel::cli
