// The registered Windows module: created through COM, called from other apartments and by
// name, and unloaded after the last reference.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "ZorelClient.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace {

using zorel::client::CComPtr;
using zorel::client::CString;

constexpr wchar_t kModule[] = L"ZorelOibIdxComLib.dll";

std::wstring Wide(const char* path) {
    const std::string text(path);
    return std::wstring(text.begin(), text.end());
}

CString Text(const std::wstring& text) {
    return CString(std::u16string(text.begin(), text.end()));
}

// The module, loaded by its path and not through the registry.
class CLoadedModule {
public:
    CLoadedModule() {
        wchar_t path[MAX_PATH] = {};
        ::GetFullPathNameW(Wide(ZOREL_MODULE).c_str(), MAX_PATH, path, nullptr);
        m_module = ::LoadLibraryW(path);
        EXPECT_NE(m_module, nullptr);
    }
    CLoadedModule(const CLoadedModule&) = delete;
    CLoadedModule& operator=(const CLoadedModule&) = delete;
    ~CLoadedModule() { ::FreeLibrary(m_module); }

    HMODULE Get() const { return m_module; }
    template <class Function>
    Function* Export(const char* name) const {
        const auto found = ::GetProcAddress(m_module, name);
        EXPECT_NE(found, nullptr) << name;
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(found));
    }
    HRESULT CallExport(const char* name) const { return Export<HRESULT STDAPICALLTYPE()>(name)(); }

private:
    HMODULE m_module = nullptr;
};

class CApartment {
public:
    explicit CApartment(DWORD model) { EXPECT_TRUE(SUCCEEDED(::CoInitializeEx(nullptr, model))); }
    CApartment(const CApartment&) = delete;
    CApartment& operator=(const CApartment&) = delete;
    ~CApartment() { ::CoUninitialize(); }
};

// Runs `body` on a new thread and processes calls to the objects of this thread meanwhile.
void OnOtherThread(DWORD model, const std::function<void()>& body) {
    HANDLE done = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread thread([&] {
        {
            const CApartment apartment(model);
            body();
        }
        ::SetEvent(done);
    });
    DWORD index = 0;
    EXPECT_EQ(::CoWaitForMultipleHandles(0, 60000, 1, &done, &index), S_OK);
    thread.join();
    ::CloseHandle(done);
}

CComPtr<IOibIdxLib> NewLibrary() {
    CComPtr<IOibIdxLib> library;
    EXPECT_EQ(::CoCreateInstance(CLSID_COibIdxLib, nullptr, CLSCTX_INPROC_SERVER, IID_IOibIdxLib,
                                 library.PutVoid()),
              S_OK);
    return library;
}

// Unloads unused modules without a delay; returns whether the module remains loaded.
bool IsStillLoaded() {
    ::CoFreeUnusedLibrariesEx(0, 0);
    return ::GetModuleHandleW(kModule) != nullptr;
}

// A VARIANT that owns its value.
struct CValue : VARIANT {
    CValue() : VARIANT{} {}
    explicit CValue(const wchar_t* text) : CValue() {
        vt = VT_BSTR;
        bstrVal = ::SysAllocString(text);
    }
    CValue(const CValue&) = delete;
    CValue& operator=(const CValue&) = delete;
    ~CValue() { ::VariantClear(this); }
};

// Calls a method or reads a property by its name.
template <class... Arguments>
HRESULT CallByName(IDispatch* object, std::wstring name, VARIANT& result, EXCEPINFO* exception,
                   const Arguments&... arguments) {
    LPOLESTR names = name.data();
    DISPID id = DISPID_UNKNOWN;
    const HRESULT hr = object->GetIDsOfNames(IID_NULL, &names, 1, 0, &id);
    if (FAILED(hr)) {
        return hr;
    }
    // The last argument first.
    std::vector<VARIANT> list = {static_cast<const VARIANT&>(arguments)...};
    std::reverse(list.begin(), list.end());
    DISPPARAMS params = {list.data(), nullptr, static_cast<UINT>(list.size()), 0};
    return object->Invoke(id, IID_NULL, 0, DISPATCH_METHOD | DISPATCH_PROPERTYGET, &params, &result,
                          exception, nullptr);
}

class WindowsModule : public ::testing::Test {
protected:
    void SetUp() override {
        EXPECT_EQ(CLoadedModule().CallExport("DllRegisterServer"), S_OK);
        ASSERT_EQ(::GetModuleHandleW(kModule), nullptr);
    }
    void TearDown() override {
        EXPECT_FALSE(IsStillLoaded());
        EXPECT_EQ(CLoadedModule().CallExport("DllUnregisterServer"), S_OK);
    }

