#include "cli/command_line/library_texts.h"

#include <cstdint>

#include "cli/catalogue/catalogue.h"
#include "cli/command_line/paths.h"

namespace zorel::cli {

namespace {

enum class EAbout {
    Subject,
    DataFile,  // the subject, if it is an index data file
    Captured,  // the file that the library names
};

// In both texts {} is the same part, such as a number or a path.
struct KnownText {
    std::string_view library;  // a part of the description
    std::string_view plain;
    EAbout about = EAbout::Subject;
};

// The first match is used.
constexpr KnownText kKnownTexts[] = {
    // Index data files.
    {"Prefix not match in", "damaged: a table does not begin where it should", EAbout::DataFile},
    {"Invalid datafile version in", "an index data file of another version", EAbout::DataFile},
    {"out of the buffer boundary", "damaged: it ends too early", EAbout::DataFile},
    {"Wrong table format in", "damaged: a table has an unknown format", EAbout::DataFile},
    {"Table not found in", "damaged: a table is missing", EAbout::DataFile},
    {"Number of fields not match in", "damaged: a table has other fields", EAbout::DataFile},
    {"Types not match in", "damaged: a table has other fields", EAbout::DataFile},
    {"of folder record {} does not name an earlier record", "damaged: folder {} has no parent",
     EAbout::DataFile},
    {"A folder index lies outside the folder table", "damaged: a file is in no folder",
     EAbout::DataFile},
    {"The file record {} of the volume", "damaged: file {} is in no folder", EAbout::DataFile},
    {"holds no root folder", "damaged: there is no root folder", EAbout::DataFile},
    {"There are too many folders", "too many folders to be browsed", EAbout::DataFile},
    {"too many files in the listing", "too many files for one list", EAbout::DataFile},
    {"paths of the listed folders are too long", "the paths of the folders are too long for a list",
     EAbout::DataFile},
    {"The path of a folder is too long", "the path of a folder is too long", EAbout::DataFile},
    {"Cannot alloc memory CBuffFileReader", "larger than 4294967295 bytes"},
    {"Cannot convert file time to variant time", "a time is not in the years 100 to 9999"},
    // Text data files.
    {"Cannot find a folder in line {} of the text data file",
     "not a text data file: line {} contains no path"},
    {"Cannot convert system time to variant time while parsing", "a line contains no valid time"},
    {"Cannot find file size while parsing", "a line contains no size"},
    {"Cannot find file name while parsing", "a line contains no file name"},
    {"Cannot find a folder in the line: [{}]", "not a full path: it contains no backslash"},
    {"Cannot create folder [{}]", "the folder cannot be created", EAbout::Captured},
    {"Failed to create owners map file. File path:[{}]", "the file cannot be written",
     EAbout::Captured},
    // Meta-files.
    {"The safety copy \"{}\" is not a regular file",
     "not a regular file; the copy of an unfinished save has this name", EAbout::Captured},
    {"Cannot copy file. Source file: [{}]", "the file cannot be copied", EAbout::Captured},
    {"is too big ({} bytes)", "{} bytes are too many for a meta-file; the limit is 104857599"},
    {"contains non-unicode lines", "damaged: a line of the UTF-16 text has an odd number of bytes"},
    {"bytes were read from the file", "changed by another program while it was read"},
    {"\" does not exist.", "no such file"},
    {"Unable to find row containing OIB reference", "a reference is deleted already"},
    // Their attributes.
    {"Path is too short", "the name must have the form oib1.NAME"},
    {"Invalid OIB subtree name: '{}'", "'{}' is not a group such as oib1"},
    {"Cannot unserialize a string value to integer. String: [{}]", "'{}' is not a number"},
    {"Cannot convert string to GUID. String: [{}]", "'{}' is not an identifier"},
    {"Out of the path elems boundary", "the name has too few elements"},
    {"The specified attribute's path ({}) is invalid", "'{}' is not a name"},
};

// Texts that name the attribute at fault.
constexpr KnownText kContexts[] = {
    {"Failed to parse attribute, path '{}', value", "attribute {}: "},
    {"attribute name by attribute path '{}'.", "attribute {}: "},
};

constexpr std::string_view kGap = "{}";

// The text at {}, empty when the pattern has none; none when `text` does not contain the pattern.
std::optional<std::string_view> Capture(std::string_view text, std::string_view pattern) {
    const std::size_t gap = pattern.find(kGap);
    const std::string_view start = pattern.substr(0, gap);
    const std::size_t at = text.find(start);
    if (at == text.npos || gap == pattern.npos) {
        return at == text.npos ? std::nullopt : std::optional(std::string_view());
    }
    text.remove_prefix(at + start.size());
    const std::size_t end = text.find(pattern.substr(gap + kGap.size()));
    return end == text.npos ? std::nullopt : std::optional(text.substr(0, end));
}

std::string Fill(std::string_view pattern, std::string_view captured) {
    std::string text(pattern);
    if (const std::size_t gap = text.find(kGap); gap != text.npos) {
        text.replace(gap, kGap.size(), captured);
    }
    return text;
}

std::string ContextOf(std::string_view description) {
    for (const KnownText& context : kContexts) {
        if (const auto captured = Capture(description, context.library)) {
            return Fill(context.plain, *captured);
        }
    }
    return "";
}

}  // namespace

const char* PlainReason(HRESULT result) {
    constexpr std::uint32_t kSystemError = 0x80070000;
    switch (static_cast<std::uint32_t>(result) - kSystemError) {
        case 2:
        case 3:
            return "no such file";
        case 4:
            return "too many open files";
        case 5:
            return "permission denied";
        case 8:
        case 14:
            return "not enough memory";
        case 19:
            return "the file system is read-only";
        case 23:
        case 29:
        case 30:
        case 1117:
            return "input/output error";
        case 32:
        case 33:
        case 170:
            return "in use by another program";
        case 38:
            return "it ends too early";
        case 39:
        case 112:
            return "no space left on the disk";
        case 50:
            return "the file system does not support the operation";
        case 80:
        case 183:
            return "a file with this name exists already";
        case 111:
        case 206:
            return "the name is too long";
        case 123:
        case 161:
        case 267:
            return "not a valid path";
        case 223:
            return "the file would be too large";
        case 1921:
            return "too many symbolic links";
        default:
            return nullptr;
    }
}

std::optional<PlainText> PlainDescription(const std::string& subject,
                                          std::string_view description) {
    for (const KnownText& known : kKnownTexts) {
        const auto captured = Capture(description, known.library);
        if (!captured) {
            continue;
        }
        if (known.about == EAbout::DataFile && !IsDataFile(WithSlashes(subject))) {
            return PlainText{"", "not an index data file"};
        }
        if (known.about == EAbout::Captured) {
            return PlainText{WithSlashes(std::string(*captured)), std::string(known.plain)};
        }
        return PlainText{"", ContextOf(description) + Fill(known.plain, *captured)};
    }
    return std::nullopt;
}

}  // namespace zorel::cli
