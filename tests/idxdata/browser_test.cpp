// The data file browser through its public interface, against a slow plain model.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <optional>
#include <random>
#include <set>

#include "automation/bstr.h"
#include "automation/com_ptr.h"
#include "frame/automation_conversions.h"
#include "frame/conversions.h"
#include "frame/server/class_factory.h"
#include "platform/times.h"
#include "support/automation_check.h"
#include "support/index_file_builder.h"
#include "support/temp_folder.h"
#include "text/ascii_case.h"

namespace {

using automation::CBstr;
using automation::CComPtr;
using support::Volume;
using Names = std::vector<std::u16string>;

struct Listed {
    std::u16string name;
    double time;
    std::int64_t size;
    std::u16string owner;

    auto operator<=>(const Listed&) const = default;
};

// What a browser must answer, worked out record by record from the volume's rows.
class BrowserModel {
public:
    explicit BrowserModel(const Volume& volume) : m_volume(volume) {
        for (std::size_t i = 1; i < volume.dirs.size(); ++i) {
            if (!volume.dirs[i].name.empty()) {
                m_children[static_cast<std::size_t>(volume.dirs[i].parent)]
                          [text::ToLowerAscii(std::u16string_view(volume.dirs[i].name))] = i;
            }
        }
    }

    std::optional<std::size_t> Resolve(std::u16string path) {
        std::replace(path.begin(), path.end(), u'/', u'\\');
        std::size_t node = 0;
        auto pos = path.find(u'\\');
        while (pos != path.npos && pos + 1 < path.size()) {
            const auto next = path.find(u'\\', pos + 1);
            const auto name = text::ToLowerAscii(std::u16string_view(path).substr(
                pos + 1, next == path.npos ? next : next - pos - 1));
            const auto child = m_children[node].find(name);
            if (child == m_children[node].end()) {
                return std::nullopt;
            }
            node = child->second;
            pos = next;
        }
        return node;
    }

    Names Folders(const std::u16string& path) {
        Names names;
        if (const auto node = Resolve(path)) {
            for (const auto& [folded, child] : m_children[*node]) {
                names.push_back(m_volume.dirs[child].name);
            }
        }
        return names;
    }

    std::vector<Listed> Files(const std::u16string& path, bool recursive,
                              const std::optional<Names>& endings) {
        std::vector<Listed> files;
        if (const auto node = Resolve(path)) {
            Collect(*node, u"", recursive, endings, files);
        }
        return files;
    }

private:
    void Collect(std::size_t node, const std::u16string& prefix, bool recursive,
                 const std::optional<Names>& endings, std::vector<Listed>& files) {
        for (const support::FileRow& row : m_volume.files) {
            const bool wanted =
                !endings || std::any_of(endings->begin(), endings->end(), [&](const auto& ending) {
                    return row.name.size() > ending.size() && row.name.ends_with(ending);
                });
            if (row.dir == static_cast<std::int64_t>(node) && wanted) {
                double date = 0;
                platform::FileTimeToDate(row.modifyTime, date);
                const bool owned = row.owner < m_volume.owners.size();
                files.push_back({prefix + row.name, date, row.size,
                                 owned ? m_volume.owners[row.owner].name : u""});
            }
        }
        for (const auto& [folded, child] : m_children[node]) {
            if (recursive) {
                Collect(child, prefix + m_volume.dirs[child].name + u"\\", true, endings, files);
            }
        }
    }

    const Volume& m_volume;
    std::map<std::size_t, std::map<std::u16string, std::size_t>> m_children;
};

class Browser : public ::testing::Test {
protected:
    Browser() {
        EXPECT_EQ(server::CreateLibraryObject(nullptr, IID_IOibIdxLib, m_lib.PutVoid()), S_OK);
    }

    HRESULT Open(const std::string& bytes, CComPtr<IOibDFBrowser>& browser) {
        std::ofstream(m_folder.Native(u"v.dat"), std::ios::binary) << bytes;
        const CBstr path(automation::NewBstr(m_folder.Path(u"v.dat")));
        return m_lib->BrowseOibDF(path.Get(), browser.Put());
    }

