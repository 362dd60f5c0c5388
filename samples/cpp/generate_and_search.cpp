// Generates the text data files of a catalogue and searches them and the catalogue itself.
//
//     x86_64-w64-mingw32-g++ -std=c++20 -static -municode generate_and_search.cpp
//         -lole32 -loleaut32 -luuid
//     generate_and_search.exe C:\catalogue C:\text *.txt
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <ZorelOibIdxLib.h>

namespace {

struct CText {  // a string of the caller's
    explicit CText(const wchar_t* text) : value(::SysAllocString(text)) {}
    CText(const CText&) = delete;
    ~CText() { ::SysFreeString(value); }
    operator BSTR() const { return value; }
    BSTR value = nullptr;
};

// Ends the program with the library's own message; its first line is the outermost context.
void Check(HRESULT result) {
    if (SUCCEEDED(result)) {
        return;
    }
    IErrorInfo* error = nullptr;
    CText text(L"");
    if (::GetErrorInfo(0, &error) == S_OK) {
        ::SysFreeString(text.value);
        error->GetDescription(&text.value);
        error->Release();
    }
    std::printf("0x%08lx: %ls\n", static_cast<unsigned long>(result), text.value);
    std::exit(1);
}

void Print(IOibTDFSearchTask* found) {
    INT count = 0;
    Check(found->get_ResultsCount(&count));
    for (INT i = 0; i < count; ++i) {
        SearchResult file = {};
        Check(found->GetResult(i, &file));
        // A text data file names no owners; its results have a null string there.
        std::printf("%12lld  %ls  (%ls)\n", static_cast<long long>(file.Size), file.FileFullName,
                    file.Owner == nullptr ? L"" : file.Owner);
        ::SysFreeString(file.FileFullName);
        ::SysFreeString(file.Owner);
    }
    std::printf("%d found\n", count);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 4) {
        std::printf("usage: generate_and_search CATALOGUE TEXT-FOLDER PATTERN\n");
        return 2;
    }
    Check(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
    IOibIdxLib* library = nullptr;
    Check(::CoCreateInstance(CLSID_COibIdxLib, nullptr, CLSCTX_INPROC_SERVER, IID_IOibIdxLib,
                             reinterpret_cast<void**>(&library)));
    const std::wstring catalogue = argv[1];
    const CText summary((catalogue + L"\\summary.txt").c_str());
    const CText text(argv[2]);
    const CText pattern(argv[3]);
    const CText separators(L"._- ");

    // One line a file, as many files as there are owners, dated today.
    FILETIME now = {};
    ::GetSystemTimeAsFileTime(&now);
    Check(library->GenerateOibTDFs(summary, text, {now.dwLowDateTime, now.dwHighDateTime}, 100000,
                                   VARIANT_FALSE, 0, 0, separators));
    SearchSpec criteria = {};
    criteria.FileNamePattern = pattern;
    IOibBDFSearchTask* search = nullptr;
    Check(library->FindInOibBDF(CText(catalogue.c_str()), &search));
    Check(search->Find(&criteria));
    Print(search);
    search->Release();

    WIN32_FIND_DATAW entry = {};
    const std::wstring folder = std::wstring(argv[2]) + L"\\";
    const HANDLE files = ::FindFirstFileW((folder + L"vl.*.txt").c_str(), &entry);
    for (BOOL more = files != INVALID_HANDLE_VALUE; more; more = ::FindNextFileW(files, &entry)) {
        std::printf("-- %ls\n", entry.cFileName);
        IOibTDFSearchTask* found = nullptr;
        Check(library->FindInOibTDF2(CText((folder + entry.cFileName).c_str()), &criteria, &found));
        Print(found);
        found->Release();
    }
    ::FindClose(files);
    library->Release();
    ::CoUninitialize();
    return 0;
}
