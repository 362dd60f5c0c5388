// Backup-session meta-files through the interfaces, and against a plain model.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <numeric>
#include <random>
#include <vector>

#include "support/meta_files.h"
#include "text/ascii_case.h"

namespace {

using automation::CBstr;
using automation::CComPtr;
using support::Bstr;
using support::Call;
using support::CallResult;
using support::EBinding;
using support::TextFrom;

constexpr std::u16string_view kExample =
    u"oib1.VmName=web01\n"
    u"oib1.BackupTimeUtc=monday\n"
    u"oib1.OibUID={9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}\n"
    u"oib2.VmName=db02\n"
    u"oib2.BackupTimeUtc=tuesday\n"
    u"oib2.OibUID={0e8d7c6b-5a49-4382-9170-6f5e4d3c2b1a}";
constexpr std::u16string_view kWebId = u"9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d";
constexpr std::u16string_view kDbId = u"0e8d7c6b-5a49-4382-9170-6f5e4d3c2b1a";
constexpr std::u16string_view kNoId = u"00000000-0000-0000-0000-000000000000";

// What follows the message of a malformed identifier.
std::u16string MalformedGuid(std::u16string_view text) {
    return support::ReplaceAll(
        frame::CWin32Exc(u"Cannot convert string to GUID. String: [%1].", {text}, 1705)
            .GetFullMessage(),
        u"\r\n", u"\n");
}

class BackupSession : public support::CMetaFileTest {
protected:
    CComPtr<IMtfBSessionMetaFile> Open(EBinding binding, INT mode = EIdxMetaOpenRW) const {
        CComPtr<IMtfBSessionMetaFile> session;
        const CallResult result = Call<&IOibIdxLib::CreateBSessionMetaFile>(
            binding, m_library.Get(), Bstr(Path()).Get(), mode, session.Put());
        EXPECT_EQ(result.hr, S_OK) << frame::WideToAnsi(result.error.description);
        return session;
    }

    // "VM/time/identifier" for each reference, joined by blanks.
    static std::u16string ListOf(EBinding binding, ICatOibRefsEnumerator* refs) {
        INT count = -1;
        EXPECT_EQ(Call<&ICatOibRefsEnumerator::get_RefsCount>(binding, refs, &count).hr, S_OK);
        std::u16string list;
        for (INT i = 0; i < count; ++i) {
            CBstr vmName;
            CBstr time;
            GUID id{};
            EXPECT_EQ(Call<&ICatOibRefsEnumerator::GetOibRef>(binding, refs, i, vmName.Put(),
                                                              time.Put(), &id)
                          .hr,
                      S_OK);
            EXPECT_TRUE(vmName && time) << "empty, not null";
            list += (i == 0 ? u"" : u" ") + std::u16string(automation::TextOf(vmName.Get())) +
                    u"/" + std::u16string(automation::TextOf(time.Get())) + u"/" +
                    frame::GuidToString(id, false);
        }
        return list;
    }