    const CApartment m_apartment{COINIT_APARTMENTTHREADED};
};

// For calls between apartments Wine only uses a type library that is registered for the
// neutral locale. Registers the library for this locale too.
class CNeutralTypeLibrary {
public:
    CNeutralTypeLibrary() {
        BSTR path = nullptr;
        EXPECT_EQ(::QueryPathOfRegTypeLib(LIBID_ZorelOibIdxLib, 1, 0, 0x409, &path), S_OK);
        if (support::OnWine()) {
            ::RegSetKeyValueW(HKEY_CLASSES_ROOT, (m_locale + L"\\win64").c_str(), nullptr, REG_SZ,
                              path, ::SysStringByteLen(path));
        }
        ::SysFreeString(path);
    }
    CNeutralTypeLibrary(const CNeutralTypeLibrary&) = delete;
    CNeutralTypeLibrary& operator=(const CNeutralTypeLibrary&) = delete;
    ~CNeutralTypeLibrary() {
        if (support::OnWine()) {
            ::RegDeleteTreeW(HKEY_CLASSES_ROOT, m_locale.c_str());
        }
    }

private:
    const std::wstring m_locale = L"TypeLib\\{b61b642b-ea60-4c62-918f-26f54f0f815d}\\1.0\\0";
};

TEST_F(WindowsModule, IsCreatedByNameAndUnloadedAfterUse) {
    CLSID clsid = {};
    ASSERT_EQ(::CLSIDFromProgID(L"ZorelOibIdxLib.COibIdxLib.5", &clsid), S_OK);
    EXPECT_EQ(clsid, CLSID_COibIdxLib);
    ASSERT_EQ(::CLSIDFromProgID(L"ZorelOibIdxLib.COibIdxLib", &clsid), S_OK);
    EXPECT_EQ(clsid, CLSID_COibIdxLib);
    {
        const auto library = NewLibrary();
        ASSERT_TRUE(library);
        EXPECT_TRUE(IsStillLoaded());
    }
    EXPECT_FALSE(IsStillLoaded());
    // A returned object keeps the module loaded, and so does a server lock. An unlock without a
    // lock has no effect.
    CComPtr<IOibDFBrowser> browser;
    EXPECT_EQ(NewLibrary()->BrowseOibDF(Text(Wide(ZOREL_EXAMPLE)), browser.Put()), S_OK);
    EXPECT_TRUE(IsStillLoaded());
    browser = nullptr;
    CComPtr<IClassFactory> factory;
    ASSERT_EQ(::CoGetClassObject(CLSID_COibIdxLib, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                                 factory.PutVoid()),
              S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_TRUE(IsStillLoaded());
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    factory = nullptr;
    EXPECT_FALSE(IsStillLoaded());
}

// The system marshals calls between apartments with the type library.
TEST_F(WindowsModule, IsCalledFromAnotherApartment) {
    const CNeutralTypeLibrary neutral;
    const auto library = NewLibrary();
    IStream* stream = nullptr;
    ASSERT_EQ(::CoMarshalInterThreadInterfaceInStream(IID_IOibIdxLib, library.Get(), &stream),
              S_OK);
    OnOtherThread(COINIT_APARTMENTTHREADED, [&] {
        CComPtr<IOibIdxLib> proxy;
        ASSERT_EQ(::CoGetInterfaceAndReleaseStream(stream, IID_IOibIdxLib, proxy.PutVoid()), S_OK);
        EXPECT_NE(proxy.Get(), library.Get());
        VARIANT_BOOL match = VARIANT_FALSE;
        EXPECT_EQ(proxy->IsWildcardMatch(Text(L"C:\\a.txt"), Text(L"*.txt"), &match), S_OK);
        EXPECT_EQ(match, VARIANT_TRUE);
        // Wine does not marshal the error information; the result is correct on both systems.
        EXPECT_EQ(proxy->IsWildcardMatch(Text(L"a.txt"), Text(L"*"), &match), E_FAIL);
    });
}

// The system creates the object in another apartment for a thread of the multithreaded
// apartment. Arrays, records and objects are marshalled.
TEST_F(WindowsModule, ServesTheMultithreadedApartment) {
    const CNeutralTypeLibrary neutral;
    OnOtherThread(COINIT_MULTITHREADED, [] {
        const auto library = NewLibrary();
        ASSERT_TRUE(library);
        CComPtr<IOibDFBrowser> browser;
        ASSERT_EQ(library->BrowseOibDF(Text(Wide(ZOREL_EXAMPLE)), browser.Put()), S_OK);
        zorel::client::CStringArray folders;
        ASSERT_EQ(browser->GetFolders(Text(L"C:"), folders.Put()), S_OK);
        ASSERT_EQ(folders.Size(), 1U);
        EXPECT_EQ(folders[0], u"docs");
        CComPtr<IOibFilesArray> files;
        ASSERT_EQ(browser->GetFilesEx(Text(L"C:"), VARIANT_TRUE, Text(L".txt"), files.Put()), S_OK);
        zorel::client::CFileInfo file;
        ASSERT_EQ(files->GetFileInfo(0, file.Put()), S_OK);
        EXPECT_EQ(file.Size, 1234);
        EXPECT_NE(::SysStringLen(file.FileName), 0U);
    });
}

// Identifiers are marshalled by value in both directions, records by reference.
TEST_F(WindowsModule, CarriesIdentifiersAndRecordsBetweenApartments) {
    const CNeutralTypeLibrary neutral;
    const support::CTempFolder folder;
    std::filesystem::copy_file(ZOREL_EXAMPLE, folder.Native(u"C.dat"));
    std::ofstream(folder.Native(u"summary.txt"), std::ios::binary) << "Volume.C=C.dat\r\n#";
    std::ofstream(folder.Native(u"session.mtf"), std::ios::binary)
        << "oib1.VmName=web01\r\noib1.BackupTimeUtc=monday\r\n"
           "oib1.OibUID={9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}\r\n#";
    OnOtherThread(COINIT_MULTITHREADED, [&] {
        const auto library = NewLibrary();
        ASSERT_TRUE(library);
        CComPtr<IMtfBSessionMetaFile> session;
        ASSERT_EQ(library->CreateBSessionMetaFile(Text(folder.Native(u"session.mtf").wstring()),
                                                  EIdxMetaLoad, session.Put()),
                  S_OK);
        CComPtr<ICatOibRefsEnumerator> references;
        ASSERT_EQ(session->EnumOibsRefs(references.Put()), S_OK);
        GUID id = {};
        EXPECT_EQ(references->get_UniqueId(&id), S_OK);
        EXPECT_EQ(
            id,
            (GUID{0x9b3c5a2e, 0x4f61, 0x4c2d, {0x8e, 0x0a, 0x1d, 0x2f, 0x3a, 0x4b, 0x5c, 0x6d}}));
        EXPECT_EQ(session->DeleteOibRef(id), S_OK);
        references = nullptr;
        ASSERT_EQ(session->EnumOibsRefs(references.Put()), S_OK);
        INT count = -1;
        EXPECT_EQ(references->get_RefsCount(&count), S_OK);
        EXPECT_EQ(count, 0);

        CComPtr<IOibBDFSearchTask> task;
        ASSERT_EQ(library->FindInOibBDF(Text(folder.Native().wstring()), task.Put()), S_OK);
        const CString pattern(u"a.t");
        SearchSpec criteria = {};
        criteria.FileNamePattern = pattern;
        EXPECT_EQ(task->Find(&criteria), S_OK);
        EXPECT_EQ(task->get_ResultsCount(&count), S_OK);
        ASSERT_EQ(count, 1);
        zorel::client::CSearchResult found;
        EXPECT_EQ(task->GetResult(0, found.Put()), S_OK);
        EXPECT_STREQ(found.FileFullName, L"C:\\docs\\a.txt");
        EXPECT_EQ(found.Size, 1234);
    });
}

// A late-bound failure has a number, a source and a description.
TEST_F(WindowsModule, IsCalledByName) {
    const auto library = NewLibrary();
    CValue result;
    EXPECT_EQ(CallByName(library.Get(), L"iswildcardMATCH", result, nullptr, CValue(L"C:\\a.txt"),
                         CValue(L"*.TXT")),
              S_OK);
    EXPECT_EQ(result.vt, VT_BOOL);
    EXPECT_EQ(result.boolVal, VARIANT_TRUE);
    EXCEPINFO exception = {};
    EXPECT_EQ(CallByName(library.Get(), L"IsWildcardMatch", result, &exception, CValue(L"a.txt"),
                         CValue(L"*")),
              DISP_E_EXCEPTION);
    EXPECT_EQ(exception.scode, E_FAIL);
    EXPECT_STREQ(exception.bstrSource, L"ZorelOibIdxLib.COibIdxLib.5");
    EXPECT_NE(::SysStringLen(exception.bstrDescription), 0U);
    ::SysFreeString(exception.bstrSource);
    ::SysFreeString(exception.bstrDescription);

    CComPtr<IMtfMetaFile> file;
    ASSERT_EQ(library->CreateMetaFile(Text(L"unused.mtf"), EIdxMetaCreateNewDetached, file.Put()),
              S_OK);
    CComPtr<ITypeInfo> type;
    EXPECT_EQ(file->GetTypeInfo(0, 0, type.Put()), S_OK);
    wchar_t method[] = L"GetExistingAttr";
    LPOLESTR name = method;
    DISPID id = DISPID_UNKNOWN;
    EXPECT_EQ(file->GetIDsOfNames(IID_NULL, &name, 1, 0, &id), S_OK);
    EXPECT_EQ(id, 0x60020007);
}

// The major version of the type library that describes the object's interface.
WORD LibraryVersionOf(IDispatch* object) {
    CComPtr<ITypeInfo> type;
    CComPtr<ITypeLib> library;
    UINT index = 0;
    TLIBATTR* attributes = nullptr;
    if (FAILED(object->GetTypeInfo(0, 0, type.Put())) ||
        FAILED(type->GetContainingTypeLib(library.Put(), &index)) ||
        FAILED(library->GetLibAttr(&attributes))) {
        return 0;
    }
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
    ASSERT_EQ(::LoadTypeLibEx(path.c_str(), REGKIND_NONE, five.Put()), S_OK);
    for (const int expected : {5, 1}) {
        if (expected == 5) {
            ASSERT_EQ(::RegisterTypeLib(five.Get(), path.data(), nullptr), S_OK);
        } else {
            ASSERT_EQ(::UnRegisterTypeLib(LIBID_ZorelOibIdxLib, 5, 0, 0x409, SYS_WIN64), S_OK);
        }
        {
            const auto library = NewLibrary();
            EXPECT_EQ(LibraryVersionOf(library.Get()), 1);
            CComPtr<IMtfMetaFile> metaFile;
            ASSERT_EQ(library->CreateMetaFile(Text(L"unused.mtf"), EIdxMetaCreateNewDetached,
                                              metaFile.Put()),
                      S_OK);
            EXPECT_EQ(LibraryVersionOf(metaFile.Get()), expected);
        }
        // The module caches the type information until it is unloaded.
        EXPECT_FALSE(IsStillLoaded());
    }
}

// Late binding also works without registration.
TEST_F(WindowsModule, IsCalledByNameWithoutRegistration) {
    EXPECT_EQ(CLoadedModule().CallExport("DllUnregisterServer"), S_OK);
    CComPtr<IUnknown> none;
    EXPECT_EQ(::CoCreateInstance(CLSID_COibIdxLib, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                 none.PutVoid()),
              REGDB_E_CLASSNOTREG);
    const CLoadedModule module;
    const auto getClassObject =
        module.Export<HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**)>("DllGetClassObject");
    CComPtr<IClassFactory> factory;
    EXPECT_EQ(getClassObject(IID_IOibIdxLib, IID_IClassFactory, factory.PutVoid()),
              CLASS_E_CLASSNOTAVAILABLE);
    ASSERT_EQ(getClassObject(CLSID_COibIdxLib, IID_IClassFactory, factory.PutVoid()), S_OK);
    CComPtr<IDispatch> library;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, library.PutVoid()), S_OK);
    CValue result;
    EXPECT_EQ(CallByName(library.Get(), L"iswildcardMATCH", result, nullptr, CValue(L"C:\\a.txt"),
                         CValue(L"*.TXT")),
              S_OK);
    EXPECT_EQ(result.boolVal, VARIANT_TRUE);
}

TEST_F(WindowsModule, HasItsNameAndVersion) {
    const CLoadedModule module;
    wchar_t name[64] = {};
    EXPECT_GT(::LoadStringW(module.Get(), 100, name, 64), 0);
    EXPECT_STREQ(name, L"ZorelOibIdxLib");

    const HRSRC resource =
        ::FindResourceW(module.Get(), MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(16));  // VERSIONINFO
    ASSERT_NE(resource, nullptr);
    wchar_t path[MAX_PATH] = {};
    ASSERT_GT(::GetModuleFileNameW(module.Get(), path, MAX_PATH), 0U);
    std::string data(::GetFileVersionInfoSizeW(path, nullptr), '\0');
    ASSERT_FALSE(data.empty());
    ASSERT_TRUE(::GetFileVersionInfoW(path, 0, static_cast<DWORD>(data.size()), data.data()));
    wchar_t* version = nullptr;
    UINT length = 0;
    wchar_t query[] = L"\\StringFileInfo\\040904B0\\ProductVersion";
    ASSERT_TRUE(::VerQueryValueW(data.data(), query, reinterpret_cast<void**>(&version), &length));
    EXPECT_EQ(std::wstring(version), Wide(ZOREL_VERSION) + L".0");
}

}  // namespace
