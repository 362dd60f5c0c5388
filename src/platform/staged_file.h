// Files that appear under their name when they are complete, and deletions that last. The calls
// take paths and report failures as those of files.h do.
//
// `temporary` is a path in the folder of the target that no other process can guess. An entry
// that exists there is neither used nor followed (80).
#pragma once

#include <string>
#include <string_view>

#include "platform/files.h"

namespace platform {

struct StagedFile {
    CFileHandle handle;        // for writing; empty on failure
    std::u16string temporary;  // empty: the file has no name yet
};

// Creates an empty file. Where the file system can create files without a name (Linux), an
// ended process leaves nothing.
StagedFile CreateStagedFile(std::u16string_view temporary);
// Gives the file, whose content has been flushed, the name `target`, on the disk too, and closes
// it; on Linux it is in use until then. 183 when the name is taken. After a failure before that
// the file is removed.
bool PublishStagedFile(StagedFile& file, std::u16string_view target);
// Closes and removes the file; no effect on a published one.
void DiscardStagedFile(StagedFile& file);

// Copies like CopyFileW to a target that does not exist (183); it appears when the copy is
// complete and on the disk. On Linux a link as source is not followed (1921).
bool CopyFileDurably(std::u16string_view source, std::u16string_view temporary,
                     std::u16string_view target);

// Deletes like DeleteFileW; a power cut does not undo it.
bool DeleteFileDurably(std::u16string_view path, std::u16string_view temporary);

}  // namespace platform
