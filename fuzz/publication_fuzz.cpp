// A publication: every position that a count includes can be read, and both ways to load the
// times agree on whole names.
#include "fuzz.h"
#include "support/meta_file_bytes.h"

namespace fuzz {

namespace {

using zorel::client::CComPtr;
using zorel::client::CString;
using Accessor = IMtfAddBSessionCmdAccessor;

constexpr INT kMostCommands = 40;

void ReadGroup(Accessor& accessor, INT command, INT group) {
    INT refs = -1, files = -1;
    RequireSuccess(accessor.GetOibsNumInRetargetedOibGroup(command, group, &refs),
                   "a group has a number of restore points");
    for (INT i = 0; i < refs; ++i) {
        CString name, time, origin, platform;
        GUID id{};
        RequireSuccess(accessor.GetOibRef(command, group, i, name.Put(), time.Put(), &id,
                                          origin.Put(), platform.Put()),
                       "every restore point can be read");
    }
    RequireSuccess(accessor.GetBackupFilesNumInRetargetedOibGroup(command, group, &files),
                   "a group has a number of files");
    for (INT i = 0; i < files; ++i) {
        CString server, path, time;
        RequireSuccess(
            accessor.GetBackupFile(command, group, i, server.Put(), path.Put(), time.Put()),
            "every file can be read");
    }
    CString server, path, time;
    Require(!Succeeds(accessor.GetBackupFile(command, group, files, server.Put(), path.Put(),
                                             time.Put())),
            "the count is the end");
}

void ReadCommand(Accessor& accessor, INT command) {
    CString job, server, date;
    RequireSuccess(accessor.GetBSessionInfo(command, job.Put(), server.Put(), date.Put()),
                   "every command has a session");
    INT groups = -1;
    RequireSuccess(accessor.GetRetargetedOibGroupsNum(command, &groups),
                   "every command has a number of groups");
    for (INT i = 0; i < groups; ++i) {
        ReadGroup(accessor, command, i);
    }
    INT refs = -1;
    Require(!Succeeds(accessor.GetOibsNumInRetargetedOibGroup(command, groups, &refs)),
            "the count is the end");
}

void ReadTypes(IMtfPublicationMetaFileReader& reader) {
    INT count = -1;
    RequireSuccess(reader.get_CmdCount(&count), "a publication has a number of commands");
    CString type;
    for (INT i = 0; i < count; ++i) {
        RequireSuccess(reader.GetCmdType(i, type.Put()), "every command has a type");
    }
    Require(!Succeeds(reader.GetCmdType(count, type.Put())), "the count is the end");
}

}  // namespace

void Run(std::string_view bytes) {
    CInput input(bytes);
    const INT first = static_cast<INT>(input.Number());
    WriteFile(u"p.mtf", input.Rest());
    const CString path(PathOf(u"p.mtf"));
    CComPtr<IMtfPublicationOrderingInfo> alone, info;
    const bool hasTimes = Succeeds(Library().LoadPublicationOrderingInfo(path, alone.Put()));
    CComPtr<IMtfPublicationMetaFileReader> reader;
    if (!Succeeds(Library().LoadPublication(path, reader.Put()))) {
        return;
    }
    Require(hasTimes, "a publication has the times that are loaded alone");
    RequireSuccess(reader->get_OrderingInfo(info.Put()), "a publication has times");
    CString time, other;
    RequireSuccess(alone->get_PubUtcTime(time.Put()), "the times have a UTC time");
    RequireSuccess(info->get_PubUtcTime(other.Put()), "the times have a UTC time");
    Require(time.View().empty() || !other.View().empty(), "a full load has the times, too");
    CComPtr<Accessor> accessor;
    RequireSuccess(reader->get_AddBSessionCmdAccessor(accessor.Put()), "there is an accessor");
    ReadTypes(*reader);
    for (INT i = 0; i < kMostCommands; ++i) {
        ReadCommand(*accessor, i);
    }
    ReadCommand(*accessor, first);
    ReadTypes(*reader);
}

std::vector<std::string> Seeds() {
    const std::u16string lines =
        u"Publication.LocalTime=noon\r\nPublication.UTCTime=eleven\r\ncmd.7.Type=AddBSession\r\n"
        u"cmd.7.JobName=J\r\ncmd.7.BackupServer=S\r\ncmd.7.SessionDateUtc=D\r\n"
        u"cmd.7.grp.5.OIB.1.VmName=a\r\n"
        u"cmd.7.grp.5.OIB.1.OibUID={9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}\r\n"
        u"cmd.7.grp.5.OIB.2.Origin=o\r\ncmd.7.grp.5.OIB.2.Platform=p\r\n"
        u"cmd.7.grp.5.BackupFile.1.Path=p\r\ncmd.7.grp.5.BackupFile.1.Server=s\r\n"
        u"cmd.7.grp.5.BackupFile.1.ModifyDateUtc=m\r\ncmd.3.Type=Other\r\nCMD..1.x=y";
    return {Seed(support::MetaFileBytes(lines), {7}), Seed(zorel::ToUtf8(lines), {7}),
            Seed("cmd.-1.grp.0.OIB.0.VmName=x\r\ncmd.4294967295.Type=AddBSession", {200})};
}

}  // namespace fuzz
