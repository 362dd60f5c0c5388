// Publications through the interfaces, early and late bound.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "support/meta_files.h"

namespace {

using automation::CBstr;
using automation::CComPtr;
using support::Bstr;
using support::Call;
using support::CallResult;
using support::EBinding;
using support::TextFrom;

constexpr std::u16string_view kSource = u"ZorelOibIdxLib.COibIdxLib.5";
constexpr std::u16string_view kId = u"9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d";
constexpr HRESULT kBadGuid = static_cast<HRESULT>(0x800706A9U);

std::u16string OutOfArray(std::u16string_view position, std::u16string_view count) {
    return frame::FormatText(
        u"Out of the sparse array boundary: requested element '%1', container contains '%2' "
        u"elements.",
        {position, count});
}

class Publication : public support::CMetaFileTest {
protected:
    CallResult Load(EBinding binding, IMtfPublicationMetaFileReader** reader) const {
        return Call<&IOibIdxLib::LoadPublication>(binding, m_library.Get(), Bstr(Path()).Get(),
                                                  reader);
    }
    CComPtr<IMtfPublicationMetaFileReader> Load(EBinding binding) const {
        CComPtr<IMtfPublicationMetaFileReader> reader;
        const CallResult result = Load(binding, reader.Put());
        EXPECT_EQ(result.hr, S_OK) << frame::WideToAnsi(result.error.description);
        return reader;
    }
    static CComPtr<IMtfAddBSessionCmdAccessor> AccessorOf(EBinding binding,
                                                          IMtfPublicationMetaFileReader* reader) {
        CComPtr<IMtfAddBSessionCmdAccessor> accessor;
        EXPECT_EQ(Call<&IMtfPublicationMetaFileReader::get_AddBSessionCmdAccessor>(binding, reader,
                                                                                   accessor.Put())
                      .hr,
                  S_OK);
        return accessor;
    }

    // ----- Everything that a publication says, as one line of text -----

