#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "frame/objects/com_object.h"
#include "idxdata/browser/file_entries.h"

namespace coClasses {

// IOibFilesArray over the result of a listing; independent of the browser. Belongs to one
// thread at a time.
class CCoOibFilesArray final : public frame::CCoObject<IOibFilesArray> {
public:
    explicit CCoOibFilesArray(std::shared_ptr<const idxdata::CFileEntries> files);

    HRESULT STDMETHODCALLTYPE GetFileInfo(ULONG index, OibFileInfo* pFileInfo) override;
    HRESULT STDMETHODCALLTYPE get_FilesCount(ULONG* pCount) override;
    HRESULT STDMETHODCALLTYPE get_TotalSize(ULONGLONG* pSize) override;

private:
    std::u16string_view PrefixOf(const idxdata::CFileEntry& entry);

    std::shared_ptr<const idxdata::CFileEntries> m_files;
    std::u16string m_prefix;  // of m_prefixFolder
    idxdata::CListedFolders::Id m_prefixFolder = idxdata::CListedFolders::kListedFolder;
};

}  // namespace coClasses
