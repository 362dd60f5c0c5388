// Versions of four numbers, in texts and in files.
#pragma once

#include <string>
#include <string_view>

#include "platform/system.h"

namespace frame {

using platform::FileVersion;

// Four numbers separated by dots, each read as the C library reads an unsigned 32-bit
// number and cut to its low 16 bits; what follows the fourth is ignored.
FileVersion ParseVersion(std::u16string_view text);
std::u16string FormatVersion(const FileVersion& version);
// The file version of the file's version resource. Linux files have none: a failure.
FileVersion GetFileVersion(std::u16string_view path);

}  // namespace frame
