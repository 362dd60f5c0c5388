#include "cli/command_line/failure.h"

#include <cstdint>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include "ZorelClient.h"
#include "cli/command_line/command_error.h"
#include "cli/command_line/faulty_volume.h"
#include "cli/command_line/library_texts.h"
#include "cli/command_line/paths.h"
#include "cli/output/output.h"

namespace zorel::cli {

namespace {

constexpr std::uint32_t kAccessDenied = 0x80070005;

bool g_isVerbose = false;

bool IsFolder(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(WithSlashes(path), ignored);
}

std::string TextOf(const client::CError& failed, bool& isKnown) {
    const char* const reason = PlainReason(failed.Result());
    const std::string subject = failed.Subject().empty() ? "library" : failed.Subject();
    if (const auto plain = PlainDescription(failed.Subject(), failed.Description())) {
        const bool isOther = !plain->subject.empty();
        return (isOther ? plain->subject : subject) + ": " + plain->text +
               (isOther && reason != nullptr ? std::string(": ") + reason : "");
    }
    isKnown = reason != nullptr;
    const bool isDenied = static_cast<std::uint32_t>(failed.Result()) == kAccessDenied;
    if (isDenied && IsFolder(failed.Subject())) {
        return subject + ": is a folder; name a file";
    }
    return subject + ": " + (isKnown ? reason : "unexpected failure of the library");
}

Failure ExplainCall(const client::CError& failed) {
    bool isKnown = true;
    std::string text = TextOf(failed, isKnown);
    return {std::move(text), failed.what(), isKnown};
}

}  // namespace

Failure Explain(const std::exception& error) {
    if (const auto* const failed = dynamic_cast<const client::CError*>(&error)) {
        const bool isMemory = failed->Result() == E_OUTOFMEMORY;
        const auto volume = isMemory ? std::nullopt : FindFaultyVolume(failed->Subject());
        return ExplainCall(volume ? *volume : *failed);
    }
    if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) {
        return {kNotEnoughMemory, "", true};
    }
    const bool isOwn = dynamic_cast<const CCommandError*>(&error) != nullptr ||
                       dynamic_cast<const std::system_error*>(&error) != nullptr;
    if (!isOwn) {
        return {"unexpected failure", error.what(), false};
    }
    if (const auto* const file = dynamic_cast<const std::filesystem::filesystem_error*>(&error)) {
        return {file->path1().string() + ": " + file->code().message(), error.what(), true};
    }
    return {error.what(), "", true};
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
