// The registered Windows module as its clients get it: created by the system, called from
// other apartments, unloaded when nothing of it is left.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "ZorelOibIdxLib.h"
#include "automation/com_ptr.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace {

using automation::CComPtr;

constexpr wchar_t kModule[] = L"ZorelOibIdxComLib.dll";

std::wstring Wide(const char* path) {
    const std::string text(path);
    return std::wstring(text.begin(), text.end());
}

// A string argument.
class CText {
public:
    explicit CText(const std::wstring& text) : m_text(::SysAllocString(text.c_str())) {}
    CText(const CText&) = delete;
    CText& operator=(const CText&) = delete;
    ~CText() { ::SysFreeString(m_text); }
    operator BSTR() const { return m_text; }

private:
    BSTR m_text;
};

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

// Runs `body` on a thread of its own and serves calls to this thread's objects meanwhile.
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

// Unloads what is not needed, at once.
bool IsLoadedStill() {
    ::CoFreeUnusedLibrariesEx(0, 0);
    return ::GetModuleHandleW(kModule) != nullptr;
}

// A variant of the test's own.
struct CValue : VARIANT {
    CValue() : VARIANT{} {}
    explicit CValue(const wchar_t* text) : CValue() {
        vt = VT_BSTR;
        bstrVal = ::SysAllocString(text);
    }
    explicit CValue(bool value) : CValue() {
        vt = VT_BOOL;
        boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    }
    explicit CValue(LONG value) : CValue() {
        vt = VT_I4;
        lVal = value;
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
        EXPECT_FALSE(IsLoadedStill());
        EXPECT_EQ(CLoadedModule().CallExport("DllUnregisterServer"), S_OK);
    }

    const CApartment m_apartment{COINIT_APARTMENTTHREADED};
};

// When it carries calls between apartments Wine looks for a type library of the neutral
// locale only, whatever locale the registered one has.
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
        EXPECT_TRUE(IsLoadedStill());
    }
    EXPECT_FALSE(IsLoadedStill());
    // An object that the library handed out keeps the module, and so does a server lock; an
    // unlock too many does not take anything away.
    CComPtr<IOibDFBrowser> browser;
    EXPECT_EQ(NewLibrary()->BrowseOibDF(CText(Wide(ZOREL_EXAMPLE)), browser.Put()), S_OK);
    EXPECT_TRUE(IsLoadedStill());
    browser = nullptr;
    CComPtr<IClassFactory> factory;
    ASSERT_EQ(::CoGetClassObject(CLSID_COibIdxLib, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                                 factory.PutVoid()),
              S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_TRUE(IsLoadedStill());
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    factory = nullptr;
    EXPECT_FALSE(IsLoadedStill());
}

// An outer object without interfaces of its own.
class COuter final : public IUnknown {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (iid == IID_IUnknown) {
            *object = this;
            AddRef();
            return S_OK;
        }
        return inner->QueryInterface(iid, object);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    virtual ~COuter() = default;

    CComPtr<IUnknown> inner;
    ULONG references = 1;
};

TEST_F(WindowsModule, IsAggregated) {
    COuter outer;
    void* refused = &refused;
    EXPECT_EQ(::CoCreateInstance(CLSID_COibIdxLib, &outer, CLSCTX_INPROC_SERVER, IID_IOibIdxLib,
                                 &refused),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(refused, nullptr);
    ASSERT_EQ(::CoCreateInstance(CLSID_COibIdxLib, &outer, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                 outer.inner.PutVoid()),
              S_OK);
    CComPtr<IOibIdxLib> library;
    ASSERT_EQ(outer.QueryInterface(IID_IOibIdxLib, library.PutVoid()), S_OK);
    CComPtr<IUnknown> identity;
    EXPECT_EQ(library->QueryInterface(IID_IUnknown, identity.PutVoid()), S_OK);
    EXPECT_EQ(identity.Get(), &outer);
    VARIANT_BOOL match = VARIANT_FALSE;
    EXPECT_EQ(library->IsWildcardMatch(CText(L"C:\\a.txt"), CText(L"*.txt"), &match), S_OK);
    EXPECT_EQ(match, VARIANT_TRUE);
}

// The system carries calls between apartments with the help of the type library.
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
        EXPECT_EQ(proxy->IsWildcardMatch(CText(L"C:\\a.txt"), CText(L"*.txt"), &match), S_OK);
        EXPECT_EQ(match, VARIANT_TRUE);
        // Wine loses the error information on the way; the result is right on both systems.
        EXPECT_EQ(proxy->IsWildcardMatch(CText(L"a.txt"), CText(L"*"), &match), E_FAIL);
    });
}

