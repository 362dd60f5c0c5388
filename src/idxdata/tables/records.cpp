#include "idxdata/tables/records.h"

#include <array>

#include "frame/errors.h"

namespace rec {

namespace {

using idxdata::EIdxFieldLongLong;
using idxdata::EIdxFieldString;

template <std::size_t N>
std::uint32_t TypeAt(const std::array<std::uint32_t, N>& types, std::uint32_t field,
                     const char16_t* failure) {
    if (field >= N) {
        throw frame::CExc(failure, frame::kFail);
    }
    return types[field];
}

}  // namespace

std::uint32_t CDirRecord::GetFieldType(std::uint32_t field) const {
    constexpr std::array<std::uint32_t, 2> kTypes = {EIdxFieldString, EIdxFieldLongLong};
    return TypeAt(kTypes, field, u"Wrong id in CDirRecord::GetFieldType");
}

void CDirRecord::Serialize(idxdata::ISerializator& target) const {
    target.WriteString(DirName);
    target.WriteLongLong(ParentDirIndex);
}

void CDirRecord::Deserialize(idxdata::IDeserializator& source) {
    source.ReadString(DirName);
    ParentDirIndex = source.ReadLongLong();
}

std::uint32_t CFileRecord::GetFieldType(std::uint32_t field) const {
    return TypeAt(kFieldTypes, field, u"Wrong id in CFileRecord::GetFieldType");
}

void CFileRecord::Serialize(idxdata::ISerializator& target) const {
    target.WriteString(FileName);
    target.WriteLongLong(DirIndex);
    target.WriteDWord(OwnerIndex);
    target.WriteLongLong(ModifyTime);
    target.WriteLongLong(Size);
}

void CFileRecord::Deserialize(idxdata::IDeserializator& source) {
    source.ReadString(FileName);
    DirIndex = source.ReadLongLong();
    OwnerIndex = source.ReadDWord();
    ModifyTime = source.ReadLongLong();
    Size = source.ReadLongLong();
}

std::uint32_t COwnerRecord::GetFieldType(std::uint32_t field) const {
    constexpr std::array<std::uint32_t, 3> kTypes = {EIdxFieldString, EIdxFieldString,
                                                     EIdxFieldString};
    // Names CDirRecord. Kept for compatibility.
    return TypeAt(kTypes, field, u"Wrong id in CDirRecord::GetFieldType");
}

void COwnerRecord::Serialize(idxdata::ISerializator& target) const {
    target.WriteString(OwnerId);
    target.WriteString(OwnerName);
    target.WriteString(OwnerDomain);
}

void COwnerRecord::Deserialize(idxdata::IDeserializator& source) {
    source.ReadString(OwnerId);
    source.ReadString(OwnerName);
    source.ReadString(OwnerDomain);
}

}  // namespace rec
