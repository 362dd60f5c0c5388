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

Task Load(std::string_view volume) {
    WriteFile(u"summary.txt", "Volume.C=v.dat");
    WriteFile(u"v.dat", volume);
    Task task;
    Succeeds(Library().FindInOibBDF(zorel::client::CString(PathOf(u"")), task.Put()));
    return task;
}

// Three searches of one task: criteria and results add up.
void CompareWithTheModel(CInput& input) {
    support::Volume volume = ReadVolume(input);
    SpoilVolume(input, volume);
    const Task task = Load(volume.Bytes());
    Require(static_cast<bool>(task), "a volume of rows can be loaded");
    Criteria criteria;
    std::vector<FoundFile> expected;
    for (int i = 0; i < 3; ++i) {
        const Criteria next = ReadCriteria(input, volume);
        criteria.Merge(next);
        const auto outcome = support::ModelBinSearch({{u"Volume.C", volume}}, criteria);
        expected.insert(expected.end(), outcome.files.begin(), outcome.files.end());
        const HRESULT result = task->Find(support::CSpec(next).Get());
        Succeeds(result);
        Require(result == outcome.hr, "a search has the result of the model");
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
    for (std::uint32_t i = 0; i < 80; ++i) {
        seeds.push_back(RandomSeed(i, 600, {1}));
    }
    return seeds;
}

}  // namespace fuzz
