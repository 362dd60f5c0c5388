// The process and its surroundings: modules, environment, programs, handles, 8-bit text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace platform {

// 8-bit text of the system and back: the thread's ANSI code page on Windows, UTF-8 on
// Linux (ZorelText.h tells how text that is not well formed is carried).
std::string WideToNarrow(std::u16string_view text);
std::u16string NarrowToWide(std::string_view text);

using ModuleHandle = void*;
// The module that this code is linked into.
ModuleHandle OwnModule() noexcept;
// The module's path into `buffer` of `size` code units, cut and NUL-terminated when it is
// longer; a null module is the program. Returns the number of units stored (`size` when
// cut), 0 on failure.
std::uint32_t GetModuleFileNameW(ModuleHandle module, char16_t* buffer,
                                 std::uint32_t size) noexcept;

// The folder for temporary files (on Linux $TMPDIR, else /tmp), ending with a separator.
// False on failure.
bool GetTempPathW(std::u16string& folder);
// False with last error 203 when the variable is not set.
bool GetEnvironmentVariableW(std::u16string_view name, std::u16string& value);
// Starts a program and lets it run on its own. `arguments` is the command line behind the
// program's name; on Linux it is cut at blanks, double quotes hold a piece together.
bool StartProgram(std::u16string_view program, std::u16string_view arguments);
// A second handle of the same open file, with its rights and its position; the two belong to
// one thread at a time. kInvalidFileHandle on failure.
FileHandle DuplicateHandle(FileHandle handle) noexcept;

struct FileVersion {
    std::uint16_t major = 0;
    std::uint16_t minor = 0;
    std::uint16_t build = 0;
    std::uint16_t revision = 0;
};
enum class EVersionStep { Done, Size, Data, Root };
// Reads a file's version resource; tells the step that failed, with the last error. Linux
// files have none: Size, with error 50 (2 or 3 for a missing file).
EVersionStep ReadFileVersion(std::u16string_view path, FileVersion& version);

}  // namespace platform
