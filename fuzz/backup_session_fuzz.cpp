// A backup session. From choices: deletions and saves, compared with a model. From any other
// bytes: references can be read in two ways, and a deleted one is gone after a save.
#include <algorithm>

#include "fuzz.h"
#include "support/meta_file_bytes.h"

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

// ----- Deletions ------------------------------------------------------------------------

// One line. Lines with the same `group` belong to one reference.
struct Line {
    std::u16string text;
    char group;
    std::size_t id;
};
constexpr std::size_t kIds = 4, kMalformedId = 4, kNoId = 5;

GUID IdOf(std::size_t number) {
    return {static_cast<std::uint32_t>(number), 0, 0, {}};
}

Line ReadLine(CInput& input) {
    constexpr std::pair<std::u16string_view, char> kGroups[] = {{u"oib1", 'a'},  {u"OIB1", 'a'},
                                                                {u"oib01", 'b'}, {u"oib10", 'c'},
                                                                {u"oibX", 'd'},  {u"other", 'e'}};
    constexpr std::u16string_view kIdNames[] = {u".OibUID=", u".any.MyOIBUID=", u"oibuid="};
    const auto [name, group] = input.Pick(kGroups);
    if (group == 'e' || input.Flag()) {
        return {std::u16string(name) + u".VmName=x", group, kNoId};
    }
    const std::u16string_view idName = input.Pick(kIdNames);
    const std::size_t id = input.Below(20) == 19 ? kMalformedId : input.Below(kIds);
    const std::u16string value = u"0000000" + std::u16string(1, static_cast<char16_t>(u'0' + id)) +
                                 u"-0000-0000-0000-000000000000";
    // Without a separator before "oibuid", the whole name is an element of its own.
    const bool isJoined = !idName.starts_with(u'.');
    return {std::u16string(name).append(idName).append(id == kMalformedId ? u"bad" : value),
            static_cast<char>(isJoined ? group - 'a' + 'A' : group), id};
}

std::string BytesOf(const std::vector<Line>& lines) {
    std::u16string text;
    for (const Line& line : lines) {
        text += (text.empty() ? u"" : u"\r\n") + line.text;
    }
    return support::MetaFileBytes(text);
}

// The model searches all lines for each deletion.
void DeleteReferences(CInput& input) {
    std::vector<Line> lines(input.Below(12) + 1);
    std::ranges::generate(lines, [&] { return ReadLine(input); });
    WriteFile(u"s.mtf", BytesOf(lines));
    const auto session = Open(EIdxMetaOpenRW);
    Require(static_cast<bool>(session), "a session can be opened");
    for (int call = 0; call < 5; ++call) {
        const std::size_t id = input.Below(kIds);
        const auto found = std::ranges::find_if(
            lines, [&](const Line& line) { return line.id == id || line.id == kMalformedId; });
        const bool fails = found != lines.end() && found->id == kMalformedId;
        if (found != lines.end() && !fails) {
            std::erase_if(lines, [group = found->group](auto& l) { return l.group == group; });
        }
        Require(Succeeds(session->DeleteOibRef(IdOf(id))) == !fails,
                "a deletion succeeds as in the model");
        if (input.Flag()) {
            RequireSuccess(session->FlushChanges(), "a session can be saved");
            Require(ReadFile(u"s.mtf") == BytesOf(lines), "a saved session is that of the model");
        }
    }
}

}  // namespace

void Run(std::string_view bytes) {
    CInput input(bytes);
    if (input.Flag()) {
        return DeleteReferences(input);
    }
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
    std::vector<std::string> seeds = {Seed(support::MetaFileBytes(lines), {0, 0, 0}),
                                      Seed(support::MetaFileBytes(lines), {0, 1, 1}),
                                      Seed(eightBit, {0, 0, 0}), Seed(eightBit, {0, 1, 1})};
    for (std::uint32_t i = 0; i < 100; ++i) {
        seeds.push_back(RandomSeed(i, 80, {1}));
    }
    return seeds;
}

}  // namespace fuzz
