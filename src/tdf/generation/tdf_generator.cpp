#include "tdf/generation/tdf_generator.h"

#include <optional>

#include "frame/file_system.h"
#include "frame/logging/logger.h"
#include "mtf/tree/opened_meta_file.h"
#include "tdf/generation/volume_generator.h"

namespace tdf {

void GenerateTextDataFiles(const TdfSettings& settings) {
    frame::CLogScope scope(u"Generating text files from binaries.", frame::ProcessLogger());
    frame::CreateFolder(settings.outpFolder);
    const std::u16string_view folder = frame::SplitPath(settings.binIndexFile).head;
    const auto list =
        mtf::CMtfOpenedMetaFile::Open(settings.binIndexFile, mtf::EMtfOpenMode::EMtfLoad);
    if (const std::optional<mtf::CMtfTreeRef> volumes = list->Root().FindSubtree(u"Volume")) {
        for (const std::u16string& name : volumes->EnumChildAttrs()) {
            const std::u16string_view file = volumes->GetExistingAttr(name);
            CVolumeGenerator(settings, name).Run(frame::CombinePath(folder, file));
        }
    }
    scope.Ok();
}

}  // namespace tdf
