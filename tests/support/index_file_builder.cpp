#include "support/index_file_builder.h"

#include <random>

namespace support {

ByteWriter& ByteWriter::Number(std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        m_bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
    }
    return *this;
}

ByteWriter& ByteWriter::String(std::u16string_view text) {
    DWord(static_cast<std::uint32_t>(text.size()));
    for (const char16_t unit : text) {
        Word(unit);
    }
    return *this;
}

ByteWriter& ByteWriter::Raw(std::string_view bytes) {
    m_bytes += bytes;
    return *this;
}

TableImage FilesTable(const std::vector<FileRow>& rows) {
    ByteWriter writer;
    for (const FileRow& row : rows) {
        writer.String(row.name).LongLong(row.dir).DWord(row.owner);
        writer.LongLong(row.modifyTime).LongLong(row.size);
    }
    TableImage table;
    table.id = 1;
    table.fieldTypes = {2, 1, 3, 1, 1};
    table.recordCount = static_cast<std::int64_t>(rows.size());
    table.records = writer.Bytes();
    return table;
}

TableImage DirsTable(const std::vector<DirRow>& rows) {
    ByteWriter writer;
    for (const DirRow& row : rows) {
        writer.String(row.name).LongLong(row.parent);
    }
    TableImage table;
    table.id = 2;
    table.fieldTypes = {2, 1};
    table.recordCount = static_cast<std::int64_t>(rows.size());
    table.records = writer.Bytes();
    return table;
}

TableImage OwnersTable(const std::vector<OwnerRow>& rows) {
    ByteWriter writer;
    for (const OwnerRow& row : rows) {
        writer.String(row.id).String(row.name).String(row.domain);
    }
    TableImage table;
    table.id = 3;
    table.fieldTypes = {2, 2, 2};
    table.recordCount = static_cast<std::int64_t>(rows.size());
    table.records = writer.Bytes();
    return table;
}

std::string ChainTables(const std::vector<TableImage>& tables, std::int64_t lastNext) {
    std::string out;
    for (const TableImage& table : tables) {
        const bool last = &table == &tables.back();
        const std::size_t size = 36 + 2 * table.fieldTypes.size() + table.records.size();
        ByteWriter writer;
        writer.Raw(table.prefix).Word(table.major).Word(table.minor);
        writer.LongLong(last ? lastNext : static_cast<std::int64_t>(out.size() + size));
        writer.DWord(table.format).DWord(table.id);
        writer.DWord(static_cast<std::uint32_t>(table.fieldTypes.size()));
        for (const std::uint16_t type : table.fieldTypes) {
            writer.Word(type);
        }
        writer.LongLong(table.recordCount).Raw(table.records);
        out += writer.Bytes();
    }
    return out;
}

std::string Volume::Bytes() const {
    return ChainTables({DirsTable(dirs), FilesTable(files), OwnersTable(owners)});
}

Volume SmallVolume() {
    constexpr std::int64_t kTime = 130027143072500000;  // 2013-01-15 09:05:07.25
    Volume volume;
    volume.dirs = {{u"", 0},     {u"Users", 0}, {u"john", 1},
                   {u"docs", 2}, {u"Gamma", 0}, {u"beta", 0}};
    volume.owners = {
        {u"ID-1001", u"jsmith", u"CORP"}, {u"ID-18", u"", u""}, {u"id-7", u"ID-7", u"X"}};
    volume.files = {
        {u"readme.txt", 2, 0, kTime, 1234},
        {u"b.txt", 3, 0, kTime, 1},
        {u"A.txt", 3, 1, kTime + 10000000, 2},
        {u"boot.log", 0, 2, 0, 0},
        {u"\u0444\u0430\u0439\u043b.TXT", 3, 4294967295U, kTime, 4},
        {u"Report.final.docx", 2, 0, kTime, 5},
        {u"\U0001F4C4 page", 4, 3, kTime, 6},
    };
    return volume;
}

namespace {

std::u16string RandomName(std::mt19937& random) {
    static const std::u16string_view kPieces[] = {u"a",
                                                  u"B",
                                                  u"report",
                                                  u"Report",
                                                  u"data",
                                                  u"x1",
                                                  u"\u0416\u0443\u043a",
                                                  u"\u00C9t\u00E9",
                                                  u"\u4E2D\u6587",
                                                  u"_",
                                                  u"-",
                                                  u" ",
                                                  u".",
                                                  u"index",
                                                  u"LOG",
                                                  u"\U0001F600"};
    static const std::u16string_view kEndings[] = {u".txt", u".TXT",    u".log",
                                                   u"",     u".tar.gz", u"."};
    std::u16string name;
    for (auto n = random() % 3 + 1; n > 0; --n) {
        name += kPieces[random() % std::size(kPieces)];
    }
    name += kEndings[random() % std::size(kEndings)];
    return name;
}

}  // namespace

Volume RandomVolume(std::uint32_t seed, std::size_t dirs, std::size_t files, std::size_t owners) {
    std::mt19937 random(seed);
    const auto below = [&](std::size_t bound) {
        return static_cast<std::int64_t>(random() % bound);
    };
    Volume volume;
    volume.dirs.push_back({u"", 0});
    while (volume.dirs.size() < dirs) {
        volume.dirs.push_back({RandomName(random), below(volume.dirs.size())});
    }
    for (std::size_t i = 0; i < owners; ++i) {
        const bool known = random() % 4 != 0;
        volume.owners.push_back({u"S-" + RandomName(random), known ? RandomName(random) : u"",
                                 random() % 2 == 0 ? u"CORP" : u"home"});
    }
    for (std::size_t i = 0; i < files; ++i) {
        FileRow row;
        row.name = RandomName(random);
        row.dir = below(dirs);
        row.owner = static_cast<std::uint32_t>(below(owners + 2));
        row.modifyTime = 116444736000000000 + below(1U << 30) * 10'000'000 + below(10'000'000);
        row.size = below(1000000);
        volume.files.push_back(row);
    }
    return volume;
}

}  // namespace support
