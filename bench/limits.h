// The limits of the workloads, measured in the same run.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <string>

namespace bench {

// Seconds that `body` takes.
double SecondsOf(const std::function<void()>& body);

// Seconds of the fastest of several runs of `body`.
double FastestSeconds(const std::function<void()>& body);

// Seconds of a plain pass over a file: reads of 1 MiB from its start to its end, from the
// page cache.
double PlainPassSeconds(const std::string& path);

// Times `body` in the state's loop and sets the counters "limit_ms", the given limit, and
// "ratio", the loop's fastest time divided by it.
void RunAgainst(benchmark::State& state, double limitSeconds, const std::function<void()>& body);

// Ends the program with a message when the result of a workload is wrong. Each workload is
// checked before it is timed.
void Check(bool correct, const char* what);

// Peak memory of the process in bytes.
std::uint64_t PeakMemory();
// Resets the count of PeakMemory, where the system allows it.
void ResetPeakMemory();

}  // namespace bench
