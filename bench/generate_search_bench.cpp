// Generating text data files, and searching them and the catalogue.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <vector>

#include "ZorelClient.h"
#include "limits.h"
#include "synthetic_volume.h"

namespace {

namespace fs = std::filesystem;
using bench::Check;
using bench::SyntheticVolume;
using zorel::client::CComPtr;
using zorel::client::CString;

const SyntheticVolume& VolumeFor(const benchmark::State& state) {
    return bench::VolumeOf(static_cast<std::uint64_t>(state.range(0)));
}

// A pattern that matches the file of this number and few others.
std::u16string RareName(const SyntheticVolume& volume) {
    return u"*_" + std::u16string(std::to_string(volume.files).size() - 1, u'7') + u".";
}

// A pattern, a folder near the root, and limits of time and size.
struct ManyCriteria {
    explicit ManyCriteria(const SyntheticVolume& volume)
        : root(volume.samplePath.substr(0, volume.samplePath.find(u'\\', 3) + 1)) {
        record.FileNamePattern = name;
        record.rootPath = root;
        record.UseTimeLimits = VARIANT_TRUE;
        record.ModifyTimeFrom = 41000;
        record.ModifyTimeTill = 45000;
        record.UseSizeLimits = VARIANT_TRUE;
        record.SizeFrom = 1000;
        record.SizeTill = 9'000'000;
    }

    const CString name{u"*report*.txt"};
    const CString root;
    SearchSpec record{};
};

// ----- Limits -------------------------------------------------------------------------

// Seconds to read a whole file into newly mapped memory.
double FreshReadSeconds(const std::string& path) {
    return bench::FastestSeconds([&] {
        const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        const auto size = static_cast<std::size_t>(fs::file_size(path));
        void* memory =
            ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        Check(file >= 0 && memory != MAP_FAILED, "the fresh read opens its file");
        std::size_t done = 0;
        while (done < size) {
            const ssize_t got = ::read(file, static_cast<char*>(memory) + done, size - done);
            Check(got > 0, "the fresh read reads");
            done += static_cast<std::size_t>(got);
        }
        ::munmap(memory, size);
        ::close(file);
    });
}

// Seconds to step through the file records in memory, reading only their length fields.
double LengthWalkSeconds(const SyntheticVolume& volume) {
    std::vector<char> content(volume.bytes);
    const int file = ::open(volume.path.c_str(), O_RDONLY | O_CLOEXEC);
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t got = ::read(file, content.data() + done, content.size() - done);
        Check(got > 0, "the walk reads its file");
        done += static_cast<std::size_t>(got);
    }
    ::close(file);
    const auto load = [&](std::size_t at, auto value) {
        std::memcpy(&value, content.data() + at, sizeof value);
        return value;
    };
    std::size_t table = 0;
    while (load(table + 20, std::uint32_t{}) != 1) {
        table = static_cast<std::size_t>(load(table + 8, std::int64_t{}));
    }
    const std::size_t fields = load(table + 24, std::uint32_t{});
    const auto records = load(table + 28 + 2 * fields, std::int64_t{});
    return bench::FastestSeconds([&] {
        std::size_t at = table + 36 + 2 * fields;
        for (std::int64_t i = 0; i < records; ++i) {
            at += 32 + 2 * std::size_t{load(at, std::uint32_t{})};
        }
        benchmark::DoNotOptimize(at);
    });
}

// Seconds to read a file in pieces of 1 MiB and count its line feeds.
double LineCountSeconds(const std::string& path) {
    static std::vector<char> buffer(1 << 20);
    return bench::FastestSeconds([&] {
        const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        std::ptrdiff_t lines = 0;
        for (ssize_t got = 0; (got = ::read(file, buffer.data(), buffer.size())) > 0;) {
            lines += std::count(buffer.data(), buffer.data() + got, '\n');
        }
        benchmark::DoNotOptimize(lines);
        ::close(file);
    });
}

// Seconds to write as many files of the same sizes as in `source`, in pieces of 64 KiB.
double RewriteSeconds(const fs::path& source, const fs::path& target) {
    constexpr std::size_t kPiece = 64 * 1024;
    static const std::vector<char> piece(kPiece, 'x');
    return bench::FastestSeconds([&] {
        fs::remove_all(target);
        fs::create_directories(target);
        for (const auto& entry : fs::directory_iterator(source)) {
            const fs::path path = target / entry.path().filename();
            const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
            for (std::size_t left = entry.file_size(); left > 0;) {
                const ssize_t put = ::write(file, piece.data(), std::min(left, kPiece));
                Check(put > 0, "the rewrite writes");
                left -= static_cast<std::size_t>(put);
            }
            ::close(file);
        }
    });
}

