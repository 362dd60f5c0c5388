// Backup-session meta-files through the interfaces.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <numeric>
#include <random>
#include <vector>

#include "support/meta_files.h"

namespace {

using automation::CBstr;
using automation::CComPtr;
using S = IMtfBSessionMetaFile;
using R = ICatOibRefsEnumerator;

constexpr std::u16string_view kExample =
    u"oib1.VmName=web01\n"
    u"oib1.BackupTimeUtc=monday\n"
    u"oib1.OibUID={9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}\n"
    u"oib2.VmName=db02\n"
    u"oib2.BackupTimeUtc=tuesday\n"
    u"oib2.OibUID={0e8d7c6b-5a49-4382-9170-6f5e4d3c2b1a}";
const std::u16string kWebId = u"9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d";
const std::u16string kDbId = u"0e8d7c6b-5a49-4382-9170-6f5e4d3c2b1a";
const std::u16string kNoId = u"00000000-0000-0000-0000-000000000000";
constexpr GUID kDbGuid{
    0x0e8d7c6b, 0x5a49, 0x4382, {0x91, 0x70, 0x6f, 0x5e, 0x4d, 0x3c, 0x2b, 0x1a}};

std::u16string IdText(std::size_t number) {
    const std::u16string digits = frame::UInt64ToString(number);
    return std::u16string(8 - digits.size(), u'0') + digits + kNoId.substr(8);
}
// The GUID with the text above.
GUID IdOf(std::size_t number) {
    return frame::StringToGuid(IdText(number));
}

class BackupSession : public support::CMetaFileBindingTest {
protected:
    CComPtr<S> Open(INT mode = EIdxMetaOpenRW) const {
        return Get<&IOibIdxLib::CreateBSessionMetaFile>(m_library, Path(), mode);
    }

