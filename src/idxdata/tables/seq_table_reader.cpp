#include "idxdata/tables/seq_table_reader.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>
#include <utility>

#include "frame/errors.h"
#include "idxdata/streams/file_reader.h"

namespace idxdata {

namespace {

constexpr std::uint16_t kMajorVersion = 1;
constexpr std::uint16_t kMinorVersion = 1;
constexpr std::uint32_t kSequentialFormat = 0;

// Records that a table may state beyond the end of its file: enough to list a file that was cut
// short, too few to cost memory or time.
constexpr int kAcceptedExcess = 256;

[[noreturn]] void Fail(const char16_t* message, frame::HResult hr = frame::kFail) {
    throw frame::CExc(message, hr);
}

std::shared_ptr<IReader> OpenFile(std::u16string_view path) {
    auto reader = std::make_shared<CFileReader>();
    reader->Open(path);
    return reader;
}

// The bytes of a record whose texts are empty.
std::uint64_t MinRecordSize(const IRecord& layout) {
    std::uint64_t bytes = 0;
    for (std::uint32_t field = 0; field < layout.GetFieldCount(); ++field) {
        bytes += FixedFieldSize(layout.GetFieldType(field));
    }
    return bytes;
}

struct TableHeader {
    std::int64_t next;
    std::uint32_t format;
    std::uint32_t id;
};

TableHeader ReadHeader(IReader& reader) {
    char prefix[IReader::kPrefixSize + 1] = {};
    reader.ReadPrefix(prefix);
    if (std::strcmp(prefix, "VIFD") != 0) {
        Fail(u"Prefix not match in CSeqTableReader::CSeqTableReader", frame::kInvalidArg);
    }
    const std::uint16_t major = reader.ReadWord();
    const std::uint16_t minor = reader.ReadWord();
    if (major != kMajorVersion || minor != kMinorVersion) {
        Fail(u"Invalid datafile version in CSeqTableReader::CSeqTableReader");
    }
    TableHeader header{};
    header.next = reader.ReadLongLong();
    header.format = reader.ReadDWord();
    header.id = reader.ReadDWord();
    return header;
}

}  // namespace

CSeqTableReader::CSeqTableReader(std::u16string_view path, EIdxTable table, const IRecord& layout)
    : CSeqTableReader(OpenFile(path), table, layout) {}

CSeqTableReader::CSeqTableReader(std::shared_ptr<IReader> reader, EIdxTable table,
                                 const IRecord& layout)
    : m_reader(std::move(reader)) {
    if (!m_reader) {
        Fail(u"Wrong file reader", frame::kInvalidArg);
    }
    Locate(table);
    CheckLayout(layout);
    m_count = m_reader->ReadLongLong();
    m_maxCount = m_reader->Remaining() / MinRecordSize(layout);
}

void CSeqTableReader::Locate(EIdxTable table) {
    std::unordered_set<std::int64_t> visited;
    for (;;) {
        const TableHeader header = ReadHeader(*m_reader);
        if (header.id == table) {
            if (header.format != kSequentialFormat) {
                Fail(u"Wrong table format in CSeqTableReader::CSeqTableReader");
            }
            return;
        }
        if (header.next == 0 || !visited.insert(header.next).second) {
            Fail(u"Table not found in CDataFileReader::OpenSeqTable");
        }
        m_reader->SetCurFilePos(header.next);
    }
}

void CSeqTableReader::CheckLayout(const IRecord& layout) {
    const std::uint32_t fields = layout.GetFieldCount();
    if (m_reader->ReadDWord() != fields) {
        Fail(u"Number of fields not match in CSeqTableReader::CSeqTableReader");
    }
    for (std::uint32_t field = 0; field < fields; ++field) {
        if (m_reader->ReadWord() != static_cast<std::uint16_t>(layout.GetFieldType(field))) {
            Fail(u"Types not match in CSeqTableReader::CSeqTableReader");
        }
    }
}

std::uint64_t CSeqTableReader::RecordCount() const noexcept {
    return std::min(static_cast<std::uint64_t>(std::max<std::int64_t>(m_count, 0)), m_maxCount);
}

void CSeqTableReader::ReadRecord(IRecord& record) {
    // After a failed read the window is empty before the end, too.
    if (m_reader->Window(1).empty() && m_reader->Remaining() == 0 &&
        ++m_excessCount > kAcceptedExcess) {
        Fail(kPastEndMessage);
    }
    record.Deserialize(*m_reader);
    ++m_next;
}

}  // namespace idxdata
