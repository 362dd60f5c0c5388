#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <system_error>
#include <utility>

#include "ZorelText.h"
#include "cli/command_line/command.h"
#include "cli/output/progress_line.h"
#include "cli/output/text_format.h"
#include "cli/scan/catalogue_summary.h"
#include "cli/scan/catalogue_writer.h"
#include "cli/scan/folder_scanner.h"

namespace zorel::tools {

namespace {

struct SkippedKind {
    ESkipped kind;
    const char* key;
    const char* singular;
    const char* plural;
};

constexpr SkippedKind kSkippedKinds[] = {
    {ESkipped::SymbolicLink, "symbolicLinks", "symbolic link", "symbolic links"},
    {ESkipped::Socket, "sockets", "socket", "sockets"},
    {ESkipped::Fifo, "fifos", "FIFO", "FIFOs"},
    {ESkipped::Device, "devices", "device", "devices"},
    {ESkipped::UnreadableFolder, "unreadableFolders", "unreadable folder", "unreadable folders"},
    {ESkipped::UnreadableEntry, "unreadableEntries", "unreadable entry", "unreadable entries"},
    {ESkipped::Vanished, "vanished", "entry gone during the scan", "entries gone during the scan"},
    {ESkipped::CatalogueFile, "catalogueFiles", "entry of the catalogue itself",
     "entries of the catalogue itself"},
};
static_assert(std::size(kSkippedKinds) == static_cast<std::size_t>(ESkipped::Count));

volatile std::sig_atomic_t g_isInterrupted = 0;

// While it lives, the signals that ask a program to end only leave a note, so that the
// unfinished catalogue is removed on the way out.
class CInterruptGuard {
public:
    CInterruptGuard() {
        struct sigaction action {};
        action.sa_handler = [](int) { g_isInterrupted = 1; };
        for (std::size_t i = 0; i < std::size(kSignals); ++i) {
            ::sigaction(kSignals[i], nullptr, &m_previous[i]);
            if (m_previous[i].sa_handler != SIG_IGN) {
                ::sigaction(kSignals[i], &action, nullptr);
            }
        }
    }
    ~CInterruptGuard() {
        for (std::size_t i = 0; i < std::size(kSignals); ++i) {
            ::sigaction(kSignals[i], &m_previous[i], nullptr);
        }
    }
    CInterruptGuard(const CInterruptGuard&) = delete;
    CInterruptGuard& operator=(const CInterruptGuard&) = delete;

private:
    static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
    struct sigaction m_previous[std::size(kSignals)] = {};
};

CDescriptor OpenFolder(const std::string& path) {
    CDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        ThrowSystemError(path, errno);
    }
    return folder;
}

void CreateFolders(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) {
        throw std::system_error(error, path);
    }
}

class CScanCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("FOLDER", m_folder, "Folder whose tree is put into the catalogue")
            ->required();
        app.add_option("-o,--output", m_catalogue, "Folder of the catalogue; made when missing")
            ->required()
            ->type_name("CATALOGUE");
        app.add_option("--volume", m_volume, "Letter of the volume, A to Z")
            ->type_name("C")
            ->check(CLI::Validator(&CScanCommand::CheckVolume, "", "volume"))
            ->capture_default_str();
        DeclareJson(app);
        app.footer(
            "Writes CATALOGUE/C.dat and names it in CATALOGUE/summary.txt. Symbolic links are\n"
            "not followed. A scan that fails leaves the catalogue as it was.");
    }

    EExitCode Run(COutput& output) override {
        CDescriptor start = OpenFolder(m_folder);
        while (m_catalogue.size() > 1 && m_catalogue.ends_with('/')) {
            m_catalogue.pop_back();
        }
        const CInterruptGuard guard;
        CreateFolders(m_catalogue);
        CCatalogueWriter writer(VolumeFilePath(m_catalogue, Letter()));
        const ScanTotals totals = Scan(std::move(start), writer);
        writer.Finish();
        EnterInSummary();
        if (m_isJson) {
            PrintJson(output, writer, totals);
        } else {
            Print(output, writer, totals);
        }
        return kExitOk;
    }

private:
    static std::string CheckVolume(const std::string& text) {
        const bool isLetter = text.size() == 1 && text[0] >= 'A' && text[0] <= 'Z';
        return isLetter ? "" : "\"" + text + "\" is not one letter from A to Z";
    }

    char Letter() const { return m_volume[0]; }
    std::string DataFileName() const { return std::string(1, Letter()) + ".dat"; }

    ScanTotals Scan(CDescriptor start, CCatalogueWriter& writer);
    CatalogueFiles OwnFiles(const CCatalogueWriter& writer) const;
    void EnterInSummary() const;
    void Print(COutput& output, const CCatalogueWriter& writer, const ScanTotals& totals) const;
    void PrintJson(COutput& output, const CCatalogueWriter& writer, const ScanTotals& totals) const;

    std::string m_folder;
    std::string m_catalogue;
    std::string m_volume = "C";
};

