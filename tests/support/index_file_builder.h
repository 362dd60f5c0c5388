// Builds index data files for tests, sound ones and damaged ones.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace support {

struct DirRow {
    std::u16string name;
    std::int64_t parent = 0;
};

struct FileRow {
    std::u16string name;
    std::int64_t dir = 0;
    std::uint32_t owner = 0;
    std::int64_t modifyTime = 0;  // ticks
    std::int64_t size = 0;
};

struct OwnerRow {
    std::u16string id;
    std::u16string name;
    std::u16string domain;
};

// Bytes written field by field, little-endian.
class ByteWriter {
public:
    ByteWriter& Word(std::uint16_t value) { return Number(value, 2); }
    ByteWriter& DWord(std::uint32_t value) { return Number(value, 4); }
    ByteWriter& LongLong(std::int64_t value) {
        return Number(static_cast<std::uint64_t>(value), 8);
    }
    ByteWriter& String(std::u16string_view text);
    ByteWriter& Raw(std::string_view bytes);
    std::string& Bytes() { return m_bytes; }

private:
    ByteWriter& Number(std::uint64_t value, int bytes);

    std::string m_bytes;
};

// One table of the chain: header fields that a test may bend, and encoded records.
struct TableImage {
    std::string prefix = "VIFD";
    std::uint16_t major = 1;
    std::uint16_t minor = 1;
    std::uint32_t format = 0;
    std::uint32_t id = 0;
    std::vector<std::uint16_t> fieldTypes;
    std::int64_t recordCount = 0;
    std::string records;
};

TableImage FilesTable(const std::vector<FileRow>& rows);
TableImage DirsTable(const std::vector<DirRow>& rows);
TableImage OwnersTable(const std::vector<OwnerRow>& rows);

// The tables one after the other, chained in this order. `lastNext` is the last table's
// next offset.
std::string ChainTables(const std::vector<TableImage>& tables, std::int64_t lastNext = 0);

// A whole volume: Dirs, Files, Owners.
struct Volume {
    std::vector<DirRow> dirs;
    std::vector<FileRow> files;
    std::vector<OwnerRow> owners;

    std::string Bytes() const;
};

// The volume of the golden file tests/data/small.dat: six folders, seven files, three owners.
Volume SmallVolume();

// A volume drawn from `seed`: nested folders, names of several scripts and of either case,
// owner indexes that name nobody among them.
Volume RandomVolume(std::uint32_t seed, std::size_t dirs, std::size_t files, std::size_t owners);

}  // namespace support
