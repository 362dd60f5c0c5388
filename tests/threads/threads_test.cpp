// Objects used from several threads, for the thread sanitizer.
#include <gtest/gtest.h>

#include <fstream>
#include <thread>
#include <vector>

#include "automation/com_ptr.h"
#include "support/automation_check.h"
#include "support/index_file_builder.h"
#include "support/temp_folder.h"

namespace {

using automation::CComPtr;
using support::Bstr;
using support::NewLibrary;

// Opens, lists and fails. The error information must belong to the calling thread.
void BrowseAndFail(IOibIdxLib& library, const std::u16string& path, const std::u16string& missing) {
    for (int i = 0; i < 50; ++i) {
        CComPtr<IOibDFBrowser> browser;
        ASSERT_EQ(library.BrowseOibDF(Bstr(path).Get(), browser.Put()), S_OK);
        CComPtr<IOibFilesArray> files;
        ASSERT_EQ(browser->GetFilesEx(Bstr(u"").Get(), VARIANT_TRUE, nullptr, files.Put()), S_OK);
        ULONG count = 0;
        ASSERT_EQ(files->get_FilesCount(&count), S_OK);
        ASSERT_EQ(count, 7U);
        VARIANT_BOOL match = VARIANT_FALSE;
        ASSERT_EQ(library.IsWildcardMatch(Bstr(u"C:\\a.txt").Get(), Bstr(u"*.TXT").Get(), &match),
                  S_OK);
        ASSERT_EQ(match, VARIANT_TRUE);
        ASSERT_TRUE(FAILED(library.CreateMetaFile(Bstr(missing).Get(), EIdxMetaLoad,
                                                  CComPtr<IMtfMetaFile>().Put())));
        ASSERT_NE(support::TakeError().description.find(missing), std::u16string::npos);
    }
}

void RunTwoThreads(IOibIdxLib& first, IOibIdxLib& second) {
    const support::CTempFolder folder;
    std::ofstream(folder.Native(u"C.dat"), std::ios::binary) << support::SmallVolume().Bytes();
    const std::u16string path = folder.Path(u"C.dat");
    std::thread a([&] { BrowseAndFail(first, path, folder.Path(u"missing-a")); });
    std::thread b([&] { BrowseAndFail(second, path, folder.Path(u"missing-b")); });
    a.join();
    b.join();
}

TEST(Threads, TwoLibraryObjects) {
    RunTwoThreads(*NewLibrary(), *NewLibrary());
}

TEST(Threads, OneLibraryObject) {
    const auto library = NewLibrary();
    RunTwoThreads(*library, *library);
}

}  // namespace
