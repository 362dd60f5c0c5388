// Writes the volume that the benchmarks work on.
//
// Usage: zorel_volume FILES FOLDER
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "synthetic_volume.h"

int main(int argc, char** argv) {
    const std::string_view text = argc == 3 ? argv[1] : "";
    std::uint64_t files = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), files);
    if (error != std::errc() || end != text.data() + text.size() || files < 100) {
        static_cast<void>(
            std::fputs("Usage: zorel_volume FILES FOLDER (at least 100 files)\n", stderr));
        return 2;
    }
    bench::WriteVolume(files, argv[2]);
    return 0;
}
