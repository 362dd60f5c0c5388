// The data file browser through its public interface.
#include <gtest/gtest.h>

#include <ctime>

#include "ZorelClient.h"
#include "support/search_client.h"
#include "support/tdf_model.h"

namespace {

using support::Volume;
using zorel::client::CComPtr;
using zorel::client::CError;
using zorel::client::Check;
using zorel::client::CString;
using Names = std::vector<std::u16string>;

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
            Files(*Open(bytes), u"c:");
        } catch (const CError& error) {
            return error.what();
        }
        return {};
    }

    // The names of the files.
    static Names Files(IOibDFBrowser& browser, std::u16string_view path, bool recursive = true,
                       const char16_t* endings = nullptr) {
        CComPtr<IOibFilesArray> array;
        Check(browser.GetFilesEx(CString(path), recursive ? VARIANT_TRUE : VARIANT_FALSE,
                                 endings != nullptr ? CString(endings) : CString(), array.Put()));
        ULONG count = 0;
        Check(array->get_FilesCount(&count));
        Names names;
        for (ULONG i = 0; i < count; ++i) {
            zorel::client::CFileInfo info;
            Check(array->GetFileInfo(i, info.Put()));
            names.push_back(support::WholeText(info.FileName));
        }
        return names;
    }
};

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
        EXPECT_EQ(Files(*browser, u"", false, endings), permitted);
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
        zorel::client::CStringArray folders;
        EXPECT_EQ(rootless->GetFolders(root, folders.Put()), E_FAIL);
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
    const Names names = Files(*Open(volume.Bytes()), u"c:");
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

}  // namespace
