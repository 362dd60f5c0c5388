// The registered Windows module: created through COM, called from other apartments and by
// name, and unloaded after the last reference.
#include <gtest/gtest.h>
#include <windows.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <thread>

#include "ZorelClient.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace {

using zorel::client::CComPtr;
using zorel::client::Check;
using zorel::client::CreateLibrary;
using zorel::client::CString;

// The module, loaded by its path and not through the registry.
std::shared_ptr<std::remove_pointer_t<HMODULE>> LoadedModule() {
    return {::LoadLibraryW(std::filesystem::absolute(ZOREL_MODULE).c_str()), ::FreeLibrary};
}

template <class Function = HRESULT STDAPICALLTYPE()>
Function* Export(HMODULE module, const char* name) {
    const auto found = ::GetProcAddress(module, name);
    EXPECT_NE(found, nullptr) << name;
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(found));
}

struct Apartment {
    explicit Apartment(DWORD model) { EXPECT_TRUE(SUCCEEDED(::CoInitializeEx(nullptr, model))); }
    ~Apartment() { ::CoUninitialize(); }
};

// Runs `body` in the multithreaded apartment and processes calls to the objects of this thread
// meanwhile.
void OnOtherThread(const std::function<void()>& body) {
    HANDLE done = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread thread([&] {
        {
            const Apartment apartment(COINIT_MULTITHREADED);
            body();
        }
        ::SetEvent(done);
    });
    DWORD index = 0;
    EXPECT_EQ(::CoWaitForMultipleHandles(0, 60000, 1, &done, &index), S_OK);
    thread.join();
    ::CloseHandle(done);
}

// Unloads unused modules without a delay; returns whether the module remains loaded.
bool IsStillLoaded() {
    ::CoFreeUnusedLibrariesEx(0, 0);
    return ::GetModuleHandleW(L"ZorelOibIdxComLib.dll") != nullptr;
}

class WindowsModule : public ::testing::Test {
protected:
    void SetUp() override {
        EXPECT_EQ(Export(LoadedModule().get(), "DllRegisterServer")(), S_OK);
        ASSERT_FALSE(IsStillLoaded());
    }
    void TearDown() override {
        EXPECT_FALSE(IsStillLoaded());
        EXPECT_EQ(Export(LoadedModule().get(), "DllUnregisterServer")(), S_OK);
    }

    const Apartment m_apartment{COINIT_APARTMENTTHREADED};
};

TEST_F(WindowsModule, IsCreatedByNameAndUnloadedAfterUse) {
    for (const wchar_t* name : {L"ZorelOibIdxLib.COibIdxLib.5", L"ZorelOibIdxLib.COibIdxLib"}) {
        CLSID clsid = {};
        EXPECT_EQ(::CLSIDFromProgID(name, &clsid), S_OK);
        EXPECT_EQ(clsid, CLSID_COibIdxLib);
    }
    // A returned object keeps the module loaded, and so does a server lock.
    CComPtr<IOibDFBrowser> browser;
    Check(CreateLibrary()->BrowseOibDF(CString::FromUtf8(ZOREL_EXAMPLE), browser.Put()));
    EXPECT_TRUE(IsStillLoaded());
    browser = nullptr;
    EXPECT_FALSE(IsStillLoaded());
    CComPtr<IClassFactory> factory;
    Check(::CoGetClassObject(CLSID_COibIdxLib, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                             factory.PutVoid()));
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_TRUE(IsStillLoaded());
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    factory = nullptr;
    EXPECT_FALSE(IsStillLoaded());
}

