// Browsing a volume, compared with a plain pass over its file.
#include "ZorelClient.h"
#include "limits.h"
#include "synthetic_volume.h"

namespace {

using bench::Check;
using bench::SyntheticVolume;
using zorel::client::CComPtr;
using zorel::client::CString;

CComPtr<IOibDFBrowser> Open(const SyntheticVolume& volume) {
    CComPtr<IOibDFBrowser> browser;
    const auto library = zorel::client::CreateLibrary();
    Check(library->BrowseOibDF(CString::FromUtf8(volume.path), browser.Put()) == S_OK,
          "the volume opens");
    return browser;
}

const SyntheticVolume& VolumeFor(const benchmark::State& state) {
    return bench::VolumeOf(static_cast<std::uint64_t>(state.range(0)));
}

ULONG ListFiles(IOibDFBrowser& browser, const CString& path, bool recursive, BSTR endings) {
    CComPtr<IOibFilesArray> files;
    const HRESULT hr =
        browser.GetFilesEx(path, recursive ? VARIANT_TRUE : VARIANT_FALSE, endings, files.Put());
    ULONG count = 0;
    Check(hr == S_OK && files->get_FilesCount(&count) == S_OK, "the listing succeeds");
    return count;
}

// The memory for each folder is that of an open browser, names included.
void OpenBrowser(benchmark::State& state) {
    const SyntheticVolume& volume = VolumeFor(state);
    const double limit = bench::PlainPassSeconds(volume.path);
    bench::ResetPeakMemory();
    const std::uint64_t before = bench::PeakMemory();
    { const auto browser = Open(volume); }
    const std::uint64_t used = bench::PeakMemory() - before;
    state.counters["peak_bytes_per_folder"] =
        static_cast<double>(used) / static_cast<double>(volume.folders);
    bench::RunAgainst(state, limit, [&] { Open(volume); });
}

void GetFolders(benchmark::State& state) {
    const SyntheticVolume& volume = VolumeFor(state);
    const auto browser = Open(volume);
    const CString root(u"C:");
    bench::RunAgainst(state, bench::PlainPassSeconds(volume.path), [&] {
        SAFEARRAY* folders = nullptr;
        Check(browser->GetFolders(root, &folders) == S_OK, "GetFolders succeeds");
        Check(folders->rgsabound[0].cElements == volume.topFolders, "GetFolders finds all");
        ::SafeArrayDestroy(folders);
    });
}

void GetFilesOfOneFolder(benchmark::State& state) {
    const SyntheticVolume& volume = VolumeFor(state);
    const auto browser = Open(volume);
    const CString path(volume.samplePath);
    const auto list = [&] {
        Check(ListFiles(*browser, path, false, nullptr) == volume.sampleFiles,
              "GetFiles finds all");
    };
    list();
    bench::ResetPeakMemory();
    const std::uint64_t before = bench::PeakMemory();
    list();
    state.counters["peak_bytes"] = static_cast<double>(bench::PeakMemory() - before);
    bench::RunAgainst(state, bench::PlainPassSeconds(volume.path), list);
}

void GetFilesRecursive(benchmark::State& state) {
    const SyntheticVolume& volume = VolumeFor(state);
    const auto browser = Open(volume);
    const CString root(u"C:");
    bench::RunAgainst(state, bench::PlainPassSeconds(volume.path), [&] {
        Check(ListFiles(*browser, root, true, nullptr) == volume.files, "GetFilesEx finds all");
    });
}

void GetFilesRecursiveByExtension(benchmark::State& state) {
    const SyntheticVolume& volume = VolumeFor(state);
    const auto browser = Open(volume);
    const CString root(u"C:");
    const CString endings(u".txt; .none");
    bench::RunAgainst(state, bench::PlainPassSeconds(volume.path), [&] {
        Check(ListFiles(*browser, root, true, endings) == volume.txtFiles, "GetFilesEx filters");
    });
}

// One call through the interface for a path of 100 units; the limit is 100 ns.
void WildcardMatch(benchmark::State& state) {
    const auto library = zorel::client::CreateLibrary();
    std::u16string path = u"C:\\";
    path.append(60, u'd').append(u"\\").append(26, u'n').append(u"Report.txt");
    Check(path.size() == 100, "the path has 100 units");
    const CString line(path);
    const CString pattern(u"*report?txt");
    constexpr int kCalls = 1000;
    VARIANT_BOOL match = VARIANT_FALSE;
    bench::RunAgainst(state, 100e-9 * kCalls, [&] {
        for (int i = 0; i < kCalls; ++i) {
            library->IsWildcardMatch(line, pattern, &match);
        }
        Check(match == VARIANT_TRUE, "the pattern matches");
    });
}

void Sizes(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond)->Arg(100'000)->Arg(1'000'000)->Arg(4'000'000);
}

BENCHMARK(OpenBrowser)->Apply(Sizes);
BENCHMARK(GetFolders)->Apply(Sizes);
BENCHMARK(GetFilesOfOneFolder)->Apply(Sizes);
BENCHMARK(GetFilesRecursive)->Apply(Sizes);
BENCHMARK(GetFilesRecursiveByExtension)->Apply(Sizes);
BENCHMARK(WildcardMatch)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
