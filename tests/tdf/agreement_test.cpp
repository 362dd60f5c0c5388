// Searching the text generated from a catalogue finds what searching the catalogue finds.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <random>

#include "support/index_file_builder.h"
#include "support/search_client.h"
#include "text/ascii_case.h"

namespace tdf {
namespace {

using automation::CBstr;
using automation::CComPtr;
using support::Criteria;
using support::EBinding;
using support::FoundFile;
using support::Volume;

class SearchAgreement : public support::SearchTest {
protected:
    void Generate(const Volume& volume) {
        Write(u"C.dat", volume.Bytes());
        const std::u16string list = Write(u"summary.txt", "Volume.C=C.dat\r\n#");
        std::filesystem::remove_all(m_folder.Native(u"text"));
        const CBstr path(automation::NewBstr(list));
        const CBstr output(automation::NewBstr(m_folder.Path(u"text")));
        const CBstr separators(automation::NewBstr(u"."));
        ASSERT_EQ(m_lib->GenerateOibTDFs(path.Get(), output.Get(), {}, 20, VARIANT_FALSE, 0, 0,
                                         separators.Get()),
                  S_OK);
    }

    std::vector<FoundFile> FindInCatalogue(const Criteria& criteria) {
        CComPtr<IOibBDFSearchTask> task;
        const CBstr folder(automation::NewBstr(m_folder.Path()));
        EXPECT_EQ(m_lib->FindInOibBDF(folder.Get(), task.Put()), S_OK);
        EXPECT_EQ(task->Find(support::CSpec(criteria).Get()), S_OK);
        return Sorted(support::ReadResults(EBinding::Early, task.Get()));
    }
    std::vector<FoundFile> FindInTexts(const Criteria& criteria) {
        std::vector<FoundFile> all;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Native(u"text"))) {
            if (entry.path().extension() != ".txt") {
                continue;
            }
            CComPtr<IOibTDFSearchTask> task;
            const CBstr file(automation::NewBstr(entry.path().u16string()));
            EXPECT_EQ(m_lib->FindInOibTDF2(file.Get(), support::CSpec(criteria).Get(), task.Put()),
                      S_OK);
            for (FoundFile& found : support::ReadResults(EBinding::Early, task.Get())) {
                all.push_back(std::move(found));
            }
        }
        return Sorted(std::move(all));
    }

private:
    // A text does not tell the owner.
    static std::vector<FoundFile> Sorted(std::vector<FoundFile> files) {
        for (FoundFile& file : files) {
            file.owner.clear();
        }
        std::sort(files.begin(), files.end(), [](const FoundFile& a, const FoundFile& b) {
            return std::tie(a.name, a.size, a.time) < std::tie(b.name, b.size, b.time);
        });
        return files;
    }
};

// Every file with an owner whose label is nobody else's.
Volume SoundVolume(std::uint32_t seed) {
    Volume volume = support::RandomVolume(seed, 25, 300, 5);
    for (std::size_t i = 0; i < volume.owners.size(); ++i) {
        if (!volume.owners[i].name.empty()) {
            volume.owners[i].name += frame::UInt64ToString(i);
        }
    }
    for (support::FileRow& file : volume.files) {
        file.owner %= static_cast<std::uint32_t>(volume.owners.size());
    }
    return volume;
}

// The paths of the folders that a catalogue's search takes for the only ones of their
// names; of several it takes the first, where a text has all of them.
std::vector<std::u16string> UniqueFolders(const Volume& volume) {
    std::vector<std::u16string> paths = {u"C:"};
    std::map<std::u16string, int> uses;
    for (std::size_t i = 1; i < volume.dirs.size(); ++i) {
        const auto parent = static_cast<std::size_t>(volume.dirs[i].parent);
        paths.push_back(text::ToLowerAscii(paths[parent] + u"\\" + volume.dirs[i].name));
        ++uses[paths.back()];
    }
    std::vector<std::u16string> unique = {u"C:"};
    for (std::size_t i = 1; i < volume.dirs.size(); ++i) {
        bool isUnique = true;
        for (std::size_t at = i; at != 0; at = static_cast<std::size_t>(volume.dirs[at].parent)) {
            isUnique = isUnique && uses[paths[at]] == 1;
        }
        if (isUnique) {
            unique.push_back(paths[i]);
        }
    }
    return unique;
}

TEST_F(SearchAgreement, OnRandomVolumesForEveryFilterThatBothHave) {
    constexpr const char16_t* kPatterns[] = {u"*",       u"report",   u"*.TXT", u"r?port*",
                                             u"*a*b*",   u"??",       u"*.",    u"*\u0436*x1*",
                                             u"\u4E2D*", u"*o?t*.t*", u"B",     u"data*"};
    std::mt19937 random(20130115);
    std::size_t found = 0;
    for (std::uint32_t seed = 1; seed <= 8; ++seed) {
        const Volume volume = SoundVolume(seed);
        ASSERT_NO_FATAL_FAILURE(Generate(volume));
        const std::vector<std::u16string> folders = UniqueFolders(volume);
        for (int round = 0; round < 40; ++round) {
            Criteria criteria{.serverRule = true};
            if (random() % 4 != 0) {
                criteria.pattern = kPatterns[random() % std::size(kPatterns)];
            }
            if (random() % 3 == 0) {
                const std::int64_t from = static_cast<std::int64_t>(random() % 900'000);
                criteria.size = {from, from + static_cast<std::int64_t>(random() % 400'000)};
            }
            if (random() % 3 == 0) {
                const double from = 25569 + static_cast<double>(random() % 10'000);
                criteria.time = {from, from + static_cast<double>(random() % 5'000)};
            }
            Criteria inText = criteria;
            if (random() % 2 == 0) {
                criteria.root = folders[random() % folders.size()];
                inText.root = *criteria.root + u"\\";  // a beginning of the path there
            }
            SCOPED_TRACE(std::to_string(seed) + " " + std::to_string(round) + " " +
                         support::Narrow(criteria.pattern.value_or(u"")) + " " +
                         support::Narrow(criteria.root.value_or(u"")));
            const std::vector<FoundFile> files = FindInCatalogue(criteria);
            found += files.size();
            ASSERT_TRUE(FindInTexts(inText) == files) << files.size();
        }
    }
    EXPECT_GT(found, 5000U);
}

}  // namespace
}  // namespace tdf