// ----- Generation -----------------------------------------------------------------------

void GenerateInto(const SyntheticVolume& volume, const fs::path& folder, bool crc, INT records) {
    const auto library = zorel::client::CreateLibrary();
    const _FILETIME time = {0, 30'000'000};
    Check(library->GenerateOibTDFs(CString::FromUtf8(volume.folder + "/summary.txt"),
                                   CString::FromUtf8(folder.string()), time, records,
                                   crc ? VARIANT_TRUE : VARIANT_FALSE, 3, crc ? 2 : 0,
                                   CString(u"._- ")) == S_OK,
          "the generation succeeds");
}

void Generate(benchmark::State& state, bool crc) {
    const SyntheticVolume& volume = VolumeFor(state);
    const fs::path folder = fs::path(volume.folder) / (crc ? "crc" : "text");
    constexpr INT kRecords = 1'000'000;
    fs::create_directories(folder);
    bench::ResetPeakMemory();
    const std::uint64_t before = bench::PeakMemory();
    GenerateInto(volume, folder, crc, kRecords);
    state.counters["peak_MiB"] = static_cast<double>(bench::PeakMemory() - before) / (1 << 20);
    std::uintmax_t bytes = 0;
    std::uint64_t files = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        bytes += entry.file_size();
        ++files;
    }
    Check(files == 201 && bytes > volume.files * 40, "every owner has its file");
    state.counters["output_MiB"] = static_cast<double>(bytes) / (1 << 20);
    const double limit = RewriteSeconds(folder, fs::path(volume.folder) / "rewrite");
    fs::remove_all(fs::path(volume.folder) / "rewrite");
    bench::RunAgainst(state, limit, [&] {
        fs::remove_all(folder);
        GenerateInto(volume, folder, crc, kRecords);
    });
    fs::remove_all(folder);
}

void GenerateRecordLines(benchmark::State& state) {
    Generate(state, false);
}

void GenerateKeyLines(benchmark::State& state) {
    Generate(state, true);
}

// ----- The catalogue ----------------------------------------------------------------------

CComPtr<IOibBDFSearchTask> Load(const SyntheticVolume& volume) {
    CComPtr<IOibBDFSearchTask> task;
    Check(zorel::client::CreateLibrary()->FindInOibBDF(CString::FromUtf8(volume.folder),
                                                       task.Put()) == S_OK,
          "the catalogue loads");
    return task;
}

void LoadCatalogue(benchmark::State& state) {
    const SyntheticVolume& volume = VolumeFor(state);
    bench::RunAgainst(state, FreshReadSeconds(volume.path), [&] { Load(volume); });
}

INT FoundBy(IOibTDFSearchTask& task) {
    INT count = 0;
    Check(task.get_ResultsCount(&count) == S_OK, "the task counts");
    return count;
}

// Times the second Find of a loaded task with the same criteria. The first Find may prepare
// data; its time is a counter of its own.
void FindInCatalogue(benchmark::State& state, SearchSpec criteria, double leastShare,
                     double mostShare) {
    const SyntheticVolume& volume = VolumeFor(state);
    const double limit = LengthWalkSeconds(volume);
    const auto task = Load(volume);
    const double first = [&] {
        double seconds = 0;
        const auto fresh = Load(volume);
        seconds = bench::SecondsOf([&] { Check(fresh->Find(&criteria) == S_OK, "Find"); });
        return seconds;
    }();
    Check(task->Find(&criteria) == S_OK, "Find succeeds");
    const double share = FoundBy(*task) / static_cast<double>(volume.files);
    Check(share > 0 && share >= leastShare && share <= mostShare,
          "Find finds as many files as expected");
    state.counters["found"] = FoundBy(*task);
    state.counters["first_ratio"] = first / limit;
    SearchSpec again{};
    double fastest = std::numeric_limits<double>::max();
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        auto fresh = Load(volume);
        Check(fresh->Find(&criteria) == S_OK, "Find succeeds");
        state.ResumeTiming();
        fastest = std::min(fastest, bench::SecondsOf([&] { fresh->Find(&again); }));
    }
    state.counters["limit_ms"] = limit * 1e3;
    state.counters["ratio"] = fastest / limit;
}

void FindRareName(benchmark::State& state) {
    const CString name(RareName(VolumeFor(state)));
    SearchSpec criteria{};
    criteria.FileNamePattern = name;
    FindInCatalogue(state, criteria, 0, 1e-4);
}

