// Meta-files: loading, saving, and operations whose cost could grow faster than the file.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <vector>

#include "ZorelClient.h"
#include "key_file.h"
#include "limits.h"

namespace {

namespace fs = std::filesystem;
using bench::Check;
using zorel::client::CComPtr;
using zorel::client::CString;

constexpr std::uint64_t kSubtreesOf = 5;  // attributes in each subtree

// The folder of the files: in memory when the system has such a folder, so that the time of
// a save does not include the disk's sync.
fs::path Folder() {
    static const fs::path folder = [] {
        const fs::path base = fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path();
        std::string name = (base / "zorel_bench_XXXXXX").string();
        Check(mkdtemp(name.data()) != nullptr, "a folder for the meta-files");
        static struct Remover {
            fs::path path;
            ~Remover() { fs::remove_all(path); }
        } remover{name};
        return fs::path(name);
    }();
    return folder;
}

std::string LineOf(std::uint64_t i) {
    return "Jobs.Job" + std::to_string(i / kSubtreesOf) + ".Attribute" +
           std::to_string(i % kSubtreesOf) + "=value number " + std::to_string(i);
}

// A meta-file with `attributes` attributes, five in each subtree below "Jobs", padded
// with comment text to `bytes` bytes if it is smaller.
std::string MetaFileOf(std::uint64_t attributes, std::uint64_t bytes) {
    const fs::path path = Folder() / ("load" + std::to_string(attributes) + ".mtf");
    if (!fs::exists(path)) {
        std::u16string text = u"\uFEFF";
        for (std::uint64_t i = 0; i < attributes; ++i) {
            const std::string line = LineOf(i);
            text.append(line.begin(), line.end()).append(u"\r\n");
        }
        text += u"#";
        if (text.size() * 2 < bytes) {
            text.append(bytes / 2 - text.size(), u'.');
        }
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(text.data()),
                   static_cast<std::streamsize>(text.size() * 2));
    }
    return path.string();
}

// Seconds to read the file and find its line ends.
double LineScanSeconds(const std::string& path) {
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

// Seconds in which GLib loads the same attributes as groups of a key file.
double KeyFileSeconds(std::uint64_t attributes) {
    const fs::path path = Folder() / ("keys" + std::to_string(attributes));
    {
        std::ofstream keys(path);
        for (std::uint64_t i = 0; i < attributes; ++i) {
            if (i % kSubtreesOf == 0) {
                keys << "[Jobs.Job" << i / kSubtreesOf << "]\n";
            }
            keys << "Attribute" << i % kSubtreesOf << "=value number " << i << "\n";
        }
    }
    return bench::FastestKeyFileLoad(path.string());
}

CComPtr<IMtfMetaFile> Open(const std::string& path, INT mode) {
    CComPtr<IMtfMetaFile> file;
    Check(zorel::client::CreateLibrary()->CreateMetaFile(CString::FromUtf8(path), mode,
                                                         file.Put()) == S_OK,
          "the meta-file opens");
    return file;
}

ULONG CountAttributes(IMtfMetaFile& file) {
    SAFEARRAY* names = nullptr;
    Check(file.EnumAllAttrs(&names) == S_OK, "the attributes are listed");
    const ULONG count = names->rgsabound[0].cElements;
    ::SafeArrayDestroy(names);
    return count;
}

std::uint64_t AttributesFor(const benchmark::State& state) {
    return static_cast<std::uint64_t>(state.range(0));
}

// The largest file is two bytes smaller than the limit for meta-files.
std::string FileFor(const benchmark::State& state) {
    constexpr std::uint64_t kLargest = 1'000'000;
    const std::uint64_t attributes = AttributesFor(state);
    return MetaFileOf(attributes, attributes == kLargest ? 104857598 : 0);
}

void LoadMetaFile(benchmark::State& state) {
    const std::string path = FileFor(state);
    const double limit = LineScanSeconds(path);
    bench::ResetPeakMemory();
    const std::uint64_t before = bench::PeakMemory();
    { const auto file = Open(path, EIdxMetaLoad); }
    state.counters["peak_ratio"] = static_cast<double>(bench::PeakMemory() - before) /
                                   static_cast<double>(fs::file_size(path));
    const double glib = KeyFileSeconds(AttributesFor(state));
    double fastest = std::numeric_limits<double>::max();
    for ([[maybe_unused]] auto _ : state) {
        CComPtr<IMtfMetaFile> file;
        fastest = std::min(fastest, bench::SecondsOf([&] { file = Open(path, EIdxMetaLoad); }));
        state.PauseTiming();
        file = CComPtr<IMtfMetaFile>();
        state.ResumeTiming();
    }
    Check(CountAttributes(*Open(path, EIdxMetaLoad)) == AttributesFor(state), "all are there");
    state.counters["limit_ms"] = limit * 1e3;
    state.counters["ratio"] = fastest / limit;
    state.counters["glib_ms"] = glib * 1e3;
    state.counters["glib_ratio"] = fastest / glib;
}

// A full rewrite of a changed file in memory, compared with a plain write of the same bytes.
void SaveMetaFile(benchmark::State& state) {
    const std::string source = FileFor(state);
    const fs::path target = Folder() / "saved.mtf";
    const auto file = Open(source, EIdxMetaLoad);
    const auto size = static_cast<std::size_t>(fs::file_size(source));
    const std::vector<char> bytes(size, 'x');
    const double limit = bench::FastestSeconds([&] {
        std::remove(target.c_str());
        const int out = ::open(target.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        for (std::size_t done = 0; done < size;) {
            const ssize_t put = ::write(out, bytes.data() + done, size - done);
            Check(put > 0, "the plain write writes");
            done += static_cast<std::size_t>(put);
        }
        ::close(out);
    });
    double fastest = std::numeric_limits<double>::max();
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        std::remove(source.c_str());  // so that no recovery copy is made and timed
        state.ResumeTiming();
        fastest = std::min(fastest, bench::SecondsOf([&] {
                               Check(file->FlushChanges() == S_OK, "the file is saved");
                           }));
    }
    Check(fs::file_size(source) == size, "the saved file has its size");
    state.counters["limit_ms"] = limit * 1e3;
    state.counters["ratio"] = fastest / limit;
}

void AppendOneAttribute(benchmark::State& state) {
    const auto file = Open(FileFor(state), EIdxMetaOpenRW);
    const CString value(u"v");
    std::uint64_t number = 0;
    for ([[maybe_unused]] auto _ : state) {
        Check(file->SetAttr(CString::FromUtf8("Appended.A" + std::to_string(number++)), value) ==
                      S_OK &&
                  file->FlushChanges() == S_OK,
              "the attribute is appended");
    }
    fs::remove(FileFor(state));
}

void ListAllAttributes(benchmark::State& state) {
    const auto file = Open(FileFor(state), EIdxMetaLoad);
    for ([[maybe_unused]] auto _ : state) {
        Check(CountAttributes(*file) == AttributesFor(state), "all are listed");
    }
}

void DeleteWideSubtree(benchmark::State& state) {
    const std::string path = FileFor(state);
    const CString jobs(u"Jobs");
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        const auto file = Open(path, EIdxMetaLoad);
        state.ResumeTiming();
        Check(file->DelAttrsTree(jobs) == S_OK, "the subtree is deleted");
        state.PauseTiming();
        Check(CountAttributes(*file) == 0, "nothing is left");
        state.ResumeTiming();
    }
}

