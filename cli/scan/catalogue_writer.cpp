#include "cli/scan/catalogue_writer.h"

#include <initializer_list>
#include <stdexcept>

namespace zorel::tools {

namespace {

constexpr std::uint32_t kFilesTable = 1;
constexpr std::uint32_t kFoldersTable = 2;
constexpr std::uint32_t kOwnersTable = 3;

constexpr std::uint16_t kLongLong = 1;
constexpr std::uint16_t kString = 2;
constexpr std::uint16_t kDWord = 3;

constexpr std::initializer_list<std::uint16_t> kFileFields = {kString, kLongLong, kDWord, kLongLong,
                                                              kLongLong};
constexpr std::initializer_list<std::uint16_t> kFolderFields = {kString, kLongLong};
constexpr std::initializer_list<std::uint16_t> kOwnerFields = {kString, kString, kString};

constexpr std::uint64_t kNextTableOffset = 8;  // where a header says where the next one is

// Where the record count stands in a table of `fields` fields.
constexpr std::uint64_t CountOffset(std::size_t fields) {
    return 28 + 2 * fields;
}

template <class Number>
void Put(std::string& out, Number value) {
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
    }
}

void Put(std::string& out, std::u16string_view text) {
    if (text.size() > 0xFFFFFFFFU) {
        throw std::invalid_argument("A name is too long for a catalogue.");
    }
    Put(out, static_cast<std::uint32_t>(text.size()));
    for (const char16_t unit : text) {
        out.push_back(static_cast<char>(unit & 0xFF));
        out.push_back(static_cast<char>(unit >> 8));
    }
}

template <class Number>
std::string Encode(Number value) {
    std::string bytes;
    Put(bytes, value);
    return bytes;
}

std::string Header(std::uint32_t table, std::initializer_list<std::uint16_t> fields,
                   std::uint64_t records) {
    std::string header = "VIFD";
    Put(header, std::uint16_t{1});
    Put(header, std::uint16_t{1});
    Put(header, std::uint64_t{0});
    Put(header, std::uint32_t{0});  // records follow one another
    Put(header, table);
    Put(header, static_cast<std::uint32_t>(fields.size()));
    for (const std::uint16_t field : fields) {
        Put(header, field);
    }
    Put(header, records);
    return header;
}

void Require(bool known, const char* message) {
    if (!known) {
        throw std::invalid_argument(message);
    }
}

}  // namespace

CCatalogueWriter::CCatalogueWriter(const std::string& path) : m_file(path) {
    m_file.Append(Header(kFilesTable, kFileFields, 0));
    Put(m_folders, std::u16string_view{});
    Put(m_folders, kRootFolder);
}

std::uint64_t CCatalogueWriter::AddFolder(std::u16string_view name, std::uint64_t parent) {
    Require(!name.empty(), "A folder below the root needs a name.");
    Require(parent < m_folderCount, "A folder's parent was not added before it.");
    Put(m_folders, name);
    Put(m_folders, parent);
    return m_folderCount++;
}

std::uint32_t CCatalogueWriter::AddOwner(std::u16string_view id, std::u16string_view name,
                                         std::u16string_view domain) {
    Require(m_ownerCount < kNoOwner, "A catalogue cannot hold more owners.");
    Put(m_owners, id);
    Put(m_owners, name);
    Put(m_owners, domain);
    return m_ownerCount++;
}

void CCatalogueWriter::AddFile(std::u16string_view name, std::uint64_t folder, std::uint32_t owner,
                               std::int64_t modifyTicks, std::int64_t sizeBytes) {
    Require(folder < m_folderCount, "A file's folder was not added before it.");
    Require(owner < m_ownerCount || owner == kNoOwner, "A file's owner was not added before it.");
    std::string& out = m_file.Buffer();
    Put(out, name);
    Put(out, folder);
    Put(out, owner);
    Put(out, static_cast<std::uint64_t>(modifyTicks));
    Put(out, static_cast<std::uint64_t>(sizeBytes));
    m_file.FlushWhenFull();
    ++m_fileCount;
}

void CCatalogueWriter::Finish() {
    const std::uint64_t folders = m_file.Position();
    m_file.Append(Header(kFoldersTable, kFolderFields, m_folderCount));
    m_file.Append(m_folders);
    const std::uint64_t owners = m_file.Position();
    m_file.Append(Header(kOwnersTable, kOwnerFields, m_ownerCount));
    m_file.Append(m_owners);
    m_file.Patch(kNextTableOffset, Encode(folders));
    m_file.Patch(CountOffset(kFileFields.size()), Encode(m_fileCount));
    m_file.Patch(folders + kNextTableOffset, Encode(owners));
    m_file.Commit();
}

}  // namespace zorel::tools
