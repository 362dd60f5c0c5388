#pragma once

#include "frame/objects/com_object.h"
#include "mtf/tree/attrs_tree.h"

namespace coClasses {

// IMtfAttrsTree over one node. Keeps the tree alive, not the meta-file: changes are written
// when a meta-file object over the same lines saves.
class CCoMtfAttrsTree final : public frame::CCoObject<IMtfAttrsTree> {
public:
    explicit CCoMtfAttrsTree(mtf::CMtfTreeRef tree) noexcept : m_tree(std::move(tree)) {}

    HRESULT STDMETHODCALLTYPE EnumChildTrees(SAFEARRAY** ppNames) override;
    HRESULT STDMETHODCALLTYPE CreateSubtree(BSTR treeName, IMtfAttrsTree** ppTree) override;
    HRESULT STDMETHODCALLTYPE FindSubtree(BSTR treeName, IMtfAttrsTree** ppTree) override;
    HRESULT STDMETHODCALLTYPE GetExistingSubtree(BSTR treeName, IMtfAttrsTree** ppTree) override;
    HRESULT STDMETHODCALLTYPE DelSubtree(BSTR treeName) override;
    HRESULT STDMETHODCALLTYPE EnumChildAttrs(SAFEARRAY** ppNames) override;
    HRESULT STDMETHODCALLTYPE DelAttr(BSTR attrName) override;
    HRESULT STDMETHODCALLTYPE SetAttr(BSTR attrName, BSTR attrValue) override;
    HRESULT STDMETHODCALLTYPE FindAttr(BSTR attrName, BSTR* pAttrValue) override;
    HRESULT STDMETHODCALLTYPE GetExistingAttr(BSTR attrName, BSTR* pAttrValue) override;

private:
    mtf::CMtfTreeRef m_tree;
};

// Returns a new object for the node.
HRESULT ReturnTree(mtf::CMtfTreeRef tree, IMtfAttrsTree** out);
// The results of the Find methods: S_FALSE and null when nothing is found.
HRESULT ReturnFoundTree(std::optional<mtf::CMtfTreeRef> tree, IMtfAttrsTree** out);
HRESULT ReturnFoundAttr(const mtf::CMtfTreeRef& tree, BSTR path, BSTR* out);

}  // namespace coClasses
