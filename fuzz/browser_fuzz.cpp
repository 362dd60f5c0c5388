// An index data file through the browser: listings never crash, and agree with each other.
#include <algorithm>
#include <optional>

#include "fuzz.h"
#include "support/index_file_builder.h"

namespace fuzz {

namespace {

using namespace std::string_view_literals;
using zorel::client::CComPtr;
using zorel::client::CString;
using zorel::client::CStringArray;

constexpr std::size_t kMostFolders = 40;

// Counts files in several ways. A listing that fails has no count.
class CLister {
public:
    explicit CLister(IOibDFBrowser& browser) : m_browser(browser) {}

    std::optional<ULONG> CountFiles(const std::u16string& path, bool recursive,
                                    const CString& extensions) const {
        CComPtr<IOibFilesArray> files;
        if (!Succeeds(m_browser.GetFilesEx(CString(path), recursive ? VARIANT_TRUE : VARIANT_FALSE,
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
            !Succeeds(m_browser.GetFolders(CString(path), folders.Put()))) {
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

}  // namespace

void Run(std::string_view bytes) {
    CInput input(bytes);
    const std::u16string path = u"c:" + input.Text(u"\\\\/aUsersjohn", 12);
    const CString extensions(input.Text(u".;, txlog", 8));
    WriteFile(u"v.dat", input.Rest());
    CComPtr<IOibDFBrowser> browser;
    if (!Succeeds(Library().BrowseOibDF(CString(PathOf(u"v.dat")), browser.Put()))) {
        return;
    }
    CLister lister(*browser);
    const auto whole = lister.CountFiles(u"c:", true, CString());
    const auto walked = lister.WalkFiles(u"c:");
    Require(!walked || whole == walked, "a recursive listing has the files of all folders");
    const auto flat = lister.CountFiles(path, false, extensions);
    const auto deep = lister.CountFiles(path, true, extensions);
    Require(!flat || !deep || *flat <= *deep, "a recursive listing has the files of the folder");
    RequireSuccess(browser->Close(), "a browser can be closed");
}

std::vector<std::string> Seeds() {
    support::Volume volume = support::SmallVolume();
    volume.files[1].dir = 99;
    volume.dirs[3].parent = 3;
    // The choices: a path, then extensions.
    return {Seed(ReadSource("tests/data/example.dat"), {0, 0}),
            Seed(support::SmallVolume().Bytes(), {6, 0, 3, 4, 5, 6, 7, 0}),
            Seed(support::RandomVolume(1, 12, 30, 4).Bytes(), {0, 4, 0, 4, 5, 4}),
            Seed(volume.Bytes(), {0, 0})};
}

}  // namespace fuzz
