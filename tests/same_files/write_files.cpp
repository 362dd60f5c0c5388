// Writes every kind of file that the library writes, and what its searches answer, into a
// folder: the same program on each system, to compare the folders.
//
// Usage: write_files FOLDER      (must exist; a catalogue drawn from a seed is written first)
#include "same_files/write_files.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/index_file_builder.h"

namespace {

namespace fs = std::filesystem;

class CText {
public:
    explicit CText(std::u16string_view text)
        : m_text(::SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()),
                                     static_cast<UINT>(text.size()))) {}
    CText(const CText&) = delete;
    CText& operator=(const CText&) = delete;
    ~CText() { ::SysFreeString(m_text); }
    operator BSTR() const { return m_text; }

private:
    BSTR m_text;
};

CText PathText(const fs::path& path) {
    return CText(path.u16string());
}

void Check(HRESULT result, const char* what) {
    if (FAILED(result)) {
        std::fprintf(stderr, "write_files: %s: 0x%08x\n", what, static_cast<unsigned>(result));
        std::exit(1);
    }
}

// A volume whose files spread over some years and sizes, and the list that names it.
void WriteCatalogue(const fs::path& folder) {
    support::Volume volume = support::RandomVolume(20130115, 200, 5000, 12);
    for (std::size_t i = 0; i < volume.files.size(); ++i) {
        constexpr std::int64_t kHour = 36'000'000'000;
        volume.files[i].modifyTime = 130'000'000'000'000'000 + static_cast<std::int64_t>(i) * kHour;
        volume.files[i].owner %= static_cast<std::uint32_t>(volume.owners.size());
    }
    fs::create_directories(folder);
    std::ofstream(folder / "C.dat", std::ios::binary) << volume.Bytes();
    std::ofstream(folder / "summary.txt", std::ios::binary) << "Volume.C=C.dat\r\n#\r\n";
}

void Generate(IOibIdxLib& library, const fs::path& summary, const fs::path& folder, bool crc) {
    fs::create_directories(folder);
    const _FILETIME time = {0, 30'000'000};
    Check(
        library.GenerateOibTDFs(PathText(summary), PathText(folder), time, 1000,
                                crc ? VARIANT_TRUE : VARIANT_FALSE, 3, crc ? 2 : 0, CText(u"._- ")),
        "generation");
}

void Put(std::ofstream& out, BSTR text) {
    out.write(reinterpret_cast<const char*>(text),
              static_cast<std::streamsize>(::SysStringByteLen(text)));
    out.put('\n');
    ::SysFreeString(text);
}

void WriteResults(IOibTDFSearchTask& task, const fs::path& path) {
    std::ofstream out(path, std::ios::binary);
    INT count = 0;
    Check(task.get_ResultsCount(&count), "the number of results");
    out << count << '\n';
    for (INT i = 0; i < count; ++i) {
        SearchResult file = {};
        Check(task.GetResult(i, &file), "a result");
        out << file.Size << ' ' << std::hexfloat << file.ModifyTime << ' ';
        Put(out, file.FileFullName);
        Put(out, file.Owner);
    }
}

void Search(IOibIdxLib& library, const fs::path& folder) {
    const CText pattern(u"*a");
    SearchSpec criteria = {};
    criteria.FileNamePattern = pattern;
    IOibBDFSearchTask* task = nullptr;
    Check(library.FindInOibBDF(PathText(folder / "catalogue"), &task), "loading the catalogue");
    Check(task->Find(&criteria), "a search of the catalogue");
    WriteResults(*task, folder / "found.txt");
    task->Release();
    for (const auto& entry : fs::directory_iterator(folder / "text")) {
        IOibTDFSearchTask* lines = nullptr;
        const std::u16string name = entry.path().filename().u16string();
        if (name.starts_with(u"vl.")) {
            Check(library.FindInOibTDF2(PathText(entry.path()), &criteria, &lines),
                  "a text search");
            WriteResults(*lines, folder / (u"found." + name));
            lines->Release();
        }
    }
}

IMtfMetaFile* Open(IOibIdxLib& library, const fs::path& path, INT mode) {
    IMtfMetaFile* file = nullptr;
    Check(library.CreateMetaFile(PathText(path), mode, &file), "opening a meta-file");
    return file;
}

void WriteMetaFiles(IOibIdxLib& library, const fs::path& folder) {
    IMtfMetaFile* file = Open(library, folder / "meta.mtf", EIdxMetaCreateNewDetached);
    for (int i = 0; i < 100; ++i) {
        const std::string name = "Jobs.Job" + std::to_string(i % 10) + ".A" + std::to_string(i);
        Check(file->SetAttr(CText(std::u16string(name.begin(), name.end())),
                            CText(u"\u0416 \u4e2d \U0001F600")),
              "SetAttr");
    }
    Check(file->PushComment(CText(u"one\r\ntwo")), "PushComment");
    Check(file->FlushChanges(), "FlushChanges");
    Check(file->Close(), "Close");
    file->Release();
    file = Open(library, folder / "meta.mtf", EIdxMetaOpenRW);
    Check(file->SetAttr(CText(u"Appended.Attribute"), CText(u"v")), "SetAttr");
    Check(file->FlushChanges(), "an append");
    Check(file->DelAttrsTree(CText(u"Jobs.Job3")), "DelAttrsTree");
    Check(file->FlushChanges(), "a rewrite");
    Check(file->Close(), "Close");
    file->Release();

    std::ofstream(folder / "session.mtf", std::ios::binary)
        << "oib0.VmName=one\r\noib0.OibUID=9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d\r\n"
           "oib1.VmName=two\r\noib1.OibUID=9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6e\r\n#\r\n";
    IMtfBSessionMetaFile* session = nullptr;
    Check(
        library.CreateBSessionMetaFile(PathText(folder / "session.mtf"), EIdxMetaOpenRW, &session),
        "opening a session");
    constexpr GUID kFirst = {
        0x9b3c5a2e, 0x4f61, 0x4c2d, {0x8e, 0x0a, 0x1d, 0x2f, 0x3a, 0x4b, 0x5c, 0x6d}};
    Check(session->DeleteOibRef(kFirst), "DeleteOibRef");
    Check(session->FlushChanges(), "saving a session");
    Check(session->Close(), "Close");
    session->Release();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: write_files FOLDER\n");
        return 2;
    }
    const fs::path folder = fs::absolute(argv[1]);
    IOibIdxLib* library = CreateLibrary();
    if (library == nullptr) {
        std::fprintf(stderr, "write_files: the library object cannot be created\n");
        return 1;
    }
    WriteCatalogue(folder / "catalogue");
    Generate(*library, folder / "catalogue" / "summary.txt", folder / "text", false);
    Generate(*library, folder / "catalogue" / "summary.txt", folder / "keys", true);
    Search(*library, folder);
    WriteMetaFiles(*library, folder);
    library->Release();
    std::puts("write_files: done");
}
