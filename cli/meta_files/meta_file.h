#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ZorelClient.h"

namespace zorel::cli {

// A meta-file opened through the library. Failures are client::CError and CCommandError with
// the path.
class CMetaFile {
public:
    CMetaFile(std::string path, EIdxMetaOpenMode mode);

    // The paths of all attributes, in the order of the library.
    std::vector<std::u16string> Names() const;
    // False when there is no such attribute.
    bool Find(std::u16string_view name, client::CString& value) const;
    bool HasTree(std::u16string_view path) const;
    void Set(std::u16string_view name, std::u16string_view value);
    void Delete(std::u16string_view name);
    void DeleteTree(std::u16string_view path);
    void Comment(std::u16string_view text);
    void Save();

private:
    HRESULT Check(HRESULT result) const { return client::Check(result, m_path); }
    void RewriteOnSave();

    std::string m_path;
    std::uint64_t m_addedSize = 0;  // bytes of the added text, not less
    client::CComPtr<IMtfMetaFile> m_file;
};

// Throws CCommandError if the file could be too large to be opened again after a save that adds
// this many bytes.
void CheckSavedSize(const std::string& path, std::uint64_t addedSize);

// Whether the start of the file has a line that is no comment. For a file without attributes: it
// holds something else than a meta-file.
bool HasOtherText(const std::string& path);

// Whether there is such a meta-file, or the copy that an unfinished save left.
bool MetaFileExists(const std::string& path);

}  // namespace zorel::cli
