#pragma once

#include <optional>
#include <string_view>

#include "frame/objects/com_object.h"
#include "idxdata/browser/data_file_browser.h"

namespace coClasses {

// IOibDFBrowser over one volume's index data file. Belongs to one thread at a time.
class CCoOibDFBrowser final : public frame::CCoObject<IOibDFBrowser> {
public:
    // Reads the folder tree and the owners; throws what reading them throws.
    explicit CCoOibDFBrowser(std::u16string_view volumeFilePath);

    HRESULT STDMETHODCALLTYPE GetFolders(BSTR rootPath, SAFEARRAY** ppFolders) override;
    HRESULT STDMETHODCALLTYPE GetFiles(BSTR rootPath, IOibFilesArray** ppFiles) override;
    HRESULT STDMETHODCALLTYPE Close() override;
    HRESULT STDMETHODCALLTYPE GetFilesEx(BSTR rootPath, VARIANT_BOOL bRecursive,
                                         BSTR premittedExtentions,
                                         IOibFilesArray** ppFiles) override;

private:
    HRESULT List(BSTR rootPath, bool recursive,
                 std::optional<std::u16string_view> permittedExtensions, IOibFilesArray** ppFiles);

    idxdata::CDataFileBrowser m_browser;
};

}  // namespace coClasses