// The system creates the object in another apartment for a thread of the multithreaded
// apartment, and marshals its calls with the type library: values, arrays, objects, identifiers
// by value, and records in both directions.
TEST_F(WindowsModule, ServesTheMultithreadedApartment) {
    // Wine only uses a type library that is registered for the neutral locale.
    const std::wstring locale = L"TypeLib\\{b61b642b-ea60-4c62-918f-26f54f0f815d}\\1.0\\0";
    CString path;
    EXPECT_EQ(::QueryPathOfRegTypeLib(LIBID_ZorelOibIdxLib, 1, 0, 0x409, path.Put()), S_OK);
    std::shared_ptr<void> entry;
    if (support::OnWine()) {
        ::RegSetKeyValueW(HKEY_CLASSES_ROOT, (locale + L"\\win64").c_str(), nullptr, REG_SZ,
                          path.Get(), ::SysStringByteLen(path));
        entry = {nullptr, [&](void*) { ::RegDeleteTreeW(HKEY_CLASSES_ROOT, locale.c_str()); }};
    }
    const support::CTempFolder folder;
    std::filesystem::copy_file(ZOREL_EXAMPLE, folder.Native(u"C.dat"));
    std::ofstream(folder.Native(u"summary.txt"), std::ios::binary) << "Volume.C=C.dat\r\n#";
    std::ofstream(folder.Native(u"session.mtf"), std::ios::binary)
        << "oib1.VmName=web01\r\noib1.BackupTimeUtc=monday\r\n"
           "oib1.OibUID={9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}\r\n#";
    OnOtherThread([&] {
        const auto library = CreateLibrary();
        VARIANT_BOOL match = VARIANT_FALSE;
        const CString txt(u"*.txt");
        EXPECT_EQ(library->IsWildcardMatch(CString(u"C:\\a.txt"), txt, &match), S_OK);
        EXPECT_EQ(match, VARIANT_TRUE);
        // Wine does not marshal the error information; the result is correct on both systems.
        EXPECT_EQ(library->IsWildcardMatch(CString(u"a.txt"), txt, &match), E_FAIL);
        CComPtr<IOibDFBrowser> browser;
        Check(library->BrowseOibDF(CString(folder.Path(u"C.dat")), browser.Put()));
        zorel::client::CStringArray folders;
        Check(browser->GetFolders(CString(u"C:"), folders.Put()));
        ASSERT_EQ(folders.Size(), 1U);
        EXPECT_EQ(folders[0], u"docs");
        CComPtr<IOibFilesArray> files;
        Check(browser->GetFilesEx(CString(u"C:"), VARIANT_TRUE, CString(u".txt"), files.Put()));
        zorel::client::CFileInfo file;
        Check(files->GetFileInfo(0, file.Put()));
        EXPECT_EQ(file.Size, 1234);
        EXPECT_NE(::SysStringLen(file.FileName), 0U);

        CComPtr<IMtfBSessionMetaFile> session;
        Check(library->CreateBSessionMetaFile(CString(folder.Path(u"session.mtf")), EIdxMetaLoad,
                                              session.Put()));
        CComPtr<ICatOibRefsEnumerator> references;
        Check(session->EnumOibsRefs(references.Put()));
        GUID id = {};
        Check(references->get_UniqueId(&id));
        EXPECT_EQ(id.Data1, 0x9b3c5a2e);
        EXPECT_EQ(id.Data4[7], 0x6d);
        Check(session->DeleteOibRef(id));
        Check(session->EnumOibsRefs(references.Put()));
        INT count = -1;
        Check(references->get_RefsCount(&count));
        EXPECT_EQ(count, 0);

        CComPtr<IOibBDFSearchTask> task;
        Check(library->FindInOibBDF(CString(folder.Path()), task.Put()));
        const CString pattern(u"a.t");
        SearchSpec criteria = {};
        criteria.FileNamePattern = pattern;
        Check(task->Find(&criteria));
        Check(task->get_ResultsCount(&count));
        EXPECT_EQ(count, 1);
        zorel::client::CSearchResult found;
        Check(task->GetResult(0, found.Put()));
        EXPECT_STREQ(found.FileFullName, L"C:\\docs\\a.txt");
        EXPECT_EQ(found.Size, 1234);
    });
}

// The major version of the type library that describes the object's interface.
WORD LibraryVersionOf(IDispatch* object) {
    CComPtr<ITypeInfo> type;
    CComPtr<ITypeLib> library;
    UINT index = 0;
    TLIBATTR* attributes = nullptr;
    Check(object->GetTypeInfo(0, 0, type.Put()));
    Check(type->GetContainingTypeLib(library.Put(), &index));
    Check(library->GetLibAttr(&attributes));
    const WORD version = attributes->wMajorVerNum;
    library->ReleaseTLibAttr(attributes);
    return version;
}

