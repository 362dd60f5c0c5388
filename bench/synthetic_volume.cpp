#include "synthetic_volume.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <vector>

#include "cli/catalogue/catalogue_lock.h"
#include "cli/catalogue/data_file_writer.h"
#include "cli/catalogue/volume_list.h"

namespace bench {

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kSeed = 20130115;
constexpr std::uint64_t kFilesPerMillion = 1'000'000;
constexpr std::uint64_t kFoldersPerMillion = 80'000;
constexpr std::uint32_t kOwners = 200;
constexpr int kDeepest = 9;

const std::u16string_view kWords[] = {u"report",
                                      u"invoice",
                                      u"Budget",
                                      u"data",
                                      u"index",
                                      u"image",
                                      u"Copy of",
                                      u"draft",
                                      u"meeting",
                                      u"notes",
                                      u"config",
                                      u"backup",
                                      u"archive",
                                      u"Photo",
                                      u"module",
                                      u"test",
                                      u"\u043e\u0442\u0447\u0451\u0442",
                                      u"\u8cc7\u6599",
                                      u"plan",
                                      u"final",
                                      u"v2",
                                      u"scan",
                                      u"letter",
                                      u"summary",
                                      u"build",
                                      u"cache",
                                      u"user",
                                      u"setup",
                                      u"main",
                                      u"util"};
const std::u16string_view kEndings[] = {u".txt", u".docx", u".pdf", u".log", u".txt",
                                        u".jpg", u".cpp",  u".h",   u".xml", u".dat"};

// The folder of all volumes of this run.
class CBenchFolder {
public:
    CBenchFolder() {
        std::string name = (fs::temp_directory_path() / "zorel_bench_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            std::perror("bench: no folder for the volumes");
            std::exit(2);
        }
        m_path = name;
    }
    ~CBenchFolder() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    const fs::path& Path() const { return m_path; }

private:
    fs::path m_path;
};

std::u16string Number(std::uint64_t value) {
    const std::string digits = std::to_string(value);
    return {digits.begin(), digits.end()};
}

class CVolumeMaker {
public:
    explicit CVolumeMaker(std::uint64_t files) : m_files(files) {}

    SyntheticVolume Make(const fs::path& folder) {
        fs::create_directories(folder);
        m_volume.folder = folder.string();
        m_volume.path = (folder / "C.dat").string();
        zorel::cli::CDataFileWriter writer(m_volume.path);
        AddOwners(writer);
        AddFolders(writer);
        AddFiles(writer);
        writer.Finish();
        const zorel::cli::CCatalogueLock lock(m_volume.folder);
        zorel::cli::ListVolume(m_volume.folder, 'C', "C.dat", lock);
        m_volume.bytes = fs::file_size(m_volume.path);
        m_volume.files = m_files;
        m_volume.folders = static_cast<std::uint64_t>(writer.FolderCount());
        return m_volume;
    }

private:
    std::uint64_t Below(std::uint64_t bound) { return m_random() % bound; }
    std::u16string Name(std::uint64_t number) {
        std::u16string name(kWords[Below(std::size(kWords))]);
        if (Below(3) == 0) {
            name += u" ";
            name += kWords[Below(std::size(kWords))];
        }
        return name + u"_" + Number(number);
    }

    void AddOwners(zorel::cli::CDataFileWriter& writer) {
        for (std::uint32_t i = 0; i < kOwners; ++i) {
            rec::COwnerRecord owner;
            owner.OwnerId = u"S-1-5-21-1000-" + Number(i);
            owner.OwnerName = i % 20 == 19 ? u"" : u"user" + Number(i);
            owner.OwnerDomain = i % 2 == 0 ? u"CORP" : u"LAB";
            writer.AddOwner(owner);
        }
    }

    void AddFolders(zorel::cli::CDataFileWriter& writer) {
        const std::uint64_t count = m_files * kFoldersPerMillion / kFilesPerMillion;
        std::vector<int> depths = {0};
        std::vector<std::u16string> paths = {u"C:"};
        while (depths.size() < count) {
            std::uint64_t parent = Below(depths.size());
            while (depths[parent] >= kDeepest) {
                parent = Below(depths.size());
            }
            const std::u16string name = Name(depths.size());
            writer.AddFolder(name, static_cast<std::int64_t>(parent));
            m_volume.topFolders += parent == 0 ? 1 : 0;
            depths.push_back(depths[parent] + 1);
            paths.push_back(paths[parent] + u"\\" + name);
        }
        m_sample = count / 2;
        m_volume.samplePath = paths[m_sample];
        m_folders = count;
    }

    void AddFiles(zorel::cli::CDataFileWriter& writer) {
        constexpr std::int64_t kStart = 130'000'000'000'000'000;  // ticks, late in 2012
        rec::CFileRecord file;
        for (std::uint64_t i = 0; i < m_files; ++i) {
            const std::uint64_t folder = i * m_folders / m_files;
            const std::uint64_t ending = Below(std::size(kEndings));
            file.ModifyTime = kStart + static_cast<std::int64_t>(Below(400'000'000)) * 10'000'000;
            file.DirIndex = static_cast<std::int64_t>(folder);
            file.Size = static_cast<std::int64_t>(Below(10'000'000));
            file.OwnerIndex = static_cast<std::uint32_t>(Below(kOwners));
            file.FileName = Name(i) + std::u16string(kEndings[ending]);
            writer.AddFile(file);
            m_volume.txtFiles += kEndings[ending] == u".txt" ? 1 : 0;
            m_volume.sampleFiles += folder == m_sample ? 1 : 0;
        }
    }

    std::uint64_t m_files;
    std::uint64_t m_folders = 0;
    std::uint64_t m_sample = 0;
    std::mt19937_64 m_random{kSeed};
    SyntheticVolume m_volume;
};

}  // namespace

SyntheticVolume WriteVolume(std::uint64_t files, const std::string& folder) {
    try {
        return CVolumeMaker(files).Make(folder);
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "bench: cannot write a volume: %s\n", error.what()));
        std::exit(2);
    }
}

const SyntheticVolume& VolumeOf(std::uint64_t files) {
    static CBenchFolder folder;
    static std::map<std::uint64_t, SyntheticVolume> volumes;
    const auto found = volumes.find(files);
    if (found != volumes.end()) {
        return found->second;
    }
    return volumes[files] = WriteVolume(files, folder.Path() / std::to_string(files));
}

}  // namespace bench
