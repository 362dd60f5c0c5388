// Publications through the interfaces, early and late bound.
#include <gtest/gtest.h>

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
using Reader = IMtfPublicationMetaFileReader;
using Info = IMtfPublicationOrderingInfo;
using Accessor = IMtfAddBSessionCmdAccessor;

constexpr std::u16string_view kSource = u"ZorelOibIdxLib.COibIdxLib.5";
constexpr std::u16string_view kId = u"9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d";
constexpr HRESULT kBadGuid = static_cast<HRESULT>(0x800706A9U);

class Publication : public support::CMetaFileTest {
protected:
    CComPtr<Reader> Load(EBinding b) const {
        return Get<CComPtr<Reader>, &IOibIdxLib::LoadPublication>(b, m_library.Get(),
                                                                  Path().c_str());
    }
    static CComPtr<Accessor> AccessorOf(EBinding b, Reader* reader) {
        return Get<CComPtr<Accessor>, &Reader::get_AddBSessionCmdAccessor>(b, reader);
    }
    // The types by position.
    static std::u16string TypesOf(EBinding b, Reader* reader) {
        std::u16string text;
        for (INT i = 0; i < Get<INT, &Reader::get_CmdCount>(b, reader); ++i) {
            text += TextFrom<&Reader::GetCmdType>(b, reader, i) + u";";
        }
        return text;
    }
    template <std::size_t kCount>
    static std::u16string Join(const CBstr (&texts)[kCount]) {
        std::u16string joined;
        for (const CBstr& text : texts) {
            EXPECT_TRUE(text) << "empty, not null";
            joined += support::WholeText(text.Get()) + u"/";
        }
        return joined;
    }
    static std::u16string OibText(EBinding b, Accessor* a, INT cmd, INT group, INT index) {
        CBstr t[4];
        GUID id{};
        Succeed<&Accessor::GetOibRef>(b, a, cmd, group, index, t[0].Put(), t[1].Put(), &id,
                                      t[2].Put(), t[3].Put());
        return Join(t) + (id == GUID_NULL ? u"" : frame::GuidToString(id, true));
    }
    static std::u16string FileText(EBinding b, Accessor* a, INT cmd, INT group, INT index) {
        CBstr t[3];
        Succeed<&Accessor::GetBackupFile>(b, a, cmd, group, index, t[0].Put(), t[1].Put(),
                                          t[2].Put());
        return Join(t);
    }
    // A command by its number: session, then groups with their references and files.
    static std::u16string CommandText(EBinding b, Accessor* a, INT cmd) {
        CBstr t[3];
        Succeed<&Accessor::GetBSessionInfo>(b, a, cmd, t[0].Put(), t[1].Put(), t[2].Put());
        std::u16string text = Join(t);
        for (INT g = 0; g < Get<INT, &Accessor::GetRetargetedOibGroupsNum>(b, a, cmd); ++g) {
            text += u" group";
            const INT oibs = Get<INT, &Accessor::GetOibsNumInRetargetedOibGroup>(b, a, cmd, g);
            for (INT i = 0; i < oibs; ++i) {
                text += u" oib:" + OibText(b, a, cmd, g, i);
            }
            const INT files =
                Get<INT, &Accessor::GetBackupFilesNumInRetargetedOibGroup>(b, a, cmd, g);
            for (INT i = 0; i < files; ++i) {
                text += u" file:" + FileText(b, a, cmd, g, i);
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
            EXPECT_EQ(CommandText(b, AccessorOf(b, reader.Get()).Get(), row.command), row.text);
        }
    }
}

// The accessor looks commands up by key and adds missing ones; the reader uses positions.
TEST_F(Publication, KeysAndPositions) {
    const auto outOfArray = [](std::u16string_view position, std::u16string_view count) {
        return frame::FormatText(
            u"Out of the sparse array boundary: requested element '%1', container contains '%2' "
            u"elements.",
            {position, count});
    };
    constexpr std::u16string_view kMinusOne = u"18446744073709551615";
    for (const EBinding b : support::kBindings) {
        Write(
            u"cmd.7.Type=AddBSession\ncmd.7.grp.5.OIB.1.VmName=a\ncmd.7.grp.5.OIB.2.x=\n"
            u"cmd.7.grp.5.BackupFile.1.Path=p\ncmd.3.Type=Other");
        const auto reader = Load(b);
        const auto accessor = AccessorOf(b, reader.Get());
        Accessor* a = accessor.Get();
        EXPECT_EQ(CommandText(b, a, 0), u"///");
        EXPECT_EQ(CommandText(b, a, 3), u"///") << "another type has empty data";
        EXPECT_EQ(TypesOf(b, reader.Get()), u"AddBSession;Other;;");

        CBstr t[4];
        GUID id{};
        INT count = 7;
        const auto oib = [&](INT group, INT index) {
            return Invoke<&Accessor::GetOibRef>(b, a, 7, group, index, t[0].Put(), t[1].Put(), &id,
                                                t[2].Put(), t[3].Put());
        };
        const auto file = [&](INT group, INT index) {
            return Invoke<&Accessor::GetBackupFile>(b, a, 7, group, index, t[0].Put(), t[1].Put(),
                                                    t[2].Put());
        };
        const struct {
            CallResult result;
            std::u16string text;
        } rows[] = {
            {oib(0, 2), outOfArray(u"2", u"2")},
            {oib(0, -1), outOfArray(kMinusOne, u"2")},
            {oib(1, 0), outOfArray(u"1", u"1")},
            {file(0, 1), outOfArray(u"1", u"1")},
            {file(-1, 0), outOfArray(kMinusOne, u"1")},
            {Invoke<&Accessor::GetOibsNumInRetargetedOibGroup>(b, a, 7, 5, &count),
             outOfArray(u"5", u"1")},
            {Invoke<&Accessor::GetBackupFilesNumInRetargetedOibGroup>(b, a, 7, 1, &count),
             outOfArray(u"1", u"1")},
        };
        for (const auto& row : rows) {
            SCOPED_TRACE(&row - rows);
            ExpectFailure(row.result, b, row.text, IID_IMtfAddBSessionCmdAccessor);
        }
        ExpectFailure(Invoke<&Reader::GetCmdType>(b, reader.Get(), 3, t[0].Put()), b,
                      outOfArray(u"3", u"3"), IID_IMtfPublicationMetaFileReader);
        ExpectFailure(Invoke<&Reader::GetCmdType>(b, reader.Get(), -1, t[0].Put()), b,
                      outOfArray(kMinusOne, u"3"), IID_IMtfPublicationMetaFileReader);
        EXPECT_FALSE(t[0] || t[1] || t[2] || t[3]);
        EXPECT_EQ(count, 7);
    }
}

// Names that end at each element, and malformed values.
TEST_F(Publication, LoadingThatFails) {
    const auto missing = [](std::u16string_view id, std::u16string_view count) {
        return frame::FormatText(
            u"Out of the path elems boundary. Specified path element id '%1', path elements number "
            u"'%2'.",
            {id, count});
    };
    const std::u16string noNumber = u"Cannot unserialize a string value to integer. String: [x].";
    const frame::CWin32Exc badGuid(u"Cannot convert string to GUID. String: [%1].", {u"v"}, 1705);
    const struct {
        std::u16string name;
        std::u16string reason;  // empty: the file loads
        HRESULT hr = E_FAIL;
    } rows[] = {
        {u"cmd", missing(u"1", u"1")},
        {u"cmdline", missing(u"1", u"1")},
        {u"cmd.x.Type", noNumber},
        {u"cmd.1", missing(u"2", u"2")},
        {u"cmd.1.grp", missing(u"3", u"3")},
        {u"cmd.1.grp.x.OIB.1.VmName", noNumber},
        {u"cmd.1.grp.0", missing(u"4", u"4")},
        {u"cmd.1.grp.0.Else", u""},
        {u"cmd.1.grp.0.BackupFile", missing(u"5", u"5")},
        {u"cmd.1.grp.0.BackupFile.x", noNumber},
        {u"cmd.1.grp.0.BackupFile.0", missing(u"6", u"6")},
        {u"cmd.1.grp.0.BackupFile.0.Else", u""},
        {u"cmd.1.grp.0.OIB", missing(u"5", u"5")},
        {u"cmd.1.grp.0.OIB.x", noNumber},
        {u"cmd.1.grp.0.OIB.0", missing(u"6", u"6")},
        {u"cmd.1.grp.0.OIB.0.OibUID", support::ReplaceAll(badGuid.GetFullMessage(), u"\r\n", u"\n"),
         kBadGuid},
        {u"cmd.9", u""},  // command 9 has another type
        {u"cmd.9.grp", u""},
        {u"cmd.8", missing(u"2", u"2")},
    };
    for (const EBinding b : support::kBindings) {
        for (const auto& row : rows) {
            SCOPED_TRACE(frame::WideToAnsi(row.name) + ", " + support::NameOf(b));
            Write(u"cmd.9.Type=Other\ncmd.8.Type=AddBSession\n" + row.name + u" = v");
            CComPtr<Reader> reader;
            const CallResult result = Invoke<&IOibIdxLib::LoadPublication>(
                b, m_library.Get(), Path().c_str(), reader.Put());
            if (row.reason.empty()) {
                EXPECT_EQ(result.hr, S_OK);
                continue;
            }
            ExpectFailure(result, b,
                          u"Failed to parse content of the publication '%1'.\n"
                          u"Failed to parse attribute, path '" +
                              row.name + u"', value 'v'.\n" + row.reason,
                          IID_IOibIdxLib, row.hr, kSource);
            EXPECT_FALSE(reader);
        }
    }
}

TEST_F(Publication, MissingFile) {
    const std::u16string missing =
        u"Cannot create or load meta-file \"%1\". Open mode: EMtfLoad\n"
        u"File \"%1\" does not exist.";
    for (const EBinding b : support::kBindings) {
        CComPtr<Reader> reader;
        CComPtr<Info> info;
        ExpectFailure(
            Invoke<&IOibIdxLib::LoadPublication>(b, m_library.Get(), Path().c_str(), reader.Put()),
            b, missing, IID_IOibIdxLib, E_FAIL, kSource);
        ExpectFailure(Invoke<&IOibIdxLib::LoadPublicationOrderingInfo>(b, m_library.Get(),
                                                                       Path().c_str(), info.Put()),
                      b, u"Failed to load publication date/time (%1).\n" + missing, IID_IOibIdxLib,
                      E_FAIL, kSource);
    }
    // The file is read before the pointer is checked.
    const CBstr path = support::Bstr(Path());
    EXPECT_LT(m_library->LoadPublicationOrderingInfo(path.Get(), nullptr), 0);
    EXPECT_NE(support::TakeError().description, u"");
    Write(u"");
    EXPECT_EQ(m_library->LoadPublicationOrderingInfo(path.Get(), nullptr), E_POINTER);
}

// The full load compares beginnings of names, the other one whole names.
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
    const auto textOf = [](EBinding b, const CComPtr<Info>& info) {
        return TextFrom<&Info::get_PubLocalTime>(b, info.Get()) + u"|" +
               TextFrom<&Info::get_PubUtcTime>(b, info.Get());
    };
    for (const EBinding b : support::kBindings) {
        for (const auto& row : rows) {
            SCOPED_TRACE(frame::WideToAnsi(row.lines) + ", " + support::NameOf(b));
            Write(row.lines);
            EXPECT_EQ(textOf(b, Get<CComPtr<Info>, &IOibIdxLib::LoadPublicationOrderingInfo>(
                                    b, m_library.Get(), Path().c_str())),
                      row.alone);
            EXPECT_EQ(textOf(b, Get<CComPtr<Info>, &Reader::get_OrderingInfo>(b, Load(b).Get())),
                      row.full);
        }
    }
}

