// Index data files: locating a table, reading records and text, and the failures of damaged
// files.
#include <gtest/gtest.h>

#include <fstream>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <tuple>

#include "idxdata/streams/buff_file_reader.h"
#include "idxdata/streams/file_reader.h"
#include "idxdata/streams/stream_file_reader.h"
#include "idxdata/tables/file_record_cursor.h"
#include "support/engine_failure.h"
#include "support/index_file_builder.h"
#include "support/port_files.h"
#include "support/tdf_model.h"
#include "support/temp_folder.h"

namespace idxdata {
namespace {

using support::ChainTables;
using support::Failure;
using support::FailureOf;
using support::Refused;
using support::TableImage;
using ReaderPtr = std::shared_ptr<IReader>;

const Failure kPastEnd{"The specified size is out of the buffer boundary.", frame::kFail};

class IndexFile : public ::testing::Test {
protected:
    template <class Reader>
    std::shared_ptr<Reader> Open(const std::string& bytes) {
        const std::u16string path = m_folder.Path(frame::IntToString(++m_files));
        EXPECT_TRUE(support::WriteWhole(path, bytes));
        auto reader = std::make_shared<Reader>();
        reader->Open(path);
        return reader;
    }

    support::CTempFolder m_folder;
    std::int32_t m_files = 0;
};

// The hex dump in the format document, the golden file and the builder agree.
TEST(IndexFileFormat, GoldenFileIsTheDocumentedExample) {
    std::ifstream document(ZOREL_SOURCE_DIR "/doc/index-data-file.md");
    std::string documented;
    for (std::string line; std::getline(document, line);) {
        std::istringstream bytes(line.starts_with("    0") ? line.substr(10, 48) : "");
        for (std::string byte; bytes >> byte;) {
            documented.push_back(static_cast<char>(std::stoi(byte, nullptr, 16)));
        }
    }
    const std::string golden = support::ReadWhole(u"" ZOREL_SOURCE_DIR "/tests/data/example.dat");
    const support::Volume volume{{{u"", 0}, {u"docs", 0}},
                                 {{u"a.txt", 1, 0, 130027143072500000, 1234}},
                                 {{u"ID-1", u"ann", u"LAB"}}};
    EXPECT_EQ(documented, golden);
    EXPECT_EQ(volume.Bytes(), golden);
}

TEST_F(IndexFile, LocatingATable) {
    const support::Volume volume = support::SmallVolume();
    const TableImage files = support::FilesTable(volume.files);
    const TableImage dirs = support::DirsTable(volume.dirs);
    const TableImage owners = support::OwnersTable(volume.owners);
    const auto bent = [](TableImage table, auto bend) {
        bend(table);
        return table;
    };
    const auto bentFiles = [&](auto bend) { return ChainTables({bent(files, bend)}); };
    const auto failed = [](const std::string& text, frame::HResult result = frame::kFail) {
        return Failure{text + " in CSeqTableReader::CSeqTableReader", result};
    };
    const Failure notFound{"Table not found in CDataFileReader::OpenSeqTable", frame::kFail};
    const auto secondTable = static_cast<std::int64_t>(ChainTables({dirs}).size());
    const std::pair<std::string, Failure> rows[] = {
        {volume.Bytes(), {}},
        {ChainTables({bent(dirs, [](auto& t) { t.id = 77, t.format = 9; }), files}), {}},
        {ChainTables({owners}), notFound},
        {ChainTables({dirs, owners}, secondTable), notFound},  // a loop
        {ChainTables({dirs, bent(owners, [](auto& t) { t.prefix = "VIFX"; }), files}),
         failed("Prefix not match", frame::kInvalidArg)},
        {bentFiles([](auto& t) { t.minor = 2; }), failed("Invalid datafile version")},
        {bentFiles([](auto& t) { t.major = 2; }), failed("Invalid datafile version")},
        {bentFiles([](auto& t) { t.format = 1; }), failed("Wrong table format")},
        {bentFiles([](auto& t) { t.fieldTypes.pop_back(); }), failed("Number of fields not match")},
        {bentFiles([](auto& t) { t.fieldTypes[2] = 1; }), failed("Types not match")},
        {bentFiles([](auto& t) { t.recordCount = -1; }), {}},
    };
    const auto locate = [](ReaderPtr reader) {
        return FailureOf([&] { CSeqTableReader(reader, EIdxTableFiles, rec::CFileRecord()); });
    };
    for (const auto& [bytes, failure] : rows) {
        EXPECT_EQ(locate(Open<CFileReader>(bytes)), failure) << failure.message;
        EXPECT_EQ(locate(Open<CBuffFileReader>(bytes)), failure) << failure.message;
        EXPECT_EQ(locate(Open<CStreamFileReader>(bytes)), failure) << failure.message;
    }
    EXPECT_EQ(locate(nullptr), (Failure{"Wrong file reader", frame::kInvalidArg}));
    EXPECT_EQ(locate(std::make_shared<CFileReader>()),
              Refused("Cannot read file in CFileReader::ReadPrefix", 6));
}

using Row = std::tuple<std::u16string, std::int64_t, std::uint32_t, std::int64_t, std::int64_t>;
using Listing = std::pair<std::vector<Row>, Failure>;

Listing Read(const ReaderPtr& reader, bool throughCursor) {
    std::vector<Row> rows;
    const Failure failure = FailureOf([&] {
        rec::CFileRecord r;
        CSeqTableReader table(reader, EIdxTableFiles, r);
        CFileRecordCursor cursor(table);
        for (FileRecordView v{}; throughCursor && cursor.Next(v);) {
            std::u16string name;
            v.AppendNameTo(name);
            rows.emplace_back(name, v.dirIndex, v.ownerIndex, v.modifyTime, v.size);
        }
        while (!table.IsEnd()) {
            table.ReadRecord(r);
            rows.emplace_back(r.FileName, r.DirIndex, r.OwnerIndex, r.ModifyTime, r.Size);
        }
    });
    return {std::move(rows), failure};
}

// A cursor returns the records and failures of ReadRecord with each reader. The reader of a
// stream returns those of the reader of memory.
TEST_F(IndexFile, WaysToReadRecordsAgree) {
    const auto read = [&](const std::string& bytes) {
        const Listing plain = Read(Open<CFileReader>(bytes), false);
        EXPECT_EQ(Read(Open<CFileReader>(bytes), true), plain);
        const Listing checked = Read(Open<CBuffFileReader>(bytes), false);
        EXPECT_EQ(Read(Open<CBuffFileReader>(bytes), true), checked);
        EXPECT_EQ(Read(Open<CStreamFileReader>(bytes), false), checked);
        EXPECT_EQ(Read(Open<CStreamFileReader>(bytes), true), checked);
        return plain;
    };
    const std::string bytes = support::SmallVolume().Bytes();
    std::mt19937 random(7);
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        SCOPED_TRACE(length);
        read(bytes.substr(0, length));
        std::string damaged = bytes;
        damaged[random() % damaged.size()] ^= static_cast<char>(1U << random() % 8);
        read(damaged);
    }
    // Larger than any buffer: names cross the ends of buffers, and one is larger than a buffer.
    support::Volume large = support::RandomVolume(3, 40, 20000, 5);
    large.files[9000].name.assign(200'000, u'n');
    large.files[9001].name.assign(40'000, u'm');
    EXPECT_EQ(read(large.Bytes()).first.size(), 20000U);
    // Of a count that is too large, at most 256 records are read past the end.
    TableImage files = support::FilesTable({large.files[9000], large.files[9001]});
    files.recordCount = std::numeric_limits<std::int64_t>::max();
    const Listing excess = read(ChainTables({files}));
    EXPECT_EQ(excess.first.size(), 258U);
    EXPECT_EQ(excess.second, kPastEnd);
}

TEST_F(IndexFile, Reads) {
    const auto file = Open<CFileReader>("\x01\x02\x03");  // a word and a part of a number
    EXPECT_EQ(file->ReadWord(), 0x0201);
    EXPECT_EQ(file->ReadDWord(), 3U);
    EXPECT_EQ(file->ReadLongLong(), 0);
    std::string prefix = "keep";
    file->ReadPrefix(prefix.data());
    EXPECT_EQ(prefix, "keep");
    file->SetCurFilePos(1);
    EXPECT_EQ(file->ReadWord(), 0x0302);
    EXPECT_EQ(file->GetCurFilePos(), 3);
    EXPECT_EQ(FailureOf([&] { file->SetCurFilePos(-1); }),
              Refused("Error in CFileReader::SetCurFilePos", 131));
    const auto memory = Open<CBuffFileReader>("\x01\x02\x03");
    memory->Open(u"missing");  // ignored: a file is open
    EXPECT_EQ(memory->ReadWord(), 0x0201);
    EXPECT_EQ(FailureOf([&] { memory->ReadDWord(); }), kPastEnd);
    EXPECT_EQ(memory->GetCurFilePos(), 2);
    memory->SetCurFilePos(4294967294);
    EXPECT_EQ(FailureOf([&] { memory->ReadWord(); }), kPastEnd);
    EXPECT_EQ(FailureOf([&] { memory->SetCurFilePos(4294967295); }),
              Refused("Cannot set file position CBuffFileReader::SetCurFilePos", 50));
    EXPECT_EQ(CBuffFileReader().GetCurFilePos(), 4294967295);
    EXPECT_EQ(FailureOf([&] { CBuffFileReader().ReadWord(); }), kPastEnd);
    for (IReader* reader : std::initializer_list<IReader*>{file.get(), memory.get()}) {
        EXPECT_EQ(FailureOf([&] { reader->ReadPrefix(nullptr); }),
                  (Failure{"Invalid argument in CFileReader::ReadPrefix", frame::kInvalidArg}));
    }
    file->Close();
    EXPECT_EQ(FailureOf([&] { file->GetCurFilePos(); }),
              Refused("Error in CFileWriter::GetCurFilePos", 6));
    // A damaged count does not allocate memory that the file cannot fill.
    std::u16string text = u"old text";
    Open<CFileReader>(std::string("\x03\0\0\0\x61\0\x62", 7))->ReadString(text);
    EXPECT_EQ(text, std::u16string(u"ab\0", 3));
    const std::string huge("\xFF\xFF\xFF\xFF\x61\0", 6);
    EXPECT_EQ(FailureOf([&] { Open<CFileReader>(huge)->ReadString(text); }),
              Refused("Cannot read file in CFileReader::ReadString", 38));
    EXPECT_EQ(FailureOf([&] { Open<CBuffFileReader>(huge)->ReadString(text); }), kPastEnd);
}

TEST_F(IndexFile, TextLines) {
    const std::u16string text = u"\uFEFFa\r\n\n\u0A0D\rb\uFEFF\n\r";
    const auto reader = Open<CFileReader>(support::Utf16Bytes(text) + "x");
    std::vector<std::u16string> lines;
    for (std::u16string line; reader->ReadTextString(line);) {
        lines.push_back(line);
    }
    EXPECT_EQ(lines, (std::vector<std::u16string>{u"a", u"", u"\u0A0Db", u"x"}));
}

}  // namespace
}  // namespace idxdata
