#include "tdf/generation/tdf_generator.h"

#include "frame/file_system.h"
#include "frame/logging/logger.h"
#include "mtf/tree/opened_meta_file.h"
#include "tdf/generation/volume_generator.h"

namespace tdf {

void GenerateTextDataFiles(const TdfSettings& settings) {
    frame::CLogScope scope(u"Generating text files from binaries.", frame::ProcessLogger());
    frame::CreateFolder(settings.outpFolder);
    const auto list =
        mtf::CMtfOpenedMetaFile::Open(settings.binIndexFile, mtf::EMtfOpenMode::EMtfLoad);
    using Tree = mtf::CMtfAttrsTreeData;
    const std::uint64_t volumes = list->Tree().FindSubtree(Tree::kRoot, u"Volume");
    if (volumes != Tree::kNoNode) {
        for (const mtf::CMtfAttrEntry* volume : list->Tree().GetTable().ListAttrs(volumes)) {
            CVolumeGenerator(settings, volume->name.View())
                .Run(frame::SiblingPath(settings.binIndexFile, volume->value.View()));
        }
    }
    scope.Ok();
}

}  // namespace tdf
