// Writes every kind of file that the library writes, and the results of its searches, into a
// folder. The program is the same on each system, so that the folders can be compared.
//
// Usage: write_files FOLDER      (must exist; a catalogue with a fixed seed is written first)
#include "same_files/write_files.h"

#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/index_file_builder.h"

namespace {

namespace fs = std::filesystem;

using zorel::client::CComPtr;
using zorel::client::Check;
using zorel::client::CString;

CString PathText(const fs::path& path) {
    return CString(path.u16string());
}

// Writes a volume with files of different times and sizes, and its volume list.
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
    Check(library.GenerateOibTDFs(PathText(summary), PathText(folder), time, 1000,
                                  crc ? VARIANT_TRUE : VARIANT_FALSE, 3, crc ? 2 : 0,
                                  CString(u"._- ")),
          "generation");
}

void Put(std::ofstream& out, BSTR text) {
    out.write(reinterpret_cast<const char*>(text),
              static_cast<std::streamsize>(::SysStringByteLen(text)));
    out.put('\n');
}

void WriteResults(IOibTDFSearchTask& task, const fs::path& path) {
    std::ofstream out(path, std::ios::binary);
    INT count = 0;
    Check(task.get_ResultsCount(&count));
    out << count << '\n';
    for (INT i = 0; i < count; ++i) {
        zorel::client::CSearchResult file;
        Check(task.GetResult(i, file.Put()));
        out << file.Size << ' ' << std::hexfloat << file.ModifyTime << ' ';
        Put(out, file.FileFullName);
        Put(out, file.Owner);
    }
}

void Search(IOibIdxLib& library, const fs::path& folder) {
    const CString pattern(u"*a");
    SearchSpec criteria = {};
    criteria.FileNamePattern = pattern;
    CComPtr<IOibBDFSearchTask> task;
    Check(library.FindInOibBDF(PathText(folder / "catalogue"), task.Put()), "catalogue");
    Check(task->Find(&criteria), "search of the catalogue");
    WriteResults(*task, folder / "found.txt");
    for (const auto& entry : fs::directory_iterator(folder / "text")) {
        const std::u16string name = entry.path().filename().u16string();
        if (name.starts_with(u"vl.")) {
            CComPtr<IOibTDFSearchTask> lines;
            Check(library.FindInOibTDF2(PathText(entry.path()), &criteria, lines.Put()),
                  "text search");
            WriteResults(*lines, folder / (u"found." + name));
        }
    }
}

CComPtr<IMtfMetaFile> Open(IOibIdxLib& library, const fs::path& path, INT mode) {
    CComPtr<IMtfMetaFile> file;
    Check(library.CreateMetaFile(PathText(path), mode, file.Put()), "meta-file");
    return file;
}

void WriteMetaFiles(IOibIdxLib& library, const fs::path& folder) {
    auto file = Open(library, folder / "meta.mtf", EIdxMetaCreateNewDetached);
    for (int i = 0; i < 100; ++i) {
        const std::string name = "Jobs.Job" + std::to_string(i % 10) + ".A" + std::to_string(i);
        Check(file->SetAttr(CString(std::u16string(name.begin(), name.end())),
                            CString(u"\u0416 \u4e2d \U0001F600")));
    }
    Check(file->PushComment(CString(u"one\r\ntwo")));
    Check(file->FlushChanges());
    Check(file->Close());
    file = Open(library, folder / "meta.mtf", EIdxMetaOpenRW);
    Check(file->SetAttr(CString(u"Appended.Attribute"), CString(u"v")));
    Check(file->FlushChanges(), "append");
    Check(file->DelAttrsTree(CString(u"Jobs.Job3")));
    Check(file->FlushChanges(), "rewrite");
    Check(file->Close());

    const fs::path sessionFile = folder / "session.mtf";
    std::ofstream(sessionFile, std::ios::binary)
        << "oib0.VmName=one\r\noib0.OibUID=9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d\r\n"
           "oib1.VmName=two\r\noib1.OibUID=9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6e\r\n#\r\n";
    CComPtr<IMtfBSessionMetaFile> session;
    Check(library.CreateBSessionMetaFile(PathText(sessionFile), EIdxMetaOpenRW, session.Put()));
    Check(session->DeleteOibRef(
        {0x9b3c5a2e, 0x4f61, 0x4c2d, {0x8e, 0x0a, 0x1d, 0x2f, 0x3a, 0x4b, 0x5c, 0x6d}}));
    Check(session->FlushChanges(), "session");
    Check(session->Close());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: write_files FOLDER\n");
        return 2;
    }
    try {
        const fs::path folder = fs::absolute(argv[1]);
        const auto library = NewLibrary();
        WriteCatalogue(folder / "catalogue");
        Generate(*library, folder / "catalogue" / "summary.txt", folder / "text", false);
        Generate(*library, folder / "catalogue" / "summary.txt", folder / "keys", true);
        Search(*library, folder);
        WriteMetaFiles(*library, folder);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "write_files: %s\n", error.what());
        return 1;
    }
    std::puts("write_files: done");
}