    static HRESULT Folders(IOibDFBrowser& browser, std::u16string_view path, Names& names) {
        const CBstr root(automation::NewBstr(path));
        automation::CSafeArrayPtr array;
        const HRESULT hr = browser.GetFolders(root.Get(), array.Put());
        names = hr == S_OK ? frame::SafeArrayToStringList(array.Get()) : Names();
        return hr;
    }

    static std::vector<Listed> Items(IOibFilesArray& array) {
        ULONG count = 0;
        EXPECT_EQ(array.get_FilesCount(&count), S_OK);
        std::vector<Listed> files;
        for (ULONG i = 0; i < count; ++i) {
            OibFileInfo info{};
            EXPECT_EQ(array.GetFileInfo(i, &info), S_OK);
            const CBstr name(info.FileName);
            const CBstr owner(info.Owner);
            files.push_back({support::WholeText(name.Get()), info.ModifyTime, info.Size,
                             std::u16string(automation::TextOf(owner.Get()))});
        }
        return files;
    }

    static HRESULT Files(IOibDFBrowser& browser, std::u16string_view path, bool recursive,
                         const char16_t* endings, std::vector<Listed>& files) {
        std::u16string error;
        return Files(browser, path, recursive, endings, files, error);
    }

    static HRESULT Files(IOibDFBrowser& browser, std::u16string_view path, bool recursive,
                         const char16_t* endings, std::vector<Listed>& files,
                         std::u16string& error) {
        const CBstr root(automation::NewBstr(path));
        const CBstr list(endings != nullptr ? automation::NewBstr(endings) : nullptr);
        CComPtr<IOibFilesArray> array;
        const HRESULT hr = browser.GetFilesEx(root.Get(), recursive ? VARIANT_TRUE : VARIANT_FALSE,
                                              list.Get(), array.Put());
        error = support::TakeError().description;
        files = array ? Items(*array) : std::vector<Listed>();
        return hr;
    }

