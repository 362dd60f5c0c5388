#include "support/tdf_model.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace support {

namespace {

// CRC-16/CCITT-FALSE, bit by bit.
unsigned PlainCrc(std::string_view bytes) {
    unsigned crc = 0xFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned>(static_cast<unsigned char>(byte)) << 8;
        for (int bit = 0; bit < 8; ++bit) {
            crc = ((crc << 1) ^ ((crc & 0x8000U) != 0 ? 0x1021U : 0U)) & 0xFFFFU;
        }
    }
    return crc;
}

// Of the names in the tests, only those with the unpaired surrogate D800 are not text.
bool IsText(std::u16string_view text) {
    return text.find(u'\xD800') == std::u16string_view::npos;
}

std::vector<std::u16string> FoldersOf(const Volume& volume, std::int64_t dir) {
    std::vector<std::u16string> folders;
    while (dir != 0 && folders.size() < 64) {
        const DirRow& row = volume.dirs.at(static_cast<std::size_t>(dir));
        folders.insert(folders.begin(), row.name);
        dir = row.parent;
    }
    return folders;
}

std::u16string DateOf(std::int64_t ticks) {
    namespace chrono = std::chrono;
    constexpr std::int64_t kTo1970 = 11644473600;
    constexpr std::int64_t kLast = 253402300799;
    const std::int64_t since1970 = std::min((ticks < 0 ? 0 : ticks) / 10'000'000 - kTo1970, kLast);
    const chrono::sys_seconds moment{chrono::seconds(since1970)};
    const auto day = chrono::floor<chrono::days>(moment);
    const chrono::year_month_day date(day);
    const auto second = static_cast<int>((moment - day).count());
    char text[64];
    std::snprintf(text, sizeof text, "%02u/%02u/%04d %02d:%02d:%02d", unsigned{date.month()},
                  unsigned{date.day()}, int{date.year()}, second / 3600, second / 60 % 60,
                  second % 60);
    return Wide(text);
}

using Lines = std::vector<std::u16string>;

Lines RecordLines(const Volume& volume, const FileRow& file, const std::u16string& volumeName) {
    std::u16string line = DateOf(file.modifyTime) + Wide(", " + std::to_string(file.size) + ", ") +
                          volumeName + u":\\";
    for (const std::u16string& folder : FoldersOf(volume, file.dir)) {
        line += folder + u"\\";
    }
    line += file.name;
    return IsText(line) ? Lines{line} : Lines{};
}

Lines KeyLines(const Volume& volume, const FileRow& file, const std::u16string& volumeName,
               const tdf::TdfSettings& settings) {
    if (!IsText(file.name)) {
        return {};
    }
    const std::size_t dot = file.name.rfind(u'.');
    const std::u16string base = file.name.substr(0, dot);
    const std::u16string extension =
        dot == std::u16string::npos ? u"none" : file.name.substr(dot + 1);
    std::vector<std::u16string> elements = FoldersOf(volume, file.dir & 0xFFFFFFFF);
    std::erase(elements, u"");
    elements.insert(elements.begin(), volumeName + u":");
    const std::u16string fingerprint = PlainFingerprint(elements, settings.subfoldersMax);
    Lines parts = Split(base, settings.separators);
    std::stable_sort(parts.begin(), parts.end(),
                     [](const auto& a, const auto& b) { return a.size() > b.size(); });
    // A negative number is larger than every size.
    parts.resize(std::min(parts.size(), static_cast<std::size_t>(settings.additionalParts)));
    const auto line = [&](std::u16string_view tag, const std::u16string& text) {
        return extension + u" " + std::u16string(tag) + fingerprint + u" " + text;
    };
    Lines lines = {line(u"0h", base)};
    for (const std::u16string& part : parts) {
        lines.push_back(line(u"1h", part));
    }
    for (const std::u16string& part : parts) {
        lines.push_back(line(u"2h", std::u16string(part.rbegin(), part.rend())));
    }
    return lines;
}

}  // namespace

std::u16string Wide(std::string_view ascii) {
    return std::u16string(ascii.begin(), ascii.end());
}

std::u16string Lower(std::u16string_view text) {
    std::u16string out(text);
    for (char16_t& c : out) {
        c = c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
    }
    return out;
}

std::vector<std::u16string> Split(std::u16string_view text, std::u16string_view separators) {
    std::vector<std::u16string> parts(1);
    for (const char16_t unit : text) {
        if (separators.find(unit) == std::u16string_view::npos) {
            parts.back() += unit;
        } else {
            parts.emplace_back();
        }
    }
    std::erase(parts, u"");
    return parts;
}

std::u16string PlainFingerprint(const std::vector<std::u16string>& elements, std::int64_t count) {
    std::u16string text;
    for (std::size_t i = 0; i < elements.size() && count != 0; ++i, --count) {
        char group[8];
        std::snprintf(group, sizeof group, "%04x", PlainCrc(Utf16Bytes(Lower(elements[i]))));
        text += Wide(group);
    }
    return text;
}

bool IsUnknown(const OwnerRow& owner) {
    return owner.name.empty() || Lower(owner.name) == Lower(owner.id);
}

std::vector<OwnerLabel> LabelsOf(const std::vector<OwnerRow>& owners) {
    std::vector<OwnerLabel> labels;
    int unknown = 0;
    for (const OwnerRow& owner : owners) {
        if (IsUnknown(owner)) {
            const std::u16string label = Wide("unkn" + std::to_string(unknown++));
            labels.push_back({label, label, label});
        } else {
            const std::u16string account = owner.domain + u"\\" + owner.name;
            labels.push_back({owner.domain + u"." + owner.name, account,
                              owner.domain.empty() ? owner.name : account});
        }
    }
    return labels;
}

std::string Utf16Bytes(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text) {
        bytes += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    }
    return bytes;
}

TdfFiles ModelTdfFiles(const Volume& volume, const std::u16string& volumeName,
                       const tdf::TdfSettings& settings) {
    const std::vector<OwnerLabel> labels = LabelsOf(volume.owners);
    std::vector<std::int64_t> records(labels.size());
    TdfFiles files;
    for (const FileRow& file : volume.files) {
        if (file.owner >= labels.size()) {
            continue;
        }
        const std::int64_t number = records[file.owner]++ / std::max(settings.recsNumPerTxt, 1);
        std::string& content = files[u"vl." + volumeName + u"." + labels[file.owner].inFileName +
                                     Wide("." + std::to_string(number) + ".txt")];
        if (content.empty()) {
            content = "\xFF\xFE";
        }
        for (const std::u16string& line : settings.bCrcMode
                                              ? KeyLines(volume, file, volumeName, settings)
                                              : RecordLines(volume, file, volumeName)) {
            content += Utf16Bytes(line + u"\r\n");
        }
    }
    std::string& map = files[u"owners." + volumeName + u".map"] = "\xFF\xFE";
    for (std::size_t i = 0; i < labels.size(); ++i) {
        map += Utf16Bytes(labels[i].inMap + u"    " + volume.owners[i].id + u"\r\n");
    }
    return files;
}

}  // namespace support
