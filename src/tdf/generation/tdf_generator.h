// Generation of text data files from the catalogue of a restore point
// (doc/text-data-files.md).
#pragma once

#include <cstdint>
#include <string>

namespace tdf {

struct TdfSettings {
    std::u16string binIndexFile;       // the volume-list meta-file
    std::u16string outpFolder;         // receives all files; made with its missing parents
    std::int64_t txtDateTime = 0;      // ticks: all times of every text data file
    std::int32_t recsNumPerTxt = 0;    // file records in one text data file
    bool bCrcMode = false;             // search-key lines instead of record lines
    std::int32_t subfoldersMax = 0;    // groups of a fingerprint; negative: all
    std::int32_t additionalParts = 0;  // parts of a name with key lines; negative: all
    std::u16string separators;         // characters that cut a name into parts
};

// Writes the text data files and the owners map of every volume in the list. Holds the
// folder and owner tables of one volume in memory; file records pass through. A list
// without volumes is no failure. Throws CExc, logged as a failed scope; what was written
// before stays.
void GenerateTextDataFiles(const TdfSettings& settings);

}  // namespace tdf
