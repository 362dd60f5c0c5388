#include "cli/scan/catalogue_summary.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "ZorelText.h"
#include "cli/output/replacing_file.h"

namespace zorel::tools {

namespace {

constexpr std::size_t kSizeLimitBytes = 100U << 20;
constexpr std::string_view kByteOrderMark = "\xFF\xFE";

// The content of the file; nothing when there is no such file.
std::optional<std::string> ReadIfExists(const std::string& path) {
    const CDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        ThrowSystemError(path, errno);
    }
    std::string content;
    char block[1U << 16];
    while (content.size() < kSizeLimitBytes) {
        const ssize_t got = ::read(file.Get(), block, sizeof(block));
        if (got == 0) {
            break;
        }
        if (got > 0) {
            content.append(block, static_cast<std::size_t>(got));
        } else if (errno != EINTR) {
            ThrowSystemError(path, errno);
        }
    }
    return content;
}

std::u16string Decode(const std::string& path, std::string_view content) {
    if (content.size() >= kSizeLimitBytes) {
        throw std::runtime_error(path + ": The file is too big for a summary.");
    }
    if (!content.starts_with(kByteOrderMark)) {
        return ToUtf16(content);
    }
    content.remove_prefix(kByteOrderMark.size());
    if (content.size() % 2 != 0) {
        throw std::runtime_error(path + ": The file holds half a character; it is no summary.");
    }
    std::u16string text;
    text.reserve(content.size() / 2);
    for (std::size_t i = 0; i < content.size(); i += 2) {
        text.push_back(static_cast<char16_t>(static_cast<unsigned char>(content[i]) |
                                             static_cast<unsigned char>(content[i + 1]) << 8));
    }
    return text;
}

// A separator at the very end opens no further line.
std::vector<std::u16string> SplitLines(std::u16string_view text) {
    std::vector<std::u16string> lines;
    while (!text.empty()) {
        const std::size_t end = text.find(u"\r\n");
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end == std::u16string_view::npos ? text.size() : end + 2);
    }
    return lines;
}

std::u16string_view Trim(std::u16string_view text) {
    const std::size_t first = text.find_first_not_of(u" \t");
    if (first == std::u16string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(u" \t") + 1 - first);
}

std::u16string Lowered(std::u16string_view text) {
    std::u16string out(text);
    for (char16_t& unit : out) {
        if (unit >= u'A' && unit <= u'Z') {
            unit = static_cast<char16_t>(unit + (u'a' - u'A'));
        }
    }
    return out;
}

struct Attribute {
    std::u16string_view name;
    std::u16string_view value;
};

// Nothing for comments and for lines that are no attributes.
std::optional<Attribute> Parse(std::u16string_view line) {
    const std::size_t equals = line.find(u'=');
    if (line.starts_with(u'#') || equals == std::u16string_view::npos) {
        return std::nullopt;
    }
    return Attribute{Trim(line.substr(0, equals)), Trim(line.substr(equals + 1))};
}

}  // namespace

std::string VolumeFilePath(const std::string& folder, char letter) {
    return folder + "/" + letter + ".dat";
}

CCatalogueSummary::CCatalogueSummary(const std::string& folder)
    : m_path(folder + "/" + kSummaryName) {
    for (const std::string& path : {m_path + ".old", m_path}) {
        if (const auto content = ReadIfExists(path)) {
            m_lines = SplitLines(Decode(path, *content));
            return;
        }
    }
}

void CCatalogueSummary::SetVolume(char letter, std::u16string_view dataFile) {
    const std::u16string name = std::u16string(u"Volume.") + static_cast<char16_t>(letter);
    const std::u16string line = name + u"=" + std::u16string(dataFile);
    std::vector<std::u16string> kept;
    bool placed = false;
    for (std::u16string& old : m_lines) {
        const auto attribute = Parse(old);
        if (!attribute || Lowered(attribute->name) != Lowered(name)) {
            kept.push_back(std::move(old));
        } else if (!std::exchange(placed, true)) {
            kept.push_back(line);
        }
    }
    if (!placed) {
        kept.push_back(line);
    }
    m_lines = std::move(kept);
}

void CCatalogueSummary::Save() const {
    CReplacingFile file(m_path);
    file.Append(kByteOrderMark);
    std::u16string text;
    for (const std::u16string& line : m_lines) {
        text += &line == &m_lines.front() ? u"" : u"\r\n";
        text += line;
    }
    for (const char16_t unit : text) {
        const char bytes[] = {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
        file.Append({bytes, 2});
    }
    file.Commit();
    // Left in place, the safety copy would be read instead of what was just written.
    const std::string old = m_path + ".old";
    if (::unlink(old.c_str()) != 0 && errno != ENOENT) {
        ThrowSystemError(old, errno);
    }
}

std::vector<std::u16string> CCatalogueSummary::DataFiles() const {
    std::vector<std::u16string> files;
    for (const std::u16string& line : m_lines) {
        if (const auto attribute = Parse(line); attribute && !attribute->value.empty()) {
            files.emplace_back(attribute->value);
        }
    }
    return files;
}

}  // namespace zorel::tools
