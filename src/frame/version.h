// Versions of four numbers, as text and in files.
#pragma once

#include <string>
#include <string_view>

#include "platform/system.h"

namespace frame {

using platform::FileVersion;

// Parses four numbers separated by dots. Each is parsed like a 32-bit strtoul and truncated
// to its low 16 bits. Text after the fourth number is ignored. Throws CExc (E_FAIL).
FileVersion ParseVersion(std::u16string_view text);
std::u16string FormatVersion(const FileVersion& version);
// The file version in the file's version resource. Throws CWin32Exc if there is none; on Linux
// always.
FileVersion GetFileVersion(std::u16string_view path);

}  // namespace frame
