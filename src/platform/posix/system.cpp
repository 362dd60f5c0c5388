#include "platform/system.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/auxv.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <new>
#include <vector>

#include "ZorelText.h"
#include "platform/errors.h"
#include "platform/posix/errno_map.h"
#include "platform/posix/open_file.h"
#include "platform/posix/path.h"

namespace platform {

using posix::Fail;
using posix::FailErrno;

namespace {

// The load address of the module that contains `address`; null when there is none.
void* ModuleAt(const void* address) noexcept {
    Dl_info info{};
    return ::dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

// The path of a loaded module, links resolved; empty with errno on failure. The loader knows
// the program by the name it was started with, which need not be a path.
std::string ModulePath(ModuleHandle module) {
    const void* program =
        ModuleAt(reinterpret_cast<const void*>(::getauxval(AT_PHDR)));  // NOLINT: an address
    Dl_info info{};
    const char* name = "/proc/self/exe";
    if (module != nullptr && module != program) {
        if (::dladdr(module, &info) == 0 || info.dli_fbase != module) {
            errno = EBADF;
            return {};
        }
        name = info.dli_fname;
    }
    char path[PATH_MAX];
    return ::realpath(name, path) == nullptr ? std::string() : std::string(path);
}

// Splits at blanks that are not inside double quotes.
std::vector<std::string> SplitArguments(std::string_view line) {
    std::vector<std::string> pieces;
    bool inPiece = false;
    bool quoted = false;
    for (const char c : line) {
        const bool blank = !quoted && (c == ' ' || c == '\t');
        if (!blank && !inPiece) {
            pieces.emplace_back();
        }
        inPiece = !blank;
        if (c == '"') {
            quoted = !quoted;
        } else if (!blank) {
            pieces.back().push_back(c);
        }
    }
    return pieces;
}

// Runs in a forked child and does not return: starts the program as a grandchild, which this
// process need not wait for, and writes errno to the pipe when that fails.
[[noreturn]] void RunDetached(const char* program, char* const* arguments, int report) noexcept {
    const pid_t child = ::fork();
    if (child > 0) {
        ::_exit(0);
    }
    if (child == 0) {
        ::execv(program, arguments);
    }
    const int error = errno;
    [[maybe_unused]] const ssize_t written = ::write(report, &error, sizeof error);
    ::_exit(1);
}

// The error that the child wrote; 0 when the pipe was closed without one, by the start of the
// program.
int AwaitReport(int report) noexcept {
    int error = 0;
    ssize_t count = 0;
    do {
        count = ::read(report, &error, sizeof error);
    } while (count < 0 && errno == EINTR);
    return count == static_cast<ssize_t>(sizeof error) ? error : 0;
}

bool Spawn(const std::string& program, char* const* arguments) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return FailErrno();
    }
    const posix::CDescriptor reader(ends[0]);
    posix::CDescriptor writer(ends[1]);
    const pid_t child = ::fork();
    if (child < 0) {
        return FailErrno();
    }
    if (child == 0) {
        RunDetached(program.c_str(), arguments, writer.Get());
    }
    writer.Reset();
    const int error = AwaitReport(reader.Get());
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return error == 0 || Fail(posix::Win32FromErrno(error, program));
}

}  // namespace

std::string WideToNarrow(std::u16string_view text) {
    return zorel::ToUtf8(text);
}

std::u16string NarrowToWide(std::string_view text) {
    return zorel::ToUtf16(text);
}

ModuleHandle OwnModule() noexcept {
    static const char kAnchor = 0;
    return ModuleAt(&kAnchor);
}

std::uint32_t GetModuleFileNameW(ModuleHandle module, char16_t* buffer,
                                 std::uint32_t size) noexcept {
    if (size == 0) {
        Fail(win32err::kInsufficientBuffer);
        return 0;
    }
    try {
        const std::u16string path = zorel::ToUtf16(ModulePath(module));
        if (path.empty()) {
            FailErrno();
            return 0;
        }
        const std::size_t stored = std::min<std::size_t>(path.size(), size - 1);
        std::copy_n(path.begin(), stored, buffer);
        buffer[stored] = u'\0';
        if (stored == path.size()) {
            return static_cast<std::uint32_t>(stored);
        }
        Fail(win32err::kInsufficientBuffer);
        return size;
    } catch (const std::bad_alloc&) {
        Fail(win32err::kNotEnoughMemory);
        return 0;
    }
}

bool GetTempPathW(std::u16string& folder) {
    const char* name = std::getenv("TMPDIR");
    folder = zorel::ToUtf16(name != nullptr && *name != '\0' ? name : "/tmp");
    if (!folder.ends_with(u'/')) {
        folder.push_back(u'/');
    }
    return true;
}

bool GetEnvironmentVariableW(std::u16string_view name, std::u16string& value) {
    const bool possible = name.find(u'\0') == std::u16string_view::npos;
    const char* found = possible ? std::getenv(zorel::ToUtf8(name).c_str()) : nullptr;
    if (found == nullptr) {
        return Fail(win32err::kEnvVarNotFound);
    }
    value = zorel::ToUtf16(found);
    return true;
}

bool StartProgram(std::u16string_view program, std::u16string_view arguments) {
    const auto native = posix::NativePath(program);
    if (!native) {
        return false;
    }
    std::vector<std::string> pieces = SplitArguments(zorel::ToUtf8(arguments));
    pieces.insert(pieces.begin(), *native);
    std::vector<char*> pointers;
    pointers.reserve(pieces.size() + 1);
    for (std::string& piece : pieces) {
        pointers.push_back(piece.data());
    }
    pointers.push_back(nullptr);
    return Spawn(*native, pointers.data());
}

EVersionStep ReadFileVersion(std::u16string_view path, FileVersion&) {
    if (GetFileAttributesW(path) != kInvalidAttributes) {
        Fail(win32err::kNotSupported);
    }
    return EVersionStep::Size;
}

}  // namespace platform