CatalogueFiles CScanCommand::OwnFiles(const CCatalogueWriter& writer) const {
    const CDescriptor folder = OpenFolder(m_catalogue);
    struct stat status {};
    if (::fstat(folder.Get(), &status) != 0) {
        ThrowSystemError(m_catalogue, errno);
    }
    const std::string& temporary = writer.TemporaryPath();
    CatalogueFiles files{status.st_dev,
                         status.st_ino,
                         {DataFileName(), kSummaryName, std::string(kSummaryName) + ".old",
                          temporary.substr(temporary.find_last_of('/') + 1)}};
    for (const std::u16string& name : CCatalogueSummary(m_catalogue).DataFiles()) {
        files.names.push_back(ToUtf8(name));
    }
    return files;
}

ScanTotals CScanCommand::Scan(CDescriptor start, CCatalogueWriter& writer) {
    CProgressLine progress;
    CFolderScanner scanner(writer, OwnFiles(writer), [&] {
        if (g_isInterrupted != 0) {
            throw CToolError(m_folder + ": The scan was interrupted.");
        }
        if (progress.IsDue()) {
            progress.Show("Scanning: " + Counted(writer.FolderCount() - 1, "folder") + ", " +
                          Counted(writer.FileCount(), "file"));
        }
    });
    scanner.Scan(std::move(start));
    return scanner.Totals();
}

// Scans of other volumes may end at the same time: the lock on the folder keeps each
// from losing the other's line.
void CScanCommand::EnterInSummary() const {
    const CDescriptor folder = OpenFolder(m_catalogue);
    while (::flock(folder.Get(), LOCK_EX) != 0) {
        if (errno != EINTR || g_isInterrupted != 0) {
            ThrowSystemError(m_catalogue, errno);
        }
    }
    CCatalogueSummary summary(m_catalogue);
    summary.SetVolume(Letter(), ToUtf16(DataFileName()));
    summary.Save();
}

void CScanCommand::Print(COutput& output, const CCatalogueWriter& writer,
                         const ScanTotals& totals) const {
    const auto row = [&](const char* label, const std::string& value) {
        output.Write(PadRight(label, 11) + value + "\n");
    };
    const auto bytes = static_cast<std::int64_t>(totals.bytes);
    row("Catalogue", Printable(ToUtf16(VolumeFilePath(m_catalogue, Letter()))));
    row("Folders", std::to_string(writer.FolderCount() - 1));
    row("Files", std::to_string(writer.FileCount()));
    row("Size", std::to_string(totals.bytes) + " bytes" +
                    (bytes < 1024 ? "" : " (" + HumanSize(bytes) + ")"));
    row("Owners", std::to_string(writer.OwnerCount()));
    const char* label = "Skipped";
    for (const SkippedKind& kind : kSkippedKinds) {
        if (const std::uint64_t count = totals.Skipped(kind.kind); count != 0) {
            row(label, std::to_string(count) + " " + (count == 1 ? kind.singular : kind.plural));
            label = "";
        }
    }
    if (*label != '\0') {
        row(label, "nothing");
    }
    if (totals.unreachableFolders != 0) {
        row("Note", Counted(totals.unreachableFolders, "recorded folder") +
                        " cannot be browsed: the name holds a backslash, or differs from a "
                        "sibling's only in letter case");
    }
}

void CScanCommand::PrintJson(COutput& output, const CCatalogueWriter& writer,
                             const ScanTotals& totals) const {
    const auto number = [](std::uint64_t value) { return static_cast<std::int64_t>(value); };
    CJsonObject skipped;
    for (const SkippedKind& kind : kSkippedKinds) {
        skipped.AddNumber(kind.key, number(totals.Skipped(kind.kind)));
    }
    CJsonObject object;
    object.Add("catalogue", VolumeFilePath(m_catalogue, Letter()))
        .AddNumber("folders", number(writer.FolderCount() - 1))
        .AddNumber("files", number(writer.FileCount()))
        .AddNumber("bytes", number(totals.bytes))
        .AddNumber("owners", writer.OwnerCount())
        .AddObject("skipped", skipped)
        .AddNumber("unreachableFolders", number(totals.unreachableFolders));
    output.Write(object.Line());
}

}  // namespace

std::unique_ptr<CCommand> MakeScanCommand() {
    return std::make_unique<CScanCommand>();
}

}  // namespace zorel::tools