// The interfaces of meta-files use version 5 of the type library if it is registered, the
// others version 1.
TEST_F(WindowsModule, UsesTheLibraryVersionOfEachInterface) {
    std::ifstream file(ZOREL_TYPE_LIBRARY, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    ASSERT_GT(bytes.size(), 0x18U);
    bytes[0x18] = 5;  // the offset of the major version
    const support::CTempFolder folder;
    std::ofstream(folder.Native(u"five.tlb"), std::ios::binary) << bytes;
    std::wstring path = folder.Native(u"five.tlb").wstring();
    CComPtr<ITypeLib> five;
    Check(::LoadTypeLibEx(path.c_str(), REGKIND_NONE, five.Put()));
    Check(::RegisterTypeLib(five.Get(), path.data(), nullptr));
    for (const int expected : {5, 1}) {
        {
            const auto library = CreateLibrary();
            EXPECT_EQ(LibraryVersionOf(library.Get()), 1);
            CComPtr<IMtfMetaFile> metaFile;
            Check(library->CreateMetaFile(CString(u"unused.mtf"), EIdxMetaCreateNewDetached,
                                          metaFile.Put()));
            EXPECT_EQ(LibraryVersionOf(metaFile.Get()), expected);
        }
        // The module caches the type information until it is unloaded.
        EXPECT_FALSE(IsStillLoaded());
        const HRESULT removed = ::UnRegisterTypeLib(LIBID_ZorelOibIdxLib, 5, 0, 0x409, SYS_WIN64);
        EXPECT_EQ(removed == S_OK, expected == 5);
    }
}

// The type information of the module is used without registration.
TEST_F(WindowsModule, FindsItsNamesWithoutRegistration) {
    const auto module = LoadedModule();
    EXPECT_EQ(Export(module.get(), "DllUnregisterServer")(), S_OK);
    CComPtr<IUnknown> none;
    EXPECT_EQ(::CoCreateInstance(CLSID_COibIdxLib, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                 none.PutVoid()),
              REGDB_E_CLASSNOTREG);
    const auto getClassObject =
        Export<HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**)>(module.get(), "DllGetClassObject");
    CComPtr<IClassFactory> factory;
    EXPECT_EQ(getClassObject(IID_IOibIdxLib, IID_IClassFactory, factory.PutVoid()),
              CLASS_E_CLASSNOTAVAILABLE);
    Check(getClassObject(CLSID_COibIdxLib, IID_IClassFactory, factory.PutVoid()));
    CComPtr<IDispatch> library;
    Check(factory->CreateInstance(nullptr, IID_IDispatch, library.PutVoid()));
    wchar_t method[] = L"iswildcardMATCH";
    LPOLESTR name = method;
    DISPID id = DISPID_UNKNOWN;
    EXPECT_EQ(library->GetIDsOfNames(IID_NULL, &name, 1, 0, &id), S_OK);
}

TEST_F(WindowsModule, HasItsNameAndVersion) {
    const auto module = LoadedModule();
    wchar_t name[64] = {};
    EXPECT_GT(::LoadStringW(module.get(), 100, name, 64), 0);
    EXPECT_STREQ(name, L"ZorelOibIdxLib");

    const auto path = std::filesystem::absolute(ZOREL_MODULE);
    std::string data(::GetFileVersionInfoSizeW(path.c_str(), nullptr), '\0');
    const auto size = static_cast<DWORD>(data.size());
    ASSERT_TRUE(::GetFileVersionInfoW(path.c_str(), 0, size, data.data()));
    char* version = nullptr;
    UINT length = 0;
    const char query[] = "\\StringFileInfo\\040904B0\\ProductVersion";
    ASSERT_TRUE(::VerQueryValueA(data.data(), query, reinterpret_cast<void**>(&version), &length));
    EXPECT_STREQ(version, ZOREL_VERSION ".0");
}

}  // namespace
