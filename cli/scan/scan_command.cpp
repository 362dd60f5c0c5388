#include <filesystem>
#include <iterator>
#include <system_error>
#include <utility>

#include "ZorelText.h"
#include "cli/catalogue/catalogue_lock.h"
#include "cli/catalogue/data_file_writer.h"
#include "cli/catalogue/volume_list.h"
#include "cli/command_line/command.h"
#include "cli/command_line/paths.h"
#include "cli/command_line/signals.h"
#include "cli/output/json_object.h"
#include "cli/output/progress_line.h"
#include "cli/output/text_format.h"
#include "cli/scan/folder_scanner.h"

namespace zorel::cli {

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
    {ESkipped::Vanished, "vanished", "entry removed during the scan",
     "entries removed during the scan"},
    {ESkipped::CatalogueFile, "catalogueFiles", "entry of the catalogue itself",
     "entries of the catalogue itself"},
};
static_assert(std::size(kSkippedKinds) == static_cast<std::size_t>(ESkipped::Count));

std::int64_t ToSigned(std::uint64_t value) {
    return static_cast<std::int64_t>(value);
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
        app.add_option("FOLDER", m_folder, "Folder whose tree is recorded in the catalogue")
            ->required();
        app.add_option("-o,--output", m_catalogue, "Folder of the catalogue; created if missing")
            ->required()
            ->type_name("CATALOGUE");
        app.add_option("--volume", m_volume, "Letter of the volume, A to Z")
            ->type_name("C")
            ->check(CLI::Validator(&CScanCommand::CheckVolume, "", "volume"))
            ->capture_default_str();
        DeclareJson(app);
        app.footer(
            "Writes CATALOGUE/C.dat and lists it in CATALOGUE/summary.txt. Symbolic links are\n"
            "not followed. A scan that fails does not change the catalogue.");
    }

    EExitCode Run(COutput& output) override {
        CFolderScanner scanner(m_folder);
        m_catalogue = WithSlashes(m_catalogue);
        while (m_catalogue.size() > 1 && m_catalogue.ends_with('/')) {
            m_catalogue.pop_back();
        }
        const CInterruptGuard guard;
        CreateFolders(m_catalogue);
        CDataFileWriter writer = NewDataFile();
        const ScanTotals totals = Scan(scanner, writer);
        Finish(writer);
        ListVolume(m_catalogue, Letter(), DataFileName());
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

    std::string DataFilePath() const { return m_catalogue + "/" + DataFileName(); }

    // The lock excludes the removal of unfinished files where no writer has the file open.
    CDataFileWriter NewDataFile() const {
        const CCatalogueLock lock(m_catalogue);
        RemoveUnfinishedDataFiles(m_catalogue);
        return CDataFileWriter(DataFilePath());
    }
    void Finish(CDataFileWriter& writer) const {
        const CCatalogueLock lock(m_catalogue);
        writer.Finish();
    }
    ScanTotals Scan(CFolderScanner& scanner, CDataFileWriter& writer) const;
    CatalogueFiles OwnFiles(const CDataFileWriter& writer) const;
    void Print(COutput& output, const CDataFileWriter& writer, const ScanTotals& totals) const;
    void PrintJson(COutput& output, const CDataFileWriter& writer, const ScanTotals& totals) const;

    std::string m_folder;
    std::string m_catalogue;
    std::string m_volume = "C";
};

CatalogueFiles CScanCommand::OwnFiles(const CDataFileWriter& writer) const {
    const std::filesystem::path temporary = writer.TemporaryPath();
    CatalogueFiles files{m_catalogue,
                         {DataFileName(), kVolumeListName, std::string(kVolumeListName) + ".old",
                          temporary.filename().string()}};
    for (std::string& name : ListedDataFiles(m_catalogue)) {
        files.names.push_back(std::move(name));
    }
    return files;
}

ScanTotals CScanCommand::Scan(CFolderScanner& scanner, CDataFileWriter& writer) const {
    CProgressLine progress;
    return scanner.Scan(writer, OwnFiles(writer), [&] {
        if (IsInterrupted()) {
            throw CCommandError(m_folder + ": The scan was interrupted.");
        }
        if (progress.IsDue()) {
            progress.Show("Scanning: " + Counted(writer.FolderCount() - 1, "folder") + ", " +
                          Counted(writer.FileCount(), "file"));
        }
    });
}

void CScanCommand::Print(COutput& output, const CDataFileWriter& writer,
                         const ScanTotals& totals) const {
    const auto row = [&](const char* label, const std::string& value) {
        output.Write(PadRight(label, 11) + value + "\n");
    };
    const auto bytes = static_cast<std::int64_t>(totals.bytes);
    row("Catalogue", Printable(ToUtf16(DataFilePath())));
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
        row("Note", Counted(ToSigned(totals.unreachableFolders), "recorded folder") +
                        " cannot be browsed: the name contains a backslash, or differs from a "
                        "sibling's only in letter case");
    }
}

void CScanCommand::PrintJson(COutput& output, const CDataFileWriter& writer,
                             const ScanTotals& totals) const {
    CJsonObject skipped;
    for (const SkippedKind& kind : kSkippedKinds) {
        skipped.AddNumber(kind.key, ToSigned(totals.Skipped(kind.kind)));
    }
    CJsonObject object;
    object.Add("catalogue", DataFilePath())
        .AddNumber("folders", writer.FolderCount() - 1)
        .AddNumber("files", writer.FileCount())
        .AddNumber("bytes", ToSigned(totals.bytes))
        .AddNumber("owners", writer.OwnerCount())
        .AddObject("skipped", skipped)
        .AddNumber("unreachableFolders", ToSigned(totals.unreachableFolders));
    output.Write(object.Line());
}

}  // namespace

std::unique_ptr<CCommand> MakeScanCommand() {
    return std::make_unique<CScanCommand>();
}

}  // namespace zorel::cli
