#include <optional>
#include <string>

#include "ZorelText.h"
#include "cli/browse/listing.h"
#include "cli/browse/volume_browser.h"
#include "cli/catalogue/catalogue.h"
#include "cli/command_line/command.h"
#include "cli/output/json_object.h"
#include "cli/output/listing_options.h"
#include "cli/output/omission_list.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

class CBrowseCommand : public CCommand {
public:
    void Declare(CLI::App& app) override;
    EExitCode Run(COutput& output) override;

private:
    // The volume that the path names, or the only one; null when the volumes are to be listed.
    const CCatalogue::Volume* FindVolume(const CCatalogue& catalogue) const;
    void PrintVolumes(COutput& output, const CCatalogue& catalogue) const;
    EExitCode PrintVolume(COutput& output, const CCatalogue::Volume& volume) const;
    void PrintTotals(COutput& output, const CListing& listing) const;
    RowStyle Style() const;

    std::string m_catalogue;
    std::string m_path;
    std::optional<std::string> m_endings;
    bool m_isRecursive = false;
    bool m_isHuman = false;
    CListingOptions m_listing;
};

void CBrowseCommand::Declare(CLI::App& app) {
    app.add_option("CATALOGUE", m_catalogue,
                   "Catalogue: its folder, its summary.txt or a data file such as C.dat")
        ->required();
    app.add_option("PATH", m_path, "Folder to list: C:\\usr\\share, /usr/share or usr/share");
    app.add_flag("-r,--recursive", m_isRecursive, "List all folders and files below the folder");
    app.add_option("--ext", m_endings, "Only files with these endings of the name: 'txt;log'")
        ->type_name("LIST");
    app.add_flag("-H,--human", m_isHuman, "Print sizes like 1.5K");
    m_listing.Declare(app);
    DeclareJson(app);
    app.footer(
        "Folders come first, then files with owner, size in bytes, modification time (UTC)\n"
        "and name. With both -r and --ext only files are listed. A catalogue of several\n"
        "volumes needs a PATH with the letter of one; without PATH its volumes are listed.\n"
        "Exit code 1: the folder does not exist, or no file has one of the endings; 3: some\n"
        "folders are hidden by others, they are named.");
}

EExitCode CBrowseCommand::Run(COutput& output) {
    const CCatalogue catalogue(m_catalogue);
    if (const CCatalogue::Volume* const volume = FindVolume(catalogue)) {
        return PrintVolume(output, *volume);
    }
    PrintVolumes(output, catalogue);
    return kExitOk;
}

const CCatalogue::Volume* CBrowseCommand::FindVolume(const CCatalogue& catalogue) const {
    const std::string letter = VolumeIn(m_path);
    if (!letter.empty() && !catalogue.VolumeList().empty()) {
        return &catalogue.FindVolume(letter);
    }
    if (catalogue.Volumes().size() == 1) {
        return &catalogue.Volumes().front();
    }
    if (!m_isRecursive && m_path.find_first_not_of("\\/") == std::string::npos) {
        return nullptr;
    }
    throw CCommandError(m_catalogue + ": has " + std::to_string(catalogue.Volumes().size()) +
                        " volumes; begin the path with the letter of one, such as " +
                        catalogue.Volumes().front().name + ":\\");
}

void CBrowseCommand::PrintVolumes(COutput& output, const CCatalogue& catalogue) const {
    for (const CCatalogue::Volume& volume : catalogue.Volumes()) {
        const std::u16string name = ToUtf16(volume.name);
        if (m_isJson) {
            CJsonObject object;
            object.Add("type", std::string_view("volume")).Add("path", name + u":\\");
            output.Write(object.Add("name", name).Add("volume", name).Line());
        } else {
            output.Write("v  " + Printable(name) + ":\\\n");
        }
    }
    if (!m_isJson) {
        output.Write(Counted(static_cast<std::int64_t>(catalogue.Volumes().size()), "volume") +
                     "\n");
    }
}

RowStyle CBrowseCommand::Style() const {
    RowStyle style = m_listing.TextStyle();
    style.format = m_isJson ? ERowFormat::Json : ERowFormat::Columns;
    style.isHuman = m_isHuman;
    return style;
}

EExitCode CBrowseCommand::PrintVolume(COutput& output, const CCatalogue::Volume& volume) const {
    CListing listing(volume, m_isRecursive, m_endings);
    if (!listing.Open(SplitPath(ToUtf16(m_path)))) {
        PrintError(m_catalogue + ": There is no folder " + m_path);
        return kExitNothingFound;
    }
    listing.Print(output, Style());
    if (!m_isJson) {
        PrintTotals(output, listing);
    }
    COmissionList hidden;
    for (const HiddenFolder& folder : listing.HiddenFolders()) {
        hidden.Add(folder.path, folder.reason);
    }
    hidden.Finish();
    if (listing.HasOmittedFiles()) {
        return kExitIncomplete;
    }
    return m_endings && listing.FileCount() == 0 ? kExitNothingFound : kExitOk;
}

void CBrowseCommand::PrintTotals(COutput& output, const CListing& listing) const {
    const std::int64_t bytes = listing.TotalSize();
    output.Write(Counted(static_cast<std::int64_t>(listing.FolderCount()), "folder") + ", " +
                 Counted(listing.FileCount(), "file") + ", " +
                 (m_isHuman ? HumanSize(bytes) + "\n" : std::to_string(bytes) + " bytes\n"));
}

}  // namespace

std::unique_ptr<CCommand> MakeBrowseCommand() {
    return std::make_unique<CBrowseCommand>();
}

}  // namespace zorel::cli