    support::CTempFolder m_folder;
    CComPtr<IOibIdxLib> m_lib;
};

bool NamesAscend(const std::vector<Listed>& files) {
    return std::is_sorted(files.begin(), files.end(), [](const Listed& a, const Listed& b) {
        return text::CompareNoCase(a.name, b.name) < 0;
    });
}

TEST_F(Browser, AgreesWithTheModel) {
    std::mt19937 random(5);
    for (std::uint32_t seed = 0; seed < 30; ++seed) {
        SCOPED_TRACE(seed);
        Volume volume = support::RandomVolume(seed, 1 + seed * 3, seed * 20, seed % 7);
        if (seed % 5 == 4) {  // names that look like paths
            for (std::size_t i = 0; i < volume.files.size(); i += 3) {
                volume.files[i].name.insert(random() % volume.files[i].name.size(), u"\\");
            }
            volume.dirs.back().name = u"a\\b";
        }
        BrowserModel model(volume);
        CComPtr<IOibDFBrowser> browser;
        ASSERT_EQ(Open(volume.Bytes(), browser), S_OK);
        for (int i = 0; i < 25; ++i) {
            std::u16string path = u"c:";
            for (auto depth = random() % 4; depth > 0; --depth) {
                path += u"\\/"[random() % 2] + volume.dirs[random() % volume.dirs.size()].name;
            }
            Names names;
            ASSERT_EQ(Folders(*browser, path, names), S_OK);
            ASSERT_EQ(names, model.Folders(path));
            for (const char16_t* endings :
                 {static_cast<const char16_t*>(nullptr), u".txt; log", u""}) {
                const auto list = endings == nullptr ? std::nullopt
                                  : *endings == 0    ? std::optional(Names{})
                                                     : std::optional(Names{u".txt", u"log"});
                for (const bool recursive : {false, true}) {
                    std::vector<Listed> files;
                    ASSERT_EQ(Files(*browser, path, recursive, endings, files), S_OK);
                    ASSERT_TRUE(NamesAscend(files));
                    std::vector<Listed> expected = model.Files(path, recursive, list);
                    std::sort(files.begin(), files.end());
                    std::sort(expected.begin(), expected.end());
                    ASSERT_EQ(files.size(), expected.size());
                    ASSERT_TRUE(files == expected);
                }
            }
        }
    }
}

TEST_F(Browser, PathsAndOrder) {
    CComPtr<IOibDFBrowser> browser;
    ASSERT_EQ(Open(support::SmallVolume().Bytes(), browser), S_OK);
    const Names top = {u"beta", u"Gamma", u"Users"};
    const struct {
        const char16_t* path;
        Names folders;
    } rows[] = {
        {u"c:\\", top},
        {u"c:", top},
        {u"\\", top},
        {u"", top},
        {u"x:\\Users", {u"john"}},
        {u"c:/USERS/", {u"john"}},
        {u"c:\\\\Users", {}},
        {u"c:\\Users\\nobody", {}},
        {u"/users/JOHN", {u"docs"}},
        {u"Users", top},
    };
    for (const auto& row : rows) {
        Names names;
        EXPECT_EQ(Folders(*browser, row.path, names), S_OK);
        EXPECT_EQ(names, row.folders)
            << std::string(row.path, row.path + std::char_traits<char16_t>::length(row.path));
    }
    std::vector<Listed> files;
    ASSERT_EQ(Files(*browser, u"c:\\users\\john", true, nullptr, files), S_OK);
    Names names;
    for (const Listed& file : files) {
        names.push_back(file.name);
    }
    EXPECT_EQ(names, (Names{u"docs\\A.txt", u"docs\\b.txt", u"docs\\\u0444\u0430\u0439\u043b.TXT",
                            u"readme.txt", u"Report.final.docx"}));
    EXPECT_EQ(files[3].time, 41289.37855324074);
    EXPECT_EQ(files[3].owner, u"jsmith");
    EXPECT_EQ(files[2].owner, u"");
    // A folder lists after the files that its name with a backslash comes after.
    Volume neighbours;
    neighbours.dirs = {{u"", 0}, {u"a", 0}, {u"a b", 0}};
    neighbours.files = {
        {u"x", 1, 0, 0, 0}, {u"x", 2, 0, 0, 0}, {u"a.txt", 0, 0, 0, 0}, {u"a", 0, 0, 0, 0}};
    ASSERT_EQ(Open(neighbours.Bytes(), browser), S_OK);
    ASSERT_EQ(Files(*browser, u"", true, nullptr, files), S_OK);
    ASSERT_EQ(files.size(), 4U);
    EXPECT_EQ(files[0].name + u"|" + files[1].name + u"|" + files[2].name + u"|" + files[3].name,
              u"a|a b\\x|a.txt|a\\x");
}

TEST_F(Browser, Refusals) {
    CComPtr<IOibDFBrowser> browser;
    const std::u16string lost = m_folder.Path(u"missing.dat");
    const CBstr path(automation::NewBstr(lost));
    EXPECT_EQ(m_lib->BrowseOibDF(path.Get(), browser.Put()), static_cast<HRESULT>(0x80070002));
    const support::ErrorReport report = support::TakeError();
    EXPECT_TRUE(report.description.starts_with(
        u"Instance of the CCoOibDFBrowser() cannot be initialized.\r\n"
        u"Cannot open file CFileReader::Open\r\nWin32 error:"));
    EXPECT_TRUE(report.description.ends_with(u" Code: 2"));
    EXPECT_EQ(report.guid, IID_IOibIdxLib);
    EXPECT_EQ(report.source, u"ZorelOibIdxLib.COibIdxLib.5");

    const struct {
        std::int64_t parent;
        bool refused;
    } rows[] = {{-1, true}, {3, true}, {4, true}, {1LL << 40, true}, {2, false}};
    for (const auto& row : rows) {
        Volume volume = support::SmallVolume();
        volume.dirs[3].parent = row.parent;
        EXPECT_EQ(Open(volume.Bytes(), browser), row.refused ? E_INVALIDARG : S_OK) << row.parent;
        if (row.refused) {
            const std::u16string text = support::TakeError().description;
            EXPECT_NE(text.find(u"of folder record 3 "), text.npos);
            EXPECT_NE(text.find(m_folder.Path(u"v.dat")), text.npos);
        }
    }
    Volume volume = support::SmallVolume();
    volume.dirs[0].parent = 12345;  // nobody reads the root's parent
    ASSERT_EQ(Open(volume.Bytes(), browser), S_OK);
    CComPtr<IOibFilesArray> array;
    const CBstr root(automation::NewBstr(u"c:"));
    ASSERT_EQ(browser->GetFiles(root.Get(), array.Put()), S_OK);
    OibFileInfo info{};
    EXPECT_EQ(array->GetFileInfo(1, &info), E_INVALIDARG);
    const support::ErrorReport range = support::TakeError();
    EXPECT_EQ(range.description, u"CCoOibFilesArray::GetFileInfo: Index is out of range.");
    EXPECT_EQ(range.guid, IID_IOibTDFSearchTask);
    EXPECT_EQ(range.source, u"");
    EXPECT_EQ(browser->GetFiles(nullptr, array.Put()), E_INVALIDARG);
    EXPECT_EQ(browser->GetFolders(root.Get(), nullptr), E_INVALIDARG);
    EXPECT_EQ(support::TakeError().description, u"");
}

TEST_F(Browser, NothingToListAfterCloseOrWithoutFolders) {
    CComPtr<IOibDFBrowser> closed;
    ASSERT_EQ(Open(support::SmallVolume().Bytes(), closed), S_OK);
    std::vector<Listed> before;
    ASSERT_EQ(Files(*closed, u"c:", false, nullptr, before), S_OK);
    ASSERT_EQ(closed->Close(), S_OK);
    CComPtr<IOibDFBrowser> empty;
    ASSERT_EQ(Open(Volume().Bytes(), empty), S_OK);
    for (IOibDFBrowser* browser : {closed.Get(), empty.Get()}) {
        Names names;
        EXPECT_EQ(Folders(*browser, u"c:", names), E_FAIL);
        EXPECT_NE(support::TakeError().description, u"");
        std::vector<Listed> files;
        std::u16string error;
        EXPECT_EQ(Files(*browser, u"c:", true, nullptr, files, error), E_FAIL);
        EXPECT_NE(error, u"");
    }
}

// Every cut and every bent byte of a volume ends in a failure with a text, or in a result.
TEST_F(Browser, DamagedVolumes) {
    const std::string sound = support::SmallVolume().Bytes();
    const auto exercise = [&](const std::string& bytes) {
        CComPtr<IOibDFBrowser> browser;
        HRESULT hr = Open(bytes, browser);
        std::u16string error = support::TakeError().description;
        std::vector<Listed> files;
        if (hr == S_OK) {
            hr = Files(*browser, u"c:", true, nullptr, files, error);
            EXPECT_LE(files.size(), 7U + 256U);
        }
        EXPECT_EQ(FAILED(hr), !error.empty());
        return hr;
    };
    std::set<HRESULT> seen;
    for (std::size_t length = 0; length < sound.size(); ++length) {
        SCOPED_TRACE(length);
        seen.insert(exercise(sound.substr(0, length)));
    }
    EXPECT_TRUE(seen.contains(S_OK) && seen.contains(E_FAIL) && seen.contains(E_INVALIDARG));
    for (std::size_t at = 0; at < sound.size(); ++at) {
        for (const char value : {'\x01', '\x7F', '\xFF'}) {
            SCOPED_TRACE(at);
            std::string bent = sound;
            bent[at] = value;
            exercise(bent);
        }
    }
    for (const std::int64_t count : {std::int64_t{-1}, std::int64_t{0x7FFFFFFFFFFFFFFF}}) {
        for (std::size_t table = 0; table < 3; ++table) {
            const Volume volume = support::SmallVolume();
            std::vector<support::TableImage> tables = {support::DirsTable(volume.dirs),
                                                       support::FilesTable(volume.files),
                                                       support::OwnersTable(volume.owners)};
            tables[table].recordCount = count;
            exercise(support::ChainTables(tables));
        }
    }
}

}  // namespace
