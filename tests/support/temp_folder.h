// A folder for one test.
#pragma once

#include <filesystem>
#include <random>
#include <string>
#include <string_view>

#include "support/target.h"

namespace support {

// Creates a new empty folder in `parent` and removes it with all its content, read-only entries
// included. Throws std::filesystem::filesystem_error when it cannot create the folder.
class CTempFolder {
public:
    explicit CTempFolder(
        const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
        std::random_device random;
        do {
            m_path = parent / ("zorel_test_" + std::to_string(random()) + std::to_string(random()));
        } while (!std::filesystem::create_directory(m_path));
    }
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;
    ~CTempFolder() {
        std::error_code ignored;
        MakeWritable();
        std::filesystem::remove_all(m_path, ignored);
    }

    // Without a separator at the end.
    const std::filesystem::path& Native() const { return m_path; }
    std::u16string Path() const { return m_path.u16string(); }
    // Paths of an entry; `name` may have several elements, separated by '/'.
    std::filesystem::path Native(std::u16string_view name) const {
        return (m_path / std::filesystem::path(std::u16string(name))).make_preferred();
    }
    std::u16string Path(std::u16string_view name) const { return Native(name).u16string(); }

private:
    void MakeWritable() const {
        namespace fs = std::filesystem;
        std::error_code ignored;
        const auto add = [&](const fs::path& path) {
            fs::permissions(path, fs::perms::owner_all, fs::perm_options::add, ignored);
        };
        add(m_path);
        for (fs::recursive_directory_iterator it(m_path, ignored), end; it != end;
             it.increment(ignored)) {
            if (!it->is_symlink(ignored)) {
                add(it->path());
            }
        }
    }

    std::filesystem::path m_path;
};

// A folder in memory where the system has one: many small files are flushed quickly there.
inline std::filesystem::path QuickFolder() {
    const std::filesystem::path memory = "/dev/shm";
    return kOnLinux && std::filesystem::exists(memory) ? memory
                                                       : std::filesystem::temp_directory_path();
}

}  // namespace support
