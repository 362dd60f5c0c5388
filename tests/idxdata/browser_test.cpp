// The data file browser through its public interface, against a slow plain model.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "ZorelClient.h"
#include "support/search_client.h"
#include "support/tdf_model.h"

namespace {

using support::Lower;
using support::Volume;
using zorel::client::CComPtr;
using zorel::client::CError;
using zorel::client::Check;
using zorel::client::CString;
using Names = std::vector<std::u16string>;

// Name, time, size and owner.
using Listed = std::tuple<std::u16string, double, std::int64_t, std::u16string>;

// The correct answers of a browser, by a search through all rows of the volume. Folder -1
// has no content.
struct BrowserModel {
    // The last of equal names; a folder without a name is no child.
    std::map<std::u16string, std::int64_t> ChildrenOf(std::int64_t parent) const {
        std::map<std::u16string, std::int64_t> children;
        for (std::size_t i = 1; i < volume.dirs.size(); ++i) {
            if (volume.dirs[i].parent == parent && !volume.dirs[i].name.empty()) {
                children[Lower(volume.dirs[i].name)] = static_cast<std::int64_t>(i);
            }
        }
        return children;
    }

    // -1 for a path that does not exist.
    std::int64_t Resolve(std::u16string path) const {
        std::replace(path.begin(), path.end(), u'/', u'\\');
        std::int64_t folder = 0;
        for (auto at = path.find(u'\\'); at < path.size() && at + 1 < path.size();) {
            const auto next = std::min(path.find(u'\\', at + 1), path.size());
            const auto children = ChildrenOf(folder);
            const auto child = children.find(Lower(path.substr(at + 1, next - at - 1)));
            folder = child == children.end() ? -1 : child->second;
            at = folder < 0 ? path.size() : next;
        }
        return folder;
    }

    Names Folders(std::int64_t folder) const {
        Names names;
        for (const auto& [folded, child] : ChildrenOf(folder)) {
            names.push_back(volume.dirs[static_cast<std::size_t>(child)].name);
        }
        return names;
    }

    // No endings: any name.
    std::multiset<Listed> Files(std::int64_t folder, bool recursive, const Names& endings,
                                const std::u16string& prefix = {}) const {
        std::multiset<Listed> files;
        for (const support::FileRow& row : volume.files) {
            const auto fits = [&](const auto& ending) {
                return row.name.size() > ending.size() && row.name.ends_with(ending);
            };
            if (row.dir == folder &&
                (endings.empty() || std::any_of(endings.begin(), endings.end(), fits))) {
                const bool owned = row.owner < volume.owners.size();
                files.insert({prefix + row.name, *support::DateOfTicks(row.modifyTime), row.size,
                              owned ? volume.owners[row.owner].name : u""});
            }
        }
        for (const auto& [folded, child] : ChildrenOf(recursive ? folder : -1)) {
            const std::u16string& name = volume.dirs[static_cast<std::size_t>(child)].name;
            files.merge(Files(child, true, endings, prefix + name + u"\\"));
        }
        return files;
    }

    const Volume& volume;
};

// Calls of the library that fail throw CError.
class Browser : public support::SearchTest {
protected:
    CComPtr<IOibDFBrowser> Open(const std::string& bytes) {
        CComPtr<IOibDFBrowser> browser;
        Check(m_lib->BrowseOibDF(CString(Write(u"v.dat", bytes)), browser.Put()));
        return browser;
    }

    // what() of the failure to list a volume; empty when there is none.
    std::string ErrorOf(const std::string& bytes) {
        try {
            EXPECT_LE(Files(*Open(bytes), u"c:").size(), 7U + 256U);
        } catch (const CError& error) {
            return error.what();
        }
        return {};
    }

    static Names Folders(IOibDFBrowser& browser, std::u16string_view path) {
        zorel::client::CStringArray array;
        Check(browser.GetFolders(CString(path), array.Put()));
        Names names(array.Size());
        for (std::size_t i = 0; i < names.size(); ++i) {
            names[i] = array[i];
        }
        return names;
    }

