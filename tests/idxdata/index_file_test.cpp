// Index data files: finding a table, reading records, and what damage gives.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <sstream>

#include "frame/errors.h"
#include "idxdata/browser/extension_filter.h"
#include "idxdata/streams/buff_file_reader.h"
#include "idxdata/streams/file_reader.h"
#include "idxdata/tables/file_record_cursor.h"
#include "idxdata/tables/seq_table_reader.h"
#include "support/index_file_builder.h"
#include "support/temp_folder.h"

namespace {

using idxdata::CBuffFileReader;
using idxdata::CFileReader;
using idxdata::CFileRecordCursor;
using idxdata::CSeqTableReader;
using idxdata::IReader;

constexpr char16_t kOutOfBuffer[] = u"The specified size is out of the buffer boundary.";

class IndexFile : public ::testing::Test {
protected:
    std::u16string Write(const std::string& bytes) {
        std::ofstream(m_folder.Native(u"x.dat"), std::ios::binary) << bytes;
        return m_folder.Path(u"x.dat");
    }

    template <class Reader>
    std::shared_ptr<IReader> Open(const std::string& bytes) {
        auto reader = std::make_shared<Reader>();
        reader->Open(Write(bytes));
        return reader;
    }

    support::CTempFolder m_folder;
};

// What went wrong in `body`: message and HRESULT, empty when nothing did.
std::string FailureOf(const std::function<void()>& body) {
    try {
        body();
        return {};
    } catch (const frame::CExc& exc) {
        std::ostringstream out;
        for (const char16_t c : exc.GetFullMessage()) {
            out << (c < 128 ? static_cast<char>(c) : '?');
        }
        out << " / " << std::hex << static_cast<std::uint32_t>(exc.GetHResult());
        return out.str();
    }
}

std::string Narrow(std::u16string_view text) {
    return {text.begin(), text.end()};
}

// A Files table as text, one record a line, and how reading it ended. `throughCursor`
// reads it where it lies instead of through records.
std::string DumpFiles(const std::shared_ptr<IReader>& reader, bool throughCursor) {
    std::ostringstream out;
    const auto print = [&](std::u16string_view name, const auto& r, std::int64_t dir,
                           std::uint32_t owner) {
        for (const char16_t c : name) {
            out << static_cast<unsigned>(c) << ' ';
        }
        out << '|' << dir << '|' << owner << '|' << r << '\n';
    };
    out << FailureOf([&] {
        rec::CFileRecord record;
        CSeqTableReader table(reader, idxdata::EIdxTableFiles, record);
        if (throughCursor) {
            CFileRecordCursor cursor(table);
            idxdata::FileRecordView view{};
            while (cursor.Next(view)) {
                std::u16string name;
                view.AppendNameTo(name);
                print(name, std::to_string(view.modifyTime) + "|" + std::to_string(view.size),
                      view.dirIndex, view.ownerIndex);
            }
            return;
        }
        while (!table.IsEnd()) {
            table.ReadRecord(record);
            print(record.FileName,
                  std::to_string(record.ModifyTime) + "|" + std::to_string(record.Size),
                  record.DirIndex, record.OwnerIndex);
        }
    });
    return out.str();
}

// The hex dump in the format document, the golden file and the builder tell the same.
TEST(IndexFileFormat, GoldenFileIsTheDocumentedExample) {
    std::ifstream document(ZOREL_SOURCE_DIR "/doc/index-data-file.md");
    std::string documented;
    for (std::string line; std::getline(document, line);) {
        if (line.size() > 10 && line.find("    0") == 0 && line[8] == ' ' && line[9] == ' ') {
            std::istringstream bytes(line.substr(10, 48));
            for (std::string byte; bytes >> byte;) {
                documented.push_back(static_cast<char>(std::stoi(byte, nullptr, 16)));
            }
        }
    }
    std::ifstream file(ZOREL_SOURCE_DIR "/tests/data/example.dat", std::ios::binary);
    const std::string golden((std::istreambuf_iterator<char>(file)), {});
    support::Volume volume;
    volume.dirs = {{u"", 0}, {u"docs", 0}};
    volume.files = {{u"a.txt", 1, 0, 130027143072500000, 1234}};
    volume.owners = {{u"ID-1", u"ann", u"LAB"}};
    EXPECT_EQ(documented, golden);
    EXPECT_EQ(volume.Bytes(), golden);
}

TEST_F(IndexFile, LocatingATable) {
    using support::TableImage;
    const support::Volume volume = support::SmallVolume();
    const TableImage files = support::FilesTable(volume.files);
    const TableImage dirs = support::DirsTable(volume.dirs);
    const TableImage owners = support::OwnersTable(volume.owners);
    const auto bent = [](TableImage table, const std::function<void(TableImage&)>& bend) {
        bend(table);
        return table;
    };
    const struct {
        const char* label;
        std::string bytes;
        const char* failure;  // empty: the Files table is found
    } rows[] = {
        {"chain of three", volume.Bytes(), ""},
        {"foreign table and format skipped",
         support::ChainTables({bent(dirs, [](auto& t) { t.id = 77, t.format = 9; }), files}), ""},
        {"only owners", support::ChainTables({owners}),
         "Table not found in CDataFileReader::OpenSeqTable / 80004005"},
        {"bad prefix of a skipped table",
         support::ChainTables({dirs, bent(owners, [](auto& t) { t.prefix = "VIFX"; }), files}),
         "Prefix not match in CSeqTableReader::CSeqTableReader / 80070057"},
        {"version 1.2", support::ChainTables({bent(files, [](auto& t) { t.minor = 2; })}),
         "Invalid datafile version in CSeqTableReader::CSeqTableReader / 80004005"},
        {"version 2.1", support::ChainTables({bent(files, [](auto& t) { t.major = 2; })}),
         "Invalid datafile version in CSeqTableReader::CSeqTableReader / 80004005"},
        {"format 1", support::ChainTables({bent(files, [](auto& t) { t.format = 1; })}),
         "Wrong table format in CSeqTableReader::CSeqTableReader / 80004005"},
        {"four fields",
         support::ChainTables({bent(files, [](auto& t) { t.fieldTypes.pop_back(); })}),
         "Number of fields not match in CSeqTableReader::CSeqTableReader / 80004005"},
        {"wrong type",
         support::ChainTables({bent(files,
                                    [](auto& t) {
                                        t.fieldTypes = {2, 1, 1, 1, 1};
                                    })}),
         "Types not match in CSeqTableReader::CSeqTableReader / 80004005"},
        {"count -1", support::ChainTables({bent(files, [](auto& t) { t.recordCount = -1; })}), ""},
        {"count 2^63-1",
         support::ChainTables({bent(files, [](auto& t) { t.recordCount = 0x7FFFFFFFFFFFFFFF; })}),
         "The number of records does not fit the file in CSeqTableReader::CSeqTableReader / "
         "80004005"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        const auto locate = [](std::shared_ptr<IReader> reader) {
            return FailureOf(
                [&] { CSeqTableReader(reader, idxdata::EIdxTableFiles, rec::CFileRecord()); });
        };
        EXPECT_EQ(locate(Open<CFileReader>(row.bytes)), row.failure);
        EXPECT_EQ(locate(Open<CBuffFileReader>(row.bytes)), row.failure);
    }
}

// A chain that comes back to an offset ends as if the table were missing.
TEST_F(IndexFile, LoopingChains) {
    const support::Volume volume = support::SmallVolume();
    const auto dirs = support::DirsTable(volume.dirs);
    const auto owners = support::OwnersTable(volume.owners);
    const auto second = static_cast<std::int64_t>(support::ChainTables({dirs}).size());
    const std::string bytes = support::ChainTables({dirs, owners}, second);
    EXPECT_EQ(FailureOf([&] {
                  CSeqTableReader(Open<CFileReader>(bytes), idxdata::EIdxTableFiles,
                                  rec::CFileRecord());
              }),
              "Table not found in CDataFileReader::OpenSeqTable / 80004005");
    EXPECT_EQ(FailureOf([] {
                  CSeqTableReader(std::shared_ptr<IReader>(), idxdata::EIdxTableFiles,
                                  rec::CFileRecord());
              }),
              "Wrong file reader / 80070057");
}

// The cursor is one more reader of the same bytes: same records, same failures, for both
// readers, on sound volumes and on every kind of damage.
TEST_F(IndexFile, CursorAgreesWithRecords) {
    const auto agree = [&](const std::string& bytes) {
        const std::string plain = DumpFiles(Open<CFileReader>(bytes), false);
        EXPECT_EQ(DumpFiles(Open<CFileReader>(bytes), true), plain);
        EXPECT_EQ(DumpFiles(Open<CBuffFileReader>(bytes), true),
                  DumpFiles(Open<CBuffFileReader>(bytes), false));
        return plain;
    };
    std::string bytes = support::SmallVolume().Bytes();
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        SCOPED_TRACE(length);
        agree(bytes.substr(0, length));
    }
    std::mt19937 random(7);
    for (int i = 0; i < 400; ++i) {
        std::string damaged = bytes;
        damaged[random() % damaged.size()] ^= static_cast<char>(1U << random() % 8);
        agree(damaged);
    }
    // Larger than any buffer, with names that cross its ends and one that exceeds it.
    support::Volume large = support::RandomVolume(3, 40, 20000, 5);
    large.files[9000].name.assign(200'000, u'n');
    large.files[9001].name.assign(40'000, u'm');
    const std::string dump = agree(large.Bytes());
    EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 20000);
}

TEST_F(IndexFile, StreamReads) {
    // 3 bytes: a word, then a number that the file ends in.
    const std::string bytes = "\x01\x02\x03";
    CFileReader plain;
    plain.Open(Write(bytes));
    EXPECT_EQ(plain.ReadWord(), 0x0201);
    EXPECT_EQ(plain.GetCurFilePos(), 2);
    EXPECT_EQ(plain.ReadDWord(), 3U);
    EXPECT_EQ(plain.ReadLongLong(), 0);
    char prefix[4] = {'k', 'e', 'e', 'p'};
    plain.ReadPrefix(prefix);
    EXPECT_EQ(std::string(prefix, 4), "keep");
    plain.SetCurFilePos(1);
    EXPECT_EQ(plain.ReadWord(), 0x0302);
    EXPECT_NE(
        FailureOf([&] { plain.SetCurFilePos(-1); }).find("Error in CFileReader::SetCurFilePos"),
        std::string::npos);
    plain.Close();
    EXPECT_NE(FailureOf([&] { plain.GetCurFilePos(); }).find("Error in CFileWriter::GetCurFilePos"),
              std::string::npos);

    CBuffFileReader buffered;
    EXPECT_EQ(buffered.GetCurFilePos(), 4294967295);
    EXPECT_EQ(FailureOf([&] { buffered.ReadWord(); }), Narrow(kOutOfBuffer) + " / 80004005");
    buffered.Open(Write(bytes));
    EXPECT_EQ(buffered.ReadWord(), 0x0201);
    EXPECT_EQ(FailureOf([&] { buffered.ReadDWord(); }), Narrow(kOutOfBuffer) + " / 80004005");
    EXPECT_EQ(buffered.GetCurFilePos(), 2);
    buffered.SetCurFilePos(4294967294);
    EXPECT_EQ(FailureOf([&] { buffered.ReadWord(); }), Narrow(kOutOfBuffer) + " / 80004005");
    EXPECT_NE(FailureOf([&] {
                  buffered.SetCurFilePos(4294967295);
              }).find("Cannot set file position CBuffFileReader::SetCurFilePos"),
              std::string::npos);
    EXPECT_EQ(FailureOf([&] { buffered.ReadPrefix(nullptr); }),
              "Invalid argument in CFileReader::ReadPrefix / 80070057");
}

// A string count that lies takes no memory beyond what the file could hold.
TEST_F(IndexFile, StringCountsThatLie) {
    const std::string huge("\xFF\xFF\xFF\xFF\x61\x00", 6);
    EXPECT_NE(FailureOf([&] {
                  std::u16string text;
                  Open<CFileReader>(huge)->ReadString(text);
              }).find("Cannot read file in CFileReader::ReadString\r\nWin32 error:"),
              std::string::npos);
    EXPECT_EQ(FailureOf([&] {
                  std::u16string text;
                  Open<CBuffFileReader>(huge)->ReadString(text);
              }),
              Narrow(kOutOfBuffer) + " / 80004005");
    std::u16string text = u"old text";
    Open<CFileReader>(std::string("\x03\x00\x00\x00\x61\x00\x62", 7))->ReadString(text);
    EXPECT_EQ(text, std::u16string(u"ab\0", 3));
}

// Lines against a plain cut of the whole text, for content of any shape.
TEST_F(IndexFile, TextLines) {
    std::mt19937 random(11);
    for (int round = 0; round < 300; ++round) {
        std::string bytes;
        std::vector<std::u16string> expected;
        std::u16string line;
        for (auto n = random() % 60; n > 0; --n) {
            const char16_t unit = u"ab\r\n\uFEFF\u0416\u0A0D"[random() % 7];
            bytes.push_back(static_cast<char>(unit & 0xFF));
            bytes.push_back(static_cast<char>(unit >> 8));
            if (unit == u'\n') {
                expected.push_back(std::exchange(line, {}));
            } else if (unit != u'\r' && unit != u'\uFEFF') {
                line.push_back(unit);
            }
        }
        if (!line.empty()) {
            expected.push_back(line);
        }
        CFileReader reader;
        reader.Open(Write(bytes));
        std::vector<std::u16string> lines;
        while (reader.ReadTextString(line)) {
            lines.push_back(line);
        }
        ASSERT_EQ(lines, expected);
    }
}

TEST(ExtensionFilter, ParsingAndMatching) {
    const struct {
        const char16_t* text;
        std::vector<std::u16string> extensions;
    } rows[] = {
        {u"txt; log", {u"txt", u"log"}},
        {u" .txt ,,; ;doc ", {u".txt", u"doc"}},
        {u"t xt", {u"t x"}},
        {u"", {}},
        {u" ; , ", {}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(idxdata::CExtensionFilter(true, row.text).Extensions(), row.extensions)
            << Narrow(row.text);
    }
    const idxdata::CExtensionFilter filter(true, u"txt;.log");
    EXPECT_TRUE(filter.IsPermitted(u"a.txt"));
    EXPECT_TRUE(filter.IsPermitted(u"atxt"));
    EXPECT_FALSE(filter.IsPermitted(u"txt"));
    EXPECT_FALSE(filter.IsPermitted(u".log"));
    EXPECT_FALSE(filter.IsPermitted(u"a.TXT"));
    EXPECT_FALSE(idxdata::CExtensionFilter(true, u"").IsPermitted(u"a"));
    EXPECT_TRUE(idxdata::CExtensionFilter(false, u"txt").IsPermitted(u"a"));
}

}  // namespace
