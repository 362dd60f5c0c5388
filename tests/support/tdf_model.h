// The expected files of a generation, computed by slow, simple code that shares nothing with
// the library.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "support/index_file_builder.h"
#include "tdf/generation/tdf_generator.h"

namespace support {

std::u16string Wide(std::string_view ascii);
// A-Z become a-z.
std::u16string Lower(std::u16string_view text);
// The non-empty parts between any of the separators.
std::vector<std::u16string> Split(std::u16string_view text, std::u16string_view separators);

// The groups of the first elements of a path; of all elements if `count` is negative.
std::u16string PlainFingerprint(const std::vector<std::u16string>& elements, std::int64_t count);

// "CORP.jsmith", "CORP\jsmith" and "CORP\jsmith", or "unkn0" three times.
struct OwnerLabel {
    std::u16string inFileName, inMap, inResults;
};
bool IsUnknown(const OwnerRow& owner);
std::vector<OwnerLabel> LabelsOf(const std::vector<OwnerRow>& owners);

// The bytes of UTF-16LE text.
std::string Utf16Bytes(std::u16string_view text);

// File names and contents for a volume whose folder indexes are valid and whose owners have
// different labels.
using TdfFiles = std::map<std::u16string, std::string>;
TdfFiles ModelTdfFiles(const Volume& volume, const std::u16string& volumeName,
                       const tdf::TdfSettings& settings);

}  // namespace support
