#pragma once

#include <memory>

#include "frame/objects/com_object.h"
#include "mtf/tree/opened_meta_file.h"

namespace coClasses {

// IMtfMetaFile over an opened meta-file, which other objects may share. Releasing it saves
// nothing; Close only closes the file that mode EIdxMetaOpenRW keeps open.
class CCoMtfMetaFile final : public frame::CCoObject<IMtfMetaFile> {
public:
    explicit CCoMtfMetaFile(std::shared_ptr<mtf::CMtfOpenedMetaFile> file) noexcept
        : m_file(std::move(file)) {}

    HRESULT STDMETHODCALLTYPE GetRootAttrsTree(IMtfAttrsTree** ppTree) override;
    HRESULT STDMETHODCALLTYPE CreateAttrsTree(BSTR treePath, IMtfAttrsTree** ppTree) override;
    HRESULT STDMETHODCALLTYPE FindAttrsTree(BSTR treePath, IMtfAttrsTree** ppTree) override;
    HRESULT STDMETHODCALLTYPE GetExistingAttrsTree(BSTR treePath, IMtfAttrsTree** ppTree) override;
    HRESULT STDMETHODCALLTYPE DelAttrsTree(BSTR treePath) override;
    HRESULT STDMETHODCALLTYPE SetAttr(BSTR attrPath, BSTR attrValue) override;
    HRESULT STDMETHODCALLTYPE FindAttr(BSTR attrPath, BSTR* pAttrValue) override;
    HRESULT STDMETHODCALLTYPE GetExistingAttr(BSTR attrPath, BSTR* pAttrValue) override;
    HRESULT STDMETHODCALLTYPE DelAttr(BSTR attrPath) override;
    HRESULT STDMETHODCALLTYPE EnumAllAttrs(SAFEARRAY** ppAttrs) override;
    HRESULT STDMETHODCALLTYPE PushComment(BSTR commentLine) override;
    HRESULT STDMETHODCALLTYPE FlushChanges() override;
    HRESULT STDMETHODCALLTYPE Close() override;

private:
    std::shared_ptr<mtf::CMtfOpenedMetaFile> m_file;
};

// Returns a new object over the meta-file.
HRESULT ReturnMetaFile(std::shared_ptr<mtf::CMtfOpenedMetaFile> file, IMtfMetaFile** out);

}  // namespace coClasses