// New attributes, all in one node.
void FillOneNode(benchmark::State& state) {
    const CString value(u"v");
    for ([[maybe_unused]] auto _ : state) {
        const auto file = Open((Folder() / "none.mtf").string(), EIdxMetaCreateNewDetached);
        for (std::uint64_t i = 0; i < AttributesFor(state); ++i) {
            file->SetAttr(CString::FromUtf8("Node.A" + std::to_string(i * 7919 % 1'000'003)),
                          value);
        }
        Check(CountAttributes(*file) == AttributesFor(state), "all are set");
    }
}

void FillManySubtrees(benchmark::State& state) {
    const CString value(u"v");
    const std::uint64_t subtrees = AttributesFor(state) / kSubtreesOf;
    for ([[maybe_unused]] auto _ : state) {
        const auto file = Open((Folder() / "none.mtf").string(), EIdxMetaCreateNewDetached);
        for (std::uint64_t i = 0; i < subtrees; ++i) {
            file->SetAttr(CString::FromUtf8("Node.T" + std::to_string(i * 7919 % 1'000'003) + ".A"),
                          value);
        }
        Check(CountAttributes(*file) == subtrees, "all are set");
    }
}

// The groups of a backup session, in random order.
void ListSessionReferences(benchmark::State& state) {
    const std::uint64_t groups = AttributesFor(state) / kSubtreesOf;
    std::vector<std::uint64_t> numbers(groups);
    for (std::uint64_t i = 0; i < groups; ++i) {
        numbers[i] = i;
    }
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937_64(1));
    std::u16string text = u"\uFEFF";
    for (const std::uint64_t number : numbers) {
        const std::string line = "oib" + std::to_string(number) + ".VmName=machine\r\n";
        text.append(line.begin(), line.end());
    }
    const fs::path path = Folder() / "session.mtf";
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(text.data()),
               static_cast<std::streamsize>(text.size() * 2));
    CComPtr<IMtfBSessionMetaFile> session;
    Check(zorel::client::CreateLibrary()->CreateBSessionMetaFile(
              CString::FromUtf8(path.string()), EIdxMetaLoad, session.Put()) == S_OK,
          "the session opens");
    for ([[maybe_unused]] auto _ : state) {
        CComPtr<ICatOibRefsEnumerator> references;
        INT count = 0;
        Check(session->EnumOibsRefs(references.Put()) == S_OK &&
                  references->get_RefsCount(&count) == S_OK &&
                  static_cast<std::uint64_t>(count) == groups,
              "all references are listed");
    }
}

void Sizes(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond)->Arg(250'000)->Arg(500'000)->Arg(1'000'000);
}

BENCHMARK(LoadMetaFile)->Apply(Sizes)->Iterations(5);
BENCHMARK(ListAllAttributes)->Apply(Sizes);
BENCHMARK(DeleteWideSubtree)->Apply(Sizes);
BENCHMARK(SaveMetaFile)->Apply(Sizes)->Iterations(5);
BENCHMARK(AppendOneAttribute)->Apply(Sizes);
BENCHMARK(FillOneNode)->Apply(Sizes);
BENCHMARK(FillManySubtrees)->Apply(Sizes);
BENCHMARK(ListSessionReferences)->Apply(Sizes);

}  // namespace
