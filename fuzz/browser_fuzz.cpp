// An index data file through the browser: a model gives the listings of volumes made of rows; for
// any other bytes, listings never crash, and agree with each other.
#include <algorithm>
#include <optional>

#include "browser_model.h"
#include "fuzz.h"
#include "volume_input.h"

namespace fuzz {

namespace {

using namespace std::string_view_literals;
using zorel::client::CComPtr;
using zorel::client::CString;
using zorel::client::CStringArray;

constexpr std::size_t kMostFolders = 40;

// Whether the call succeeded.
bool Lists(HRESULT result) {
    Require(result != E_OUTOFMEMORY, "a small volume does not exhaust memory");
    return Succeeds(result);
}

// Counts files in several ways. A listing that fails has no count.
class CLister {
public:
    explicit CLister(IOibDFBrowser& browser) : m_browser(browser) {}

    std::optional<ULONG> CountFiles(const std::u16string& path, bool recursive,
                                    const CString& extensions) const {
        CComPtr<IOibFilesArray> files;
        if (!Lists(m_browser.GetFilesEx(CString(path), recursive ? VARIANT_TRUE : VARIANT_FALSE,
                                        extensions, files.Put()))) {
            return std::nullopt;
        }
        ULONG count = 0;
        ULONGLONG total = 0;
        RequireSuccess(files->get_FilesCount(&count), "a listing has a count");
        RequireSuccess(files->get_TotalSize(&total), "a listing has a total size");
        bool isComplete = true;
        for (ULONG i = 0; i < count; ++i) {
            zorel::client::CFileInfo info;
            isComplete = Succeeds(files->GetFileInfo(i, info.Put())) && isComplete;
            total -= static_cast<ULONGLONG>(info.Size);
        }
        Require(!isComplete || total == 0, "the total size is the sum of the sizes");
        zorel::client::CFileInfo info;
        Require(!Succeeds(files->GetFileInfo(count, info.Put())), "the count is the end");
        return count;
    }

