#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "ZorelText.h"
#include "cli/catalogue/catalogue_lock.h"
#include "cli/catalogue/data_file_writer.h"
#include "cli/catalogue/scan_record.h"
#include "cli/catalogue/volume_list.h"
#include "cli/command_line/command.h"
#include "cli/command_line/paths.h"
#include "cli/command_line/signals.h"
#include "cli/output/calendar.h"
#include "cli/output/omission_list.h"
#include "cli/output/progress_line.h"
#include "cli/output/text_format.h"
#include "cli/scan/folder_scanner.h"
#include "cli/scan/host_name.h"
#include "cli/scan/scan_summary.h"

namespace zorel::cli {

namespace {

void CreateFolders(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) {
        throw std::system_error(error, path);
    }
}

// The moment as text: 2024-03-01T12:30:00Z.
std::string TimeText(std::chrono::system_clock::time_point moment) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(moment);
    return FormatDate(ToDate(seconds), "T").value_or("") + "Z";
}

class CScanCommand : public CCommand {
public:
    void Declare(CLI::App& app) override;
    EExitCode Run(COutput& output) override;

private:
    static std::string CheckVolume(const std::string& text) {
        const bool isLetter = text.size() == 1 && text[0] >= 'A' && text[0] <= 'Z';
        return isLetter ? "" : "\"" + text + "\" is not one letter from A to Z";
    }
    void DeclareLimits(CLI::App& app);

    char Letter() const { return m_volume[0]; }
    std::string DataFileName() const { return std::string(1, Letter()) + ".dat"; }
    std::string DataFilePath() const { return m_catalogue + "/" + DataFileName(); }

    ScanRecord NewRecord() const;
    void CheckMayReplace(const ScanRecord& record) const;
    CDataFileWriter NewDataFile(const ScanRecord& record) const;
    ScanTotals Scan(CFolderScanner& scanner, CDataFileWriter& writer,
                    COmissionList& omissions) const;
    CatalogueFiles OwnFiles(const CDataFileWriter& writer) const;
    void Save(CDataFileWriter& writer, const ScanRecord& record) const;

    std::string m_folder;
    std::string m_catalogue;
    std::string m_volume = "C";
    std::vector<std::string> m_excluded;
    std::optional<std::string> m_errors;
    bool m_staysOnFileSystem = false;
    bool m_entersSystemFolders = false;
    bool m_replaces = false;
};

void CScanCommand::Declare(CLI::App& app) {
    app.add_option("FOLDER", m_folder, "Folder whose tree is recorded in the catalogue")
        ->required();
    app.add_option("-o,--output", m_catalogue, "Folder of the catalogue; created if missing")
        ->required()
        ->type_name("CATALOGUE");
    app.add_option("--volume", m_volume, "Letter of the volume, A to Z")
        ->type_name("C")
        ->check(CLI::Validator(&CScanCommand::CheckVolume, "", "volume"))
        ->capture_default_str();
    DeclareLimits(app);
    app.add_flag("--replace", m_replaces,
                 "Replace a volume that was scanned from another folder or host");
    app.add_option("--errors", m_errors, "List what could not be read in this file, as JSON lines")
        ->type_name("FILE");
    DeclareJson(app);
    app.footer(
        "Writes CATALOGUE/C.dat and C.scan.mtf and lists the volume in CATALOGUE/summary.txt.\n"
        "Symbolic links are not followed. A folder or file that cannot be read, and a folder\n"
        "that browsing cannot reach, is reported; the exit code is 3 then. A scan that fails or\n"
        "is interrupted does not change the catalogue.");
}

void CScanCommand::DeclareLimits(CLI::App& app) {
    app.add_option("--exclude", m_excluded,
                   "Leave out what matches: a name, or with a slash a path below FOLDER;\n"
                   "with a slash at the end only folders. Can be given several times")
        ->type_name("PATTERN")
        ->allow_extra_args(false)
        ->check(CLI::Validator([](const std::string& text) { return CExclusions::Check(text); }, "",
                               "pattern"));
    CLI::Option* one = app.add_flag("--one-file-system", m_staysOnFileSystem,
                                    "Do not enter folders of other file systems");
    app.add_flag("--all-file-systems", m_entersSystemFolders,
                 "Enter the system's /proc, /sys and /dev, too")
        ->excludes(one);
}

