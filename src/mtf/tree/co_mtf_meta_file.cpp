#include "mtf/tree/co_mtf_meta_file.h"

#include "automation/bstr.h"
#include "frame/automation_conversions.h"
#include "mtf/tree/co_mtf_attrs_tree.h"

namespace coClasses {

using automation::TextOf;

HRESULT ReturnMetaFile(std::shared_ptr<mtf::CMtfOpenedMetaFile> file, IMtfMetaFile** out) {
    const auto object = frame::CreateInstance<CCoMtfMetaFile>(
        u"Instance of the CCoMtfMetaFile cannot be initialized.", std::move(file));
    return frame::ReturnInterface(object, out);
}

HRESULT CCoMtfMetaFile::GetRootAttrsTree(IMtfAttrsTree** ppTree) {
    return Locked([&]() -> HRESULT {
        if (ppTree == nullptr) {
            return E_INVALIDARG;
        }
        return ReturnTree(m_file->Root(), ppTree);
    });
}

HRESULT CCoMtfMetaFile::CreateAttrsTree(BSTR treePath, IMtfAttrsTree** ppTree) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(treePath, ppTree)) {
            return E_INVALIDARG;
        }
        return ReturnTree(m_file->Root().CreateSubtree(TextOf(treePath)), ppTree);
    });
}

HRESULT CCoMtfMetaFile::FindAttrsTree(BSTR treePath, IMtfAttrsTree** ppTree) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(treePath, ppTree)) {
            return E_INVALIDARG;
        }
        return ReturnFoundTree(m_file->Root().FindSubtree(TextOf(treePath)), ppTree);
    });
}

HRESULT CCoMtfMetaFile::GetExistingAttrsTree(BSTR treePath, IMtfAttrsTree** ppTree) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(treePath, ppTree)) {
            return E_INVALIDARG;
        }
        return ReturnTree(m_file->Root().GetExistingSubtree(TextOf(treePath)), ppTree);
    });
}

HRESULT CCoMtfMetaFile::DelAttrsTree(BSTR treePath) {
    return Locked([&]() -> HRESULT {
        if (treePath == nullptr) {
            return E_INVALIDARG;
        }
        m_file->Root().DelSubtree(TextOf(treePath));
        return S_OK;
    });
}

HRESULT CCoMtfMetaFile::SetAttr(BSTR attrPath, BSTR attrValue) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(attrPath, attrValue)) {
            return E_INVALIDARG;
        }
        m_file->Root().SetAttr(TextOf(attrPath), TextOf(attrValue));
        return S_OK;
    });
}

HRESULT CCoMtfMetaFile::FindAttr(BSTR attrPath, BSTR* pAttrValue) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(attrPath, pAttrValue)) {
            return E_INVALIDARG;
        }
        return ReturnFoundAttr(m_file->Root(), attrPath, pAttrValue);
    });
}

HRESULT CCoMtfMetaFile::GetExistingAttr(BSTR attrPath, BSTR* pAttrValue) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(attrPath, pAttrValue)) {
            return E_INVALIDARG;
        }
        *pAttrValue = automation::NewBstr(m_file->Root().GetExistingAttr(TextOf(attrPath)));
        return S_OK;
    });
}

HRESULT CCoMtfMetaFile::DelAttr(BSTR attrPath) {
    return Locked([&]() -> HRESULT {
        if (attrPath == nullptr) {
            return E_INVALIDARG;
        }
        m_file->Root().DelAttr(TextOf(attrPath));
        return S_OK;
    });
}

HRESULT CCoMtfMetaFile::EnumAllAttrs(SAFEARRAY** ppAttrs) {
    return Locked([&]() -> HRESULT {
        if (ppAttrs == nullptr) {
            return E_INVALIDARG;
        }
        *ppAttrs = frame::StringListToSafeArray(m_file->Tree().EnumAllAttrs()).Detach();
        return S_OK;
    });
}

HRESULT CCoMtfMetaFile::PushComment(BSTR commentLine) {
    return Locked([&]() -> HRESULT {
        if (commentLine == nullptr) {
            return E_INVALIDARG;
        }
        m_file->Lines().PushComment(TextOf(commentLine));
        return S_OK;
    });
}

HRESULT CCoMtfMetaFile::FlushChanges() {
    return Locked([&] {
        m_file->File().Save();
        return S_OK;
    });
}

HRESULT CCoMtfMetaFile::Close() {
    return Locked([&] {
        m_file->File().CloseFile();
        return S_OK;
    });
}

}  // namespace coClasses
