#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "ZorelClient.h"
#include "cli/command_line/command.h"
#include "cli/command_line/number_option.h"
#include "cli/command_line/paths.h"
#include "cli/generate/file_state.h"
#include "cli/meta_files/meta_file.h"
#include "cli/output/calendar.h"
#include "cli/output/json_object.h"
#include "cli/output/text_format.h"
#include "cli/output/waiting_line.h"
#include "cli/search/search_filters.h"

namespace zorel::cli {

namespace {

namespace fs = std::filesystem;

using TextFiles = std::map<std::string, FileState>;

// The text data files in a folder; none when the folder cannot be read.
TextFiles TextFilesIn(const fs::path& folder) {
    TextFiles files;
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
        const std::string name = entry.path().filename().string();
        const auto state =
            name.starts_with("vl.") ? ReadFileState(entry.path().string()) : std::nullopt;
        if (state) {
            files[name] = *state;
        }
    }
    return files;
}

struct Written {
    std::int64_t files = 0;
    std::int64_t bytes = 0;
};

// Counts the files of this run. The library sets their modification times, so that only the
// time of the last change shows which files are new.
Written CountWritten(const TextFiles& before, const TextFiles& after) {
    Written written;
    for (const auto& [name, file] : after) {
        const auto earlier = before.find(name);
        if (earlier == before.end() || earlier->second.changed != file.changed) {
            ++written.files;
            written.bytes += static_cast<std::int64_t>(file.bytes);
        }
    }
    return written;
}

// Whether the attribute of a volume list is that of a volume: Volume.NAME.
bool IsVolumeName(const std::u16string& name) {
    return Folded(name).starts_with(u"volume.") && std::count(name.begin(), name.end(), u'.') == 1;
}

class CGenerateCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("SUMMARY", m_summary, "List of volumes, such as CATALOGUE/summary.txt")
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
        app.add_option("--time", m_time, "Times of the text data files (UTC); default: now");
        DeclareJson(app);
        app.footer(
            "Writes for each volume and owner a series vl.VOLUME.OWNER.NUMBER.txt, and for\n"
            "each volume owners.VOLUME.map. Files of the same names are replaced.");
    }

    EExitCode Run(COutput& output) override {
        const std::chrono::sys_seconds time = ParseTime(m_time.value_or("0s"), "--time");
        const fs::path folder = WithSlashes(m_output);
        const TextFiles before = TextFilesIn(folder);
        const auto start = std::chrono::steady_clock::now();
        Generate(ToTicks(time.time_since_epoch().count()));
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        Report(output, CountWritten(before, TextFilesIn(folder)), seconds);
        return kExitOk;
    }

private:
    void Generate(std::int64_t ticks) const {
        const auto library = client::CreateLibrary();
        const client::CString volumes(AbsolutePath(m_summary));
        const client::CString folder(AbsolutePath(m_output));
        const auto separators = client::CString::FromUtf8(m_separators);
        const _FILETIME time = {static_cast<ULONG>(ticks), static_cast<ULONG>(ticks >> 32)};
        const CWaitingLine waiting("Generating from " + m_summary);
        client::Check(library->GenerateOibTDFs(volumes, folder, time, m_records,
                                               m_isCrc ? VARIANT_TRUE : VARIANT_FALSE, m_subfolders,
                                               m_parts, separators),
                      m_summary);
        // For the library such a list is complete; a user has given another file.
        const auto names = CMetaFile(m_summary, EIdxMetaLoad).Names();
        if (std::none_of(names.begin(), names.end(), IsVolumeName)) {
            throw CCommandError(m_summary + ": The list contains no volume.");
        }
    }

    void Report(COutput& output, const Written& written, double seconds) const {
        if (m_isJson) {
            CJsonObject object;
            object.Add("output", std::string_view(m_output));
            object.AddNumber("files", written.files);
            object.AddNumber("bytes", written.bytes);
            object.AddNumber("milliseconds", static_cast<std::int64_t>(seconds * 1e3));
            output.Write(object.Line());
            return;
        }
        char time[32];
        static_cast<void>(std::snprintf(time, sizeof time, "%.2f", seconds));
        output.Write("Output     " + m_output + "\nTexts      " + std::to_string(written.files) +
                     "\nSize       " + std::to_string(written.bytes) + " bytes (" +
                     HumanSize(written.bytes) + ")\nTime       " + time + " s\n");
    }

    std::string m_summary;
    std::string m_output;
    INT m_records = 1'000'000;
    bool m_isCrc = false;
    INT m_subfolders = 3;
    INT m_parts = 0;
    std::string m_separators = "._- ";
    std::optional<std::string> m_time;
};

}  // namespace

std::unique_ptr<CCommand> MakeGenerateCommand() {
    return std::make_unique<CGenerateCommand>();
}

}  // namespace zorel::cli
