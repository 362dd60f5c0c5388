#include <cstdio>
#include <exception>
#include <optional>
#include <string>

#include "ZorelText.h"
#include "cli/catalogue/catalogue.h"
#include "cli/catalogue/scan_record.h"
#include "cli/command_line/command.h"
#include "cli/command_line/failure.h"
#include "cli/info/volume_facts.h"
#include "cli/output/calendar.h"
#include "cli/output/json_object.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

// The DATE of a file time; outside of its range none.
std::optional<DATE> DateOf(std::optional<std::int64_t> ticks) {
    const auto moment = ticks ? MomentOf(*ticks) : std::nullopt;
    return moment ? std::optional(ToDate(*moment)) : std::nullopt;
}

class CInfoCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("CATALOGUE", m_catalogue,
                       "Folder of the catalogue, its summary.txt or one data file")
            ->required();
        DeclareJson(app);
        app.footer(
            "Shows for each volume its data file, what it contains, the oldest and the newest\n"
            "modification time of its files, and the folder, host and time of its scan. Times are\n"
            "in UTC. A volume that cannot be read is reported and the others are shown; the exit\n"
            "code is 3 then, and 2 when none can be read.");
    }

    EExitCode Run(COutput& output) override;

private:
    struct Volume {
        const CCatalogue::Volume* volume = nullptr;
        VolumeFacts facts;
        std::optional<ScanRecord> scan;
    };

    static void Print(COutput& output, const Volume& volume);
    static void PrintScan(COutput& output, const Volume& volume);
    static void PrintJson(COutput& output, const Volume& volume);

    std::string m_catalogue;
};

void Row(COutput& output, const char* label, const std::string& value) {
    output.Write(PadRight(label, 11) + value + "\n");
}

void CInfoCommand::Print(COutput& output, const Volume& volume) {
    const auto dateText = [](std::optional<std::int64_t> ticks) {
        const auto date = DateOf(ticks);
        return date ? FormatDate(*date, "T").value_or("") + "Z" : "-";
    };
    const VolumeFacts& facts = volume.facts;
    Row(output, "Volume", Printable(ToUtf16(volume.volume->name)));
    Row(output, "Data file",
        Printable(ToUtf16(volume.volume->dataFile)) + ", " + SizeText(facts.dataFileSize));
    Row(output, "Folders", std::to_string(facts.folders));
    Row(output, "Files", std::to_string(facts.files));
    Row(output, "Size", SizeText(facts.bytes));
    Row(output, "Owners", std::to_string(facts.owners));
    Row(output, "Oldest", dateText(facts.oldest));
    Row(output, "Newest", dateText(facts.newest));
    PrintScan(output, volume);
}

void CInfoCommand::PrintScan(COutput& output, const Volume& volume) {
    if (!volume.scan) {
        Row(output, "Source", "not known");
        return;
    }
    const ScanRecord& scan = *volume.scan;
    char seconds[32];
    static_cast<void>(std::snprintf(seconds, sizeof(seconds), "%.2f s",
                                    static_cast<double>(scan.milliseconds) / 1000));
    Row(output, "Source", Printable(ToUtf16(scan.folder + " on " + scan.host)));
    Row(output, "Scanned", Printable(ToUtf16(scan.time)) + " in " + seconds);
    if (scan.omitted != 0) {
        Row(output, "Omitted", std::to_string(scan.omitted));
    }
    const char* label = "Options";
    for (const std::string& option : scan.options) {
        Row(output, label, Printable(ToUtf16(option)));
        label = "";
    }
}

void CInfoCommand::PrintJson(COutput& output, const Volume& volume) {
    const VolumeFacts& facts = volume.facts;
    CJsonObject object;
    object.Add("volume", volume.volume->name)
        .Add("dataFile", volume.volume->dataFile)
        .AddNumber("dataFileSize", facts.dataFileSize)
        .AddNumber("folders", facts.folders)
        .AddNumber("files", facts.files)
        .AddNumber("bytes", facts.bytes)
        .AddNumber("owners", facts.owners);
    const auto addDate = [&](const char* key, std::optional<std::int64_t> ticks) {
        const auto date = DateOf(ticks);
        date ? object.AddDate(key, *date) : object.AddNull(key);
    };
    addDate("oldest", facts.oldest);
    addDate("newest", facts.newest);
    if (volume.scan) {
        CJsonObject scan;
        scan.Add("folder", volume.scan->folder)
            .Add("host", volume.scan->host)
            .Add("time", volume.scan->time)
            .AddNumber("milliseconds", volume.scan->milliseconds)
            .AddNumber("omitted", volume.scan->omitted)
            .AddTexts("options", volume.scan->options);
        object.AddObject("scan", scan);
    } else {
        object.AddNull("scan");
    }
    output.Write(object.Line());
}

EExitCode CInfoCommand::Run(COutput& output) {
    const CCatalogue catalogue(m_catalogue);
    std::size_t shown = 0;
    bool isComplete = true;
    for (const CCatalogue::Volume& entry : catalogue.Volumes()) {
        Volume volume;
        volume.volume = &entry;
        try {
            volume.facts = ReadVolumeFacts(entry.dataFile);
        } catch (const std::exception& error) {
            PrintFailure(error);
            isComplete = false;
            continue;
        }
        try {
            volume.scan = FindScanRecord(entry.dataFile);
        } catch (const std::exception& error) {  // what is known of the volume is shown
            PrintFailure(error);
            isComplete = false;
        }
        if (m_isJson) {
            PrintJson(output, volume);
        } else {
            output.Write(shown == 0 ? "" : "\n");
            Print(output, volume);
        }
        ++shown;
    }
    if (shown == 0) {
        return kExitFailure;
    }
    return isComplete ? kExitOk : kExitIncomplete;
}

}  // namespace

std::unique_ptr<CCommand> MakeInfoCommand() {
    return std::make_unique<CInfoCommand>();
}

}  // namespace zorel::cli
