#include "cli/search/search_filters.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <limits>

#include "ZorelText.h"
#include "cli/command_line/command.h"

namespace zorel::tools {

namespace {

constexpr double kSecondsPerDay = 86400;
constexpr double kUnixEpochDate = 25569;    // 1970-01-01
constexpr double kTickEpochDate = -109205;  // 1601-01-01

// A number at the start of `text`, which becomes the rest.
std::optional<std::int64_t> CutNumber(std::string_view& text) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc()) {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return value;
}

std::optional<double> AgeUnitSeconds(std::string_view unit) {
    struct Unit {
        std::string_view name;
        double seconds;
    };
    constexpr Unit kUnits[] = {
        {"s", 1}, {"min", 60}, {"h", 3600}, {"d", kSecondsPerDay}, {"w", 7 * kSecondsPerDay}};
    for (const Unit& known : kUnits) {
        if (known.name == unit) {
            return known.seconds;
        }
    }
    return std::nullopt;
}

DATE Now() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return kUnixEpochDate + std::chrono::duration<double>(since).count() / kSecondsPerDay;
}

std::optional<DATE> ParseAge(std::string_view text) {
    const std::optional<std::int64_t> number = CutNumber(text);
    const std::optional<double> seconds = AgeUnitSeconds(text);
    if (!number || *number < 0 || !seconds) {
        return std::nullopt;
    }
    return Now() - static_cast<double>(*number) * *seconds / kSecondsPerDay;
}

// A number of `most` digits at most at the start of `text`, which becomes the rest.
bool CutField(std::string_view& text, std::size_t most, WORD& field) {
    const std::string_view digits = text.substr(0, most);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), field);
    text.remove_prefix(static_cast<std::size_t>(end - digits.data()));
    return error == std::errc();
}

// The same for one of these characters.
bool CutMark(std::string_view& text, std::string_view marks) {
    const bool found = !text.empty() && marks.find(text.front()) != std::string_view::npos;
    text.remove_prefix(found ? 1 : 0);
    return found;
}

std::optional<DATE> ParseMoment(std::string_view text) {
    SYSTEMTIME time{};
    if (!CutField(text, 4, time.wYear) || !CutMark(text, "-") || !CutField(text, 2, time.wMonth) ||
        !CutMark(text, "-") || !CutField(text, 2, time.wDay)) {
        return std::nullopt;
    }
    text.remove_suffix(text.ends_with('Z') ? 1 : 0);
    if (!text.empty() && (!CutMark(text, "T ") || !CutField(text, 2, time.wHour) ||
                          !CutMark(text, ":") || !CutField(text, 2, time.wMinute))) {
        return std::nullopt;
    }
    if (!text.empty() &&
        (!CutMark(text, ":") || !CutField(text, 2, time.wSecond) || !text.empty())) {
        return std::nullopt;
    }
    // A day behind the end of its month would be taken for one of the next month.
    DATE moment = 0;
    SYSTEMTIME same{};
    const bool valid = SystemTimeToVariantTime(&time, &moment) != 0 &&
                       VariantTimeToSystemTime(moment, &same) != 0 && same.wDay == time.wDay;
    return valid ? std::optional(moment) : std::nullopt;
}

bool IsVolume(std::u16string_view text) {
    return text.size() >= 2 && text[1] == u':' && (text.size() == 2 || text[2] == u'\\');
}

}  // namespace

std::int64_t ParseSize(const std::string& text, const std::string& option) {
    constexpr std::string_view kUnits = "KMGT";
    std::string_view rest = text;
    const std::optional<std::int64_t> number = CutNumber(rest);
    int shift = 0;
    bool valid = number && *number >= 0;
    if (valid && !rest.empty()) {
        const std::size_t unit = kUnits.find(static_cast<char>(rest.front() & ~0x20));
        valid = unit != std::string_view::npos && (rest.size() == 1 || rest.substr(1) == "B");
        shift = 10 * (static_cast<int>(unit) + 1);
    }
    if (!valid || *number > std::numeric_limits<std::int64_t>::max() >> shift) {
        throw CToolError(option + ": '" + text + "' is no size; write 4096, 10K, 10M, 2G or 1T");
    }
    return *number << shift;
}

DATE ParseTime(const std::string& text, const std::string& option) {
    if (const auto moment = ParseMoment(text)) {
        return *moment;
    }
    if (const auto moment = ParseAge(text)) {
        return *moment;
    }
    throw CToolError(option + ": '" + text +
                     "' is no time; write 2024-03-01, 2024-03-01T12:30:00 or an age like 30d");
}