    static INT CmdCount(EBinding binding, IMtfPublicationMetaFileReader* reader) {
        INT count = -1;
        EXPECT_EQ(Call<&IMtfPublicationMetaFileReader::get_CmdCount>(binding, reader, &count).hr,
                  S_OK);
        return count;
    }
    // The types by position.
    static std::u16string TypesOf(EBinding b, IMtfPublicationMetaFileReader* reader) {
        std::u16string text;
        for (INT i = 0; i < CmdCount(b, reader); ++i) {
            text += TextFrom<&IMtfPublicationMetaFileReader::GetCmdType>(b, reader, i) + u";";
        }
        return text;
    }
    template <auto kCount, class... Args>
    static INT Number(EBinding binding, IMtfAddBSessionCmdAccessor* accessor, Args... args) {
        INT count = -1;
        EXPECT_EQ(Call<kCount>(binding, accessor, args..., &count).hr, S_OK);
        return count;
    }
    template <std::size_t kCount>
    static std::u16string Join(const CBstr (&texts)[kCount]) {
        std::u16string joined;
        for (const CBstr& text : texts) {
            EXPECT_TRUE(text) << "empty, not null";
            joined += std::u16string(automation::TextOf(text.Get())) + u"/";
        }
        return joined;
    }
    // One command by its number: session, then groups with their references and files.
    static std::u16string CommandText(EBinding b, IMtfAddBSessionCmdAccessor* accessor, INT cmd) {
        using I = IMtfAddBSessionCmdAccessor;
        CBstr t[3];
        EXPECT_EQ(
            Call<&I::GetBSessionInfo>(b, accessor, cmd, t[0].Put(), t[1].Put(), t[2].Put()).hr,
            S_OK);
        std::u16string text = Join(t);
        for (INT g = 0; g < Number<&I::GetRetargetedOibGroupsNum>(b, accessor, cmd); ++g) {
            text += u" group";
            const INT oibs = Number<&I::GetOibsNumInRetargetedOibGroup>(b, accessor, cmd, g);
            for (INT i = 0; i < oibs; ++i) {
                CBstr o[4];
                GUID id{};
                EXPECT_EQ(Call<&I::GetOibRef>(b, accessor, cmd, g, i, o[0].Put(), o[1].Put(), &id,
                                              o[2].Put(), o[3].Put())
                              .hr,
                          S_OK);
                text +=
                    u" oib:" + Join(o) + (id == GUID_NULL ? u"" : frame::GuidToString(id, true));
            }
            const INT files =
                Number<&I::GetBackupFilesNumInRetargetedOibGroup>(b, accessor, cmd, g);
            for (INT i = 0; i < files; ++i) {
                CBstr f[3];
                EXPECT_EQ(Call<&I::GetBackupFile>(b, accessor, cmd, g, i, f[0].Put(), f[1].Put(),
                                                  f[2].Put())
                              .hr,
                          S_OK);
                text += u" file:" + Join(f);
            }
        }
        return text;
    }
};

TEST_F(Publication, Commands) {
    const struct {
        std::u16string lines;
        std::u16string types;
        INT command;
        std::u16string text;
    } rows[] = {
        {u"", u"", 0, u"///"},
        {u"cmd.7.Type=AddBSession\ncmd.7.JobName=J\ncmd.3.Type=Other", u"AddBSession;Other;", 7,
         u"J///"},
        {u"CMD.1.jobname=J\ncmd..1.BACKUPSERVER=S\ncmd.1.type=addbsession\n"
         u"cmd.1.SessionDateUtc=D\ncmd.1.Else=x",
         u"addbsession;", 1, u"J/S/D/"},
        {u"cmd.1.Type=Other\ncmd.1.JobName=J\ncmd.1.Type=AddBSession", u"Other;", 1, u"///"},
        {u"cmd.1.Type=AddBSession\ncmd.1.Type=Other\ncmd.1.JobName=J", u"AddBSession;", 1, u"J///"},
        {u"cmd.1.Type=\ncmd.1.Type=Late\ncmd.1.JobName=J", u"Late;", 1, u"///"},
        {u"cmd.1.grp.5.OIB.9.VmName=a\ncmd.1.grp.2.OIB.4.VmName=b\ncmd.1.grp.5.OIB.3.Platform=p\n"
         u"cmd.1.grp.5.OIB.9.OibUID={" +
             std::u16string(kId) +
             u"\ncmd.1.grp.5.oib.9.Origin=o\ncmd.1.grp.5.OIB.9.BackupTimeUtc=t\n"
             u"cmd.1.grp.5.OIB.9.Else=x\ncmd.1.grp.5.Else=x",
         u";", 1, u"/// group oib:a/t/o//{" + std::u16string(kId) + u"} oib:///p/ group oib:b////"},
        {u"cmd.1.grp.0.BackupFile.7.Path=p\ncmd.1.GRP.00.backupfile.07.server=s\n"
         u"cmd.1.grp.0.BackupFile.2.ModifyDateUtc=m\ncmd.1.grp.0.BackupFile.2.Else=x",
         u";", 1, u"/// group file:s/p// file://m/"},
        {u"cmd.-1.JobName=minus\ncmd.4294967295.JobName=max", u";;", -1, u"minus///"},
        {u"cmd.5x.JobName=J\n#cmd=x\n=v\n.cmd.x=y", u";", 5, u"J///"},
    };
    for (const EBinding b : support::kBindings) {
        for (const auto& row : rows) {
            SCOPED_TRACE(frame::WideToAnsi(row.lines) + ", " + support::NameOf(b));
            Write(row.lines);
            const auto reader = Load(b);
            EXPECT_EQ(TypesOf(b, reader.Get()), row.types);
            const auto accessor = AccessorOf(b, reader.Get());
            EXPECT_EQ(CommandText(b, accessor.Get(), row.command), row.text);
        }
    }
}

// The accessor answers for a number that the file does not have, and so adds a command;
// the reader goes by positions and does not.
TEST_F(Publication, KeysAgainstPositions) {
    for (const EBinding b : support::kBindings) {
        Write(u"cmd.7.Type=AddBSession\ncmd.7.JobName=J\ncmd.3.Type=Other");
        const auto reader = Load(b);
        const auto accessor = AccessorOf(b, reader.Get());
        EXPECT_EQ(CmdCount(b, reader.Get()), 2);
        EXPECT_EQ(CommandText(b, accessor.Get(), 0), u"///");
        EXPECT_EQ(CommandText(b, accessor.Get(), 3), u"///") << "another type has empty data";
        EXPECT_EQ(CmdCount(b, reader.Get()), 3);
        EXPECT_EQ(TypesOf(b, reader.Get()), u"AddBSession;Other;;");
        EXPECT_EQ(CommandText(b, accessor.Get(), 7), u"J///");
    }
}

TEST_F(Publication, OutOfRange) {
    Write(u"cmd.7.grp.5.OIB.1.VmName=a\ncmd.7.grp.5.BackupFile.1.Path=p\ncmd.7.grp.5.OIB.2.x=");
    const auto reader = Load(EBinding::Early);
    const auto accessor = AccessorOf(EBinding::Early, reader.Get());
    using I = IMtfAddBSessionCmdAccessor;
    constexpr std::u16string_view kMinusOne = u"18446744073709551615";
    for (const EBinding b : support::kBindings) {
        CBstr t[4];
        GUID id{};
        INT count = 7;
        I* a = accessor.Get();
        const auto oib = [&](INT group, INT index) {
            return Call<&I::GetOibRef>(b, a, 7, group, index, t[0].Put(), t[1].Put(), &id,
                                       t[2].Put(), t[3].Put());
        };
        const auto file = [&](INT group, INT index) {
            return Call<&I::GetBackupFile>(b, a, 7, group, index, t[0].Put(), t[1].Put(),
                                           t[2].Put());
        };
        const struct {
            CallResult result;
            std::u16string text;
        } rows[] = {
            {oib(0, 2), OutOfArray(u"2", u"2")},
            {oib(0, -1), OutOfArray(kMinusOne, u"2")},
            {oib(1, 0), OutOfArray(u"1", u"1")},
            {file(0, 1), OutOfArray(u"1", u"1")},
            {file(-1, 0), OutOfArray(kMinusOne, u"1")},
            {Call<&I::GetOibsNumInRetargetedOibGroup>(b, a, 7, 5, &count), OutOfArray(u"5", u"1")},
            {Call<&I::GetBackupFilesNumInRetargetedOibGroup>(b, a, 7, 1, &count),
             OutOfArray(u"1", u"1")},
        };
        for (const auto& row : rows) {
            SCOPED_TRACE(&row - rows);
            ExpectFailure(row.result, b, row.text, IID_IMtfAddBSessionCmdAccessor);
        }
        for (const INT position : {1, -1}) {
            ExpectFailure(Call<&IMtfPublicationMetaFileReader::GetCmdType>(b, reader.Get(),
                                                                           position, t[0].Put()),
                          b, OutOfArray(position < 0 ? kMinusOne : u"1", u"1"),
                          IID_IMtfPublicationMetaFileReader);
        }
        EXPECT_FALSE(t[0] || t[1] || t[2] || t[3]);
        EXPECT_EQ(count, 7);
    }
}

// Names cut short at every element and values that are none.
TEST_F(Publication, LoadingThatFails) {
    const auto missing = [](std::u16string_view id, std::u16string_view count) {
        return frame::FormatText(
            u"Out of the path elems boundary. Specified path element id '%1', path elements number "
            u"'%2'.",
            {id, count});
    };
    const auto noNumber = [](std::u16string_view text) {
        return frame::FormatText(u"Cannot unserialize a string value to integer. String: [%1].",
                                 {text});
    };
    const std::u16string badGuid = support::ReplaceAll(
        frame::CWin32Exc(u"Cannot convert string to GUID. String: [%1].", {u"v"}, 1705)
            .GetFullMessage(),
        u"\r\n", u"\n");
    const struct {
        std::u16string name;
        std::u16string reason;  // empty: the file loads
        HRESULT hr = E_FAIL;
    } rows[] = {
        {u"cmd", missing(u"1", u"1")},
        {u"cmdline", missing(u"1", u"1")},
        {u"cmd.x.Type", noNumber(u"x")},
        {u"cmd.1", missing(u"2", u"2")},
        {u"cmd.1.grp", missing(u"3", u"3")},
        {u"cmd.1.grp.x.OIB.1.VmName", noNumber(u"x")},
        {u"cmd.1.grp.0", missing(u"4", u"4")},
        {u"cmd.1.grp.0.Else", u""},
        {u"cmd.1.grp.0.BackupFile", missing(u"5", u"5")},
        {u"cmd.1.grp.0.BackupFile.x", noNumber(u"x")},
        {u"cmd.1.grp.0.BackupFile.0", missing(u"6", u"6")},
        {u"cmd.1.grp.0.BackupFile.0.Else", u""},
        {u"cmd.1.grp.0.OIB", missing(u"5", u"5")},
        {u"cmd.1.grp.0.OIB.x", noNumber(u"x")},
        {u"cmd.1.grp.0.OIB.0", missing(u"6", u"6")},
        {u"cmd.1.grp.0.OIB.0.OibUID", badGuid, kBadGuid},
        {u"cmd.9", u""},  // the type of command 9 makes all else uninteresting
        {u"cmd.9.grp", u""},
        {u"cmd.8", missing(u"2", u"2")},
    };
    for (const EBinding binding : support::kBindings) {
        for (const auto& row : rows) {
            SCOPED_TRACE(frame::WideToAnsi(row.name) + ", " + support::NameOf(binding));
            Write(u"cmd.9.Type=Other\ncmd.8.Type=AddBSession\n" + row.name + u" = v");
            CComPtr<IMtfPublicationMetaFileReader> reader;
            const CallResult result = Load(binding, reader.Put());
            if (row.reason.empty()) {
                EXPECT_EQ(result.hr, S_OK);
                continue;
            }
            ExpectFailure(result, binding,
                          u"Failed to parse content of the publication '%1'.\n"
                          u"Failed to parse attribute, path '" +
                              row.name + u"', value 'v'.\n" + row.reason,
                          IID_IOibIdxLib, row.hr, kSource);
            EXPECT_FALSE(reader);
        }
    }
}

TEST_F(Publication, MissingFile) {
    constexpr std::u16string_view kMissing =
        u"Cannot create or load meta-file \"%1\". Open mode: EMtfLoad\n"
        u"File \"%1\" does not exist.";
    for (const EBinding binding : support::kBindings) {
        CComPtr<IMtfPublicationMetaFileReader> reader;
        CComPtr<IMtfPublicationOrderingInfo> info;
        ExpectFailure(Load(binding, reader.Put()), binding, kMissing, IID_IOibIdxLib, E_FAIL,
                      kSource);
        ExpectFailure(Call<&IOibIdxLib::LoadPublicationOrderingInfo>(
                          binding, m_library.Get(), Bstr(Path()).Get(), info.Put()),
                      binding,
                      u"Failed to load publication date/time (%1).\n" + std::u16string(kMissing),
                      IID_IOibIdxLib, E_FAIL, kSource);
    }
    EXPECT_LT(m_library->LoadPublicationOrderingInfo(Bstr(Path()).Get(), nullptr), 0);
    EXPECT_NE(support::TakeError().description, u"") << "the file is read before the null is met";
    Write(u"");
    EXPECT_EQ(m_library->LoadPublicationOrderingInfo(Bstr(Path()).Get(), nullptr), E_POINTER);
}

// The full load matches beginnings of names, the other one whole names.
TEST_F(Publication, OrderingInfo) {
    const struct {
        std::u16string_view lines;
        std::u16string_view alone;  // local time and UTC time
        std::u16string_view full;
    } rows[] = {
        {u"", u"|", u"|"},
        {u"Publication.LocalTime=noon\nPUBLICATION.utctime = eleven", u"noon|eleven",
         u"noon|eleven"},
        {u"Publication.LocalTime=a\nPublication.LocalTime=b", u"b|", u"b|"},
        {u"Publication.LocalTime=a\nPublication.LocalTimeZone=z\nPublication.UTCTime.x=y", u"a|",
         u"z|y"},
        {u"Publication.Local=a\n.Publication.UTCTime=b\n=v", u"|", u"|"},
    };
    using I = IMtfPublicationOrderingInfo;
    const auto textOf = [](EBinding b, I* info) {
        return TextFrom<&I::get_PubLocalTime>(b, info) + u"|" +
               TextFrom<&I::get_PubUtcTime>(b, info);
    };
    for (const EBinding b : support::kBindings) {
        for (const auto& row : rows) {
            SCOPED_TRACE(frame::WideToAnsi(row.lines) + ", " + support::NameOf(b));
            Write(row.lines);
            CComPtr<I> alone;
            CComPtr<I> full;
            ASSERT_EQ(Call<&IOibIdxLib::LoadPublicationOrderingInfo>(
                          b, m_library.Get(), Bstr(Path()).Get(), alone.Put())
                          .hr,
                      S_OK);
            ASSERT_EQ(
                Call<&IMtfPublicationMetaFileReader::get_OrderingInfo>(b, Load(b).Get(), full.Put())
                    .hr,
                S_OK);
            EXPECT_EQ(textOf(b, alone.Get()), row.alone);
            EXPECT_EQ(textOf(b, full.Get()), row.full);
        }
    }
}

// Each MetaFile is a fresh tree over the same lines; the records do not follow them.
TEST_F(Publication, MetaFile) {
    for (const EBinding b : support::kBindings) {
        Write(u"cmd.1.JobName=J");
        auto reader = Load(b);
        const auto accessor = AccessorOf(b, reader.Get());
        CComPtr<IMtfMetaFile> first;
        CComPtr<IMtfMetaFile> second;
        using I = IMtfPublicationMetaFileReader;
        ASSERT_EQ(Call<&I::get_MetaFile>(b, reader.Get(), first.Put()).hr, S_OK);
        EXPECT_EQ(first->SetAttr(Bstr(u"CMD.1.JobName").Get(), Bstr(u"K").Get()), S_OK);
        EXPECT_EQ(first->SetAttr(Bstr(u"new").Get(), Bstr(u"1").Get()), S_OK);
        ASSERT_EQ(Call<&I::get_MetaFile>(b, reader.Get(), second.Put()).hr, S_OK);
        reader = nullptr;
        first = nullptr;
        EXPECT_EQ(support::NamesFrom<&IMtfMetaFile::EnumAllAttrs>(b, second.Get()),
                  u"new cmd.1.JobName");
        EXPECT_EQ(second->FlushChanges(), S_OK);
        EXPECT_EQ(Read(), u"cmd.1.JobName=K\nnew=1");
        EXPECT_EQ(CommandText(b, accessor.Get(), 1), u"J///");
    }
    Write(u"=v");
    const auto reader = Load(EBinding::Early);
    CComPtr<IMtfMetaFile> none;
    ExpectFailure(Call<&IMtfPublicationMetaFileReader::get_MetaFile>(EBinding::Early, reader.Get(),
                                                                     none.Put()),
                  EBinding::Early, u"The specified attribute's path () is invalid.",
                  IID_IMtfPublicationMetaFileReader);
}

TEST_F(Publication, NullArguments) {
    Write(u"cmd.1.grp.0.OIB.0.VmName=a\ncmd.1.grp.0.BackupFile.0.Path=p");
    const auto reader = Load(EBinding::Early);
    const auto accessor = AccessorOf(EBinding::Early, reader.Get());
    CComPtr<IMtfPublicationOrderingInfo> info;
    ASSERT_EQ(reader->get_OrderingInfo(info.Put()), S_OK);
    using R = IMtfPublicationMetaFileReader;
    using I = IMtfPublicationOrderingInfo;
    using A = IMtfAddBSessionCmdAccessor;
    R* r = reader.Get();
    A* a = accessor.Get();
    BSTR x = nullptr;
    GUID id{};
    for (const EBinding b : support::kBindings) {
        const CallResult results[] = {
            Call<&R::get_OrderingInfo>(b, r, nullptr),
            Call<&R::get_CmdCount>(b, r, nullptr),
            Call<&R::GetCmdType>(b, r, 9, nullptr),
            Call<&R::get_AddBSessionCmdAccessor>(b, r, nullptr),
            Call<&R::get_MetaFile>(b, r, nullptr),
            Call<&I::get_PubLocalTime>(b, info.Get(), nullptr),
            Call<&I::get_PubUtcTime>(b, info.Get(), nullptr),
            Call<&A::GetRetargetedOibGroupsNum>(b, a, 9, nullptr),
            Call<&A::GetOibsNumInRetargetedOibGroup>(b, a, 9, 0, nullptr),
            Call<&A::GetBackupFilesNumInRetargetedOibGroup>(b, a, 9, 0, nullptr),
            Call<&A::GetOibRef>(b, a, 1, 0, 0, nullptr, &x, &id, &x, &x),
            Call<&A::GetOibRef>(b, a, 1, 0, 0, &x, nullptr, &id, &x, &x),
            Call<&A::GetOibRef>(b, a, 1, 0, 0, &x, &x, nullptr, &x, &x),
            Call<&A::GetOibRef>(b, a, 1, 0, 0, &x, &x, &id, nullptr, &x),
            Call<&A::GetOibRef>(b, a, 1, 0, 0, &x, &x, &id, &x, nullptr),
            Call<&A::GetBackupFile>(b, a, 1, 0, 0, nullptr, &x, &x),
            Call<&A::GetBackupFile>(b, a, 1, 0, 0, &x, nullptr, &x),
            Call<&A::GetBackupFile>(b, a, 1, 0, 0, &x, &x, nullptr),
            Call<&A::GetBSessionInfo>(b, a, 9, nullptr, &x, &x),
            Call<&A::GetBSessionInfo>(b, a, 9, &x, nullptr, &x),
            Call<&A::GetBSessionInfo>(b, a, 9, &x, &x, nullptr),
        };
        for (const CallResult& result : results) {
            EXPECT_EQ(result.hr, E_INVALIDARG) << &result - results;
            EXPECT_EQ(result.error.description, u"");
        }
        EXPECT_EQ(x, nullptr);
        EXPECT_EQ(CmdCount(b, r), 1) << "a refused call adds no command";
    }
}

// Keys in any order, against a model that remembers when each first appeared.
TEST_F(Publication, ManyKeysInAnyOrder) {
    constexpr int kLines = 60000;
    std::mt19937 random(11);
    std::u16string text;
    std::vector<std::u16string> names;  // of the groups, by first appearance
    std::map<INT, std::size_t> positions;
    for (int i = 0; i < kLines; ++i) {
        const INT key = static_cast<INT>(random() % 40000) - 100;
        const std::u16string name = u"vm" + frame::IntToString(i);
        const auto [found, isNew] = positions.emplace(key, names.size());
        if (isNew) {
            names.emplace_back();
        }
        names[found->second] = name;
        text += (i == 0 ? u"" : u"\n") + (u"cmd.4.grp." + frame::IntToString(key)) +
                u".OIB.0.VmName=" + name;
    }
    Write(text);
    const auto accessor = AccessorOf(EBinding::Early, Load(EBinding::Early).Get());
    INT count = 0;
    ASSERT_EQ(accessor->GetRetargetedOibGroupsNum(4, &count), S_OK);
    ASSERT_EQ(static_cast<std::size_t>(count), names.size());
    for (INT i = 0; i < count; ++i) {
        CBstr t[4];
        GUID id{};
        ASSERT_EQ(accessor->GetOibRef(4, i, 0, t[0].Put(), t[1].Put(), &id, t[2].Put(), t[3].Put()),
                  S_OK);
        ASSERT_EQ(automation::TextOf(t[0].Get()), names[static_cast<std::size_t>(i)]);
    }
}

}  // namespace
