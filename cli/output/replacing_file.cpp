#include "cli/output/replacing_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

namespace zorel::tools {

void ThrowSystemError(const std::string& path, int error) {
    throw std::system_error(error, std::generic_category(), path);
}

void WriteFully(int descriptor, std::string_view bytes, const std::string& path) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            ThrowSystemError(path, errno);
        }
    }
}

std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

namespace {

// The rename is on the disk only when the folder is.
void SyncFolder(const std::string& folder) {
    const CDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot sync a folder and say so with EINVAL.
    if (!descriptor || (::fsync(descriptor.Get()) != 0 && errno != EINVAL)) {
        ThrowSystemError(folder, errno);
    }
}

}  // namespace

CReplacingFile::CReplacingFile(std::string path) : m_path(std::move(path)) {
    const std::string name = m_path.substr(m_path.find_last_of('/') + 1);
    const std::string stem = FolderOf(m_path) + "/." + name + "." + std::to_string(::getpid());
    for (int attempt = 0; !m_descriptor; ++attempt) {
        m_temporary = stem + "-" + std::to_string(attempt) + ".tmp";
        m_descriptor = CDescriptor(
            ::open(m_temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666));
        if (!m_descriptor && errno != EEXIST && errno != EINTR) {
            ThrowSystemError(m_path, errno);
        }
    }
    m_exists = true;
}

CReplacingFile::~CReplacingFile() {
    if (m_exists) {
        ::unlink(m_temporary.c_str());
    }
}

void CReplacingFile::Append(std::string_view bytes) {
    m_buffer.append(bytes);
    FlushWhenFull();
}

void CReplacingFile::Flush() {
    WriteFully(m_descriptor.Get(), m_buffer, m_path);
    m_flushed += m_buffer.size();
    m_buffer.clear();
}

void CReplacingFile::Patch(std::uint64_t offset, std::string_view bytes) {
    Flush();
    while (!bytes.empty()) {
        const ssize_t written =
            ::pwrite(m_descriptor.Get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
            offset += static_cast<std::uint64_t>(written);
        } else if (errno != EINTR) {
            ThrowSystemError(m_path, errno);
        }
    }
}

void CReplacingFile::Commit() {
    Flush();
    if (::fsync(m_descriptor.Get()) != 0) {
        ThrowSystemError(m_path, errno);
    }
    if (m_descriptor.Close() != 0) {
        ThrowSystemError(m_path, errno);
    }
    if (std::rename(m_temporary.c_str(), m_path.c_str()) != 0) {
        ThrowSystemError(m_path, errno);
    }
    m_exists = false;
    SyncFolder(FolderOf(m_path));
}

}  // namespace zorel::tools
