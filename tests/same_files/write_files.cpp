// Writes every kind of file that the library writes into a folder. The program is the same on
// each system, so that the folders can be compared.
//
// Usage: write_files FOLDER      (must exist)
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

#include "ZorelClient.h"
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
    std::int64_t time = 130'000'000'000'000'000;
    for (support::FileRow& file : volume.files) {
        file.modifyTime = time += 36'000'000'000;  // an hour
        file.owner %= static_cast<std::uint32_t>(volume.owners.size());
    }
    fs::create_directories(folder);
    std::ofstream(folder / "C.dat", std::ios::binary) << volume.Bytes();
    std::ofstream(folder / "summary.txt", std::ios::binary) << "Volume.C=C.dat\r\n#\r\n";
}

void Generate(IOibIdxLib& library, const fs::path& folder, const char* name, VARIANT_BOOL crc) {
    fs::create_directories(folder / name);
    Check(library.GenerateOibTDFs(PathText(folder / "catalogue" / "summary.txt"),
                                  PathText(folder / name), {0, 30'000'000}, 1000, crc, 3,
                                  crc == VARIANT_TRUE ? 2 : 0, CString(u"._- ")),
          "generation");
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
        Check(file->SetAttr(CString::FromUtf8(name), CString(u"\u0416 \u4e2d \U0001F600")));
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
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: write_files FOLDER\n");
        return 2;
    }
    try {
        const fs::path folder = fs::absolute(argv[1]);
        const auto library = zorel::client::CreateLibrary();
        WriteCatalogue(folder / "catalogue");
        Generate(*library, folder, "text", VARIANT_FALSE);
        Generate(*library, folder, "keys", VARIANT_TRUE);
        WriteMetaFiles(*library, folder);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "write_files: %s\n", error.what());
        return 1;
    }
    std::puts("write_files: done");
}
