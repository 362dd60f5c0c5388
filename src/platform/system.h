// The process and its environment: modules, variables, programs, handles, 8-bit text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace platform {

// 8-bit text of the system and back: the thread's ANSI code page on Windows, UTF-8 on
// Linux (see ZorelText.h for text that is not well formed).
std::string WideToNarrow(std::u16string_view text);
std::u16string NarrowToWide(std::string_view text);

using ModuleHandle = void*;
// The module that this code is linked into.
ModuleHandle OwnModule() noexcept;
// Stores the module's path in `buffer` of `size` code units, NUL-terminated and cut if it is
// longer. A null module is the program. Returns the number of units stored (`size` if cut),
// 0 on failure.
std::uint32_t GetModuleFileNameW(ModuleHandle module, char16_t* buffer,
                                 std::uint32_t size) noexcept;

// The folder for temporary files (on Linux $TMPDIR, else /tmp), ending with a separator.
// False on failure.
bool GetTempPathW(std::u16string& folder);
// False with last error 203 when the variable is not set.
bool GetEnvironmentVariableW(std::u16string_view name, std::u16string& value);
// Starts a program and does not wait for it. `arguments` is the command line after the
// program's name; on Linux it is split at blanks that are not inside double quotes.
bool StartProgram(std::u16string_view program, std::u16string_view arguments);
// A second handle of the same open file, with its rights and its position. One thread at a
// time may use the two. kInvalidFileHandle on failure.
FileHandle DuplicateHandle(FileHandle handle) noexcept;

struct FileVersion {
    std::uint16_t major = 0;
    std::uint16_t minor = 0;
    std::uint16_t build = 0;
    std::uint16_t revision = 0;
};
enum class EVersionStep { Done, Size, Data, Root };
// Reads a file's version resource. Returns the step that failed, with the last error set. On
// Linux files have no version: Size, with error 50 (2 or 3 for a missing file).
EVersionStep ReadFileVersion(std::u16string_view path, FileVersion& version);

}  // namespace platform
