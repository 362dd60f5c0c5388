#include "cli/meta_files/meta_file.h"

#include <utility>

#include "cli/library/string_array.h"

namespace zorel::cli {

using client::CString;

CMetaFile::CMetaFile(std::string path, EIdxMetaOpenMode mode) : m_path(std::move(path)) {
    Check(client::CreateLibrary()->CreateMetaFile(CString::FromUtf8(m_path), mode, m_file.Put()));
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
}

void CMetaFile::Delete(std::u16string_view name) {
    Check(m_file->DelAttr(CString(name)));
}

void CMetaFile::DeleteTree(std::u16string_view path) {
    Check(m_file->DelAttrsTree(CString(path)));
}

void CMetaFile::Comment(std::u16string_view text) {
    Check(m_file->PushComment(CString(text)));
}

void CMetaFile::Save() {
    Check(m_file->FlushChanges());
}

bool MetaFileExists(const std::string& path) {
    VARIANT_BOOL exists = VARIANT_FALSE;
    client::Check(client::CreateLibrary()->IsMetaFileExists(CString::FromUtf8(path), &exists),
                  path);
    return exists != VARIANT_FALSE;
}

}  // namespace zorel::cli
