// A meta-file together with the tree over its lines: what meta-file objects hold.
#pragma once

#include <memory>
#include <string_view>

#include "mtf/store/meta_file.h"
#include "mtf/tree/attrs_tree.h"

namespace mtf {

// Meta-file objects share it; the tree also lives on in the trees handed out.
class CMtfOpenedMetaFile {
public:
    static std::shared_ptr<CMtfOpenedMetaFile> Open(std::u16string_view path, EMtfOpenMode mode);
    // A fresh tree over the current lines of a meta-file that is open already.
    explicit CMtfOpenedMetaFile(std::shared_ptr<CMtfMetaFile> file);

    CMtfMetaFile& File() const noexcept { return *m_file; }
    CMtfLines& Lines() const noexcept { return *m_file->GetLines(); }
    CMtfAttrsTreeData& Tree() const noexcept { return *m_tree; }
    CMtfTreeRef Root() const { return CMtfTreeRef(m_tree, CMtfAttrsTreeData::kRoot); }
    CMtfTreeRef RefTo(std::uint64_t node) const { return CMtfTreeRef(m_tree, node); }

private:
    std::shared_ptr<CMtfMetaFile> m_file;
    std::shared_ptr<CMtfAttrsTreeData> m_tree;
};

}  // namespace mtf
