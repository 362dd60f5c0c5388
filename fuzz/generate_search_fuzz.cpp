// Generation: the text data files of a volume are those of a model, both searches find the same
// files, and the search reads whatever a generation writes.
#include <algorithm>
#include <filesystem>
#include <tuple>

#include "fuzz.h"
#include "support/tdf_model.h"
#include "volume_input.h"

namespace fuzz {

namespace {

using zorel::client::CString;
// Name, time and size.
using Found = std::tuple<std::u16string, double, std::int64_t>;

template <class Task>
std::vector<Found> ReadResults(Task& task) {
    INT count = -1;
    RequireSuccess(task.get_ResultsCount(&count), "a search has a number of results");
    std::vector<Found> files;
    for (INT i = 0; i < count; ++i) {
        zorel::client::CSearchResult result;
        if (Succeeds(task.GetResult(i, result.Put()))) {
            files.emplace_back(zorel::client::ViewOf(result.FileFullName), result.ModifyTime,
                               result.Size);
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

tdf::TdfSettings ReadSettings(CInput& input) {
    tdf::TdfSettings settings;
    settings.binIndexFile = PathOf(u"summary.txt");
    settings.outpFolder = PathOf(u"out");
    settings.txtDateTime = 130027323072500000;
    settings.recsNumPerTxt = static_cast<std::int32_t>(input.Below(6));
    settings.bCrcMode = input.Below(3) == 1;
    settings.subfoldersMax = static_cast<std::int32_t>(input.Below(8)) - 1;
    settings.additionalParts = static_cast<std::int32_t>(input.Below(4));
    settings.separators = input.Text(u"._- ", 3);
    return settings;
}

bool Generate(const tdf::TdfSettings& settings, std::string_view volume) {
    ClearFolder();
    WriteFile(u"summary.txt", "Volume.C=v.dat");
    WriteFile(u"v.dat", volume);
    const auto ticks = static_cast<std::uint64_t>(settings.txtDateTime);
    return Succeeds(Library().GenerateOibTDFs(
        CString(settings.binIndexFile), CString(settings.outpFolder),
        {static_cast<std::uint32_t>(ticks), static_cast<std::uint32_t>(ticks >> 32)},
        settings.recsNumPerTxt, settings.bCrcMode ? VARIANT_TRUE : VARIANT_FALSE,
        settings.subfoldersMax, settings.additionalParts, CString(settings.separators)));
}

// The files of the output folder: names and contents.
support::TdfFiles ReadOutput() {
    support::TdfFiles files;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(PathOf(u"out")))) {
        const std::u16string name = entry.path().filename().u16string();
        files[name] = ReadFile(u"out/" + name);
    }
    return files;
}

std::vector<Found> SearchText(const support::TdfFiles& files) {
    std::vector<Found> found;
    for (const auto& [name, content] : files) {
        if (name.starts_with(u"vl.")) {
            SearchSpec all{};
            zorel::client::CComPtr<IOibTDFSearchTask> task;
            RequireSuccess(
                Library().FindInOibTDF2(CString(PathOf(u"out/" + name)), &all, task.Put()),
                "a generated file can be searched");
            const std::vector<Found> some = ReadResults(*task);
            found.insert(found.end(), some.begin(), some.end());
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

// False when the search fails. A generation leaves out files without an owner.
bool SearchBinary(std::vector<Found>& found) {
    SearchSpec all{};
    zorel::client::CComPtr<IOibBDFSearchTask> task;
    if (!Succeeds(Library().FindInOibBDF(CString(PathOf(u"")), task.Put())) ||
        !Succeeds(task->Find(&all))) {
        return false;
    }
    found = ReadResults(*task);
    return true;
}

void CompareWithTheModel(CInput& input) {
    const tdf::TdfSettings settings = ReadSettings(input);
    support::Volume volume = ReadVolume(input);
    std::erase_if(volume.files, [&](const support::FileRow& file) {
        return file.owner >= volume.owners.size() && input.Flag();
    });
    Require(Generate(settings, volume.Bytes()), "a valid volume can be generated");
    const support::TdfFiles files = ReadOutput();
    Require(files == support::ModelTdfFiles(volume, u"C", settings),
            "the text data files are those of the model");
    if (settings.bCrcMode) {
        return;
    }
    std::erase_if(volume.files,
                  [&](const support::FileRow& file) { return file.owner >= volume.owners.size(); });
    WriteFile(u"v.dat", volume.Bytes());
    std::vector<Found> found;
    Require(SearchBinary(found) && found == SearchText(files), "both searches find the same files");
}

void GenerateAnyBytes(CInput& input) {
    tdf::TdfSettings settings = ReadSettings(input);
    settings.bCrcMode = false;
    std::vector<Found> found;
    if (Generate(settings, input.Rest())) {
        const std::size_t lines = SearchText(ReadOutput()).size();
        Require(!SearchBinary(found) || lines <= found.size(), "each line is of a file");
    }
}

}  // namespace

void Run(std::string_view bytes) {
    CInput input(bytes);
    input.Flag() ? CompareWithTheModel(input) : GenerateAnyBytes(input);
}

std::vector<std::string> Seeds() {
    std::vector<std::string> seeds = {
        Seed(ReadSource("tests/data/example.dat"), {0, 5, 0, 4, 2, 0}),
        Seed(support::RandomVolume(1, 6, 12, 4).Bytes(), {0, 1, 0, 0, 0, 0})};
    for (std::uint32_t i = 0; i < 80; ++i) {
        seeds.push_back(RandomSeed(i, 600, {1}));
    }
    return seeds;
}

}  // namespace fuzz
