#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "ZorelClient.h"
#include "cli/command_line/command.h"
#include "cli/library/string_array.h"
#include "cli/output/calendar.h"
#include "cli/output/json_object.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

constexpr std::u16string_view kSeparators = u"\\/";

bool IsVolume(std::u16string_view text) {
    return text.size() == 2 && text[1] == u':' &&
           ((text[0] >= u'A' && text[0] <= u'Z') || (text[0] >= u'a' && text[0] <= u'z'));
}

// The folder names of a path, without its volume and without empty names.
std::vector<std::u16string> SplitPath(std::u16string_view path) {
    std::vector<std::u16string> names;
    const bool isRooted = path.find_first_of(kSeparators) == 0;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find_first_of(kSeparators), path.size());
        if (end != 0) {
            names.emplace_back(path.substr(0, end));
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    if (!isRooted && !names.empty() && IsVolume(names.front())) {
        names.erase(names.begin());
    }
    return names;
}

// The path for the library, which ignores the first name: it is the volume.
std::u16string JoinPath(const std::vector<std::u16string>& names) {
    std::u16string path = u"C:";
    for (const std::u16string& name : names) {
        path += u'\\';
        path += name;
    }
    return path;
}

// The files of one listing.
class CFileList {
public:
    CFileList(client::CComPtr<IOibFilesArray> files, std::string subject)
        : m_files(std::move(files)), m_subject(std::move(subject)) {
        client::Check(m_files->get_FilesCount(&m_count), m_subject);
    }

    ULONG Count() const { return m_count; }
    std::int64_t TotalSize() const {
        ULONGLONG size = 0;
        client::Check(m_files->get_TotalSize(&size), m_subject);
        return static_cast<std::int64_t>(size);
    }
    void Read(ULONG index, client::CFileInfo& file) const {
        client::Check(m_files->GetFileInfo(index, file.Put()), m_subject);
    }

private:
    client::CComPtr<IOibFilesArray> m_files;
    std::string m_subject;
    ULONG m_count = 0;
};

// A data file opened for browsing. Failures are client::CError with its path.
class CVolume {
public:
    explicit CVolume(const std::string& path) : m_path(path) {
        client::Check(
            client::CreateLibrary()->BrowseOibDF(client::CString::FromUtf8(path), m_browser.Put()),
            m_path);
    }

    std::vector<std::u16string> Folders(const std::u16string& path) const;
    // Every folder below `path`, each before its own subfolders, with names relative to it.
    std::vector<std::u16string> AllFolders(const std::u16string& path) const;
    bool Exists(std::vector<std::u16string> names) const;
    // Without `endings`: all files.
    CFileList Files(const std::u16string& path, bool isRecursive,
                    const std::optional<std::string>& endings) const;

private:
    std::string m_path;
    client::CComPtr<IOibDFBrowser> m_browser;
};

std::vector<std::u16string> CVolume::Folders(const std::u16string& path) const {
    client::CStringArray folders;
    client::Check(m_browser->GetFolders(client::CString(path), folders.Put()), m_path);
    return TextsOf(folders);
}

std::vector<std::u16string> CVolume::AllFolders(const std::u16string& path) const {
    struct Place {
        std::u16string relative;
        bool isReachable;  // false after a name that contains a separator
    };
    std::vector<std::u16string> found;
    std::vector<Place> pending = {{u"", true}};  // the next one last
    while (!pending.empty()) {
        const Place place = std::move(pending.back());
        pending.pop_back();
        const bool isStart = place.relative.empty();
        if (!isStart) {
            found.push_back(place.relative);
        }
        if (!place.isReachable) {
            continue;
        }
        std::vector<std::u16string> names = Folders(isStart ? path : path + u'\\' + place.relative);
        std::reverse(names.begin(), names.end());
        for (const std::u16string& name : names) {
            pending.push_back({isStart ? name : place.relative + u'\\' + name,
                               name.find_first_of(kSeparators) == std::u16string::npos});
        }
    }
    return found;
}

bool CVolume::Exists(std::vector<std::u16string> names) const {
    if (names.empty()) {
        return true;
    }
    const std::u16string last = Folded(names.back());
    names.pop_back();
    const std::vector<std::u16string> siblings = Folders(JoinPath(names));
    return std::any_of(siblings.begin(), siblings.end(),
                       [&](const std::u16string& name) { return Folded(name) == last; });
}

CFileList CVolume::Files(const std::u16string& path, bool isRecursive,
                         const std::optional<std::string>& endings) const {
    const client::CString filter =
        endings ? client::CString::FromUtf8(*endings) : client::CString();
    client::CComPtr<IOibFilesArray> files;
    client::Check(
        m_browser->GetFilesEx(client::CString(path), isRecursive ? VARIANT_TRUE : VARIANT_FALSE,
                              filter, files.Put()),
        m_path);
    return {std::move(files), m_path};
}

