// A text data file through both searches, compared with a model.
#include "fuzz.h"
#include "support/tdf_model.h"
#include "volume_input.h"

namespace fuzz {

namespace {

using support::Criteria;
using support::FoundFile;
using zorel::client::CString;

void SearchRecords(const std::u16string& path, const Criteria& criteria) {
    const auto expected = support::ModelTextSearch(path, criteria);
    zorel::client::CComPtr<IOibTDFSearchTask> task;
    RequireOutcome(
        Library().FindInOibTDF2(CString(path), support::CSpec(criteria).Get(), task.Put()),
        expected);
    if (!task) {
        return;
    }
    INT count = -1;
    RequireSuccess(task->get_ResultsCount(&count), "a search has a number of results");
    Require(count == static_cast<INT>(expected.files.size()), "a search finds every file");
    for (INT i = 0; i < count; ++i) {
        zorel::client::CSearchResult result;
        RequireSuccess(task->GetResult(i, result.Put()), "every result can be read");
        const FoundFile found = {std::u16string(zorel::client::ViewOf(result.FileFullName)),
                                 result.ModifyTime, result.Size, u""};
        Require(found == expected.files[static_cast<std::size_t>(i)],
                "a result is that of the model");
    }
}

void SearchLines(const std::u16string& path, const Criteria& criteria) {
    const auto expected = support::ModelTextSearch(path, criteria);
    zorel::client::CStringArray lines;
    RequireOutcome(Library().FindInOibTDF(CString(path), CString(*criteria.root),
                                          CString(*criteria.pattern), lines.Put()),
                   expected);
    const std::size_t count = expected.hr == S_OK ? expected.lines.size() : 0;
    Require(lines.Size() == count, "a search finds every line");
    for (std::size_t i = 0; i < count; ++i) {
        Require(lines[i] == expected.lines[i], "a line is that of the model");
    }
}

// The record lines of a volume.
std::string LinesOf(const support::Volume& volume) {
    tdf::TdfSettings settings;
    settings.recsNumPerTxt = 1000;
    std::string bytes;
    for (const auto& [name, content] : support::ModelTdfFiles(volume, u"C", settings)) {
        bytes += name.starts_with(u"vl.") ? content : "";
    }
    return bytes;
}

}  // namespace

void Run(std::string_view bytes) {
    CInput input(bytes);
    Criteria criteria{.root = input.Text(u"cC:\\\\aUsers", 9),
                      .pattern = input.Text(u"*?aA.tx", 5)};
    const std::int64_t limits[] = {input.Number(), input.Number()};
    const bool hasTime = input.Flag(), hasSize = input.Flag();
    WriteFile(u"t.txt", input.Rest());
    SearchLines(PathOf(u"t.txt"), criteria);
    if (hasTime) {
        criteria.time = {static_cast<double>(limits[0]), static_cast<double>(limits[1]) * 512};
    }
    if (hasSize) {
        criteria.size = {limits[0], limits[1]};
    }
    SearchRecords(PathOf(u"t.txt"), criteria);
}

std::vector<std::string> Seeds() {
    const std::u16string lines =
        u"\uFEFF01/15/2013 09:05:07, 1234, C:\\Users\\john\\readme.txt\r\n"
        u"12/31/9999 23:59:59, -9223372036854775809, C:\\Users2\\a, b.TXT\r\n"
        u"02/31/0100 00:00:00, abc, c:\\\u00C9\r\n";
    const std::string text = support::Utf16Bytes(lines);
    const std::string damaged =
        support::Utf16Bytes(lines + u"13/15/2013 09:05:07, 1 C:\\a\r\uFEFF\n1h0A2B readme\n");
    const std::vector<std::uint8_t> noCriteria(6);
    std::vector<std::string> seeds = {Seed(text, noCriteria), Seed(damaged, noCriteria),
                                      Seed(text + "x", {3, 0, 2, 4, 0, 200, 201, 1, 1}),
                                      Seed(text, {0, 2, 0, 2, 0, 200, 1, 0})};
    for (const std::u16string_view line :
         {u"01/15/2013 09:05:07,\\1,x", u"01/15/2013 09:05:07, 1 C:\\a", u"01\\C",
          u"00/00/0100 24:60:60, 1, C:\\a", u"01/32/10000 09:05:07, 1, \\"}) {
        seeds.push_back(Seed(support::Utf16Bytes(line), noCriteria));
    }
    // The choices: a root, a pattern, two numbers, and which of them are limits.
    const std::vector<std::uint8_t> choices[] = {noCriteria,
                                                 {2, 1, 2, 2, 0, 2, 0, 0, 0, 0},
                                                 {3, 0, 2, 3, 2, 1, 1, 0, 0, 0, 0},
                                                 {0, 3, 0, 5, 6, 205, 201, 0, 1},
                                                 {0, 3, 2, 0, 5, 0, 55, 1, 0},
                                                 {0, 0, 205, 206, 1, 1}};
    for (std::uint32_t i = 0; i < 36; ++i) {
        seeds.push_back(Seed(LinesOf(support::RandomVolume(i, 12, i, 3)), choices[i % 6]));
    }
    return seeds;
}

}  // namespace fuzz
