#include "mtf/publications/publication.h"

#include <span>
#include <utility>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "mtf/store/attr_lines.h"
#include "mtf/store/path_elements.h"
#include "text/ascii_case.h"

namespace mtf {

namespace {

constexpr std::u16string_view kLocalTime = u"Publication.LocalTime";
constexpr std::u16string_view kUtcTime = u"Publication.UTCTime";

// Positions of the elements in the path of a command attribute.
enum EElement : std::size_t {
    kCommandNumber = 1,
    kCommandAttr = 2,
    kGroupNumber = 3,
    kGroupAttr = 4,
    kItemNumber = 5,
    kItemAttr = 6,
};

template <class Record>
using FieldNames = std::span<const std::pair<std::u16string_view, std::u16string Record::*>>;

template <class Record>
using FieldName = std::pair<std::u16string_view, std::u16string Record::*>;

constexpr FieldName<CPubBackupFile> kBackupFileFields[] = {
    {u"Server", &CPubBackupFile::server},
    {u"Path", &CPubBackupFile::path},
    {u"ModifyDateUtc", &CPubBackupFile::modifyDateUtc},
};
constexpr FieldName<CPubOibRef> kOibFields[] = {
    {u"VmName", &CPubOibRef::vmName},
    {u"BackupTimeUtc", &CPubOibRef::backupTimeUtc},
    {u"Origin", &CPubOibRef::origin},
    {u"Platform", &CPubOibRef::platform},
};
constexpr FieldName<CAddBSessionData> kSessionFields[] = {
    {u"BackupServer", &CAddBSessionData::backupServer},
    {u"SessionDateUtc", &CAddBSessionData::sessionDateUtc},
    {u"JobName", &CAddBSessionData::jobName},
};

// A name that is not in the list is ignored.
template <class Record>
void StoreField(FieldNames<Record> fields, Record& record, std::u16string_view name,
                std::u16string_view value) {
    for (const auto& [fieldName, member] : fields) {
        if (text::EqualsNoCase(name, fieldName)) {
            record.*member = value;
            return;
        }
    }
}

// Negative numbers are converted to unsigned keys.
std::uint64_t KeyAt(const CMtfPathElements& path, std::size_t index) {
    return static_cast<std::uint64_t>(std::int64_t{frame::StringToInt(path.At(index))});
}

// Reads the path elements in this order and only as far as needed: the first missing element
// determines the message.
void StoreGroupAttr(CRetargetedOibGroup& group, const CMtfPathElements& path,
                    std::u16string_view value) {
    const std::u16string_view kind = path.At(kGroupAttr);
    if (text::EqualsNoCase(kind, u"BackupFile")) {
        CPubBackupFile& file = group.backupFiles.GetOrCreate(KeyAt(path, kItemNumber));
        StoreField<CPubBackupFile>(kBackupFileFields, file, path.At(kItemAttr), value);
    } else if (text::EqualsNoCase(kind, u"OIB")) {
        CPubOibRef& oib = group.oibs.GetOrCreate(KeyAt(path, kItemNumber));
        if (text::EqualsNoCase(path.At(kItemAttr), u"OibUID")) {
            oib.oibUid = frame::StringToGuid(value);
        } else {
            StoreField<CPubOibRef>(kOibFields, oib, path.At(kItemAttr), value);
        }
    }
}

void StoreSessionAttr(CAddBSessionData& data, const CMtfPathElements& path,
                      std::u16string_view value) {
    if (text::EqualsNoCase(path.At(kCommandAttr), u"grp")) {
        StoreGroupAttr(data.groups.GetOrCreate(KeyAt(path, kGroupNumber)), path, value);
    } else {
        StoreField<CAddBSessionData>(kSessionFields, data, path.At(kCommandAttr), value);
    }
}

// Attributes before the type are stored. After a type other than AddBSession all attributes
// of the command are ignored.
void StoreCommandAttr(CPublication& publication, std::u16string_view name,
                      std::u16string_view value) {
    const CMtfPathElements path(name);
    CPubCommand& command = publication.commands.GetOrCreate(KeyAt(path, kCommandNumber));
    if (!command.isAddBSession && !command.type.empty()) {
        return;
    }
    if (!command.isAddBSession && text::EqualsNoCase(path.At(kCommandAttr), u"Type")) {
        command.type = value;
        command.isAddBSession = text::EqualsNoCase(value, u"AddBSession");
    } else {
        StoreSessionAttr(command.FindOrAddBSession(), path, value);
    }
}

// Compares the beginnings of names; CPubOrderingInfo::Load compares whole names. Kept for
// compatibility.
void StoreAttr(CPublication& publication, CPubOrderingInfo& orderingInfo,
               const CMtfAttrLine& attr) {
    if (text::StartsWithNoCase(attr.name, u"cmd")) {
        frame::WithContext(u"Failed to parse attribute, path '%1', value '%2'.",
                           {attr.name, attr.value},
                           [&] { StoreCommandAttr(publication, attr.name, attr.value); });
    } else if (text::StartsWithNoCase(attr.name, kLocalTime)) {
        orderingInfo.localTime = attr.value;
    } else if (text::StartsWithNoCase(attr.name, kUtcTime)) {
        orderingInfo.utcTime = attr.value;
    }
}

}  // namespace

CAddBSessionData& CPubCommand::FindOrAddBSession() {
    if (addBSession == nullptr) {
        addBSession = std::make_unique<CAddBSessionData>();
    }
    return *addBSession;
}

std::shared_ptr<const CPubOrderingInfo> CPubOrderingInfo::Load(std::u16string_view path) {
    return frame::WithContext(u"Failed to load publication date/time (%1).", {path}, [&] {
        const auto file = CMtfMetaFile::Open(path, EMtfOpenMode::EMtfLoad);
        auto info = std::make_shared<CPubOrderingInfo>();
        ForEachAttrLine(*file->GetLines(), [&](const CMtfAttrLine& attr) {
            if (text::EqualsNoCase(attr.name, kLocalTime)) {
                info->localTime = attr.value;
            } else if (text::EqualsNoCase(attr.name, kUtcTime)) {
                info->utcTime = attr.value;
            }
        });
        return info;
    });
}

std::shared_ptr<CPublication> CPublication::Load(std::u16string_view path) {
    auto publication = std::make_shared<CPublication>();
    const auto orderingInfo = std::make_shared<CPubOrderingInfo>();
    publication->orderingInfo = orderingInfo;
    publication->file = CMtfMetaFile::Open(path, EMtfOpenMode::EMtfLoad);
    frame::WithContext(u"Failed to parse content of the publication '%1'.", {path}, [&] {
        ForEachAttrLine(*publication->file->GetLines(), [&](const CMtfAttrLine& attr) {
            StoreAttr(*publication, *orderingInfo, attr);
        });
    });
    return publication;
}

}  // namespace mtf
