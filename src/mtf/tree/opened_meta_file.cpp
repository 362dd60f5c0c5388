#include "mtf/tree/opened_meta_file.h"

namespace mtf {

std::shared_ptr<CMtfOpenedMetaFile> CMtfOpenedMetaFile::Open(std::u16string_view path,
                                                             EMtfOpenMode mode) {
    return std::make_shared<CMtfOpenedMetaFile>(CMtfMetaFile::Open(path, mode));
}

CMtfOpenedMetaFile::CMtfOpenedMetaFile(std::shared_ptr<CMtfMetaFile> file)
    : m_file(std::move(file)),
      m_tree(CMtfAttrsTreeData::Build(m_file->GetLines(), m_file->GetPath())) {}

}  // namespace mtf
