#include "cli/scan/scan_summary.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "ZorelText.h"
#include "cli/output/json_object.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

struct SkippedKind {
    ESkipped kind;
    const char* key;
    const char* singular;
    const char* plural;
};

constexpr SkippedKind kSkippedKinds[] = {
    {ESkipped::Excluded, "excluded", "excluded entry", "excluded entries"},
    {ESkipped::NotEntered, "notEntered", "folder not entered", "folders not entered"},
    {ESkipped::SymbolicLink, "symbolicLinks", "symbolic link", "symbolic links"},
    {ESkipped::Socket, "sockets", "socket", "sockets"},
    {ESkipped::Fifo, "fifos", "FIFO", "FIFOs"},
    {ESkipped::Device, "devices", "device", "devices"},
    {ESkipped::UnreadableFolder, "unreadableFolders", "unreadable folder", "unreadable folders"},
    {ESkipped::UnreadableEntry, "unreadableEntries", "unreadable entry", "unreadable entries"},
    {ESkipped::Vanished, "vanished", "entry removed during the scan",
     "entries removed during the scan"},
    {ESkipped::CatalogueFile, "catalogueFiles", "entry of the catalogue itself",
     "entries of the catalogue itself"},
};
static_assert(std::size(kSkippedKinds) == static_cast<std::size_t>(ESkipped::Count));

std::int64_t ToSigned(std::uint64_t value) {
    return static_cast<std::int64_t>(value);
}

// The first paths of a list, and how many follow.
std::string SomeOf(const std::vector<std::string>& paths) {
    constexpr std::size_t kMaxPaths = 10;
    std::string text;
    for (std::size_t i = 0; i < std::min(paths.size(), kMaxPaths); ++i) {
        text += (i == 0 ? "" : ", ") + Printable(ToUtf16(paths[i]));
    }
    const std::size_t more = paths.size() - std::min(paths.size(), kMaxPaths);
    return more == 0 ? text : text + " and " + std::to_string(more) + " more";
}

// How many entries of a kind were skipped; the paths of those that were not entered.
std::string SkippedText(const SkippedKind& kind, const ScanTotals& totals) {
    const std::uint64_t count = totals.Skipped(kind.kind);
    const std::string text =
        std::to_string(count) + " " + (count == 1 ? kind.singular : kind.plural);
    return kind.kind == ESkipped::NotEntered ? text + ": " + SomeOf(totals.notEntered) : text;
}

}  // namespace

void PrintSummary(COutput& output, const ScanSummary& summary) {
    const auto row = [&](const char* label, const std::string& value) {
        output.Write(PadRight(label, 11) + value + "\n");
    };
    const ScanTotals& totals = summary.totals;
    row("Catalogue", Printable(ToUtf16(summary.dataFile)));
    row("Folders", std::to_string(summary.folders));
    row("Files", std::to_string(summary.files));
    row("Size", SizeText(ToSigned(totals.bytes)));
    row("Owners", std::to_string(summary.owners));
    const char* label = "Skipped";
    for (const SkippedKind& kind : kSkippedKinds) {
        if (totals.Skipped(kind.kind) != 0) {
            row(label, SkippedText(kind, totals));
            label = "";
        }
    }
    if (*label != '\0') {
        row(label, "nothing");
    }
    if (totals.unreachableFolders != 0) {
        row("Note", Counted(ToSigned(totals.unreachableFolders), "recorded folder") +
                        " cannot be browsed: the name contains a backslash, or differs from a "
                        "sibling's only in letter case");
    }
}

void PrintSummaryAsJson(COutput& output, const ScanSummary& summary) {
    const ScanTotals& totals = summary.totals;
    CJsonObject skipped;
    for (const SkippedKind& kind : kSkippedKinds) {
        skipped.AddNumber(kind.key, ToSigned(totals.Skipped(kind.kind)));
    }
    CJsonObject object;
    object.Add("catalogue", summary.dataFile)
        .AddNumber("folders", summary.folders)
        .AddNumber("files", summary.files)
        .AddNumber("bytes", ToSigned(totals.bytes))
        .AddNumber("owners", summary.owners)
        .AddObject("skipped", skipped)
        .AddNumber("unreachableFolders", ToSigned(totals.unreachableFolders))
        .AddTexts("notEntered", totals.notEntered);
    output.Write(object.Line());
}

}  // namespace zorel::cli
