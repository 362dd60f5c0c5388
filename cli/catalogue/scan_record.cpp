#include "cli/catalogue/scan_record.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include "ZorelText.h"
#include "cli/meta_files/meta_file.h"

namespace zorel::cli {

namespace {

namespace fs = std::filesystem;

struct NumberField {
    const char16_t* name;
    std::int64_t ScanRecord::*member;
};

struct TextField {
    const char16_t* name;
    std::string ScanRecord::*member;
};

constexpr NumberField kNumbers[] = {
    {u"Scan.Milliseconds", &ScanRecord::milliseconds},
    {u"Scan.Folders", &ScanRecord::folders},
    {u"Scan.Files", &ScanRecord::files},
    {u"Scan.Bytes", &ScanRecord::bytes},
    {u"Scan.Owners", &ScanRecord::owners},
    {u"Scan.Omitted", &ScanRecord::omitted},
};
constexpr TextField kTexts[] = {
    {u"Scan.Folder", &ScanRecord::folder},
    {u"Scan.Host", &ScanRecord::host},
    {u"Scan.Time", &ScanRecord::time},
};
constexpr char16_t kDataFile[] = u"Scan.DataFile";
constexpr char16_t kOption[] = u"Scan.Option.";

std::u16string OptionName(std::size_t number) {
    return kOption + ToUtf16(std::to_string(number));
}

// Each byte outside of ASCII, each control character, blank at an end and % becomes %HH, so that
// a meta-file keeps every path.
std::u16string Escaped(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEnd = i == 0 || i + 1 == text.size();
        if (text[i] > ' ' && text[i] <= '~' && text[i] != '%') {
            out += text[i];
        } else if (text[i] == ' ' && !isEnd) {
            out += ' ';
        } else {
            char code[8];
            static_cast<void>(std::snprintf(code, sizeof(code), "%%%02X",
                                            static_cast<unsigned>(text[i]) & 0xFFU));
            out += code;
        }
    }
    return ToUtf16(out);
}

std::string Unescaped(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned byte = 0;
        const char* const end = text.data() + std::min(i + 3, text.size());
        if (text[i] == '%' && std::from_chars(text.data() + i + 1, end, byte, 16).ptr == end) {
            out += static_cast<char>(byte);
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

// Identifies the content of a data file: its size in bytes and a checksum of all of them.
std::string ContentMark(const std::string& path) {
    constexpr std::size_t kBlock = 1U << 20;
    constexpr std::uint64_t kPrime = 0x100000001B3;
    std::ifstream file(path, std::ios::binary);
    std::vector<char> block(kBlock);
    std::uint64_t checksum = 0xCBF29CE484222325;
    std::uint64_t size = 0;
    while (file) {
        file.read(block.data(), static_cast<std::streamsize>(block.size()));
        const auto count = static_cast<std::size_t>(file.gcount());
        std::fill(block.begin() + static_cast<std::ptrdiff_t>(count), block.end(), '\0');
        for (std::size_t i = 0; i < count; i += sizeof(std::uint64_t)) {
            std::uint64_t word = 0;
            std::memcpy(&word, block.data() + i, sizeof word);
            checksum = std::rotl(checksum ^ word, 29) * kPrime;
        }
        size += count;
    }
    if (!file.eof()) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    char text[64];
    static_cast<void>(std::snprintf(text, sizeof(text), "%llu bytes, %016llx",
                                    static_cast<unsigned long long>(size),
                                    static_cast<unsigned long long>(checksum)));
    return text;
}

std::string ValueOf(const CMetaFile& file, std::u16string_view name) {
    client::CString value;
    return file.Find(name, value) ? Unescaped(value.Utf8()) : "";
}

}  // namespace

std::string ScanRecordPath(const std::string& dataFile) {
    return fs::path(dataFile).replace_extension(".scan.mtf").string();
}

std::optional<ScanRecord> FindScanRecord(const std::string& dataFile) {
    const std::string path = ScanRecordPath(dataFile);
    std::error_code ignored;
    if (!fs::exists(path, ignored) || !fs::exists(dataFile, ignored)) {
        return std::nullopt;
    }
    const CMetaFile file(path, EIdxMetaLoad);
    if (ValueOf(file, kDataFile) != ContentMark(dataFile)) {
        return std::nullopt;
    }
    ScanRecord record;
    for (const TextField& field : kTexts) {
        record.*field.member = ValueOf(file, field.name);
    }
    for (const NumberField& field : kNumbers) {
        const std::string value = ValueOf(file, field.name);
        std::from_chars(value.data(), value.data() + value.size(), record.*field.member);
    }
    client::CString option;
    while (file.Find(OptionName(record.options.size()), option)) {
        record.options.push_back(Unescaped(option.Utf8()));
    }
    return record;
}

CScanRecordWriter::CScanRecordWriter(const ScanRecord& record, const std::string& dataFile,
                                     const std::string& content)
    : m_file(ScanRecordPath(dataFile)) {
    try {
        Write(record, content);
    } catch (const client::CError& error) {
        throw client::CError(error.Result(), ScanRecordPath(dataFile),
                             {error.Source(), error.Description()});
    }
}

void CScanRecordWriter::Write(const ScanRecord& record, const std::string& content) const {
    CMetaFile file(m_file.Path(), EIdxMetaCreateNewDetached);
    for (const TextField& field : kTexts) {
        file.Set(field.name, Escaped(record.*field.member));
    }
    for (const NumberField& field : kNumbers) {
        file.Set(field.name, ToUtf16(std::to_string(record.*field.member)));
    }
    for (std::size_t i = 0; i < record.options.size(); ++i) {
        file.Set(OptionName(i), Escaped(record.options[i]));
    }
    file.Set(kDataFile, ToUtf16(ContentMark(content)));
    file.Save();
}

}  // namespace zorel::cli