// Created from the multithreaded apartment the object lives in one of the system's own;
// arrays, records and objects come back from there.
TEST_F(WindowsModule, ServesTheMultithreadedApartment) {
    const CNeutralTypeLibrary neutral;
    OnOtherThread(COINIT_MULTITHREADED, [] {
        const auto library = NewLibrary();
        ASSERT_TRUE(library);
        CComPtr<IOibDFBrowser> browser;
        ASSERT_EQ(library->BrowseOibDF(CText(Wide(ZOREL_EXAMPLE)), browser.Put()), S_OK);
        SAFEARRAY* folders = nullptr;
        ASSERT_EQ(browser->GetFolders(CText(L"C:"), &folders), S_OK);
        BSTR folder = nullptr;
        LONG first = 0;
        EXPECT_EQ(::SafeArrayGetElement(folders, &first, &folder), S_OK);
        EXPECT_STREQ(folder, L"docs");
        ::SysFreeString(folder);
        ::SafeArrayDestroy(folders);
        CComPtr<IOibFilesArray> files;
        ASSERT_EQ(browser->GetFilesEx(CText(L"C:"), VARIANT_TRUE, CText(L".txt"), files.Put()),
                  S_OK);
        OibFileInfo file = {};
        ASSERT_EQ(files->GetFileInfo(0, &file), S_OK);
        EXPECT_EQ(file.Size, 1234);
        EXPECT_NE(::SysStringLen(file.FileName), 0U);
        ::SysFreeString(file.FileName);
        ::SysFreeString(file.Owner);
    });
}

// Identifiers travel by value and back, records by reference.
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
        ASSERT_EQ(library->CreateBSessionMetaFile(CText(folder.Native(u"session.mtf").wstring()),
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
        ASSERT_EQ(library->FindInOibBDF(CText(folder.Native().wstring()), task.Put()), S_OK);
        const CText pattern(L"a.t");
        SearchSpec criteria = {};
        criteria.FileNamePattern = pattern;
        EXPECT_EQ(task->Find(&criteria), S_OK);
        EXPECT_EQ(task->get_ResultsCount(&count), S_OK);
        ASSERT_EQ(count, 1);
        SearchResult found = {};
        EXPECT_EQ(task->GetResult(0, &found), S_OK);
        EXPECT_STREQ(found.FileFullName, L"C:\\docs\\a.txt");
        EXPECT_EQ(found.Size, 1234);
        ::SysFreeString(found.FileFullName);
        ::SysFreeString(found.Owner);
    });
}

// By name, with the failure's number, source and description.
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
    ASSERT_EQ(library->CreateMetaFile(CText(L"unused.mtf"), EIdxMetaCreateNewDetached, file.Put()),
              S_OK);
    CComPtr<ITypeInfo> type;
    EXPECT_EQ(file->GetTypeInfo(0, 0, type.Put()), S_OK);
    wchar_t method[] = L"GetExistingAttr";
    LPOLESTR name = method;
    DISPID id = DISPID_UNKNOWN;
    EXPECT_EQ(file->GetIDsOfNames(IID_NULL, &name, 1, 0, &id), S_OK);
    EXPECT_EQ(id, 0x60020007);
}