    // "VM/time/identifier" for each reference, joined by blanks.
    std::u16string ListOf(const CComPtr<R>& refs) const {
        std::u16string list;
        for (INT i = 0; i < Get<&R::get_RefsCount>(refs); ++i) {
            CBstr vmName;
            CBstr time;
            GUID id{};
            Succeed<&R::GetOibRef>(refs, i, vmName.Put(), time.Put(), &id);
            EXPECT_TRUE(vmName && time) << "empty, not null";
            list += (i == 0 ? u"" : u" ") + support::WholeText(vmName.Get()) + u"/" +
                    support::WholeText(time.Get()) + u"/" + frame::GuidToString(id, false);
        }
        return list;
    }
};
INSTANTIATE_TEST_SUITE_P(Bindings, BackupSession, testing::ValuesIn(support::kBindings));

TEST_P(BackupSession, Enumeration) {
    const std::u16string failed = u"Failed to enumerate OIB references in metafile '%1'.\n";
    const std::u16string group =
        failed + u"Failed to get OIB group number and attribute name by attribute path '";
    const std::u16string none = u"/" + kNoId;
    const std::u16string db = u"/" + kDbId;
    const struct {
        std::u16string_view lines;
        std::u16string list;
        std::u16string failure = u"";
        HRESULT hr = E_FAIL;
    } rows[] = {
        // clang-format off
        {u"", u""},
        {u"#oib1.VmName=a\nVersion=1\n=v\n\noib", u""},
        {kExample, u"db02/tuesday" + db + u" web01/monday/" + kWebId},
        {u"OIB7.x.y.vmname=x", u"x/" + none},
        {u"oib12abc.VmName=a\noib 3.VmName=b\noib+4.VmName=c", u"a/" + none + u" c/" + none + u" b/" + none},
        {u"oib5.OIBUID=0E8D7C6B-5A49-4382-9170-6F5E4D3C2B1A}", u"/" + db},
        {u"oib1.VmName=a\noib2.Else=x\noib1.VmName=b\noib01.BackupTimeUtc=t", u"/" + none + u" b/t" + none},
        {u"oib-1.VmName=minus\noib2147483647.VmName=max", u"minus/" + none + u" max/" + none},
        {u"oib99999999999.VmName=a\noib2147483647.BackupTimeUtc=t", u"a/t" + none},
        {u"oib1.VmName=a\noibCount=3", u"", group + u"oibCount'.\nPath is too short."},
        {u"oib.VmName=a", u"", group + u"oib.VmName'.\nInvalid OIB subtree name: 'oib'."},
        {u"oibX.VmName=a", u"", group + u"oibX.VmName'.\nCannot unserialize a string value to integer. String: [X]."},
        {u"oib1.VmName=a\noib2.OibUID={12}", u"", failed + support::MalformedGuid(u"{12}"), support::kMalformedGuid},
        // clang-format on
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(frame::WideToAnsi(row.lines));
        Write(row.lines);
        const auto session = Open(EIdxMetaLoad);
        CComPtr<R> refs;
        const auto result = Invoke<&S::EnumOibsRefs>(session, refs.Put());
        if (row.failure.empty()) {
            ASSERT_EQ(result.hr, S_OK);
            EXPECT_EQ(ListOf(refs), row.list);
            continue;
        }
        ExpectFailure(result, row.failure, IID_IMtfBSessionMetaFile, row.hr);
        EXPECT_FALSE(refs);
    }
}

TEST_P(BackupSession, Deletion) {
    const std::u16string id = u"=" + kDbId;
    const std::u16string lines =
        u"oib1.OibUID" + id + u"\noib10.VmName=a\nOIB1.x.y=1\n#oib1.c=\noib1=root\n.oib1.d=1";
    Write(lines);
    const auto session = Open();
    Succeed<&S::DeleteOibRef>(session, kDbGuid);
    ExpectContent(lines);  // nothing is written before the flush
    Succeed<&S::Close>(session);
    Succeed<&S::FlushChanges>(session);
    ExpectContent(u"oib10.VmName=a\n#oib1.c=\n.oib1.d=1");

    Write(u"oibX.OibUID=x\noib1.OibUID" + id);
    ExpectFailure(Invoke<&S::DeleteOibRef>(Open(), kDbGuid),
                  u"Failed to delete OIB from backup session metafile '%1' ( oib: '{" + kDbId +
                      u"}').\nUnable to find row containing OIB reference.\n" +
                      support::MalformedGuid(u"x"),
                  IID_IMtfBSessionMetaFile, support::kMalformedGuid);
}

TEST_P(BackupSession, EnumeratorIsASnapshotWithAPosition) {
    Write(kExample);
    const auto session = Open();
    const auto refs = Get<&S::EnumOibsRefs>(session);
    Succeed<&S::DeleteOibRef>(session, kDbGuid);
    EXPECT_EQ(ListOf(Get<&S::EnumOibsRefs>(session)), u"web01/monday/" + kWebId);
    EXPECT_EQ(Get<&R::get_VmName>(refs), u"db02");
    Succeed<&R::MoveToElem>(refs, 1);
    EXPECT_EQ(Get<&R::get_RefsCount>(refs), 2);
    for (const INT index : {-1, 2}) {
        const auto text = u"The specified enumerator position (" + frame::IntToString(index) +
                          u") exceeds length of OibReferences collection (2).";
        CBstr x;
        CBstr y;
        GUID id{};
        ExpectFailure(Invoke<&R::MoveToElem>(refs, index), text, IID_ICatOibRefsEnumerator);
        ExpectFailure(Invoke<&R::GetOibRef>(refs, index, x.Put(), y.Put(), &id), text,
                      IID_ICatOibRefsEnumerator);
        EXPECT_FALSE(x || y);
    }
    EXPECT_EQ(ListOf(refs).substr(0, 5), u"db02/");
    EXPECT_EQ(Get<&R::get_VmName>(refs), u"web01");
    EXPECT_EQ(Get<&R::get_BackupTimeUtc>(refs), u"monday");
    EXPECT_EQ(frame::GuidToString(Get<&R::get_UniqueId>(refs), false), kWebId);
}

TEST_P(BackupSession, EmptyCollectionAndNullArguments) {
    const auto session = Open(EIdxMetaCreateNewDetached);
    const auto refs = Get<&S::EnumOibsRefs>(session);
    BSTR x = nullptr;
    GUID id{};
    EXPECT_EQ(Get<&R::get_RefsCount>(refs), 0);
    for (const auto& result :
         {Invoke<&R::get_VmName>(refs, &x), Invoke<&R::get_BackupTimeUtc>(refs, &x),
          Invoke<&R::get_UniqueId>(refs, &id)}) {
        ExpectFailure(
            result, u"The current element pointer is out of the OibReferences collection boundary.",
            IID_ICatOibRefsEnumerator);
    }
    ExpectRefusesNull<&S::EnumOibsRefs>(session);
    ExpectRefusesNull<&R::get_RefsCount, &R::get_VmName, &R::get_BackupTimeUtc, &R::get_UniqueId,
                      &R::GetOibRef>(refs);
}

class LargeBackupSession : public support::CMetaFileTest {};

// Takes seconds; a search through all groups for each deletion would take many minutes.
TEST_F(LargeBackupSession, ManyGroupsInAnyOrder) {
    constexpr std::size_t kCount = 200000;
    std::vector<std::size_t> numbers(kCount);
    std::iota(numbers.begin(), numbers.end(), std::size_t{1});
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(7));
    std::u16string text;
    for (const std::size_t number : numbers) {
        text += (text.empty() ? u"oib" : u"\noib") + frame::UInt64ToString(number) + u".OibUID=" +
                IdText(number);
    }
    Write(text);
    const auto start = std::chrono::steady_clock::now();
    const auto session = Get<&IOibIdxLib::CreateBSessionMetaFile>(m_library, Path(), EIdxMetaLoad);
    for (std::size_t i = 0; i < kCount / 2; ++i) {
        ASSERT_EQ(session->DeleteOibRef(IdOf(numbers[i])), S_OK);
    }
    const auto refs = Get<&S::EnumOibsRefs>(session);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::minutes(2));
    numbers.erase(numbers.begin(), numbers.begin() + kCount / 2);
    std::sort(numbers.rbegin(), numbers.rend());
    ASSERT_EQ(Get<&R::get_RefsCount>(refs), INT{kCount / 2});
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        ASSERT_EQ(refs->MoveToElem(static_cast<INT>(i)), S_OK);
        ASSERT_TRUE(Get<&R::get_UniqueId>(refs) == IdOf(numbers[i])) << i;
    }
}

}  // namespace
