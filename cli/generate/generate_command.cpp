#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "ZorelText.h"
#include "cli/command_line/command.h"
#include "cli/library/library.h"
#include "cli/output/text_format.h"
#include "cli/output/waiting_line.h"
#include "cli/search/search_filters.h"

namespace zorel::tools {

namespace {

namespace fs = std::filesystem;

struct TextFile {
    std::pair<std::int64_t, std::int64_t> changed;  // last change of any kind
    std::uint64_t bytes = 0;
};
using TextFiles = std::map<std::string, TextFile>;

// The text data files in a folder; none when it cannot be read.
TextFiles TextFilesIn(const fs::path& folder) {
    TextFiles files;
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
        struct stat status {};
        const std::string name = entry.path().filename().string();
        if (name.starts_with("vl.") && stat(entry.path().c_str(), &status) == 0) {
            files[name] = {{status.st_ctim.tv_sec, status.st_ctim.tv_nsec},
                           static_cast<std::uint64_t>(status.st_size)};
        }
    }
    return files;
}

struct Written {
    std::int64_t files = 0;
    std::int64_t bytes = 0;
};

// The times that files carry are given to them, so only the system's own mark tells which
// ones are of this run.
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

// As the library takes a path: both separators part folders.
std::string WithSlashes(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

class CGenerateCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("SUMMARY", m_summary, "List of volumes, such as CATALOGUE/summary.txt")
            ->required();
        app.add_option("-o,--output", m_output, "Folder for the text data files")->required();
        app.add_option("--records", m_records, "Files told in one text data file")
            ->check(CLI::PositiveNumber)
            ->capture_default_str();
        auto* const crc = app.add_flag("--crc", m_isCrc, "Key lines for a search server");
        app.add_option("--subfolders", m_subfolders, "Folders in a fingerprint, -1 for all")
            ->needs(crc)
            ->capture_default_str();
        app.add_option("--parts", m_parts, "Parts of a name that get key lines of their own")
            ->needs(crc)
            ->capture_default_str();
        app.add_option("--separators", m_separators, "Characters that cut a name into parts")
            ->needs(crc)
            ->capture_default_str();
        app.add_option("--time", m_time, "Time given to the files (UTC); now when not given");
        DeclareJson(app);
        app.footer(
            "Writes for each volume and owner a series vl.VOLUME.OWNER.NUMBER.txt, and for\n"
            "each volume owners.VOLUME.map. Files of the same names are replaced.");
    }

    EExitCode Run(COutput& output) override {
        const std::uint64_t ticks = TicksOf(ParseTime(m_time.value_or("0s"), "--time"));
        const fs::path folder = fs::absolute(WithSlashes(m_output));
        const TextFiles before = TextFilesIn(folder);
        const auto start = std::chrono::steady_clock::now();
        Generate(folder.string(), ticks);
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        Report(output, CountWritten(before, TextFilesIn(folder)), seconds);
        return kExitOk;
    }

private:
    void Generate(const std::string& folder, std::uint64_t ticks) const {
        const client::CLibrary library;
        const client::CText summary(ToUtf16(fs::absolute(m_summary).string()));
        const client::CText target(ToUtf16(folder));
        const client::CText separators(ToUtf16(m_separators));
        const _FILETIME time = {static_cast<ULONG>(ticks), static_cast<ULONG>(ticks >> 32)};
        const CWaitingLine waiting("Generating from " + m_summary);
        client::Check(library->GenerateOibTDFs(summary.Get(), target.Get(), time, m_records,
                                               m_isCrc ? VARIANT_TRUE : VARIANT_FALSE, m_subfolders,
                                               m_parts, separators.Get()),
                      m_summary);
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

}  // namespace zorel::tools
