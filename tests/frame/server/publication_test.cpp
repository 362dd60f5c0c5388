// Publications through the interfaces, early and late bound.
#include <gtest/gtest.h>

#include "support/meta_files.h"

namespace {

using automation::CBstr;
using automation::CComPtr;
using Reader = IMtfPublicationMetaFileReader;
using Info = IMtfPublicationOrderingInfo;
using Accessor = IMtfAddBSessionCmdAccessor;

constexpr std::u16string_view kSource = u"ZorelOibIdxLib.COibIdxLib.5";

class Publication : public support::CMetaFileBindingTest {
protected:
    CComPtr<Reader> Load() const { return Get<&IOibIdxLib::LoadPublication>(m_library, Path()); }
    CComPtr<Accessor> AccessorOf(const CComPtr<Reader>& reader) const {
        return Get<&Reader::get_AddBSessionCmdAccessor>(reader);
    }
    std::u16string TypesOf(const CComPtr<Reader>& reader) const {
        std::u16string text;
        for (INT i = 0; i < Get<&Reader::get_CmdCount>(reader); ++i) {
            text += Get<&Reader::GetCmdType>(reader, i) + u";";
        }
        return text;
    }
    static std::u16string Join(const auto& texts) {
        std::u16string joined;
        for (const CBstr& text : texts) {
            EXPECT_TRUE(text) << "empty, not null";
            joined += support::WholeText(text.Get()) + u"/";
        }
        return joined;
    }
    // A command by its number: session, then groups with their references and files.
    std::u16string CommandText(const CComPtr<Accessor>& a, INT cmd) const {
        CBstr t[3];
        Succeed<&Accessor::GetBSessionInfo>(a, cmd, t[0].Put(), t[1].Put(), t[2].Put());
        std::u16string text = Join(t);
        for (INT g = 0; g < Get<&Accessor::GetRetargetedOibGroupsNum>(a, cmd); ++g) {
            text += u" group";
            const INT oibs = Get<&Accessor::GetOibsNumInRetargetedOibGroup>(a, cmd, g);
            for (INT i = 0; i < oibs; ++i) {
                CBstr o[4];
                GUID id{};
                Succeed<&Accessor::GetOibRef>(a, cmd, g, i, o[0].Put(), o[1].Put(), &id, o[2].Put(),
                                              o[3].Put());
                text += u" oib:" + Join(o);
                text += id == GUID_NULL ? u"" : frame::GuidToString(id, true);
            }
            const INT files = Get<&Accessor::GetBackupFilesNumInRetargetedOibGroup>(a, cmd, g);
            for (INT i = 0; i < files; ++i) {
                Succeed<&Accessor::GetBackupFile>(a, cmd, g, i, t[0].Put(), t[1].Put(), t[2].Put());
                text += u" file:" + Join(t);
            }
        }
        return text;
    }
};
INSTANTIATE_TEST_SUITE_P(Bindings, Publication, testing::ValuesIn(support::kBindings));

TEST_P(Publication, Commands) {
    const std::u16string id = u"{9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}";
    const struct {
        std::u16string lines, types;
        INT command;
        std::u16string text;
    } rows[] = {
        // clang-format off
        {u"", u"", 0, u"///"},
        {u"cmd.7.Type=AddBSession\ncmd.7.JobName=J\ncmd.3.Type=Other", u"AddBSession;Other;", 7, u"J///"},
        {u"CMD.1.jobname=J\ncmd..1.BACKUPSERVER=S\ncmd.1.type=addbsession\ncmd.1.SessionDateUtc=D\ncmd.1.Else=x", u"addbsession;", 1, u"J/S/D/"},
        {u"cmd.1.Type=Other\ncmd.1.JobName=J\ncmd.1.Type=AddBSession", u"Other;", 1, u"///"},
        {u"cmd.1.Type=AddBSession\ncmd.1.Type=Other\ncmd.1.JobName=J", u"AddBSession;", 1, u"J///"},
        {u"cmd.1.Type=\ncmd.1.Type=Late\ncmd.1.JobName=J", u"Late;", 1, u"///"},
        {u"cmd.1.grp.5.OIB.9.VmName=a\ncmd.1.grp.2.OIB.4.VmName=b\ncmd.1.grp.5.OIB.3.Platform=p\n"
         u"cmd.1.grp.5.OIB.9.OibUID=" + id.substr(0, 37) + u"\ncmd.1.grp.5.oib.9.Origin=o\n"
         u"cmd.1.grp.5.OIB.9.BackupTimeUtc=t\ncmd.1.grp.5.OIB.9.Else=x\ncmd.1.grp.5.Else=x",
         u";", 1, u"/// group oib:a/t/o//" + id + u" oib:///p/ group oib:b////"},
        {u"cmd.1.grp.0.BackupFile.7.Path=p\ncmd.1.GRP.00.backupfile.07.server=s\n"
         u"cmd.1.grp.0.BackupFile.2.ModifyDateUtc=m\ncmd.1.grp.0.BackupFile.2.Else=x", u";", 1, u"/// group file:s/p// file://m/"},
        {u"cmd.-1.JobName=minus\ncmd.4294967295.JobName=max", u";;", -1, u"minus///"},
        {u"cmd.5x.JobName=J\n#cmd=x\n=v\n.cmd.x=y", u";", 5, u"J///"},
        // clang-format on
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(frame::WideToAnsi(row.lines));
        Write(row.lines);
        const auto reader = Load();
        EXPECT_EQ(TypesOf(reader), row.types);
        EXPECT_EQ(CommandText(AccessorOf(reader), row.command), row.text);
    }
}

// The accessor looks commands up by key and adds missing ones; the reader uses positions.
TEST_P(Publication, KeysAndPositions) {
    Write(
        u"cmd.7.Type=AddBSession\ncmd.7.grp.5.OIB.1.VmName=a\ncmd.7.grp.5.OIB.2.x=\n"
        u"cmd.7.grp.5.BackupFile.1.Path=p\ncmd.3.Type=Other");
    const auto reader = Load();
    const auto a = AccessorOf(reader);
    EXPECT_EQ(CommandText(a, 0), u"///");
    EXPECT_EQ(CommandText(a, 3), u"///") << "another type has empty data";
    EXPECT_EQ(TypesOf(reader), u"AddBSession;Other;;");

    BSTR t = nullptr;
    GUID id{};
    INT count = 7;
    const auto oib = [&](INT group, INT index) {
        return Invoke<&Accessor::GetOibRef>(a, 7, group, index, &t, &t, &id, &t, &t);
    };
    const auto file = [&](INT group, INT index) {
        return Invoke<&Accessor::GetBackupFile>(a, 7, group, index, &t, &t, &t);
    };
    constexpr std::u16string_view kMinusOne = u"18446744073709551615";
    const struct {
        support::CallResult result;
        std::u16string_view position, length;
        const IID& iid = IID_IMtfAddBSessionCmdAccessor;
    } rows[] = {
        // clang-format off
        {oib(0, 2), u"2", u"2"},
        {oib(0, -1), kMinusOne, u"2"},
        {oib(1, 0), u"1", u"1"},
        {file(0, 1), u"1", u"1"},
        {file(-1, 0), kMinusOne, u"1"},
        {Invoke<&Accessor::GetOibsNumInRetargetedOibGroup>(a, 7, 5, &count), u"5", u"1"},
        {Invoke<&Accessor::GetBackupFilesNumInRetargetedOibGroup>(a, 7, 1, &count), u"1", u"1"},
        {Invoke<&Reader::GetCmdType>(reader, 3, &t), u"3", u"3", IID_IMtfPublicationMetaFileReader},
        {Invoke<&Reader::GetCmdType>(reader, -1, &t), kMinusOne, u"3", IID_IMtfPublicationMetaFileReader},
        // clang-format on
    };
    for (const auto& row : rows) {
        ExpectFailure(row.result,
                      frame::FormatText(u"Out of the sparse array boundary: requested element "
                                        u"'%1', container contains '%2' elements.",
                                        {row.position, row.length}),
                      row.iid);
    }
    EXPECT_TRUE(t == nullptr && count == 7);
}

// Names that end at each element, and malformed values.
TEST_P(Publication, LoadingThatFails) {
    const auto missing = [](std::u16string_view id) {
        return frame::FormatText(
            u"Out of the path elems boundary. Specified path element id '%1', path elements number "
            u"'%1'.",
            {id});
    };
    const std::u16string noNumber = u"Cannot unserialize a string value to integer. String: [x].";
    const struct {
        std::u16string name, reason;  // no reason: the file loads
        HRESULT hr = E_FAIL;
    } rows[] = {
        // clang-format off
        {u"cmd", missing(u"1")},
        {u"cmdline", missing(u"1")},
        {u"cmd.x.Type", noNumber},
        {u"cmd.1", missing(u"2")},
        {u"cmd.1.grp", missing(u"3")},
        {u"cmd.1.grp.x.OIB.1.VmName", noNumber},
        {u"cmd.1.grp.0", missing(u"4")},
        {u"cmd.1.grp.0.Else", u""},
        {u"cmd.1.grp.0.BackupFile", missing(u"5")},
        {u"cmd.1.grp.0.BackupFile.x", noNumber},
        {u"cmd.1.grp.0.BackupFile.0", missing(u"6")},
        {u"cmd.1.grp.0.BackupFile.0.Else", u""},
        {u"cmd.1.grp.0.OIB", missing(u"5")},
        {u"cmd.1.grp.0.OIB.x", noNumber},
        {u"cmd.1.grp.0.OIB.0", missing(u"6")},
        {u"cmd.1.grp.0.OIB.0.OibUID", support::MalformedGuid(u"v"), support::kMalformedGuid},
        {u"cmd.9", u""},  // command 9 has another type
        {u"cmd.9.grp", u""},
        {u"cmd.8", missing(u"2")},
        // clang-format on
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(frame::WideToAnsi(row.name));
        Write(u"cmd.9.Type=Other\ncmd.8.Type=AddBSession\n" + row.name + u" = v");
        if (row.reason.empty()) {
            EXPECT_TRUE(Load());
            continue;
        }
        Reader* reader = nullptr;
        ExpectFailure(Invoke<&IOibIdxLib::LoadPublication>(m_library, Path(), &reader),
                      u"Failed to parse content of the publication '%1'.\n"
                      u"Failed to parse attribute, path '" +
                          row.name + u"', value 'v'.\n" + row.reason,
                      IID_IOibIdxLib, row.hr, kSource);
        EXPECT_EQ(reader, nullptr);
    }
}

TEST_P(Publication, MissingFile) {
    const std::u16string missing =
        u"Cannot create or load meta-file \"%1\". Open mode: EMtfLoad\n"
        u"File \"%1\" does not exist.";
    Reader* reader = nullptr;
    Info* info = nullptr;
    ExpectFailure(Invoke<&IOibIdxLib::LoadPublication>(m_library, Path(), &reader), missing,
                  IID_IOibIdxLib, E_FAIL, kSource);
    // The file is read before the pointer is checked.
    for (Info** const target : {&info, static_cast<Info**>(nullptr)}) {
        ExpectFailure(Invoke<&IOibIdxLib::LoadPublicationOrderingInfo>(m_library, Path(), target),
                      u"Failed to load publication date/time (%1).\n" + missing, IID_IOibIdxLib,
                      E_FAIL, kSource);
    }
    EXPECT_TRUE(reader == nullptr && info == nullptr);
}

// The full load compares beginnings of names, the other one whole names.
TEST_P(Publication, OrderingInfo) {
    const struct {
        std::u16string_view lines, alone, full;  // local time and UTC time
    } rows[] = {
        // clang-format off
        {u"", u"|", u"|"},
        {u"Publication.LocalTime=noon\nPUBLICATION.utctime = eleven", u"noon|eleven", u"noon|eleven"},
        {u"Publication.LocalTime=a\nPublication.LocalTime=b", u"b|", u"b|"},
        {u"Publication.LocalTime=a\nPublication.LocalTimeZone=z\nPublication.UTCTime.x=y", u"a|", u"z|y"},
        {u"Publication.Local=a\n.Publication.UTCTime=b\n=v", u"|", u"|"},
        // clang-format on
    };
    const auto textOf = [&](const CComPtr<Info>& info) {
        return Get<&Info::get_PubLocalTime>(info) + u"|" + Get<&Info::get_PubUtcTime>(info);
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(frame::WideToAnsi(row.lines));
        Write(row.lines);
        const auto alone = Get<&IOibIdxLib::LoadPublicationOrderingInfo>(m_library, Path());
        EXPECT_EQ(textOf(alone), row.alone);
        EXPECT_EQ(textOf(Get<&Reader::get_OrderingInfo>(Load())), row.full);
    }
    const CBstr path = support::Bstr(Path());
    EXPECT_EQ(m_library->LoadPublicationOrderingInfo(path.Get(), nullptr), E_POINTER);
}

// Each MetaFile is a new tree over the same lines; the records do not change with them.
TEST_P(Publication, MetaFile) {
    Write(u"cmd.1.JobName=J");
    auto reader = Load();
    const auto accessor = AccessorOf(reader);
    auto first = Get<&Reader::get_MetaFile>(reader);
    Succeed<&IMtfMetaFile::SetAttr>(first, u"CMD.1.JobName", u"K");
    Succeed<&IMtfMetaFile::SetAttr>(first, u"new", u"1");
    const auto second = Get<&Reader::get_MetaFile>(reader);
    reader = nullptr;
    first = nullptr;
    EXPECT_EQ(Get<&IMtfMetaFile::EnumAllAttrs>(second), u"new cmd.1.JobName");
    Succeed<&IMtfMetaFile::FlushChanges>(second);
    ExpectContent(u"cmd.1.JobName=K\nnew=1");
    EXPECT_EQ(CommandText(accessor, 1), u"J///");

    Write(u"=v");
    IMtfMetaFile* none = nullptr;
    ExpectFailure(Invoke<&Reader::get_MetaFile>(Load(), &none),
                  u"The specified attribute's path () is invalid.",
                  IID_IMtfPublicationMetaFileReader);
}

TEST_P(Publication, NullArguments) {
    Write(u"cmd.1.grp.0.OIB.0.VmName=a");
    const auto reader = Load();
    ExpectRefusesNull<&Reader::get_OrderingInfo, &Reader::get_CmdCount, &Reader::GetCmdType,
                      &Reader::get_AddBSessionCmdAccessor, &Reader::get_MetaFile>(reader);
    ExpectRefusesNull<&Info::get_PubLocalTime, &Info::get_PubUtcTime>(
        Get<&Reader::get_OrderingInfo>(reader));
    ExpectRefusesNull<&Accessor::GetRetargetedOibGroupsNum,
                      &Accessor::GetOibsNumInRetargetedOibGroup,
                      &Accessor::GetBackupFilesNumInRetargetedOibGroup, &Accessor::GetOibRef,
                      &Accessor::GetBackupFile, &Accessor::GetBSessionInfo>(AccessorOf(reader));
    EXPECT_EQ(TypesOf(reader), u";") << "a refused call adds no command";
}

}  // namespace
