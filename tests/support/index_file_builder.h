// Builds valid and damaged index data files for tests.
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

// One table of the chain: header fields, which a test can damage, and encoded records.
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

// The tables one after another, chained in this order. `lastNext` is the next offset of the
// last table.
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

// A random volume: nested folders, names of several scripts and in both cases, some owner
// indexes that are no owner.
Volume RandomVolume(std::uint32_t seed, std::size_t dirs, std::size_t files, std::size_t owners);

}  // namespace support
