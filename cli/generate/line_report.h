// What the lines of text data files leave out of a catalogue.
#pragma once

#include <cstdint>

#include "cli/catalogue/catalogue.h"
#include "cli/output/omission_list.h"

namespace zorel::cli {

enum class ELineKind { Record, Key };

// Counts of one volume. Each file without a line is in one count.
struct LineReport {
    std::int64_t files = 0;         // in the catalogue
    std::int64_t lines = 0;         // in the text data files
    std::int64_t notText = 0;       // without a line: the name or the path is not text
    std::int64_t emptyNames = 0;    // without a line: key lines of a file without a name
    std::int64_t unknownOwner = 0;  // without a line: the owner is not in the table of owners
    std::int64_t shortened = 0;     // with a line that has only a part of the folders

    std::int64_t FilesWithLines() const { return files - notText - emptyNames - unknownOwner; }
};

// Reads the data file and adds each file that has no line, or a shortened one, to `omissions`.
// `lines` stays 0. Throws client::CError with the path of the data file, and std::system_error.
LineReport ReportLines(const CCatalogue::Volume& volume, ELineKind kind, COmissionList& omissions);

}  // namespace zorel::cli