EExitCode CScanCommand::Run(COutput& output) {
    CFolderScanner scanner(m_folder);
    m_catalogue = WithSlashes(m_catalogue);
    while (m_catalogue.size() > 1 && m_catalogue.ends_with('/')) {
        m_catalogue.pop_back();
    }
    const CInterruptGuard guard;
    const auto start = std::chrono::steady_clock::now();
    ScanRecord record = NewRecord();
    CreateFolders(m_catalogue);
    CDataFileWriter writer = NewDataFile(record);
    COmissionList omissions("--errors", m_errors);
    ScanSummary summary;
    summary.dataFile = DataFilePath();
    summary.totals = Scan(scanner, writer, omissions);
    summary.folders = writer.FolderCount() - 1;
    summary.files = writer.FileCount();
    summary.owners = writer.OwnerCount();
    omissions.Finish();
    record.milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(
                              std::chrono::steady_clock::now() - start)
                              .count();
    record.folders = summary.folders;
    record.files = summary.files;
    record.bytes = static_cast<std::int64_t>(summary.totals.bytes);
    record.owners = summary.owners;
    record.omitted = static_cast<std::int64_t>(omissions.Count());
    Save(writer, record);
    (m_isJson ? PrintSummaryAsJson : PrintSummary)(output, summary);
    return omissions.Count() == 0 ? kExitOk : kExitIncomplete;
}

// Where and how this scan starts, without its results.
ScanRecord CScanCommand::NewRecord() const {
    ScanRecord record;
    std::error_code error;
    record.folder = std::filesystem::canonical(m_folder, error).string();
    if (error) {
        throw std::system_error(error, m_folder);
    }
    record.host = HostName();
    record.time = TimeText(std::chrono::system_clock::now());
    for (const std::string& pattern : m_excluded) {
        record.options.push_back("--exclude=" + pattern);
    }
    if (m_staysOnFileSystem) {
        record.options.emplace_back("--one-file-system");
    }
    if (m_entersSystemFolders) {
        record.options.emplace_back("--all-file-systems");
    }
    return record;
}

// A volume without a record of its scan is replaced: nothing is known about it.
void CScanCommand::CheckMayReplace(const ScanRecord& record) const {
    if (m_replaces) {
        return;
    }
    const std::optional<ScanRecord> former = FindScanRecord(DataFilePath());
    if (former && (former->folder != record.folder || former->host != record.host)) {
        const auto place = [](const ScanRecord& scan) {
            return Printable(ToUtf16(scan.folder)) + " on " + scan.host;
        };
        throw CCommandError(DataFilePath() + ": the volume was scanned from " + place(*former) +
                            "; to replace it by a scan of " + place(record) + ", give --replace");
    }
}

// The lock excludes the removal of unfinished files where no writer has the file open.
CDataFileWriter CScanCommand::NewDataFile(const ScanRecord& record) const {
    const CCatalogueLock lock(m_catalogue);
    CheckMayReplace(record);
    RemoveUnfinishedFiles(m_catalogue);
    return CDataFileWriter(DataFilePath());
}

// What can fail for lack of space comes before the first change of the catalogue. A kill between
// the two commits leaves a record that does not describe the data file (FindScanRecord).
void CScanCommand::Save(CDataFileWriter& writer, const ScanRecord& record) const {
    const CCatalogueLock lock(m_catalogue);
    CheckMayReplace(record);
    writer.Complete();
    CScanRecordWriter recordWriter(record, DataFilePath(), writer.TemporaryPath());
    writer.Commit();
    recordWriter.Commit();
    ListVolume(m_catalogue, Letter(), DataFileName(), lock);
}

CatalogueFiles CScanCommand::OwnFiles(const CDataFileWriter& writer) const {
    const std::filesystem::path temporary = writer.TemporaryPath();
    CatalogueFiles files{
        m_catalogue,
        {kVolumeListName, std::string(kVolumeListName) + ".old", temporary.filename().string()}};
    std::vector<std::string> dataFiles = ListedDataFiles(m_catalogue);
    dataFiles.push_back(DataFileName());
    for (std::string& name : dataFiles) {
        files.names.push_back(ScanRecordPath(name));
        files.names.push_back(std::move(name));
    }
    return files;
}

ScanTotals CScanCommand::Scan(CFolderScanner& scanner, CDataFileWriter& writer,
                              COmissionList& omissions) const {
    CProgressLine progress;
    ScanOptions options;
    for (const std::string& pattern : m_excluded) {
        options.exclusions.Add(pattern);
    }
    options.staysOnFileSystem = m_staysOnFileSystem;
    options.entersSystemFolders = m_entersSystemFolders;
    const auto onEntry = [&] {
        if (IsInterrupted()) {
            throw CInterrupted();
        }
        if (progress.IsDue()) {
            progress.Show("Scanning: " + Counted(writer.FolderCount() - 1, "folder") + ", " +
                          Counted(writer.FileCount(), "file"));
        }
    };
    const auto onOmission = [&](const std::string& path, const std::string& reason) {
        progress.Clear();
        omissions.Add(ToUtf16(path), reason);
    };
    return scanner.Scan(writer, OwnFiles(writer), options, {onEntry, onOmission});
}

}  // namespace

std::unique_ptr<CCommand> MakeScanCommand() {
    return std::make_unique<CScanCommand>();
}

}  // namespace zorel::cli
