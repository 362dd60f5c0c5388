// Lists a folder of a catalogue and searches a text data file through IDispatch, as a script
// engine does: without the library's headers, every method by its name.
//
//     x86_64-w64-mingw32-g++ -std=c++20 -static -municode browse_by_name.cpp
//         -lole32 -loleaut32 -luuid
//     browse_by_name.exe C:\catalogue\C.dat C:\docs C:\text\vl.C.CORP.ann.0.txt *.txt
#include <windows.h>

#include <ole2.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

struct CValue : VARIANT {  // frees its content
    CValue() : VARIANT{} {}
    CValue(CValue&& other) noexcept : VARIANT(other) { other.vt = VT_EMPTY; }
    explicit CValue(const wchar_t* text) : CValue() {
        vt = VT_BSTR;
        bstrVal = ::SysAllocString(text);
    }
    ~CValue() { ::VariantClear(this); }
};

[[noreturn]] void Fail(HRESULT result, BSTR text) {
    std::printf("0x%08lx: %ls\n", static_cast<unsigned long>(result), text);
    std::exit(1);
}

// Calls a method or reads a property. A failure ends the program with the library's message.
template <class... Arguments>
CValue Call(IDispatch* object, const wchar_t* name, const Arguments&... arguments) {
    LPOLESTR names = const_cast<LPOLESTR>(name);
    DISPID id = DISPID_UNKNOWN;
    HRESULT result = object->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(result)) {
        Fail(result, names);
    }
    std::vector<VARIANT> list = {arguments...};
    std::reverse(list.begin(), list.end());  // DISPPARAMS begins with the last argument
    DISPPARAMS params = {list.data(), nullptr, static_cast<UINT>(list.size()), 0};
    CValue value;
    EXCEPINFO error = {};
    result =
        object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                       &params, &value, &error, nullptr);
    if (FAILED(result)) {
        Fail(result == DISP_E_EXCEPTION ? error.scode : result, error.bstrDescription);
    }
    return value;
}

// Prints an array of strings.
void PrintList(const CValue& list, const wchar_t* ending) {
    BSTR* texts = nullptr;
    LONG last = -1;
    ::SafeArrayGetUBound(list.parray, 1, &last);
    ::SafeArrayAccessData(list.parray, reinterpret_cast<void**>(&texts));
    for (LONG i = 0; i <= last; ++i) {
        std::printf("%ls%ls\n", texts[i], ending);
    }
    ::SafeArrayUnaccessData(list.parray);
}

CValue CreateLibrary() {
    CLSID clsid = {};
    CValue library;
    library.vt = VT_DISPATCH;
    HRESULT result = ::CLSIDFromProgID(L"ZorelOibIdxLib.COibIdxLib", &clsid);
    if (SUCCEEDED(result)) {
        result = ::CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                    reinterpret_cast<void**>(&library.pdispVal));
    }
    if (FAILED(result)) {
        library.vt = VT_EMPTY;
        Fail(result, const_cast<BSTR>(L"the library is not registered"));
    }
    return library;
}

void Browse(const CValue& library, const wchar_t* catalogue, const wchar_t* folder) {
    const CValue browser = Call(library.pdispVal, L"BrowseOibDF", CValue(catalogue));
    PrintList(Call(browser.pdispVal, L"GetFolders", CValue(folder)), L"\\");
    const CValue files = Call(browser.pdispVal, L"GetFiles", CValue(folder));
    std::printf("%lu files, %llu bytes\n", Call(files.pdispVal, L"FilesCount").ulVal,
                Call(files.pdispVal, L"TotalSize").ullVal);
}

// Prints the lines of the files below the folder whose names match the pattern.
void Search(const CValue& library, const wchar_t* text, const wchar_t* folder,
            const wchar_t* pattern) {
    PrintList(
        Call(library.pdispVal, L"FindInOibTDF", CValue(text), CValue(folder), CValue(pattern)),
        L"");
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 5) {
        std::printf("usage: browse_by_name CATALOGUE-FILE FOLDER TEXT-FILE PATTERN\n");
        return 2;
    }
    if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
        return 1;
    }
    {
        const CValue library = CreateLibrary();
        Browse(library, argv[1], argv[2]);
        Search(library, argv[3], argv[2], argv[4]);
    }
    ::CoUninitialize();
    return 0;
}
