#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <unordered_map>

#include "cli/catalogue/data_file_writer.h"

namespace zorel::cli {

// The accounts of the system as owners: one record for each user that owns a file.
class CAccountOwners {
public:
    explicit CAccountOwners(CDataFileWriter& writer);
    // Adds the owner at the user's first file.
    std::uint32_t IndexOf(uid_t user);

private:
    CDataFileWriter& m_writer;
    std::u16string m_domain;  // the host name with a-z in upper case
    std::unordered_map<uid_t, std::uint32_t> m_indices;
};

}  // namespace zorel::cli
