#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ZorelClient.h"
#include "cli/catalogue/catalogue.h"
#include "cli/catalogue/volume_list.h"
#include "cli/catalogue/volume_view.h"
#include "cli/command_line/command.h"
#include "cli/command_line/number_option.h"
#include "cli/command_line/paths.h"
#include "cli/generate/line_count.h"
#include "cli/generate/line_report.h"
#include "cli/generate/text_file_set.h"
#include "cli/output/calendar.h"
#include "cli/output/json_object.h"
#include "cli/output/omission_list.h"
#include "cli/output/text_format.h"
#include "cli/output/waiting_line.h"
#include "cli/search/search_filters.h"

namespace zorel::cli {

namespace {

namespace fs = std::filesystem;

// The text data files of one volume.
struct VolumeTexts {
    std::int64_t files = 0;
    std::int64_t bytes = 0;
    std::int64_t lines = 0;
};

VolumeTexts ReadTexts(const CTextFileSet& set, const std::string& volume) {
    VolumeTexts texts;
    for (const std::string& name : set.Names()) {
        if (name.starts_with("vl." + volume + ".")) {
            const fs::path path = set.Folder() / name;
            ++texts.files;
            texts.bytes += static_cast<std::int64_t>(fs::file_size(path));
            texts.lines += CountLines(path.string());
        }
    }
    return texts;
}

// "10 files, 8 lines, 2 not text".
std::string Describe(const LineReport& report) {
    std::string text = Counted(report.files, "file") + ", " + Counted(report.lines, "line");
    for (const auto& [count, what] : {std::pair{report.notText, "not text"},
                                      {report.emptyNames, "without a name"},
                                      {report.unknownOwner, "without an owner in the table"},
                                      {report.shortened, "with a shortened path"}}) {
        if (count != 0) {
            text += ", " + std::to_string(count) + " " + what;
        }
    }
    return text;
}

CJsonObject ToJson(const LineReport& report) {
    CJsonObject object;
    object.AddNumber("files", report.files).AddNumber("lines", report.lines);
    object.AddNumber("notText", report.notText).AddNumber("emptyNames", report.emptyNames);
    object.AddNumber("unknownOwner", report.unknownOwner);
    object.AddNumber("shortened", report.shortened);
    return object;
}

class CGenerateCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("CATALOGUE", m_catalogue,
                       "Folder of a catalogue, its list of volumes or one of its data files")
            ->required();
        app.add_option("-o,--output", m_output, "Folder for the text data files")->required();
        DeclareNumber(app, "--records", m_records, 1, kMaxNumber,
                      "Files listed in one text data file");
        auto* const crc = app.add_flag("--crc", m_isCrc, "Write key lines for a search server");
        DeclareNumber(app, "--subfolders", m_subfolders, -1, kMaxNumber,
                      "Path elements in a fingerprint, -1 for all")
            ->needs(crc);
        DeclareNumber(app, "--parts", m_parts, -1, kMaxNumber,
                      "Parts of a name that have key lines of their own")
            ->needs(crc);
        app.add_option("--separators", m_separators, "Characters that separate the parts of a name")
            ->needs(crc)
            ->capture_default_str();
        app.add_flag("--keep-old", m_isOldKept,
                     "Keep the volumes' text data files that this run does not write");
        app.add_option("--omitted", m_omitted,
                       "File for a list of what the lines leave out, as JSON lines")
            ->type_name("FILE");
        app.add_option("--time", m_time, "Times of the text data files (UTC); default: now");
        DeclareJson(app);
        app.footer(
            "Writes for each volume and owner a series vl.VOLUME.OWNER.NUMBER.txt, and for\n"
            "each volume owners.VOLUME.map. They replace those of earlier runs for the same "
            "volumes\n"
            "when all are written; a run that fails or is interrupted changes nothing.\n"
            "A line holds text. A file has no line if its name or path has bytes that are not\n"
            "UTF-8, line breaks, NUL or noncharacters, or if its owner is not in the table of\n"
            "owners; a path is shortened to the 64 folders nearest the file. If there are such\n"
            "files, they are reported, and the exit code is 3.");
    }

