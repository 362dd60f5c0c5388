// Generation of text data files from the catalogue of a restore point
// (doc/text-data-files.md).
#pragma once

#include <cstdint>
#include <string>

namespace tdf {

struct TdfSettings {
    std::u16string binIndexFile;       // the volume-list meta-file
    std::u16string outpFolder;         // receives all files; created with its missing parents
    std::int64_t txtDateTime = 0;      // ticks; the file times of every text data file
    std::int32_t recsNumPerTxt = 0;    // file records in one text data file
    bool bCrcMode = false;             // search-key lines instead of record lines
    std::int32_t subfoldersMax = 0;    // groups in a fingerprint; negative: all
    std::int32_t additionalParts = 0;  // parts of a name with key lines; negative: all
    std::u16string separators;         // characters that separate the parts of a name
};

// Writes the text data files and the owners map of every volume in the list. Keeps the
// folder and owner tables of one volume in memory and reads its file records in sequence.
// A list without volumes is not a failure. Throws CExc and logs the scope as failed; files
// already written are kept.
void GenerateTextDataFiles(const TdfSettings& settings);

}  // namespace tdf
