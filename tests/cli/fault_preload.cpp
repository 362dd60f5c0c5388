// A library to preload into a program on Linux: injects one fault into its file-system calls.
// ZOREL_FAULT is KIND:STEP, the fault and the number of the call; ZOREL_FAULT_CALLS is a file
// that receives the number of calls when the program ends.
#include "support/disk_faults.h"

#include <cstdlib>
#include <string_view>

namespace {

constexpr std::pair<std::string_view, support::EFault> kKinds[] = {
    {"fail", support::EFault::FailOnce},
    {"fail-from-then", support::EFault::FailFromThen},
    {"short-write", support::EFault::ShortWrite},
    {"delay", support::EFault::Delay},
    {"kill", support::EFault::Kill},
    {"power-cut", support::EFault::PowerCut},
    {"power-cut-all", support::EFault::PowerCutAll},
    {"power-cut-some", support::EFault::PowerCutSome},
};

// Lives as long as the program.
const struct CArmedFaults {
    CArmedFaults() {
        const std::string_view fault = std::getenv("ZOREL_FAULT");
        const std::size_t colon = fault.find(':');
        const auto kind = std::ranges::find(kKinds, fault.substr(0, colon),
                                            [](const auto& row) { return row.first; });
        support::g_diskFaults.Arm(std::atoi(fault.data() + colon + 1), kind->second);
    }
    ~CArmedFaults() {
        const std::string calls = std::to_string(support::g_diskFaults.Disarm());
        const char* path = std::getenv("ZOREL_FAULT_CALLS");
        const int flags = O_WRONLY | O_CREAT | O_TRUNC;
        const int file = support::g_diskFaults.Call(0, SYS_openat, AT_FDCWD, path, flags, 0600);
        ::syscall(SYS_write, file, calls.data(), calls.size());
    }
} g_armedFaults;

}  // namespace