    // The list, or the description of the failure.
    std::u16string Enumerate(EBinding binding, IMtfBSessionMetaFile* session) const {
        CComPtr<ICatOibRefsEnumerator> refs;
        const CallResult result =
            Call<&IMtfBSessionMetaFile::EnumOibsRefs>(binding, session, refs.Put());
        if (result.hr == S_OK) {
            return ListOf(binding, refs.Get());
        }
        EXPECT_FALSE(refs);
        EXPECT_EQ(result.error.source, u"");
        EXPECT_TRUE(binding == EBinding::Late || result.error.guid == IID_IMtfBSessionMetaFile);
        return support::ReplaceAll(result.error.description, u"\r\n", u"\n");
    }
};

TEST_F(BackupSession, Enumeration) {
    const std::u16string failed = u"Failed to enumerate OIB references in metafile '%1'.\n";
    const auto badName = [&](std::u16string_view name, std::u16string_view reason) {
        return failed + frame::FormatText(
                            u"Failed to get OIB group number and attribute name by attribute "
                            u"path '%1'.\n%2",
                            {name, reason});
    };
    const std::u16string none = u"/" + std::u16string(kNoId);
    const struct {
        std::u16string_view lines;
        std::u16string expected;
    } rows[] = {
        {u"", u""},
        {u"#oib1.VmName=a\nVersion=1\n=v\n\noib", u""},
        {kExample,
         u"db02/tuesday/" + std::u16string(kDbId) + u" web01/monday/" + std::u16string(kWebId)},
        {u"OIB7.x.y.vmname=x", u"x/" + none},
        {u"oib12abc.VmName=a\noib 3.VmName=b\noib+4.VmName=c",
         u"a/" + none + u" c/" + none + u" b/" + none},
        {u"oib5.OIBUID=0E8D7C6B-5A49-4382-9170-6F5E4D3C2B1A}", u"//" + std::u16string(kDbId)},
        {u"oib1.VmName=a\noib2.Else=x\noib1.VmName=b\noib01.BackupTimeUtc=t",
         u"/" + none + u" b/t/" + std::u16string(kNoId)},
        {u"oib-1.VmName=minus\noib2147483647.VmName=max", u"minus/" + none + u" max/" + none},
        {u"oib99999999999.VmName=a\noib2147483647.BackupTimeUtc=t",
         u"a/t/" + std::u16string(kNoId)},
        {u"oib1.VmName=a\noibCount=3", badName(u"oibCount", u"Path is too short.")},
        {u"oib.VmName=a", badName(u"oib.VmName", u"Invalid OIB subtree name: 'oib'.")},
        {u"OIB..=a", badName(u"OIB..", u"Path is too short.")},
        {u"oibX.VmName=a",
         badName(u"oibX.VmName", u"Cannot unserialize a string value to integer. String: [X].")},
        {u"oib1.VmName=a\noib2.OibUID={12}", failed + MalformedGuid(u"{12}")},
        {u"oib1.OibUID=", failed + MalformedGuid(u"")},
    };
    for (const EBinding binding : support::kBindings) {
        for (const auto& row : rows) {
            SCOPED_TRACE(frame::WideToAnsi(row.lines) + ", " + support::NameOf(binding));
            Write(row.lines);
            const auto session = Open(binding, EIdxMetaLoad);
            EXPECT_EQ(Enumerate(binding, session.Get()), frame::FormatText(row.expected, {Path()}));
        }
    }
}

TEST_F(BackupSession, Deletion) {
    const std::u16string failed =
        u"Failed to delete OIB from backup session metafile '%1' ( oib: "
        u"'{0e8d7c6b-5a49-4382-9170-6f5e4d3c2b1a}').\n"
        u"Unable to find row containing OIB reference.\n" +
        MalformedGuid(u"x");
    const std::u16string id = u"=" + std::u16string(kDbId);
    const struct {
        std::u16string lines;
        std::u16string left;  // empty: the call fails
    } rows[] = {
        {std::u16string(kExample), std::u16string(kExample.substr(0, kExample.find(u"\noib2")))},
        {u"oib1.OibUID=" + std::u16string(kWebId), u"oib1.OibUID=" + std::u16string(kWebId)},
        {u"oib1.OibUID" + id + u"\noib10.VmName=a\nOIB1.x.y=1\n#oib1.c=\noib1=root\n.oib1.d=1",
         u"oib10.VmName=a\n#oib1.c=\n.oib1.d=1"},
        {u"oib1.OibUID" + id + u"\noib2.OibUID" + id, u"oib2.OibUID" + id},
        {u"oib1.OibUID" + id + u"\noib01.VmName=a", u"oib01.VmName=a"},
        {u"oib1.OibUID" + id + u"\noibX.OibUID=x", u"oibX.OibUID=x"},
        {u"oibX.any.myoibuid" + id + u"\noibx.z=1\na=b", u"a=b"},
        {u"oibuid" + id + u"\na=b", u"a=b"},
        {u"oibX.OibUID=x\noib1.OibUID" + id, u""},
        {u"oib1.OibUID=x", u""},
    };
    GUID guid = frame::StringToGuid(kDbId);
    for (const EBinding binding : support::kBindings) {
        for (const auto& row : rows) {
            SCOPED_TRACE(frame::WideToAnsi(row.lines) + ", " + support::NameOf(binding));
            Write(row.lines);
            const auto session = Open(binding);
            const CallResult result =
                Call<&IMtfBSessionMetaFile::DeleteOibRef>(binding, session.Get(), guid);
            EXPECT_EQ(Read(), row.lines) << "nothing is written before the flush";
            if (row.left.empty()) {
                ExpectFailure(result, binding, failed, IID_IMtfBSessionMetaFile,
                              static_cast<HRESULT>(0x800706A9U));
                continue;
            }
            EXPECT_EQ(result.hr, S_OK);
            EXPECT_EQ(Call<&IMtfBSessionMetaFile::Close>(binding, session.Get()).hr, S_OK);
            EXPECT_EQ(Call<&IMtfBSessionMetaFile::FlushChanges>(binding, session.Get()).hr, S_OK);
            EXPECT_EQ(Read(), row.left);
        }
    }
}

TEST_F(BackupSession, EnumeratorIsASnapshotWithAPosition) {
    for (const EBinding b : support::kBindings) {
        SCOPED_TRACE(support::NameOf(b));
        Write(kExample);
        const auto session = Open(b);
        CComPtr<ICatOibRefsEnumerator> refs;
        ASSERT_EQ(session->EnumOibsRefs(refs.Put()), S_OK);
        ASSERT_EQ(session->DeleteOibRef(frame::StringToGuid(kWebId)), S_OK);
        EXPECT_EQ(Enumerate(b, session.Get()), u"db02/tuesday/" + std::u16string(kDbId));
        ICatOibRefsEnumerator* r = refs.Get();
        EXPECT_EQ(TextFrom<&ICatOibRefsEnumerator::get_VmName>(b, r), u"db02");
        EXPECT_EQ(Call<&ICatOibRefsEnumerator::MoveToElem>(b, r, 1).hr, S_OK);
        EXPECT_NE(ListOf(b, r), u"");
        EXPECT_EQ(TextFrom<&ICatOibRefsEnumerator::get_VmName>(b, r), u"web01");
        EXPECT_EQ(TextFrom<&ICatOibRefsEnumerator::get_BackupTimeUtc>(b, r), u"monday");
        for (const INT index : {-1, 2, 2147483647}) {
            const auto text = u"The specified enumerator position (" + frame::IntToString(index) +
                              u") exceeds length of OibReferences collection (2).";
            CBstr x;
            CBstr y;
            GUID id{};
            ExpectFailure(Call<&ICatOibRefsEnumerator::MoveToElem>(b, r, index), b, text,
                          IID_ICatOibRefsEnumerator);
            ExpectFailure(
                Call<&ICatOibRefsEnumerator::GetOibRef>(b, r, index, x.Put(), y.Put(), &id), b,
                text, IID_ICatOibRefsEnumerator);
            EXPECT_FALSE(x || y);
        }
        GUID id{};
        EXPECT_EQ(Call<&ICatOibRefsEnumerator::get_UniqueId>(b, r, &id).hr, S_OK);
        EXPECT_EQ(frame::GuidToString(id, false), kWebId) << "the position has moved";
    }
}

TEST_F(BackupSession, EmptyCollectionAndNullArguments) {
    const auto session = Open(EBinding::Early, EIdxMetaCreateNewDetached);
    CComPtr<ICatOibRefsEnumerator> refs;
    ASSERT_EQ(session->EnumOibsRefs(refs.Put()), S_OK);
    ICatOibRefsEnumerator* r = refs.Get();
    constexpr std::u16string_view kNoElement =
        u"The current element pointer is out of the OibReferences collection boundary.";
    for (const EBinding b : support::kBindings) {
        INT count = 7;
        EXPECT_EQ(Call<&ICatOibRefsEnumerator::get_RefsCount>(b, r, &count).hr, S_OK);
        EXPECT_EQ(count, 0);
        CBstr x;
        CBstr y;
        GUID id{};
        const CallResult failures[] = {
            Call<&ICatOibRefsEnumerator::get_VmName>(b, r, x.Put()),
            Call<&ICatOibRefsEnumerator::get_BackupTimeUtc>(b, r, x.Put()),
            Call<&ICatOibRefsEnumerator::get_UniqueId>(b, r, &id)};
        for (const CallResult& result : failures) {
            ExpectFailure(result, b, kNoElement, IID_ICatOibRefsEnumerator);
        }
        const CallResult refusals[] = {
            Call<&IMtfBSessionMetaFile::EnumOibsRefs>(b, session.Get(), nullptr),
            Call<&ICatOibRefsEnumerator::get_RefsCount>(b, r, nullptr),
            Call<&ICatOibRefsEnumerator::get_VmName>(b, r, nullptr),
            Call<&ICatOibRefsEnumerator::get_BackupTimeUtc>(b, r, nullptr),
            Call<&ICatOibRefsEnumerator::get_UniqueId>(b, r, nullptr),
            Call<&ICatOibRefsEnumerator::GetOibRef>(b, r, 0, nullptr, y.Put(), &id),
            Call<&ICatOibRefsEnumerator::GetOibRef>(b, r, 0, x.Put(), nullptr, &id),
            Call<&ICatOibRefsEnumerator::GetOibRef>(b, r, 0, x.Put(), y.Put(), nullptr)};
        for (const CallResult& result : refusals) {
            EXPECT_EQ(result.hr, E_INVALIDARG) << &result - refusals;
            EXPECT_EQ(result.error.description, u"");
        }
    }
}

// ----- The plain model --------------------------------------------------------------

std::u16string Number(std::size_t value) {
    return frame::UInt64ToString(value);
}

std::u16string IdText(std::uint32_t number) {
    GUID id{};
    id.Data1 = number;
    return frame::GuidToString(id, false);
}

// Walks the lines as they stand, for every call.
class CModel {
public:
    struct Line {
        std::u16string subtree;
        std::u16string text;
        std::optional<std::uint32_t> id;  // an identifier line; kMalformed
        bool deleted = false;
    };
    static constexpr std::uint32_t kMalformed = 0xFFFFFFFF;