// Each MetaFile is a new tree over the same lines; the records do not change with them.
TEST_F(Publication, MetaFile) {
    using File = CComPtr<IMtfMetaFile>;
    for (const EBinding b : support::kBindings) {
        Write(u"cmd.1.JobName=J");
        auto reader = Load(b);
        const auto accessor = AccessorOf(b, reader.Get());
        auto first = Get<File, &Reader::get_MetaFile>(b, reader.Get());
        Succeed<&IMtfMetaFile::SetAttr>(b, first.Get(), u"CMD.1.JobName", u"K");
        Succeed<&IMtfMetaFile::SetAttr>(b, first.Get(), u"new", u"1");
        const auto second = Get<File, &Reader::get_MetaFile>(b, reader.Get());
        reader = nullptr;
        first = nullptr;
        EXPECT_EQ(support::NamesFrom<&IMtfMetaFile::EnumAllAttrs>(b, second.Get()),
                  u"new cmd.1.JobName");
        Succeed<&IMtfMetaFile::FlushChanges>(b, second.Get());
        ExpectContent(u"cmd.1.JobName=K\nnew=1");
        EXPECT_EQ(CommandText(b, accessor.Get(), 1), u"J///");

        Write(u"=v");
        File none;
        ExpectFailure(Invoke<&Reader::get_MetaFile>(b, Load(b).Get(), none.Put()), b,
                      u"The specified attribute's path () is invalid.",
                      IID_IMtfPublicationMetaFileReader);
    }
}