    // The files below a folder, found folder by folder; none when there are too many folders,
    // when a path cannot name one of them, or after a failure.
    std::optional<ULONG> WalkFiles(const std::u16string& path) {
        CStringArray folders;
        if (++m_folders > kMostFolders ||
            !Lists(m_browser.GetFolders(CString(path), folders.Put()))) {
            return std::nullopt;
        }
        std::optional<ULONG> count = CountFiles(path, false, CString());
        for (std::size_t i = 0; i < folders.Size() && count; ++i) {
            if (folders[i].find_first_of(u"\\/\0"sv) != std::u16string_view::npos) {
                return std::nullopt;
            }
            const auto below = WalkFiles(path + u"\\" + std::u16string(folders[i]));
            count = below ? std::optional<ULONG>(*count + *below) : std::nullopt;
        }
        return count;
    }

private:
    IOibDFBrowser& m_browser;
    std::size_t m_folders = 0;
};

CComPtr<IOibDFBrowser> Open(std::string_view volume) {
    WriteFile(u"v.dat", volume);
    CComPtr<IOibDFBrowser> browser;
    Lists(Library().BrowseOibDF(CString(PathOf(u"v.dat")), browser.Put()));
    return browser;
}

void ListAnyBytes(CInput& input) {
    const std::u16string path = u"c:" + input.Text(u"\\\\/aUsersjohn", 12);
    const CString extensions(input.Text(u".;, txlog", 8));
    const auto browser = Open(input.Rest());
    if (!browser) {
        return;
    }
    CLister lister(*browser);
    const auto whole = lister.CountFiles(u"c:", true, CString());
    // A record has at least 32 bytes; at most 256 records are read past the end.
    Require(!whole || *whole <= input.Rest().size() / 32 + 257, "a listing has files of the table");
    const auto walked = lister.WalkFiles(u"c:");
    Require(!walked || whole == walked, "a recursive listing has the files of all folders");
    const auto flat = lister.CountFiles(path, false, extensions);
    const auto deep = lister.CountFiles(path, true, extensions);
    Require(!flat || !deep || *flat <= *deep, "a recursive listing has the files of the folder");
    RequireSuccess(browser->Close(), "a browser can be closed");
}

Names ReadFolders(IOibDFBrowser& browser, const std::u16string& path) {
    CStringArray folders;
    RequireSuccess(browser.GetFolders(CString(path), folders.Put()), "folders can be listed");
    Names names(folders.Size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        names[i] = folders[i];
    }
    return names;
}

std::vector<Listed> ReadFiles(IOibDFBrowser& browser, const std::u16string& path, bool recursive,
                              const CString& endings) {
    CComPtr<IOibFilesArray> array;
    RequireSuccess(browser.GetFilesEx(CString(path), recursive ? VARIANT_TRUE : VARIANT_FALSE,
                                      endings, array.Put()),
                   "files can be listed");
    ULONG count = 0;
    RequireSuccess(array->get_FilesCount(&count), "a listing has a count");
    std::vector<Listed> files;
    for (ULONG i = 0; i < count; ++i) {
        zorel::client::CFileInfo info;
        RequireSuccess(array->GetFileInfo(i, info.Put()), "a listed file can be read");
        files.emplace_back(zorel::client::ViewOf(info.FileName), info.ModifyTime, info.Size,
                           zorel::client::ViewOf(info.Owner));
    }
    return files;
}

// Names with backslashes, empty names, equal folders, and extensions.
support::Volume ReadTree(CInput& input) {
    constexpr std::u16string_view kEndings[] = {u"", u".txt", u".TXT", u"log"};
    support::Volume volume = ReadVolume(input);
    for (std::size_t i = 1; i < volume.dirs.size(); ++i) {
        if (input.Below(3) == 1) {
            volume.dirs[i].name = input.Text(u"aAbB\\", 2);
        }
    }
    for (support::FileRow& file : volume.files) {
        if (input.Below(6) == 1) {
            file.name = input.Text(u"aAbB\\", 3);
        }
        file.name += input.Pick(kEndings);
    }
    return volume;
}

// The root or up to three folders below it, which exist or not.
std::u16string ReadPath(CInput& input, const support::Volume& volume) {
    constexpr const char16_t* kDrives[] = {u"c:", u"C:", u"x:", u"Users", u""};
    std::u16string path = input.Pick(kDrives);
    Names names;
    std::size_t folder = input.Below(volume.dirs.size());
    for (bool isBelow = input.Below(8) != 1; isBelow && folder != 0 && names.size() < 12;) {
        names.push_back(volume.dirs[folder].name);
        folder = static_cast<std::size_t>(volume.dirs[folder].parent);
    }
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        path += input.Flag() ? u'/' : u'\\';
        path += input.Flag() ? support::Lower(*name) : *name;
    }
    return path + (input.Below(4) == 1 ? u"\\" : u"");
}

void CompareWithTheModel(CInput& input) {
    const support::Volume volume = ReadTree(input);
    const BrowserModel model{volume};
    const auto browser = Open(volume.Bytes());
    Require(static_cast<bool>(browser), "a volume of rows can be browsed");
    for (int i = 0; i < 4; ++i) {
        const std::u16string path = ReadPath(input, volume);
        const std::int64_t folder = model.Resolve(path);
        Require(ReadFolders(*browser, path) == model.Folders(folder),
                "the folders are those of the model");
        for (const auto& [recursive, all] :
             {std::pair(false, false), {false, true}, {true, false}, {true, true}}) {
            const auto files =
                ReadFiles(*browser, path, recursive, all ? CString() : CString(u".txt; log"));
            Require(std::is_sorted(files.begin(), files.end(),
                                   [](const Listed& a, const Listed& b) {
                                       return support::Lower(std::get<0>(a)) <
                                              support::Lower(std::get<0>(b));
                                   }),
                    "files are sorted by name");
            Require(std::multiset<Listed>(files.begin(), files.end()) ==
                        model.Files(folder, recursive, all ? Names() : Names{u".txt", u"log"}),
                    "the files are those of the model");
        }
    }
}

}  // namespace

void Run(std::string_view bytes) {
    CInput input(bytes);
    input.Flag() ? CompareWithTheModel(input) : ListAnyBytes(input);
}

std::vector<std::string> Seeds() {
    support::Volume volume = support::SmallVolume();
    volume.files[1].dir = 99;
    volume.dirs[3].parent = 3;
    support::TableImage files = support::FilesTable(volume.files);
    files.recordCount = -1;
    // The choices: any bytes, a path, then extensions.
    std::vector<std::string> seeds = {
        Seed(ReadSource("tests/data/example.dat"), {0, 0, 0}),
        Seed(support::SmallVolume().Bytes(), {0, 6, 0, 3, 4, 5, 6, 7, 0}),
        Seed(support::RandomVolume(1, 12, 30, 4).Bytes(), {0, 0, 4, 0, 4, 5, 4}),
        Seed(volume.Bytes(), {0, 0, 0}),
        Seed(support::ChainTables(
                 {DirsTable(support::SmallVolume().dirs), files, OwnersTable(volume.owners)}),
             {0, 0, 0})};
    seeds.insert(seeds.end(), 100, seeds[1]);
    for (std::uint32_t i = 0; i < 200; ++i) {
        seeds.push_back(RandomSeed(i, 900, {1}));
    }
    return seeds;
}

}  // namespace fuzz