class CBrowseCommand : public CCommand {
public:
    void Declare(CLI::App& app) override;
    EExitCode Run(COutput& output) override;

private:
    void Print(COutput& output, const std::vector<std::u16string>& folders,
               const CFileList& files) const;
    static void PrintJson(COutput& output, const std::vector<std::u16string>& folders,
                          const CFileList& files);
    std::string Size(std::int64_t bytes) const {
        return m_isHuman ? HumanSize(bytes) : std::to_string(bytes);
    }

    std::string m_dataFile;
    std::string m_path;
    std::optional<std::string> m_endings;
    bool m_isRecursive = false;
    bool m_isHuman = false;
};

void CBrowseCommand::Declare(CLI::App& app) {
    app.add_option("DATAFILE", m_dataFile, "Data file of a volume, such as CATALOGUE/C.dat")
        ->required();
    app.add_option("PATH", m_path, "Folder to list: C:\\usr\\share, /usr/share or usr/share");
    app.add_flag("-r,--recursive", m_isRecursive, "List all folders and files below the folder");
    app.add_option("--ext", m_endings, "Only files with these endings of the name: 'txt;log'")
        ->type_name("LIST");
    app.add_flag("-H,--human", m_isHuman, "Print sizes like 1.5K");
    DeclareJson(app);
    app.footer(
        "Folders come first, then files with owner, size in bytes, modification time (UTC)\n"
        "and name. With both -r and --ext only files are listed. Exit code 1: the folder does\n"
        "not exist, or no file has one of the endings.");
}

EExitCode CBrowseCommand::Run(COutput& output) {
    const CVolume volume(m_dataFile);
    const std::vector<std::u16string> names = SplitPath(ToUtf16(m_path));
    if (!volume.Exists(names)) {
        PrintError(m_dataFile + ": There is no folder " + m_path);
        return kExitNothingFound;
    }
    const std::u16string path = JoinPath(names);
    std::vector<std::u16string> folders;
    if (!m_isRecursive) {
        folders = volume.Folders(path);
    } else if (!m_endings) {
        folders = volume.AllFolders(path);
    }
    const CFileList files = volume.Files(path, m_isRecursive, m_endings);
    if (m_isJson) {
        PrintJson(output, folders, files);
    } else {
        Print(output, folders, files);
    }
    return m_endings && files.Count() == 0 ? kExitNothingFound : kExitOk;
}

void CBrowseCommand::Print(COutput& output, const std::vector<std::u16string>& folders,
                           const CFileList& files) const {
    constexpr std::size_t kDateWidth = 19;
    std::size_t ownerWidth = 1;
    std::size_t sizeWidth = 1;
    client::CFileInfo file;
    for (ULONG i = 0; i < files.Count(); ++i) {
        files.Read(i, file);
        ownerWidth = std::max(ownerWidth, DisplayWidth(Printable(client::ViewOf(file.Owner))));
        sizeWidth = std::max(sizeWidth, Size(file.Size).size());
    }
    const auto line = [&](const char* type, const std::string& owner, const std::string& size,
                          const std::string& date, const std::string& name) {
        output.Write(std::string(type) + "  " + PadRight(owner, ownerWidth) + "  " +
                     PadLeft(size, sizeWidth) + "  " + PadRight(date, kDateWidth) + "  " + name +
                     "\n");
    };
    for (const std::u16string& name : folders) {
        line("d", "-", "-", "-", Printable(name) + "\\");
    }
    for (ULONG i = 0; i < files.Count(); ++i) {
        files.Read(i, file);
        const std::string owner = Printable(client::ViewOf(file.Owner));
        line("-", owner.empty() ? "-" : owner, Size(file.Size),
             FormatDate(file.ModifyTime, " ").value_or("-"),
             Printable(client::ViewOf(file.FileName)));
    }
    output.Write(Counted(static_cast<std::int64_t>(folders.size()), "folder") + ", " +
                 Counted(files.Count(), "file") + ", " + Size(files.TotalSize()) +
                 (m_isHuman ? "\n" : " bytes\n"));
}

void CBrowseCommand::PrintJson(COutput& output, const std::vector<std::u16string>& folders,
                               const CFileList& files) {
    for (const std::u16string& name : folders) {
        output.Write(CJsonObject().Add("type", "folder").Add("name", name).Line());
    }
    client::CFileInfo file;
    for (ULONG i = 0; i < files.Count(); ++i) {
        files.Read(i, file);
        CJsonObject object;
        object.Add("type", "file").Add("name", client::ViewOf(file.FileName));
        object.AddNumber("size", file.Size).AddDate("modified", file.ModifyTime);
        output.Write(object.Add("owner", client::ViewOf(file.Owner)).Line());
    }
}

}  // namespace

std::unique_ptr<CCommand> MakeBrowseCommand() {
    return std::make_unique<CBrowseCommand>();
}

}  // namespace zorel::cli