TEST_F(WindowsModule, GivesObjectsArraysAndNumbersByName) {
    const auto library = NewLibrary();
    CValue browser;
    ASSERT_EQ(CallByName(library.Get(), L"BrowseOibDF", browser, nullptr,
                         CValue(Wide(ZOREL_EXAMPLE).c_str())),
              S_OK);
    ASSERT_EQ(browser.vt, VT_DISPATCH);
    CValue folders;
    ASSERT_EQ(CallByName(browser.pdispVal, L"GetFolders", folders, nullptr, CValue(L"C:")), S_OK);
    ASSERT_EQ(folders.vt, VT_ARRAY | VT_BSTR);
    LONG position = 0;
    BSTR folder = nullptr;
    EXPECT_EQ(::SafeArrayGetElement(folders.parray, &position, &folder), S_OK);
    EXPECT_STREQ(folder, L"docs");
    ::SysFreeString(folder);
    CValue files;
    ASSERT_EQ(CallByName(browser.pdispVal, L"GetFilesEx", files, nullptr, CValue(L"C:"),
                         CValue(true), CValue(L".txt")),
              S_OK);
    ASSERT_EQ(files.vt, VT_DISPATCH);
    CValue count;
    EXPECT_EQ(CallByName(files.pdispVal, L"FilesCount", count, nullptr), S_OK);
    EXPECT_EQ(count.vt, VT_UI4);
    EXPECT_EQ(count.ulVal, 1U);
    CValue size;
    EXPECT_EQ(CallByName(files.pdispVal, L"TotalSize", size, nullptr), S_OK);
    EXPECT_EQ(size.vt, VT_UI8);
    EXPECT_EQ(size.ullVal, 1234U);
    CValue file;
    const HRESULT hr = CallByName(files.pdispVal, L"GetFileInfo", file, nullptr, CValue(LONG{0}));
    if (support::OnWine()) {
        EXPECT_EQ(hr, E_NOTIMPL) << "Wine gives no records to callers by name";
    } else {
        ASSERT_EQ(hr, S_OK);
        ASSERT_EQ(file.vt, VT_RECORD);
        EXPECT_EQ(static_cast<OibFileInfo*>(file.pvRecord)->Size, 1234);
    }
    // A number and a text are taken for each other; what does not fit is refused.
    CValue text;
    EXPECT_EQ(CallByName(library.Get(), L"ConvetrPathToCrcStr", text, nullptr, CValue(L"C:\\a"),
                         CValue(L"1")),
              S_OK);
    EXPECT_EQ(text.vt, VT_BSTR);
    EXPECT_EQ(CallByName(library.Get(), L"ConvetrPathToCrcStr", text, nullptr, CValue(L"C:\\a"),
                         CValue(L"one")),
              DISP_E_TYPEMISMATCH);
    EXPECT_EQ(CallByName(library.Get(), L"ConvetrPathToCrcStr", text, nullptr, CValue(L"C:\\a")),
              DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(CallByName(library.Get(), L"ConvertPathToCrcStr", text, nullptr), DISP_E_UNKNOWNNAME);
}

// The version of the type library that describes an interface.
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

// The interfaces of meta-files ask for version 5 of the type library, the others for 1.
TEST_F(WindowsModule, AsksForTheVersionOfEachInterface) {
    std::ifstream file(ZOREL_TYPE_LIBRARY, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    ASSERT_GT(bytes.size(), 0x18U);
    bytes[0x18] = 5;  // the place of the major version
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
            ASSERT_EQ(library->CreateMetaFile(CText(L"unused.mtf"), EIdxMetaCreateNewDetached,
                                              metaFile.Put()),
                      S_OK);
            EXPECT_EQ(LibraryVersionOf(metaFile.Get()), expected);
        }
        // What was found is kept as long as the module.
        EXPECT_FALSE(IsLoadedStill());
    }
}

// Late binding needs no registration.
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

TEST_F(WindowsModule, TellsItsNameAndVersion) {
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