void FindByEverything(benchmark::State& state) {
    ManyCriteria criteria(VolumeFor(state));
    const CString owner(u"CORP\\user10");
    criteria.record.Owner = owner;
    FindInCatalogue(state, criteria.record, 0, 0.01);
}

void FindHalf(benchmark::State& state) {
    const CString name(u"a");
    SearchSpec criteria{};
    criteria.FileNamePattern = name;
    FindInCatalogue(state, criteria, 0.3, 0.9);
}

// ----- The text --------------------------------------------------------------------------

// One text data file that holds all files of the volume.
const std::string& TextOf(const SyntheticVolume& volume) {
    static std::string path;
    static std::string of;
    if (of != volume.path) {
        const fs::path parts = fs::path(volume.folder) / "parts";
        GenerateInto(volume, parts, false, std::numeric_limits<INT>::max());
        path = (fs::path(volume.folder) / "all.txt").string();
        const std::string join = "cd '" + parts.string() + "' && cat vl.* > ../all.txt";
        Check(std::system(join.c_str()) == 0, "the texts are joined");
        fs::remove_all(parts);
        of = volume.path;
    }
    return path;
}

// The number of results equals that of the catalogue search. The pattern begins with a star,
// so that it has the same meaning in both searches.
void CheckFound(const SyntheticVolume& volume, SearchSpec criteria, INT found) {
    const auto task = Load(volume);
    Check(task->Find(&criteria) == S_OK, "Find succeeds");
    Check(found > 0 && found == FoundBy(*task), "the text holds what the catalogue holds");
}

void FindInText(benchmark::State& state, SearchSpec criteria) {
    const SyntheticVolume& volume = VolumeFor(state);
    const std::string& path = TextOf(volume);
    const auto library = zorel::client::CreateLibrary();
    const CString file = CString::FromUtf8(path);
    const auto search = [&] {
        CComPtr<IOibTDFSearchTask> task;
        Check(library->FindInOibTDF2(file, &criteria, task.Put()) == S_OK, "the search succeeds");
        return FoundBy(*task);
    };
    CheckFound(volume, criteria, search());
    state.counters["found"] = search();
    state.counters["text_MiB"] = static_cast<double>(fs::file_size(path)) / (1 << 20);
    bench::RunAgainst(state, LineCountSeconds(path), search);
}

void FindRareNameInText(benchmark::State& state) {
    const CString name(RareName(VolumeFor(state)));
    SearchSpec criteria{};
    criteria.FileNamePattern = name;
    FindInText(state, criteria);
}

void FindInTextByEverything(benchmark::State& state) {
    FindInText(state, ManyCriteria(VolumeFor(state)).record);
}

// The same search as a list of lines.
void FindLinesInText(benchmark::State& state) {
    const SyntheticVolume& volume = VolumeFor(state);
    const std::string& path = TextOf(volume);
    const auto library = zorel::client::CreateLibrary();
    const CString file = CString::FromUtf8(path);
    const CString root(u"");
    const CString name(RareName(volume));
    const auto search = [&] {
        SAFEARRAY* lines = nullptr;
        Check(library->FindInOibTDF(file, root, name, &lines) == S_OK, "the search succeeds");
        const auto found = static_cast<INT>(lines->rgsabound[0].cElements);
        ::SafeArrayDestroy(lines);
        return found;
    };
    SearchSpec criteria{};
    criteria.FileNamePattern = name;
    CheckFound(volume, criteria, search());
    state.counters["found"] = search();
    bench::RunAgainst(state, LineCountSeconds(path), search);
}

void Sizes(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond)->Arg(100'000)->Arg(1'000'000)->Arg(4'000'000);
}

BENCHMARK(LoadCatalogue)->Apply(Sizes)->Iterations(7);
BENCHMARK(FindRareName)->Apply(Sizes)->Iterations(7);
BENCHMARK(FindByEverything)->Apply(Sizes)->Iterations(7);
BENCHMARK(FindHalf)->Apply(Sizes)->Iterations(7);
BENCHMARK(FindRareNameInText)->Apply(Sizes);
BENCHMARK(FindInTextByEverything)->Apply(Sizes);
BENCHMARK(FindLinesInText)->Apply(Sizes);
BENCHMARK(GenerateRecordLines)->Apply(Sizes)->Iterations(5);
BENCHMARK(GenerateKeyLines)->Apply(Sizes)->Iterations(5);

}  // namespace
