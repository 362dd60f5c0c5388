// The searches as a client calls them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/automation_check.h"
#include "support/port_files.h"
#include "support/search_model.h"
#include "support/temp_folder.h"

namespace support {

// The results of a task.
inline std::vector<FoundFile> ReadResults(EBinding binding, IOibTDFSearchTask* task) {
    INT count = -1;
    EXPECT_EQ(Call<&IOibTDFSearchTask::get_ResultsCount>(binding, task, &count).hr, S_OK);
    EXPECT_EQ(Call<&IOibTDFSearchTask::get_ResultsCount>(binding, task, nullptr).hr, E_POINTER);
    std::vector<FoundFile> files;
    for (INT i = 0; i < count; ++i) {
        SearchResult result{};
        const CallResult call = Call<&IOibTDFSearchTask::GetResult>(binding, task, i, &result);
        const automation::CBstr name(result.FileFullName);
        const automation::CBstr owner(result.Owner);
        if (call.hr != S_OK) {
            EXPECT_EQ(call.hr, E_FAIL);
            EXPECT_EQ(call.error.description, u"Cannot convert file time to variant time.");
            files.emplace_back();
            continue;
        }
        files.push_back(
            {WholeText(name.Get()), result.ModifyTime, result.Size, WholeText(owner.Get())});
    }
    return files;
}

inline void ExpectFailure(const CallResult& call, const SearchOutcome& expected) {
    ASSERT_EQ(call.hr, expected.hr) << frame::WideToAnsi(call.error.description);
    for (std::u16string clue : expected.clues) {
        clue.resize(std::min(clue.find(u'\0'), clue.size()));  // as the description is read
        EXPECT_NE(call.error.description.find(clue), std::u16string::npos)
            << frame::WideToAnsi(call.error.description + u" without " + clue);
    }
}

// A library object and a folder to search in.
class SearchTest : public ::testing::Test {
protected:
    std::u16string Write(std::u16string_view name, std::string_view bytes) {
        EXPECT_TRUE(WriteWhole(m_folder.Path(name), bytes));
        return m_folder.Path(name);
    }

    CTempFolder m_folder;
    automation::CComPtr<IOibIdxLib> m_lib = NewLibrary();
};

}  // namespace support
