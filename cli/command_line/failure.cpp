#include "cli/command_line/failure.h"

#include <cstdint>

#include "ZorelClient.h"
#include "cli/command_line/command_error.h"
#include "cli/output/output.h"

namespace zorel::cli {

namespace {

bool g_isVerbose = false;

// The reason of a system's error code that the library passes on; null for others.
const char* PlainReason(HRESULT result) {
    switch (static_cast<std::uint32_t>(result)) {
        case 0x80070002:
        case 0x80070003:
            return "no such file";
        case 0x80070005:
            return "permission denied";
        case 0x80070020:
            return "in use by another program";
        default:
            return nullptr;
    }
}

}  // namespace

Failure Explain(const std::exception& error) {
    const auto* const failed = dynamic_cast<const client::CError*>(&error);
    if (failed == nullptr) {
        return {error.what(), "", true};
    }
    const char* const reason = PlainReason(failed->Result());
    if (reason == nullptr) {
        return {failed->Subject() + ": the call failed", failed->what(), false};
    }
    return {failed->Subject() + ": " + reason, failed->what(), true};
}

void PrintFailure(const std::exception& error) {
    const Failure failure = Explain(error);
    PrintError(failure.text);
    if (!failure.detail.empty() && (g_isVerbose || !failure.isKnown)) {
        PrintError(failure.detail);
    }
}

void SetVerbose(bool isVerbose) {
    g_isVerbose = isVerbose;
}

}  // namespace zorel::cli
