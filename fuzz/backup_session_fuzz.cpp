// A backup session: its references can be read in two ways, and a deleted one is gone after a
// save.
#include <algorithm>

#include "fuzz.h"
#include "support/meta_file_model.h"

namespace fuzz {

namespace {

using zorel::client::CComPtr;
using zorel::client::CString;
// More than an input can have: each has an identifier of 32 digits.
constexpr int kMostGroups = 130;

using Refs = CComPtr<ICatOibRefsEnumerator>;

CComPtr<IMtfBSessionMetaFile> Open(EIdxMetaOpenMode mode) {
    CComPtr<IMtfBSessionMetaFile> session;
    Succeeds(Library().CreateBSessionMetaFile(CString(PathOf(u"s.mtf")), mode, session.Put()));
    return session;
}

// The identifiers of a listing. A listing of malformed references fails.
bool List(IMtfBSessionMetaFile& session, std::vector<GUID>& ids) {
    Refs refs;
    if (!Succeeds(session.EnumOibsRefs(refs.Put()))) {
        return false;
    }
    INT count = -1;
    RequireSuccess(refs->get_RefsCount(&count), "a listing has a count");
    for (INT i = 0; i < count; ++i) {
        CString name, time, sameName, sameTime;
        GUID id{}, sameId{};
        RequireSuccess(refs->GetOibRef(i, name.Put(), time.Put(), &id),
                       "a reference can be read by its position");
        RequireSuccess(refs->MoveToElem(i), "a listing can move to a reference");
        RequireSuccess(refs->get_VmName(sameName.Put()), "a reference has a name");
        RequireSuccess(refs->get_BackupTimeUtc(sameTime.Put()), "a reference has a time");
        RequireSuccess(refs->get_UniqueId(&sameId), "a reference has an identifier");
        Require(name.View() == sameName.View() && time.View() == sameTime.View() && id == sameId,
                "both ways to read a reference agree");
        ids.push_back(id);
    }
    Require(!Succeeds(refs->MoveToElem(count)), "the count is the end");
    return true;
}

}  // namespace

void Run(std::string_view bytes) {
    CInput input(bytes);
    const std::size_t position = input.Below(16);
    const auto mode = input.Flag() ? EIdxMetaOpenRW : EIdxMetaLoad;
    WriteFile(u"s.mtf", input.Rest());
    auto session = Open(mode);
    std::vector<GUID> before, after, reopened;
    if (!session || !List(*session, before) || before.empty()) {
        return;
    }
    // Each deletion deletes one group; several groups can have the identifier.
    const GUID id = before[position % before.size()];
    for (int i = 0; i < kMostGroups; ++i) {
        if (!Succeeds(session->DeleteOibRef(id))) {
            return;
        }
    }
    Require(List(*session, after), "the references that are left can be listed");
    Require(after.size() <= before.size(), "a deletion adds nothing");
    Require(id == GUID_NULL || std::find(after.begin(), after.end(), id) == after.end(),
            "a deleted reference is not listed");
    if (!Succeeds(session->FlushChanges())) {
        return;
    }
    session = nullptr;
    session = Open(EIdxMetaLoad);
    Require(session && List(*session, reopened), "a saved session can be read");
    Require(reopened == after, "a deletion lasts");
}

std::vector<std::string> Seeds() {
    const std::u16string lines =
        u"oib1.VmName=web01\r\noib1.BackupTimeUtc=monday\r\n"
        u"oib1.OibUID={9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}\r\n"
        u"OIB2x.VmName=db02\r\nx=1\r\n#c\r\noib2.OibUID=0e8d7c6b-5a49-4382-9170-6f5e4d3c2b1a";
    const std::string eightBit =
        "oib7.OibUID={9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}\r\noib3.VmName=a\r\noib07.Else=x";
    return {Seed(support::MetaFileBytes(lines), {0, 0}),
            Seed(support::MetaFileBytes(lines), {1, 1}), Seed(eightBit, {0, 0}),
            Seed(eightBit, {1, 1})};
}

}  // namespace fuzz
