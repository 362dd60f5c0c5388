// The records of an index data file, field by field (doc/index-data-file.md).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <string>

#include "idxdata/streams/streams.h"

namespace idxdata {

enum EIdxFieldType : std::uint32_t {
    EIdxFieldLongLong = 1,
    EIdxFieldString = 2,
    EIdxFieldDWord = 3,
};

// The bytes of a field beside the code units of a text.
constexpr std::size_t FixedFieldSize(std::uint32_t fieldType) noexcept {
    return fieldType == EIdxFieldLongLong ? 8 : 4;
}

enum EIdxTable : std::uint32_t {
    EIdxTableFiles = 1,
    EIdxTableDirs = 2,
    EIdxTableOwners = 3,
};

class IRecord {
public:
    virtual std::uint32_t GetFieldCount() const = 0;
    // The EIdxFieldType of a field. Throws CExc (E_FAIL) for a number out of range.
    virtual std::uint32_t GetFieldType(std::uint32_t field) const = 0;
    virtual void Serialize(ISerializator& target) const = 0;
    virtual void Deserialize(IDeserializator& source) = 0;

protected:
    ~IRecord() = default;
};

}  // namespace idxdata

namespace rec {

class CDirRecord final : public idxdata::IRecord {
public:
    std::uint32_t GetFieldCount() const override { return 2; }
    std::uint32_t GetFieldType(std::uint32_t field) const override;
    void Serialize(idxdata::ISerializator& target) const override;
    void Deserialize(idxdata::IDeserializator& source) override;

    std::u16string DirName;  // empty for the root
    std::int64_t ParentDirIndex = 0;
};

class CFileRecord final : public idxdata::IRecord {
public:
    static constexpr std::array<std::uint32_t, 5> kFieldTypes = {
        idxdata::EIdxFieldString, idxdata::EIdxFieldLongLong, idxdata::EIdxFieldDWord,
        idxdata::EIdxFieldLongLong, idxdata::EIdxFieldLongLong};
    // The bytes of a record beside the code units of its name.
    static constexpr std::size_t kFixedSize =
        std::accumulate(kFieldTypes.begin(), kFieldTypes.end(), std::size_t{0},
                        [](std::size_t bytes, std::uint32_t type) {
                            return bytes + idxdata::FixedFieldSize(type);
                        });

    std::uint32_t GetFieldCount() const override { return kFieldTypes.size(); }
    std::uint32_t GetFieldType(std::uint32_t field) const override;
    void Serialize(idxdata::ISerializator& target) const override;
    void Deserialize(idxdata::IDeserializator& source) override;

    std::u16string FileName;
    std::int64_t DirIndex = 0;
    std::uint32_t OwnerIndex = 0;  // not below the number of owners: no known owner
    std::int64_t ModifyTime = 0;   // ticks
    std::int64_t Size = 0;         // bytes
};

class COwnerRecord final : public idxdata::IRecord {
public:
    std::uint32_t GetFieldCount() const override { return 3; }
    std::uint32_t GetFieldType(std::uint32_t field) const override;
    void Serialize(idxdata::ISerializator& target) const override;
    void Deserialize(idxdata::IDeserializator& source) override;

    std::u16string OwnerId;
    std::u16string OwnerName;  // empty when the identity string could not be resolved
    std::u16string OwnerDomain;
};

}  // namespace rec