    std::vector<Line> lines;

    std::u16string Text() const {
        std::u16string text;
        for (const Line& line : lines) {
            if (!line.deleted) {
                text += (text.empty() ? u"" : u"\n") + line.text;
            }
        }
        return text;
    }
    bool Delete(std::uint32_t id) {
        const auto found = std::find_if(lines.begin(), lines.end(), [&](const Line& line) {
            return !line.deleted && (line.id == id || line.id == kMalformed);
        });
        if (found == lines.end()) {
            return true;
        }
        if (found->id == kMalformed) {
            return false;
        }
        const std::u16string subtree = found->subtree;
        for (Line& line : lines) {
            line.deleted |= text::EqualsNoCase(line.subtree, subtree);
        }
        return true;
    }
};

TEST_F(BackupSession, DeletingAsTheModelDoes) {
    std::mt19937 random(20240301);
    const auto pick = [&](std::uint32_t below) {
        return static_cast<std::uint32_t>(random() % below);
    };
    const char16_t* const kGroups[] = {u"oib1", u"OIB1", u"oib01", u"oib2", u"oibX", u"other"};
    for (int round = 0; round < 150; ++round) {
        CModel model;
        for (std::uint32_t i = 0; i < 1 + pick(12); ++i) {
            const std::u16string group = kGroups[pick(6)];
            const std::uint32_t id = pick(20) == 0 ? CModel::kMalformed : pick(4);
            if (pick(2) == 0) {
                model.lines.push_back({group, group + u".VmName=" + Number(i), {}});
            } else if (group != u"other") {
                const bool isBad = id == CModel::kMalformed;
                model.lines.push_back(
                    {group, group + u".OibUID=" + (isBad ? u"bad" : IdText(id)), id});
            }
        }
        SCOPED_TRACE(frame::WideToAnsi(model.Text()));
        Write(model.Text());
        const auto session = Open(EBinding::Early);
        for (int call = 0; call < 5; ++call) {
            const std::uint32_t id = pick(4);
            const HRESULT hr = session->DeleteOibRef(frame::StringToGuid(IdText(id)));
            ASSERT_EQ(SUCCEEDED(hr), model.Delete(id)) << "identifier " << id;
            if (pick(2) == 0) {
                ASSERT_EQ(session->FlushChanges(), S_OK);
                ASSERT_EQ(Read(), model.Text());
            }
        }
    }
}

// Both take seconds; a walk through the groups for each of them takes many minutes.
TEST_F(BackupSession, ManyGroupsInAnyOrder) {
    constexpr std::size_t kCount = 200000;
    std::vector<std::size_t> numbers(kCount);
    std::iota(numbers.begin(), numbers.end(), std::size_t{1});
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(7));
    std::u16string text;
    for (const std::size_t number : numbers) {
        text += (text.empty() ? u"oib" : u"\noib") + Number(number) + u".OibUID=" +
                IdText(static_cast<std::uint32_t>(number));
    }
    Write(text);
    const auto start = std::chrono::steady_clock::now();
    const auto session = Open(EBinding::Early, EIdxMetaLoad);
    for (std::size_t i = 0; i < kCount / 2; ++i) {
        GUID id{};
        id.Data1 = static_cast<std::uint32_t>(numbers[i]);
        ASSERT_EQ(session->DeleteOibRef(id), S_OK);
    }
    CComPtr<ICatOibRefsEnumerator> refs;
    ASSERT_EQ(session->EnumOibsRefs(refs.Put()), S_OK);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::minutes(2));
    numbers.erase(numbers.begin(), numbers.begin() + kCount / 2);
    std::sort(numbers.rbegin(), numbers.rend());
    INT count = 0;
    ASSERT_EQ(refs->get_RefsCount(&count), S_OK);
    ASSERT_EQ(static_cast<std::size_t>(count), numbers.size());
    for (INT i = 0; i < count; ++i) {
        GUID id{};
        ASSERT_EQ(refs->MoveToElem(i), S_OK);
        ASSERT_EQ(refs->get_UniqueId(&id), S_OK);
        ASSERT_EQ(id.Data1, numbers[static_cast<std::size_t>(i)]);
    }
}

}  // namespace
