// Searches of volumes: a model gives the results for volumes made of rows; for any other bytes,
// a search must find the matching files of a search without criteria.
#include <algorithm>

#include "fuzz.h"
#include "volume_input.h"

namespace fuzz {

namespace {

using support::Criteria;
using support::FoundFile;
using Task = zorel::client::CComPtr<IOibBDFSearchTask>;

std::vector<FoundFile> ReadResults(IOibBDFSearchTask& task) {
    INT count = -1;
    RequireSuccess(task.get_ResultsCount(&count), "a search has a number of results");
    std::vector<FoundFile> files;
    for (INT i = 0; i < count; ++i) {
        zorel::client::CSearchResult result;
        FoundFile file;
        if (Succeeds(task.GetResult(i, result.Put()))) {
            file = {std::u16string(zorel::client::ViewOf(result.FileFullName)), result.ModifyTime,
                    result.Size, std::u16string(zorel::client::ViewOf(result.Owner))};
        }
        files.push_back(file);
    }
    return files;
}

Task Load(std::string_view first, std::string_view second = {}) {
    WriteFile(u"summary.txt",
              second.empty() ? "Volume.C=c.dat" : "Volume.C=c.dat\r\nVolume.D=d.dat");
    WriteFile(u"c.dat", first);
    WriteFile(u"d.dat", second);
    Task task;
    Succeeds(Library().FindInOibBDF(zorel::client::CString(PathOf(u"")), task.Put()));
    return task;
}

// Some rows, or some thousands of them.
support::Volume ReadSpoiledVolume(CInput& input) {
    support::Volume volume = ReadVolume(input);
    if (input.Flag()) {
        SpoilVolume(input, volume);
    }
    const std::vector<support::FileRow> files = volume.files;
    for (int copies = input.Below(16) == 1 ? 200 : 0; copies > 0; --copies) {
        volume.files.insert(volume.files.end(), files.begin(), files.end());
    }
    if (input.Flag()) {  // names that are rare
        volume.files.insert(volume.files.end(), 300, {u"zz", 0, 0, 0, 0});
    }
    return volume;
}

// Three searches of one task: criteria and results add up.
void CompareWithTheModel(CInput& input) {
    const support::Volumes volumes = {{u"Volume.C", ReadSpoiledVolume(input)},
                                      {u"Volume.D", ReadSpoiledVolume(input)}};
    const Task task = Load(volumes[0].second.Bytes(), volumes[1].second.Bytes());
    Require(static_cast<bool>(task), "a volume of rows can be loaded");
    Criteria criteria;
    std::vector<FoundFile> expected;
    for (int i = 0; i < 3; ++i) {
        const Criteria next = ReadCriteria(input, input.Pick(volumes).second);
        criteria.Merge(next);
        const auto outcome = support::ModelBinSearch(volumes, criteria);
        expected.insert(expected.end(), outcome.files.begin(), outcome.files.end());
        RequireOutcome(task->Find(support::CSpec(next).Get()), outcome);
    }
    Require(ReadResults(*task) == expected, "a search finds the files of the model");
}

void SearchAnyBytes(CInput& input) {
    // With a star at its begin, a pattern that matches the end of a name matches the name.
    const std::u16string pattern = u"*" + input.Text(u"*?aAbB.tTxXrR", 6);
    const Task all = Load(input.Rest());
    if (!all || !Succeeds(all->Find(support::CSpec({}).Get()))) {
        return;
    }
    const Task some = Load(input.Rest());
    RequireSuccess(some->Find(support::CSpec({.pattern = pattern}).Get()),
                   "a pattern does not make a search fail");
    const std::vector<FoundFile> found = ReadResults(*some);
    for (const FoundFile& file : ReadResults(*all)) {
        const auto name = file.name.substr(file.name.rfind(u'\\') + 1);
        Require(file.name.empty() || !support::PlainWildcardMatch(name, pattern, false) ||
                    std::find(found.begin(), found.end(), file) != found.end(),
                "a search finds the files that match");
    }
}

}  // namespace

void Run(std::string_view bytes) {
    CInput input(bytes);
    input.Flag() ? CompareWithTheModel(input) : SearchAnyBytes(input);
}

std::vector<std::string> Seeds() {
    std::vector<std::string> seeds = {Seed(ReadSource("tests/data/example.dat"), {0, 2, 0, 4}),
                                      Seed(support::RandomVolume(1, 6, 12, 4).Bytes(), {0, 1, 0})};
    for (std::uint8_t i = 0; i < 60; ++i) {
        seeds.push_back(Seed(support::RandomVolume(i, 6, 12, 4).Bytes(), {0, 1, i}));
    }
    for (std::uint32_t i = 0; i < 700; ++i) {
        seeds.push_back(RandomSeed(i, 900, {1}));
    }
    return seeds;
}

}  // namespace fuzz