TEST_F(Publication, NullArguments) {
    Write(u"cmd.1.grp.0.OIB.0.VmName=a\ncmd.1.grp.0.BackupFile.0.Path=p");
    const auto reader = Load(EBinding::Early);
    const auto accessor = AccessorOf(EBinding::Early, reader.Get());
    const auto info = Get<CComPtr<Info>, &Reader::get_OrderingInfo>(EBinding::Early, reader.Get());
    Reader* r = reader.Get();
    Accessor* a = accessor.Get();
    Info* noInfo = nullptr;
    Accessor* noAccessor = nullptr;
    IMtfMetaFile* noFile = nullptr;
    BSTR x = nullptr;
    INT n = 0;
    GUID id{};
    using support::ExpectRefusesNull;
    ExpectRefusesNull<&Reader::get_OrderingInfo>(r, &noInfo);
    ExpectRefusesNull<&Reader::get_CmdCount>(r, &n);
    ExpectRefusesNull<&Reader::GetCmdType>(r, 9, &x);
    ExpectRefusesNull<&Reader::get_AddBSessionCmdAccessor>(r, &noAccessor);
    ExpectRefusesNull<&Reader::get_MetaFile>(r, &noFile);
    ExpectRefusesNull<&Info::get_PubLocalTime, &Info::get_PubUtcTime>(info.Get(), &x);
    ExpectRefusesNull<&Accessor::GetRetargetedOibGroupsNum>(a, 9, &n);
    ExpectRefusesNull<&Accessor::GetOibsNumInRetargetedOibGroup,
                      &Accessor::GetBackupFilesNumInRetargetedOibGroup>(a, 9, 0, &n);
    ExpectRefusesNull<&Accessor::GetOibRef>(a, 1, 0, 0, &x, &x, &id, &x, &x);
    ExpectRefusesNull<&Accessor::GetBackupFile>(a, 1, 0, 0, &x, &x, &x);
    ExpectRefusesNull<&Accessor::GetBSessionInfo>(a, 9, &x, &x, &x);
    EXPECT_EQ(x, nullptr);
    EXPECT_EQ((Get<INT, &Reader::get_CmdCount>(EBinding::Early, r)), 1)
        << "a refused call adds no command";
}

}  // namespace