    EExitCode Run(COutput& output) override {
        const std::chrono::sys_seconds time = ParseTime(m_time.value_or("0s"), "--time");
        const CCatalogue catalogue(m_catalogue);
        COmissionList omissions("--omitted", m_omitted);
        const auto start = std::chrono::steady_clock::now();
        CTextFileSet set(WithSlashes(m_output));
        Generate(catalogue, set, ToTicks(time.time_since_epoch().count()));
        for (const CCatalogue::Volume& volume : catalogue.Volumes()) {
            Check(volume, set, omissions);
        }
        omissions.Finish();
        Publish(catalogue, set);
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        Report(output, catalogue, seconds);
        return omissions.Count() == 0 ? kExitOk : kExitIncomplete;
    }

private:
    // One call for each volume, so that a failure names its data file.
    void Generate(const CCatalogue& catalogue, const CTextFileSet& set, std::int64_t ticks) const {
        const auto library = client::CreateLibrary();
        const std::string list = set.WorkFolder() / kVolumeListName;
        const client::CString volumes(AbsolutePath(list));
        const client::CString folder(AbsolutePath(set.Folder()));
        const auto separators = client::CString::FromUtf8(m_separators);
        const _FILETIME time = {static_cast<ULONG>(ticks), static_cast<ULONG>(ticks >> 32)};
        const CWaitingLine waiting("Generating from " + m_catalogue);
        for (const CCatalogue::Volume& volume : catalogue.Volumes()) {
            WriteVolumeList(list, {volume});
            client::Check(library->GenerateOibTDFs(volumes, folder, time, m_records,
                                                   m_isCrc ? VARIANT_TRUE : VARIANT_FALSE,
                                                   m_subfolders, m_parts, separators),
                          volume.dataFile);
        }
    }

    // Compares the lines of a volume with its catalogue.
    void Check(const CCatalogue::Volume& volume, const CTextFileSet& set,
               COmissionList& omissions) {
        const ELineKind kind = m_isCrc ? ELineKind::Key : ELineKind::Record;
        LineReport report = ReportLines(volume, kind, omissions);
        const VolumeTexts texts = ReadTexts(set, volume.name);
        report.lines = texts.lines;
        // Each part of a name has two lines.
        const std::int64_t more = report.lines - report.FilesWithLines();
        const bool hasParts = m_isCrc && m_parts != 0;
        if (more != 0 && (!hasParts || more < 0 || more % 2 != 0)) {
            throw CCommandError(volume.dataFile + ": " + Counted(report.lines, "line") + " for " +
                                Counted(report.FilesWithLines(), "file") +
                                "; the data file was changed meanwhile, or two owners have text "
                                "data files of the same names");
        }
        m_reports.push_back(report);
        m_textCount += texts.files;
        m_byteCount += texts.bytes;
    }

    void Publish(const CCatalogue& catalogue, CTextFileSet& set) const {
        std::vector<std::string> volumes;
        for (const CCatalogue::Volume& volume : catalogue.Volumes()) {
            volumes.push_back(volume.name);
        }
        set.Publish(volumes, m_isOldKept);
    }

    void Report(COutput& output, const CCatalogue& catalogue, double seconds) const {
        CJsonObject volumes;
        std::string lines;
        for (std::size_t i = 0; i < m_reports.size(); ++i) {
            const std::string& name = catalogue.Volumes()[i].name;
            volumes.AddObject(name, ToJson(m_reports[i]));
            lines += PadRight("Volume " + Printable(ToUtf16(name)), 10) + " " +
                     Describe(m_reports[i]) + "\n";
        }
        if (m_isJson) {
            CJsonObject object;
            object.Add("output", std::string_view(m_output));
            object.AddNumber("files", m_textCount).AddNumber("bytes", m_byteCount);
            object.AddObject("volumes", volumes);
            object.AddNumber("milliseconds", static_cast<std::int64_t>(seconds * 1e3));
            output.Write(object.Line());
            return;
        }
        char time[32];
        static_cast<void>(std::snprintf(time, sizeof time, "%.2f", seconds));
        const std::string human = m_byteCount < 1024 ? "" : " (" + HumanSize(m_byteCount) + ")";
        output.Write("Output     " + m_output + "\n" + lines + "Texts      " +
                     std::to_string(m_textCount) + "\nSize       " + std::to_string(m_byteCount) +
                     " bytes" + human + "\nTime       " + time + " s\n");
    }

    std::string m_catalogue;
    std::string m_output;
    INT m_records = 1'000'000;
    bool m_isCrc = false;
    INT m_subfolders = 3;
    INT m_parts = 0;
    std::string m_separators = "._- ";
    bool m_isOldKept = false;
    std::optional<std::string> m_omitted;
    std::optional<std::string> m_time;

    std::vector<LineReport> m_reports;  // by volume
    std::int64_t m_textCount = 0;
    std::int64_t m_byteCount = 0;
};

}  // namespace

std::unique_ptr<CCommand> MakeGenerateCommand() {
    return std::make_unique<CGenerateCommand>();
}

}  // namespace zorel::cli
