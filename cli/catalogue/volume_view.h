#pragma once

#include <string>
#include <vector>

#include "cli/catalogue/catalogue.h"
#include "cli/catalogue/temporary_folder.h"

namespace zorel::cli {

// Writes a list of the volumes at `path`. Its folder exists; the data files stay where they are.
// Throws client::CError and std::system_error.
void WriteVolumeList(const std::string& path, const std::vector<CCatalogue::Volume>& volumes);

// A temporary folder with a list of some volumes, for the calls of the library that take every
// volume of a list. The data files stay where they are. Failures are client::CError,
// CCommandError and std::system_error.
class CVolumeView {
public:
    explicit CVolumeView(const std::vector<CCatalogue::Volume>& volumes);

    const std::string& Folder() const { return m_folder.Path(); }
    std::string VolumeList() const;

private:
    CTemporaryFolder m_folder;
};

}  // namespace zorel::cli
