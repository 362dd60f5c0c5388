#include "mtf/tree/co_mtf_attrs_tree.h"

#include "automation/bstr.h"
#include "frame/automation_conversions.h"

namespace coClasses {

using automation::TextOf;

HRESULT ReturnTree(mtf::CMtfTreeRef tree, IMtfAttrsTree** out) {
    const auto object = frame::CreateInstance<CCoMtfAttrsTree>(
        u"Instance of the CCoMtfAttrsTree cannot be initialized.", std::move(tree));
    return frame::ReturnInterface(object, out);
}

HRESULT ReturnFoundTree(std::optional<mtf::CMtfTreeRef> tree, IMtfAttrsTree** out) {
    if (!tree) {
        *out = nullptr;
        return S_FALSE;
    }
    return ReturnTree(*std::move(tree), out);
}

HRESULT ReturnFoundAttr(const mtf::CMtfTreeRef& tree, BSTR path, BSTR* out) {
    std::u16string_view value;
    const bool found = tree.FindAttr(TextOf(path), value);
    *out = found ? automation::NewBstr(value) : nullptr;
    return found ? S_OK : S_FALSE;
}

HRESULT CCoMtfAttrsTree::EnumChildTrees(SAFEARRAY** ppNames) {
    return Locked([&]() -> HRESULT {
        if (ppNames == nullptr) {
            return E_INVALIDARG;
        }
        *ppNames = frame::StringListToSafeArray(m_tree.EnumChildTrees()).Detach();
        return S_OK;
    });
}

HRESULT CCoMtfAttrsTree::CreateSubtree(BSTR treeName, IMtfAttrsTree** ppTree) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(treeName, ppTree)) {
            return E_INVALIDARG;
        }
        return ReturnTree(m_tree.CreateSubtree(TextOf(treeName)), ppTree);
    });
}

HRESULT CCoMtfAttrsTree::FindSubtree(BSTR treeName, IMtfAttrsTree** ppTree) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(treeName, ppTree)) {
            return E_INVALIDARG;
        }
        return ReturnFoundTree(m_tree.FindSubtree(TextOf(treeName)), ppTree);
    });
}

HRESULT CCoMtfAttrsTree::GetExistingSubtree(BSTR treeName, IMtfAttrsTree** ppTree) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(treeName, ppTree)) {
            return E_INVALIDARG;
        }
        return ReturnTree(m_tree.GetExistingSubtree(TextOf(treeName)), ppTree);
    });
}

HRESULT CCoMtfAttrsTree::DelSubtree(BSTR treeName) {
    return Locked([&]() -> HRESULT {
        if (treeName == nullptr) {
            return E_INVALIDARG;
        }
        m_tree.DelSubtree(TextOf(treeName));
        return S_OK;
    });
}

HRESULT CCoMtfAttrsTree::EnumChildAttrs(SAFEARRAY** ppNames) {
    return Locked([&]() -> HRESULT {
        if (ppNames == nullptr) {
            return E_INVALIDARG;
        }
        *ppNames = frame::StringListToSafeArray(m_tree.EnumChildAttrs()).Detach();
        return S_OK;
    });
}

HRESULT CCoMtfAttrsTree::DelAttr(BSTR attrName) {
    return Locked([&]() -> HRESULT {
        if (attrName == nullptr) {
            return E_INVALIDARG;
        }
        m_tree.DelAttr(TextOf(attrName));
        return S_OK;
    });
}

HRESULT CCoMtfAttrsTree::SetAttr(BSTR attrName, BSTR attrValue) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(attrName, attrValue)) {
            return E_INVALIDARG;
        }
        m_tree.SetAttr(TextOf(attrName), TextOf(attrValue));
        return S_OK;
    });
}

HRESULT CCoMtfAttrsTree::FindAttr(BSTR attrName, BSTR* pAttrValue) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(attrName, pAttrValue)) {
            return E_INVALIDARG;
        }
        return ReturnFoundAttr(m_tree, attrName, pAttrValue);
    });
}

HRESULT CCoMtfAttrsTree::GetExistingAttr(BSTR attrName, BSTR* pAttrValue) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(attrName, pAttrValue)) {
            return E_INVALIDARG;
        }
        *pAttrValue = automation::NewBstr(m_tree.GetExistingAttrHere(TextOf(attrName)));
        return S_OK;
    });
}

}  // namespace coClasses
