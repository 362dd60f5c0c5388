// A meta-file together with the tree over its lines.
#pragma once

#include <memory>
#include <string_view>

#include "mtf/store/meta_file.h"
#include "mtf/tree/attrs_tree.h"

namespace mtf {

// Shared by meta-file objects. References to the tree's nodes can outlive it.
class CMtfOpenedMetaFile {
public:
    static std::shared_ptr<CMtfOpenedMetaFile> Open(std::u16string_view path, EMtfOpenMode mode);
    // Builds a new tree over the current lines of an open meta-file.
    explicit CMtfOpenedMetaFile(std::shared_ptr<CMtfMetaFile> file);

    CMtfMetaFile& File() const noexcept { return *m_file; }
    CMtfLines& Lines() const noexcept { return *m_file->GetLines(); }
    CMtfAttrsTreeData& Tree() const noexcept { return *m_tree; }
    CMtfTreeRef Root() const { return {m_tree, CMtfAttrsTreeData::kRoot}; }

private:
    std::shared_ptr<CMtfMetaFile> m_file;
    std::shared_ptr<CMtfAttrsTreeData> m_tree;
};

}  // namespace mtf