    static std::vector<Listed> Files(IOibDFBrowser& browser, std::u16string_view path,
                                     bool recursive = true, const char16_t* endings = nullptr) {
        CComPtr<IOibFilesArray> array;
        Check(browser.GetFilesEx(CString(path), recursive ? VARIANT_TRUE : VARIANT_FALSE,
                                 endings != nullptr ? CString(endings) : CString(), array.Put()));
        ULONG count = 0;
        ULONGLONG size = 0;
        Check(array->get_FilesCount(&count));
        Check(array->get_TotalSize(&size));
        std::vector<Listed> files;
        for (ULONG i = 0; i < count; ++i) {
            zorel::client::CFileInfo info;
            Check(array->GetFileInfo(i, info.Put()));
            files.push_back({support::WholeText(info.FileName), info.ModifyTime, info.Size,
                             support::WholeText(info.Owner)});
            size -= static_cast<ULONGLONG>(info.Size);
        }
        EXPECT_EQ(size, 0U);
        return files;
    }

    static Names NamesOf(const std::vector<Listed>& files) {
        Names names;
        for (const Listed& file : files) {
            names.push_back(std::get<0>(file));
        }
        return names;
    }
};

TEST_F(Browser, AgreesWithTheModel) {
    constexpr const char16_t* kDrives[] = {u"c:", u"C:", u"x:", u"Users", u""};
    std::mt19937 random(5);
    for (std::uint32_t seed = 0; seed < 30; ++seed) {
        SCOPED_TRACE(seed);
        Volume volume = support::RandomVolume(seed, 1 + seed * 3, seed * 20, seed % 7);
        if (seed % 5 == 4) {  // names with backslashes
            for (std::size_t i = 0; i < volume.files.size(); i += 3) {
                volume.files[i].name.insert(random() % volume.files[i].name.size(), u"\\");
            }
            volume.dirs.back().name = u"a\\b";
        }
        if (seed % 5 == 3) {
            volume.files.front().name.clear();
        }
        const BrowserModel model{volume};
        const auto browser = Open(volume.Bytes());
        for (int i = 0; i < 40; ++i) {
            std::u16string path = kDrives[random() % 5];
            for (auto depth = random() % 4; depth > 0; --depth) {
                path += u"\\/"[random() % 2];
                const std::u16string& name = volume.dirs[random() % volume.dirs.size()].name;
                path += random() % 2 == 0 ? name : Lower(name);  // the root's name is empty
            }
            const std::int64_t folder = model.Resolve(path);
            ASSERT_EQ(Folders(*browser, path), model.Folders(folder));
            for (unsigned kind = 0; kind < 4; ++kind) {
                const bool all = kind % 2 == 0;
                const auto files = Files(*browser, path, kind >= 2, all ? nullptr : u".txt; log");
                ASSERT_TRUE(std::is_sorted(files.begin(), files.end(), [](auto& a, auto& b) {
                    return Lower(std::get<0>(a)) < Lower(std::get<0>(b));
                }));
                ASSERT_EQ(std::multiset<Listed>(files.begin(), files.end()),
                          model.Files(folder, kind >= 2, all ? Names() : Names{u".txt", u"log"}));
            }
        }
    }
}

TEST_F(Browser, PermittedExtensions) {
    Volume volume{{{u""}}, {}, {}};
    for (const char16_t* name : {u"txt", u".log", u"1.txt", u"2txt", u"3.TXT", u"4.log", u"5t x"}) {
        volume.files.push_back({name});
    }
    const auto browser = Open(volume.Bytes());
    const std::pair<const char16_t*, Names> rows[] = {
        {u"txt; .log", {u"1.txt", u"2txt", u"4.log"}},
        {u" .txt ,,; ;log ", {u".log", u"1.txt", u"4.log"}},
        {u"t xt", {u"5t x"}},
        {u" ; , ", {}}};
    for (const auto& [endings, permitted] : rows) {
        EXPECT_EQ(NamesOf(Files(*browser, u"", false, endings)), permitted);
    }
}

TEST_F(Browser, Refusals) {
    CComPtr<IOibDFBrowser> none;
    EXPECT_EQ(m_lib->BrowseOibDF(CString(m_folder.Path(u"missing.dat")), none.Put()),
              static_cast<HRESULT>(0x80070002));
    const std::u16string text = support::TakeError().description;
    EXPECT_TRUE(
        text.starts_with(u"Instance of the CCoOibDFBrowser() cannot be initialized.\r\n"
                         u"Cannot open file CFileReader::Open\r\nWin32 error:"));
    EXPECT_TRUE(text.ends_with(u" Code: 2"));
    Volume volume = support::SmallVolume();
    for (const std::int64_t parent : {std::int64_t{-1}, std::int64_t{3}, std::int64_t{1} << 40}) {
        volume.dirs[3].parent = parent;
        const std::string error = ErrorOf(volume.Bytes());
        EXPECT_NE(error.find("of folder record 3 "), std::string::npos);
        EXPECT_NE(error.find("v.dat"), std::string::npos);
        EXPECT_TRUE(error.ends_with("(HRESULT 0x80070057)"));
    }
    volume.dirs[3].parent = 2;
    volume.dirs[0].parent = 12345;  // the root's parent has no meaning
    const auto browser = Open(volume.Bytes());
    const CString root(u"c:");
    CComPtr<IOibFilesArray> array;
    Check(browser->GetFiles(root, array.Put()));
    OibFileInfo info{};
    EXPECT_EQ(array->GetFileInfo(1, &info), E_INVALIDARG);
    const support::ErrorReport range = support::TakeError();
    EXPECT_EQ(range.description, u"CCoOibFilesArray::GetFileInfo: Index is out of range.");
    EXPECT_EQ(range.guid, IID_IOibTDFSearchTask);
    for (const auto binding : {support::EBinding::Early, support::EBinding::Late}) {
        using Files = IOibFilesArray;
        EXPECT_EQ(support::Call<&Files::get_FilesCount>(binding, &*array, nullptr).hr, E_POINTER);
        EXPECT_EQ(support::Call<&Files::get_TotalSize>(binding, &*array, nullptr).hr, E_POINTER);
    }
    EXPECT_EQ(browser->GetFiles(nullptr, array.Put()), E_INVALIDARG);
    EXPECT_EQ(browser->GetFolders(root, nullptr), E_INVALIDARG);
    EXPECT_EQ(support::TakeError().description, u"");
    Check(browser->Close());
    for (const auto& rootless : {browser, Open(Volume().Bytes())}) {
        EXPECT_THROW(Folders(*rootless, u"c:"), CError);
        EXPECT_THROW(Files(*rootless, u"c:"), CError);
    }
}

// Prefixes of folders without files would need 20 GB.
TEST_F(Browser, DeepTrees) {
    constexpr std::int64_t kDepth = 100'000;
    Volume volume{{{u""}}, {{u"f", kDepth}}, {}};
    for (std::int64_t i = 0; i < kDepth; ++i) {
        volume.dirs.push_back({u"d", i});
    }
    const std::clock_t start = std::clock();
    const Names names = NamesOf(Files(*Open(volume.Bytes()), u"c:"));
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(names[0].size(), 2U * kDepth + 1);
    EXPECT_EQ(names[0].substr(0, 4), u"d\\d\\");
    for (std::int64_t i = 0; i < kDepth; ++i) {
        volume.files.push_back({u"a\\b", i});
    }
    EXPECT_EQ(ErrorOf(volume.Bytes()),
              "The paths of the listed folders are too long. (HRESULT 0x80004005)");
    EXPECT_LT(std::clock() - start, 5 * CLOCKS_PER_SEC);
}

// Every cut and every changed byte of a volume gives a failure with a text, or a listing.
TEST_F(Browser, DamagedVolumes) {
    const std::string sound = support::SmallVolume().Bytes();
    std::set<std::string> results;
    const auto exercise = [&](const std::string& bytes) {
        const std::string error = ErrorOf(bytes);
        EXPECT_FALSE(error.starts_with("The call failed."));
        results.insert(error.substr(error.size() - std::min<std::size_t>(error.size(), 11)));
    };
    for (std::size_t at = 0; at < sound.size(); ++at) {
        SCOPED_TRACE(at);
        exercise(sound.substr(0, at));
        for (const char value : {'\x01', '\x7F', '\xFF'}) {
            std::string damaged = sound;
            damaged[at] = value;
            exercise(damaged);
        }
    }
    EXPECT_EQ(results, (std::set<std::string>{"", "0x80004005)", "0x80070026)", "0x80070057)",
                                              "0x80070083)"}));
}

}  // namespace
