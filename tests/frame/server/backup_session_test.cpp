// Backup-session meta-files through the interfaces, and compared with a plain model.
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
using support::CallResult;
using support::EBinding;
using support::Get;
using support::Invoke;
using support::Succeed;
using support::TextFrom;
using S = IMtfBSessionMetaFile;
using R = ICatOibRefsEnumerator;
using RefsPtr = CComPtr<R>;

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

// The messages for a malformed identifier.
std::u16string MalformedGuid(std::u16string_view text) {
    const frame::CWin32Exc exc(u"Cannot convert string to GUID. String: [%1].", {text}, 1705);
    return support::ReplaceAll(exc.GetFullMessage(), u"\r\n", u"\n");
}

std::u16string Number(std::size_t value) {
    return frame::UInt64ToString(value);
}
std::u16string IdText(std::size_t number) {
    const std::u16string digits = Number(number);
    return std::u16string(8 - digits.size(), u'0') + digits + kNoId.substr(8);
}
// The GUID with the text above.
GUID IdOf(std::size_t number) {
    return frame::StringToGuid(IdText(number));
}

class BackupSession : public support::CMetaFileTest {
protected:
    CComPtr<S> Open(EBinding b, INT mode = EIdxMetaOpenRW) const {
        return Get<CComPtr<S>, &IOibIdxLib::CreateBSessionMetaFile>(b, m_library.Get(),
                                                                    Path().c_str(), mode);
    }

