// A file that appears under its name only when it is complete.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "cli/scan/descriptor.h"

namespace zorel::tools {

// Throws std::system_error of `error` (an errno value) with `path` in front of the
// system's text.
[[noreturn]] void ThrowSystemError(const std::string& path, int error);

// Writes `bytes` whole, continuing after interrupts and short writes; throws
// std::system_error naming `path`.
void WriteFully(int descriptor, std::string_view bytes, const std::string& path);

// The folder that `path` stands in: "." for a bare name.
std::string FolderOf(const std::string& path);

// Writes beside the target under a temporary name and renames in Commit; without a
// Commit the destructor removes the temporary file and the target stays as it was.
// Order: Append and Patch in any order, then Commit once. All failures are
// std::system_error; one thread at a time.
class CReplacingFile {
public:
    explicit CReplacingFile(std::string path);
    ~CReplacingFile();
    CReplacingFile(const CReplacingFile&) = delete;
    CReplacingFile& operator=(const CReplacingFile&) = delete;

    // Space for appended bytes; it reaches the file when it holds kBufferBytes.
    std::string& Buffer() { return m_buffer; }
    // To be called after each append to Buffer().
    void FlushWhenFull() {
        if (m_buffer.size() >= kBufferBytes) {
            Flush();
        }
    }
    void Append(std::string_view bytes);
    // Bytes appended so far, flushed or not.
    std::uint64_t Position() const { return m_flushed + m_buffer.size(); }
    // Overwrites bytes appended earlier.
    void Patch(std::uint64_t offset, std::string_view bytes);
    // Brings everything to the disk and gives the file its name.
    void Commit();

    const std::string& TemporaryPath() const { return m_temporary; }

private:
    static constexpr std::size_t kBufferBytes = 1U << 20;

    void Flush();

    std::string m_path;
    std::string m_temporary;
    std::string m_buffer;
    std::uint64_t m_flushed = 0;  // bytes handed to the system
    CDescriptor m_descriptor;
    bool m_exists = false;  // the temporary file stands on the disk
};

}  // namespace zorel::tools