std::uint64_t TicksOf(DATE date) {
    constexpr std::uint64_t kTicksPerSecond = 10'000'000;
    const double days = date < 0 ? std::ceil(date) - (date - std::ceil(date)) : date;
    const double seconds = std::round((days - kTickEpochDate) * kSecondsPerDay);
    return seconds <= 0 ? 0 : static_cast<std::uint64_t>(seconds) * kTicksPerSecond;
}

void CSearchFilters::Declare(CLI::App& app) {
    app.add_option("--name", m_name, "File name pattern: * and ? are wildcards")
        ->type_name("PATTERN");
    app.add_option("--under", m_under, "Only files in this folder and below")->type_name("PATH");
    app.add_option("--owner", m_owner, "NAME, DOMAIN\\NAME, NAME@DOMAIN or DOMAIN.NAME");
    app.add_option("--newer-than", m_newerThan, "Modified at this time (UTC) or later")
        ->type_name("TIME");
    app.add_option("--older-than", m_olderThan, "Modified at this time (UTC) or before")
        ->type_name("TIME");
    app.add_option("--min-size", m_minSize, "At least so large, as in 10M")->type_name("SIZE");
    app.add_option("--max-size", m_maxSize, "At most so large")->type_name("SIZE");
    app.add_option("--ext", m_endings, "Names that end so, in lower case, as in '.txt;.log'")
        ->type_name("LIST");
    app.add_flag("--search-server-rule", m_useServerRule,
                 "A pattern without stars must fit at the start of the name");
}

std::optional<char16_t> CSearchFilters::Volume() const {
    const std::u16string root = Root(u"");
    return m_under && IsVolume(root) ? std::optional(root[0]) : std::nullopt;
}

std::u16string CSearchFilters::Root(std::u16string_view volume) const {
    if (!m_under) {
        return {};
    }
    std::u16string path = ToUtf16(*m_under);
    for (char16_t& unit : path) {
        unit = unit == u'/' ? u'\\' : unit;
    }
    if (!IsVolume(path)) {
        const bool rooted = path.starts_with(u'\\');
        path = std::u16string(volume) + (rooted ? u":" : u":\\") + path;
    }
    while (path.size() > 2 && path.ends_with(u'\\')) {
        path.pop_back();
    }
    return path;
}

void CSearchFilters::FillCommon() {
    const double unbounded = std::numeric_limits<double>::infinity();
    m_record = {};
    m_record.UseTimeLimits = m_newerThan || m_olderThan ? VARIANT_TRUE : VARIANT_FALSE;
    m_record.ModifyTimeFrom = m_newerThan ? ParseTime(*m_newerThan, "--newer-than") : -unbounded;
    m_record.ModifyTimeTill = m_olderThan ? ParseTime(*m_olderThan, "--older-than") : unbounded;
    m_record.UseSizeLimits = m_minSize || m_maxSize ? VARIANT_TRUE : VARIANT_FALSE;
    m_record.SizeFrom =
        m_minSize ? ParseSize(*m_minSize, "--min-size") : std::numeric_limits<std::int64_t>::min();
    m_record.SizeTill =
        m_maxSize ? ParseSize(*m_maxSize, "--max-size") : std::numeric_limits<std::int64_t>::max();
    m_nameText = m_name ? client::CText(ToUtf16(*m_name)) : client::CText();
    m_record.FileNamePattern = m_nameText.Get();
}

SearchSpec& CSearchFilters::ForCatalogue() {
    FillCommon();
    m_rootText = m_under ? client::CText(Root(u"C")) : client::CText();
    m_ownerText = m_owner ? client::CText(ToUtf16(*m_owner)) : client::CText();
    m_endingsText = m_endings ? client::CText(ToUtf16(*m_endings)) : client::CText();
    m_record.rootPath = m_rootText.Get();
    m_record.Owner = m_ownerText.Get();
    m_record.UnrestrictedExtentions = m_endingsText.Get();
    m_record.UseSearchServerRule = m_useServerRule ? VARIANT_TRUE : VARIANT_FALSE;
    return m_record;
}

SearchSpec& CSearchFilters::ForText(std::u16string_view volume) {
    FillCommon();
    if (m_under) {
        m_rootText = client::CText(Root(volume) + u"\\");
        m_record.rootPath = m_rootText.Get();
    }
    const bool holdsStar = m_name && m_name->find('*') != std::string::npos;
    if (m_name && !m_name->empty() && !m_useServerRule && !holdsStar) {
        m_nameText = client::CText(u"*" + ToUtf16(*m_name));
        m_record.FileNamePattern = m_nameText.Get();
    }
    return m_record;
}

}  // namespace zorel::tools
