// The tables of a data file that the library's interfaces do not show whole.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "idxdata/tables/folder_table.h"
#include "idxdata/tables/owner_table.h"

namespace zorel::cli {

// Each throws client::CError with the path of the data file.
idxdata::CFolderTable ReadFolderTable(const std::string& dataFile);
idxdata::COwnerTable ReadOwnerTable(const std::string& dataFile);

// The path of a folder below `root`, such as u"C:\\", without a backslash at its end; none for a
// folder whose parents do not lead to the root of the volume, and for the root itself.
std::u16string PathOfFolder(const idxdata::CFolderTable& folders, std::size_t folder,
                            std::u16string_view root);

// A folder that no path reaches when the volume is browsed.
struct HiddenFolder {
    std::u16string path;
    std::size_t nameAt;    // where its own name begins in the path
    std::string reason;    // "hidden by C:\docs"
    bool hasOmittedFiles;  // whether a recursive listing leaves out its content
};

// The hidden folders of a volume in the order of the table: all but the last of siblings whose
// names differ in letter case only, and folders whose names contain a separator.
std::vector<HiddenFolder> FindHiddenFolders(const idxdata::CFolderTable& folders,
                                            std::u16string_view root);

}  // namespace zorel::cli
