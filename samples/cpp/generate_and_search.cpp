// Generates the text data files of a catalogue and searches them and the catalogue itself.
//
//     x86_64-w64-mingw32-g++ -std=c++20 -static -municode generate_and_search.cpp
//         -lole32 -loleaut32 -luuid
//     generate_and_search.exe C:\catalogue C:\text *.txt
#include <windows.h>

#include <cstdio>
#include <string>

#include <ZorelClient.h>

using namespace zorel::client;

namespace {

CString ToString(const std::wstring& text) {
    return CString(std::u16string(text.begin(), text.end()));
}

void Print(IOibTDFSearchTask& found) {
    INT count = 0;
    Check(found.get_ResultsCount(&count));
    CSearchResult file;
    for (INT i = 0; i < count; ++i) {
        Check(found.GetResult(i, file.Put()));
        // Text data files contain no owners; the owner of their results is a null string.
        std::printf("%12lld  %ls  (%ls)\n", static_cast<long long>(file.Size), file.FileFullName,
                    file.Owner == nullptr ? L"" : file.Owner);
    }
    std::printf("%d found\n", count);
}

// Writes record lines, up to 100,000 for each file; the files get the current time.
void Generate(IOibIdxLib& library, const std::wstring& catalogue, const std::wstring& folder) {
    FILETIME now = {};
    ::GetSystemTimeAsFileTime(&now);
    Check(library.GenerateOibTDFs(ToString(catalogue + L"\\summary.txt"), ToString(folder),
                                  {now.dwLowDateTime, now.dwHighDateTime}, 100000, VARIANT_FALSE, 0,
                                  0, CString(u"._- ")));
}

void Search(IOibIdxLib& library, const std::wstring& catalogue, const std::wstring& folder,
            const std::wstring& pattern) {
    const CString name = ToString(pattern);
    SearchSpec criteria = {};
    criteria.FileNamePattern = name;
    CComPtr<IOibBDFSearchTask> search;
    Check(library.FindInOibBDF(ToString(catalogue), search.Put()));
    Check(search->Find(&criteria));
    Print(*search);

    WIN32_FIND_DATAW entry = {};
    const HANDLE files = ::FindFirstFileW((folder + L"\\vl.*.txt").c_str(), &entry);
    for (BOOL more = files != INVALID_HANDLE_VALUE; more; more = ::FindNextFileW(files, &entry)) {
        std::printf("-- %ls\n", entry.cFileName);
        CComPtr<IOibTDFSearchTask> found;
        Check(library.FindInOibTDF2(ToString(folder + L"\\" + entry.cFileName), &criteria,
                                    found.Put()));
        Print(*found);
    }
    ::FindClose(files);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 4) {
        std::printf("usage: generate_and_search CATALOGUE TEXT-FOLDER PATTERN\n");
        return 2;
    }
    if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
        return 1;
    }
    int status = 0;
    try {
        const CComPtr<IOibIdxLib> library = CreateLibrary();
        Generate(*library, argv[1], argv[2]);
        Search(*library, argv[1], argv[2], argv[3]);
    } catch (const std::exception& error) {
        std::printf("%s\n", error.what());
        status = 1;
    }
    ::CoUninitialize();
    return status;
}
