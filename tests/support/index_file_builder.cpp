#include "support/index_file_builder.h"

#include <random>

namespace support {

namespace {

// Little-endian fields, one after another.
struct ByteWriter {
    template <class Number>
    ByteWriter& Put(Number value) {
        for (std::size_t i = 0; i < sizeof value; ++i) {
            bytes.push_back(static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i)));
        }
        return *this;
    }
    ByteWriter& Raw(std::string_view raw) { return bytes += raw, *this; }
    ByteWriter& String(std::u16string_view text) {
        Put(static_cast<std::uint32_t>(text.size()));
        for (const char16_t unit : text) {
            Put(unit);
        }
        return *this;
    }

    std::string bytes;
};

template <class Row, class Encode>
TableImage MakeTable(std::uint32_t id, std::vector<std::uint16_t> fieldTypes,
                     const std::vector<Row>& rows, Encode encode) {
    ByteWriter writer;
    for (const Row& row : rows) {
        encode(writer, row);
    }
    return {.id = id,
            .fieldTypes = std::move(fieldTypes),
            .recordCount = static_cast<std::int64_t>(rows.size()),
            .records = writer.bytes};
}

std::u16string RandomName(std::mt19937& random) {
    // clang-format off
    static constexpr const char16_t* kPieces[] = {
        u"a", u"B", u"report", u"Report", u"data", u"x1", u"\u0416\u0443\u043a", u"\u00C9t\u00E9",
        u"\u4E2D\u6587", u"_", u"-", u" ", u".", u"index", u"LOG", u"\U0001F600"};
    static constexpr const char16_t* kEndings[] = {u".txt", u".TXT", u".log", u"", u".tar.gz", u"."};
    // clang-format on
    std::u16string name;
    for (auto n = random() % 3 + 1; n > 0; --n) {
        name += kPieces[random() % 16];
    }
    return name + kEndings[random() % 6];
}

}  // namespace

TableImage FilesTable(const std::vector<FileRow>& rows) {
    return MakeTable(1, {2, 1, 3, 1, 1}, rows, [](ByteWriter& writer, const FileRow& row) {
        writer.String(row.name).Put(row.dir).Put(row.owner).Put(row.modifyTime).Put(row.size);
    });
}

TableImage DirsTable(const std::vector<DirRow>& rows) {
    return MakeTable(2, {2, 1}, rows, [](ByteWriter& writer, const DirRow& row) {
        writer.String(row.name).Put(row.parent);
    });
}

TableImage OwnersTable(const std::vector<OwnerRow>& rows) {
    return MakeTable(3, {2, 2, 2}, rows, [](ByteWriter& writer, const OwnerRow& row) {
        writer.String(row.id).String(row.name).String(row.domain);
    });
}

std::string ChainTables(const std::vector<TableImage>& tables, std::int64_t lastNext) {
    std::string out;
    for (const TableImage& table : tables) {
        const bool last = &table == &tables.back();
        const std::size_t size = 36 + 2 * table.fieldTypes.size() + table.records.size();
        ByteWriter writer;
        writer.Raw(table.prefix).Put(table.major).Put(table.minor);
        writer.Put(last ? lastNext : static_cast<std::int64_t>(out.size() + size));
        writer.Put(table.format).Put(table.id);
        writer.Put(static_cast<std::uint32_t>(table.fieldTypes.size()));
        for (const std::uint16_t type : table.fieldTypes) {
            writer.Put(type);
        }
        writer.Put(table.recordCount).Raw(table.records);
        out += writer.bytes;
    }
    return out;
}

std::string Volume::Bytes() const {
    return ChainTables({DirsTable(dirs), FilesTable(files), OwnersTable(owners)});
}

Volume SmallVolume() {
    constexpr std::int64_t kTime = 130027143072500000;  // 2013-01-15 09:05:07.25
    return {{{u"", 0}, {u"Users", 0}, {u"john", 1}, {u"docs", 2}, {u"Gamma", 0}, {u"beta", 0}},
            {{u"readme.txt", 2, 0, kTime, 1234},
             {u"b.txt", 3, 0, kTime, 1},
             {u"A.txt", 3, 1, kTime + 10000000, 2},
             {u"boot.log", 0, 2, 0, 0},
             {u"\u0444\u0430\u0439\u043b.TXT", 3, 4294967295U, kTime, 4},
             {u"Report.final.docx", 2, 0, kTime, 5},
             {u"\U0001F4C4 page", 4, 3, kTime, 6}},
            {{u"ID-1001", u"jsmith", u"CORP"}, {u"ID-18", u"", u""}, {u"id-7", u"ID-7", u"X"}}};
}

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
        volume.files.push_back(
            {RandomName(random), below(dirs), static_cast<std::uint32_t>(below(owners + 2)),
             116444736000000000 + below(1U << 30) * 10'000'000 + below(10'000'000),
             below(1000000)});
    }
    return volume;
}

}  // namespace support
