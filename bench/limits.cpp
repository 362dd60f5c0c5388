#include "limits.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <vector>

namespace bench {

double SecondsOf(const std::function<void()>& body) {
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double FastestSeconds(const std::function<void()>& body) {
    constexpr int kRuns = 7;
    double fastest = std::numeric_limits<double>::max();
    for (int i = 0; i < kRuns; ++i) {
        fastest = std::min(fastest, SecondsOf(body));
    }
    return fastest;
}

double PlainPassSeconds(const std::string& path) {
    static std::vector<char> buffer(1 << 20);
    return FastestSeconds([&] {
        const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        Check(file >= 0, "the plain pass opens its file");
        while (::read(file, buffer.data(), buffer.size()) > 0) {
        }
        ::close(file);
    });
}

void RunAgainst(benchmark::State& state, double limitSeconds, const std::function<void()>& body) {
    double fastest = std::numeric_limits<double>::max();
    for ([[maybe_unused]] auto _ : state) {
        fastest = std::min(fastest, SecondsOf(body));
    }
    state.counters["limit_ms"] = limitSeconds * 1e3;
    state.counters["ratio"] = fastest / limitSeconds;
}

void Check(bool correct, const char* what) {
    if (!correct) {
        std::fprintf(stderr, "bench: wrong result: %s\n", what);
        std::exit(1);
    }
}

std::uint64_t PeakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            return std::strtoull(line.c_str() + 6, nullptr, 10) * 1024;
        }
    }
    return 0;
}

void ResetPeakMemory() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

}  // namespace bench