    // "VM/time/identifier" for each reference, joined by blanks.
    static std::u16string ListOf(EBinding b, R* refs) {
        std::u16string list;
        for (INT i = 0; i < Get<INT, &R::get_RefsCount>(b, refs); ++i) {
            CBstr vmName;
            CBstr time;
            GUID id{};
            Succeed<&R::GetOibRef>(b, refs, i, vmName.Put(), time.Put(), &id);
            EXPECT_TRUE(vmName && time) << "empty, not null";
            list += (i == 0 ? u"" : u" ") + support::WholeText(vmName.Get()) + u"/" +
                    support::WholeText(time.Get()) + u"/" + frame::GuidToString(id, false);
        }
        return list;
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
    const std::u16string none = u"/" + kNoId;
    const struct {
        std::u16string_view lines;
        std::u16string list;
        std::u16string failure;
        HRESULT hr = E_FAIL;
    } rows[] = {
        {u"", u"", u""},
        {u"#oib1.VmName=a\nVersion=1\n=v\n\noib", u"", u""},
        {kExample, u"db02/tuesday/" + kDbId + u" web01/monday/" + kWebId, u""},
        {u"OIB7.x.y.vmname=x", u"x/" + none, u""},
        {u"oib12abc.VmName=a\noib 3.VmName=b\noib+4.VmName=c",
         u"a/" + none + u" c/" + none + u" b/" + none, u""},
        {u"oib5.OIBUID=0E8D7C6B-5A49-4382-9170-6F5E4D3C2B1A}", u"//" + kDbId, u""},
        {u"oib1.VmName=a\noib2.Else=x\noib1.VmName=b\noib01.BackupTimeUtc=t",
         u"/" + none + u" b/t/" + kNoId, u""},
        {u"oib-1.VmName=minus\noib2147483647.VmName=max", u"minus/" + none + u" max/" + none, u""},
        {u"oib99999999999.VmName=a\noib2147483647.BackupTimeUtc=t", u"a/t/" + kNoId, u""},
        {u"oib1.VmName=a\noibCount=3", u"", badName(u"oibCount", u"Path is too short.")},
        {u"oib.VmName=a", u"", badName(u"oib.VmName", u"Invalid OIB subtree name: 'oib'.")},
        {u"oibX.VmName=a", u"",
         badName(u"oibX.VmName", u"Cannot unserialize a string value to integer. String: [X].")},
        {u"oib1.VmName=a\noib2.OibUID={12}", u"", failed + MalformedGuid(u"{12}"),
         static_cast<HRESULT>(0x800706A9U)},
    };
    for (const EBinding b : support::kBindings) {
        for (const auto& row : rows) {
            SCOPED_TRACE(frame::WideToAnsi(row.lines) + ", " + support::NameOf(b));
            Write(row.lines);
            const auto session = Open(b, EIdxMetaLoad);
            RefsPtr refs;
            const CallResult result = Invoke<&S::EnumOibsRefs>(b, session.Get(), refs.Put());
            if (row.failure.empty()) {
                ASSERT_EQ(result.hr, S_OK);
                EXPECT_EQ(ListOf(b, refs.Get()), row.list);
            } else {
                ExpectFailure(result, b, row.failure, IID_IMtfBSessionMetaFile, row.hr);
                EXPECT_FALSE(refs);
            }
        }
    }
}

TEST_F(BackupSession, Deletion) {
    const std::u16string id = u"=" + kDbId;
    const std::u16string lines =
        u"oib1.OibUID" + id + u"\noib10.VmName=a\nOIB1.x.y=1\n#oib1.c=\noib1=root\n.oib1.d=1";
    for (const EBinding b : support::kBindings) {
        Write(lines);
        const auto session = Open(b);
        Succeed<&S::DeleteOibRef>(b, session.Get(), kDbGuid);
        ExpectContent(lines);  // nothing is written before the flush
        Succeed<&S::Close>(b, session.Get());
        Succeed<&S::FlushChanges>(b, session.Get());
        ExpectContent(u"oib10.VmName=a\n#oib1.c=\n.oib1.d=1");

        Write(u"oibX.OibUID=x\noib1.OibUID" + id);
        ExpectFailure(Invoke<&S::DeleteOibRef>(b, Open(b).Get(), kDbGuid), b,
                      u"Failed to delete OIB from backup session metafile '%1' ( oib: '{" + kDbId +
                          u"}').\nUnable to find row containing OIB reference.\n" +
                          MalformedGuid(u"x"),
                      IID_IMtfBSessionMetaFile, static_cast<HRESULT>(0x800706A9U));
    }
}

TEST_F(BackupSession, EnumeratorIsASnapshotWithAPosition) {
    for (const EBinding b : support::kBindings) {
        SCOPED_TRACE(support::NameOf(b));
        Write(kExample);
        const auto session = Open(b);
        const auto refs = Get<RefsPtr, &S::EnumOibsRefs>(b, session.Get());
        Succeed<&S::DeleteOibRef>(b, session.Get(), kDbGuid);
        EXPECT_EQ(ListOf(b, Get<RefsPtr, &S::EnumOibsRefs>(b, session.Get()).Get()),
                  u"web01/monday/" + kWebId);
        R* r = refs.Get();
        EXPECT_EQ(TextFrom<&R::get_VmName>(b, r), u"db02");
        Succeed<&R::MoveToElem>(b, r, 1);
        EXPECT_EQ((Get<INT, &R::get_RefsCount>(b, r)), 2);
        for (const INT index : {-1, 2}) {
            const auto text = u"The specified enumerator position (" + frame::IntToString(index) +
                              u") exceeds length of OibReferences collection (2).";
            CBstr x;
            CBstr y;
            GUID id{};
            ExpectFailure(Invoke<&R::MoveToElem>(b, r, index), b, text, IID_ICatOibRefsEnumerator);
            ExpectFailure(Invoke<&R::GetOibRef>(b, r, index, x.Put(), y.Put(), &id), b, text,
                          IID_ICatOibRefsEnumerator);
            EXPECT_FALSE(x || y);
        }
        EXPECT_EQ(ListOf(b, r).substr(0, 5), u"db02/");
        EXPECT_EQ(TextFrom<&R::get_VmName>(b, r), u"web01");
        EXPECT_EQ(TextFrom<&R::get_BackupTimeUtc>(b, r), u"monday");
        EXPECT_EQ(frame::GuidToString(Get<GUID, &R::get_UniqueId>(b, r), false), kWebId);
    }
}

TEST_F(BackupSession, EmptyCollectionAndNullArguments) {
    const auto session = Open(EBinding::Early, EIdxMetaCreateNewDetached);
    const auto refs = Get<RefsPtr, &S::EnumOibsRefs>(EBinding::Early, session.Get());
    R* r = refs.Get();
    BSTR x = nullptr;
    GUID id{};
    INT count = 7;
    R* none = nullptr;
    for (const EBinding b : support::kBindings) {
        EXPECT_EQ((Get<INT, &R::get_RefsCount>(b, r)), 0);
        for (const CallResult& result :
             {Invoke<&R::get_VmName>(b, r, &x), Invoke<&R::get_BackupTimeUtc>(b, r, &x),
              Invoke<&R::get_UniqueId>(b, r, &id)}) {
            ExpectFailure(result, b,
                          u"The current element pointer is out of the OibReferences collection "
                          u"boundary.",
                          IID_ICatOibRefsEnumerator);
        }
    }
    using support::ExpectRefusesNull;
    ExpectRefusesNull<&S::EnumOibsRefs>(session.Get(), &none);
    ExpectRefusesNull<&R::get_RefsCount>(r, &count);
    ExpectRefusesNull<&R::get_VmName, &R::get_BackupTimeUtc>(r, &x);
    ExpectRefusesNull<&R::get_UniqueId>(r, &id);
    ExpectRefusesNull<&R::GetOibRef>(r, 0, &x, &x, &id);
}

// Searches all lines for every call.
struct CSessionModel {
    struct Line {
        char16_t group;
        std::u16string text;
        std::size_t id;  // kNone for a line without an identifier
    };
    static constexpr std::size_t kNone = 100;
    static constexpr std::size_t kMalformed = 101;

