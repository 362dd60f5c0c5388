// Writes an index data file: the folders, files and accounts of one volume.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "cli/output/replacing_file.h"

namespace zorel::tools {

// File records are written as they come; only folders and owners wait in memory. The
// file takes its name in Finish; without it nothing is left behind. Folders and owners
// get indices from 0 in the order they are added, and a record may refer only to what
// was added before it (std::invalid_argument otherwise). Failures of the system are
// std::system_error naming the path. One thread at a time.
class CCatalogueWriter {
public:
    static constexpr std::uint64_t kRootFolder = 0;
    static constexpr std::uint32_t kNoOwner = 0xFFFFFFFFU;

    // The root folder is there from the start.
    explicit CCatalogueWriter(const std::string& path);

    // `name` must not be empty: an empty name marks the root.
    std::uint64_t AddFolder(std::u16string_view name, std::uint64_t parent);
    // An empty `name` is an account that could not be resolved.
    std::uint32_t AddOwner(std::u16string_view id, std::u16string_view name,
                           std::u16string_view domain);
    // `owner` is an index or kNoOwner; `modifyTicks` counts 100 ns from 1601-01-01 UTC.
    void AddFile(std::u16string_view name, std::uint64_t folder, std::uint32_t owner,
                 std::int64_t modifyTicks, std::int64_t sizeBytes);
    void Finish();

    std::uint64_t FolderCount() const { return m_folderCount; }
    std::uint64_t FileCount() const { return m_fileCount; }
    std::uint32_t OwnerCount() const { return m_ownerCount; }
    const std::string& TemporaryPath() const { return m_file.TemporaryPath(); }

private:
    CReplacingFile m_file;
    std::string m_folders;  // encoded records
    std::string m_owners;   // encoded records
    std::uint64_t m_folderCount = 1;
    std::uint64_t m_fileCount = 0;
    std::uint32_t m_ownerCount = 0;
};

}  // namespace zorel::tools
