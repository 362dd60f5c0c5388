#include "cli/meta_files/meta_file.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

#include "cli/command_line/command_error.h"
#include "cli/command_line/paths.h"
#include "cli/library/string_array.h"

namespace zorel::cli {

using client::CString;

namespace {

// Larger files cannot be opened.
constexpr std::uint64_t kMaxFileSize = 104857599;  // bytes

bool HasByteOrderMark(const std::string& path) {
    std::ifstream file(WithSlashes(path), std::ios::binary);
    return file.get() == 0xFF && file.get() == 0xFE;
}

// The bytes of a line of `text`, with its line end and a separator.
std::uint64_t LineSize(std::u16string_view text) {
    return (text.size() + 3) * sizeof(char16_t);
}

}  // namespace

CMetaFile::CMetaFile(std::string path, EIdxMetaOpenMode mode) : m_path(std::move(path)) {
    Check(client::CreateLibrary()->CreateMetaFile(CString::FromUtf8(m_path), mode, m_file.Put()));
    // Lines that are appended to 8-bit text cannot be read back.
    if (mode == EIdxMetaOpenRW && !HasByteOrderMark(m_path)) {
        RewriteOnSave();
    }
}

// A save appends unless a line was changed or deleted. The file remains open meanwhile, so that
// no other process can change it.
void CMetaFile::RewriteOnSave() {
    std::u16string name = u"x";
    for (CString value; Find(name, value);) {
        name += u'x';
    }
    Set(name, u"");
    Delete(name);
}

std::vector<std::u16string> CMetaFile::Names() const {
    client::CStringArray names;
    Check(m_file->EnumAllAttrs(names.Put()));
    return TextsOf(names);
}

bool CMetaFile::Find(std::u16string_view name, CString& value) const {
    return Check(m_file->FindAttr(CString(name), value.Put())) == S_OK;
}

bool CMetaFile::HasTree(std::u16string_view path) const {
    client::CComPtr<IMtfAttrsTree> tree;
    return Check(m_file->FindAttrsTree(CString(path), tree.Put())) == S_OK;
}

void CMetaFile::Set(std::u16string_view name, std::u16string_view value) {
    Check(m_file->SetAttr(CString(name), CString(value)));
    m_addedSize += LineSize(name) + LineSize(value);
}

void CMetaFile::Delete(std::u16string_view name) {
    Check(m_file->DelAttr(CString(name)));
}

void CMetaFile::DeleteTree(std::u16string_view path) {
    Check(m_file->DelAttrsTree(CString(path)));
}

void CMetaFile::Comment(std::u16string_view text) {
    Check(m_file->PushComment(CString(text)));
    m_addedSize += LineSize(text);
}

void CMetaFile::Save() {
    CheckSavedSize(m_path, m_addedSize);
    Check(m_file->FlushChanges());
}

// A save of 8-bit text writes at most one UTF-16 unit for each byte.
void CheckSavedSize(const std::string& path, std::uint64_t addedSize) {
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(WithSlashes(path), error);
    const std::uint64_t kept = HasByteOrderMark(path) ? size : sizeof(char16_t) * (size + 1);
    if (!error && kept + addedSize > kMaxFileSize) {
        throw CCommandError(path + ": the file could become larger than " +
                            std::to_string(kMaxFileSize) + " bytes and could not be opened again.");
    }
}

bool HasOtherText(const std::string& path) {
    constexpr std::size_t kExamined = 1U << 16;  // bytes
    std::ifstream file(WithSlashes(path), std::ios::binary);
    std::string text(kExamined, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (text.starts_with("\xFF\xFE")) {
        text.erase(0, 2);
        std::erase(text, '\0');
    }
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t start = line.find_first_not_of(" \t\r");
        if (start != line.npos && line[start] != '#') {
            return true;
        }
    }
    return false;
}

bool MetaFileExists(const std::string& path) {
    VARIANT_BOOL exists = VARIANT_FALSE;
    client::Check(client::CreateLibrary()->IsMetaFileExists(CString::FromUtf8(path), &exists),
                  path);
    return exists != VARIANT_FALSE;
}

}  // namespace zorel::cli