    std::vector<Line> lines;

    std::u16string Text() const {
        std::u16string text;
        for (const Line& line : lines) {
            text += (text.empty() ? u"" : u"\n") + line.text;
        }
        return text;
    }
    // False when a malformed identifier comes first.
    bool Delete(std::size_t id) {
        const auto found = std::find_if(lines.begin(), lines.end(), [&](const Line& line) {
            return line.id == id || line.id == kMalformed;
        });
        if (found == lines.end() || found->id == kMalformed) {
            return found == lines.end();
        }
        std::erase_if(lines,
                      [group = found->group](const Line& line) { return line.group == group; });
        return true;
    }
};

TEST_F(BackupSession, DeletesAsTheModel) {
    std::mt19937 random(20240301);
    const auto pick = [&](std::size_t below) { return random() % below; };
    const char16_t* const kGroups[] = {u"oib1", u"OIB1", u"oib01", u"oib10", u"oibX", u"other"};
    constexpr char16_t kSameGroup[] = u"aabcde";
    const char16_t* const kIdNames[] = {u".OibUID=", u".any.MyOIBUID=", u"oibuid="};
    for (int round = 0; round < 150; ++round) {
        CSessionModel model;
        for (std::size_t i = pick(12) + 1; i > 0; --i) {
            const std::size_t group = pick(6);
            const bool hasId = pick(2) == 0 && group != 5;
            const std::size_t id = pick(20) == 0 ? model.kMalformed : pick(4);
            const std::size_t name = pick(3);
            const std::u16string value = id == model.kMalformed ? u"bad" : IdText(id);
            // "oib1oibuid" is an element of its own.
            const auto key = static_cast<char16_t>(kSameGroup[group] + (name == 2 ? 32 : 0));
            model.lines.push_back(
                {hasId ? key : kSameGroup[group],
                 kGroups[group] + (hasId ? kIdNames[name] + value : u".VmName=" + Number(i)),
                 hasId ? id : model.kNone});
        }
        SCOPED_TRACE(frame::WideToAnsi(model.Text()));
        Write(model.Text());
        const auto session = Open(EBinding::Early);
        for (int call = 0; call < 5; ++call) {
            const std::size_t id = pick(4);
            const HRESULT hr = session->DeleteOibRef(IdOf(id));
            ASSERT_EQ(SUCCEEDED(hr), model.Delete(id)) << "identifier " << id;
            if (pick(2) == 0) {
                ASSERT_EQ(session->FlushChanges(), S_OK);
                ExpectContent(model.Text());
            }
        }
    }
}

// Takes seconds; a search through all groups for each deletion would take many minutes.
TEST_F(BackupSession, ManyGroupsInAnyOrder) {
    constexpr std::size_t kCount = 200000;
    std::vector<std::size_t> numbers(kCount);
    std::iota(numbers.begin(), numbers.end(), std::size_t{1});
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(7));
    std::u16string text;
    for (const std::size_t number : numbers) {
        text += (text.empty() ? u"oib" : u"\noib") + Number(number) + u".OibUID=" + IdText(number);
    }
    Write(text);
    const auto start = std::chrono::steady_clock::now();
    const auto session = Open(EBinding::Early, EIdxMetaLoad);
    for (std::size_t i = 0; i < kCount / 2; ++i) {
        ASSERT_EQ(session->DeleteOibRef(IdOf(numbers[i])), S_OK);
    }
    const auto refs = Get<RefsPtr, &S::EnumOibsRefs>(EBinding::Early, session.Get());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::minutes(2));
    numbers.erase(numbers.begin(), numbers.begin() + kCount / 2);
    std::sort(numbers.rbegin(), numbers.rend());
    ASSERT_EQ((Get<INT, &R::get_RefsCount>(EBinding::Early, refs.Get())), INT{kCount / 2});
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        GUID id{};
        ASSERT_EQ(refs->MoveToElem(static_cast<INT>(i)), S_OK);
        ASSERT_EQ(refs->get_UniqueId(&id), S_OK);
        ASSERT_TRUE(id == IdOf(numbers[i])) << i;
    }
}

}  // namespace
