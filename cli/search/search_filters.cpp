#include "cli/search/search_filters.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <utility>

#include "ZorelText.h"
#include "cli/command_line/command_error.h"
#include "cli/output/calendar.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

bool IsVolume(std::u16string_view text) {
    return text.size() >= 2 && text[1] == u':' && (text.size() == 2 || text[2] == u'\\');
}

// The power of 1024 of "", "K", "KB" or "KiB" and so on, in any case.
std::optional<int> UnitPower(std::string_view text) {
    constexpr std::u16string_view kUnits = u"kmgt";
    const std::u16string unit = Folded(ToUtf16(text));
    if (unit.empty()) {
        return 0;
    }
    const std::size_t power = kUnits.find(unit.front());
    const std::u16string_view rest = std::u16string_view(unit).substr(1);
    const bool isUnit = power != kUnits.npos && (rest.empty() || rest == u"b" || rest == u"ib");
    return isUnit ? std::optional(static_cast<int>(power) + 1) : std::nullopt;
}

// Removes the digits at the start of `text`.
std::string_view TakeDigits(std::string_view& text) {
    const std::string_view digits =
        text.substr(0, std::min(text.find_first_not_of("0123456789"), text.size()));
    text.remove_prefix(digits.size());
    return digits;
}

// "12", or "1.5" of a unit; the rest of `text` is the unit. Bytes are cut to a whole number.
std::optional<std::int64_t> SizeOf(std::string_view text) {
    const std::string_view digits = TakeDigits(text);
    std::string_view decimals;
    const bool hasPoint = text.starts_with('.');
    if (hasPoint) {
        text.remove_prefix(1);
        decimals = TakeDigits(text);
    }
    const std::optional<int> power = UnitPower(text);
    std::int64_t number = 0;
    const auto error = std::from_chars(digits.data(), digits.data() + digits.size(), number).ec;
    if (error != std::errc() || !power || (hasPoint && (decimals.empty() || *power == 0)) ||
        number > std::numeric_limits<std::int64_t>::max() >> (10 * *power)) {
        return std::nullopt;
    }
    double fraction = 0;
    for (double place = 0.1; const char digit : decimals) {
        fraction += (digit - '0') * place;
        place /= 10;
    }
    const auto unit = static_cast<double>(std::int64_t{1} << (10 * *power));
    return (number << (10 * *power)) + static_cast<std::int64_t>(fraction * unit);
}

}  // namespace

std::int64_t ParseSize(const std::string& text, const std::string& option) {
    if (const auto size = SizeOf(text)) {
        return *size;
    }
    throw CCommandError(option + ": '" + text +
                        "' is not a size; examples: 4096, 10K, 1.5M, 2GiB, 1T");
}

std::chrono::sys_seconds ParseTime(const std::string& text, const std::string& option) {
    if (const auto moment = ParseMoment(text)) {
        return *moment;
    }
    if (const auto moment = ParseAge(text)) {
        return *moment;
    }
    throw CCommandError(
        option + ": '" + text +
        "' is not a time; examples: 2024-03-01, 2024-03-01T12:30:00, or an age such as 30d or 1y");
}

void CSearchFilters::Declare(CLI::App& app) {
    const auto addPatterns = [&](const char* option, auto& patterns, const char* text) {
        app.add_option(option, patterns, text)
            ->type_name("PATTERN")
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
            ->expected(1);
    };
    addPatterns("--name", m_names, "File name pattern: * and ? are wildcards; repeat it for more");
    addPatterns("--glob", m_globTexts, "Pattern for the whole name: * ? [a-z] [!a-z]");
    addPatterns("--not-name", m_excluded, "Leave out names that match this pattern of --name");
    app.add_option("--under", m_under, "Only files in this folder and below")->type_name("PATH");
    app.add_option("--owner", m_owners,
                   "As listed, or NAME, DOMAIN\\NAME, NAME@DOMAIN, DOMAIN.NAME")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->expected(1);
    app.add_option("--newer-than", m_newerThan, "Modified at this time (UTC) or later")
        ->type_name("TIME");
    app.add_option("--older-than", m_olderThan, "Modified at this time (UTC) or earlier")
        ->type_name("TIME");
    app.add_option("--min-size", m_minSize, "At least this many bytes, for example 10M or 1.5GiB")
        ->type_name("SIZE");
    app.add_option("--max-size", m_maxSize, "At most this many bytes")->type_name("SIZE");
    app.add_option("--ext", m_endingList, "Endings of names in any case: '.txt;.log'")
        ->type_name("LIST");
    app.add_flag("--search-server-rule", m_useServerRule,
                 "A pattern of --name without * must match at the start of the name");
}

namespace {

void CheckPattern(const std::string& pattern, const char* option) {
    if (pattern.find_first_of("/\\") != std::string::npos) {
        throw CCommandError(std::string(option) + ": '" + pattern +
                            "' contains a slash; names are matched, not paths; --under limits the "
                            "search to a folder");
    }
}

void CheckPatterns(std::vector<std::string>& patterns, const char* option) {
    for (const std::string& pattern : patterns) {
        CheckPattern(pattern, option);
    }
}

// The texts that ; and , separate, folded and without blanks around them.
std::vector<std::u16string> SplitEndings(const std::string& list) {
    std::vector<std::u16string> endings;
    std::string_view rest = list;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find_first_of(";,"), rest.size());
        std::string_view ending = rest.substr(0, end);
        ending.remove_prefix(std::min(ending.find_first_not_of(' '), ending.size()));
        ending = ending.substr(0, ending.find_last_not_of(' ') + 1);
        if (!ending.empty()) {
            endings.push_back(Folded(ToUtf16(ending)));
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return endings;
}

}  // namespace

void CSearchFilters::Prepare() {
    CheckPatterns(m_names, "--name");
    CheckPatterns(m_globTexts, "--glob");
    CheckPatterns(m_excluded, "--not-name");
    const auto isEmpty = [](const std::string& text) { return text.empty(); };
    if (std::any_of(m_names.begin(), m_names.end(), isEmpty) ||
        std::any_of(m_globTexts.begin(), m_globTexts.end(), isEmpty)) {
        m_names.clear();  // every name matches an empty pattern
        m_globTexts.clear();
    }
    std::erase_if(m_excluded, isEmpty);
    if (std::any_of(m_owners.begin(), m_owners.end(), isEmpty)) {
        m_owners.clear();
    }
    for (const std::string& glob : m_globTexts) {
        m_globs.emplace_back(ToUtf16(glob));
    }
    if (m_endingList && !m_endingList->empty()) {
        m_endings = SplitEndings(*m_endingList);
    }
    const double unbounded = std::numeric_limits<double>::infinity();
    m_limits.UseTimeLimits = m_newerThan || m_olderThan ? VARIANT_TRUE : VARIANT_FALSE;
    m_limits.ModifyTimeFrom =
        m_newerThan ? ToDate(ParseTime(*m_newerThan, "--newer-than")) : -unbounded;
    m_limits.ModifyTimeTill =
        m_olderThan ? ToDate(ParseTime(*m_olderThan, "--older-than")) : unbounded;
    m_limits.UseSizeLimits = m_minSize || m_maxSize ? VARIANT_TRUE : VARIANT_FALSE;
    m_limits.SizeFrom =
        m_minSize ? ParseSize(*m_minSize, "--min-size") : std::numeric_limits<std::int64_t>::min();
    m_limits.SizeTill =
        m_maxSize ? ParseSize(*m_maxSize, "--max-size") : std::numeric_limits<std::int64_t>::max();
}

bool CSearchFilters::IsForFilesOnly() const {
    return m_limits.UseTimeLimits != VARIANT_FALSE || m_limits.UseSizeLimits != VARIANT_FALSE ||
           !m_owners.empty() || m_endings;
}

std::optional<char16_t> CSearchFilters::Volume() const {
    const std::u16string root = Root(u"");
    return m_under && IsVolume(root) ? std::optional(root[0]) : std::nullopt;
}

std::u16string CSearchFilters::Root(std::u16string_view volume) const {
    if (!m_under || m_under->empty()) {
        return {};
    }
    std::u16string path = ToUtf16(*m_under);
    std::replace(path.begin(), path.end(), u'/', u'\\');
    if (!IsVolume(path)) {
        const bool isRooted = path.starts_with(u'\\');
        path = std::u16string(volume) + (isRooted ? u":" : u":\\") + path;
    }
    while (path.size() > 2 && path.ends_with(u'\\')) {
        path.pop_back();
    }
    return path;
}

std::u16string CSearchFilters::Floating(const std::string& pattern) const {
    const bool isFixed = m_useServerRule || pattern.find('*') != std::string::npos;
    return (isFixed ? u"" : u"*") + ToUtf16(pattern);
}

std::u16string CSearchFilters::WidestPattern() const {
    const std::size_t patterns = m_names.size() + m_globs.size();
    if (patterns > 1) {
        return {};
    }
    if (patterns == 1) {
        return m_names.empty() ? m_globs[0].WiderPattern() : Floating(m_names[0]);
    }
    return m_endings && m_endings->size() == 1 ? u"*" + m_endings->front() : std::u16string();
}

std::vector<std::u16string> CSearchFilters::NamePatterns(bool isSingleTested) const {
    std::vector<std::u16string> patterns;
    if (!isSingleTested || m_names.size() + m_globs.size() > 1) {
        for (const std::string& name : m_names) {
            patterns.push_back(Floating(name));
        }
    }
    return patterns;
}

std::vector<std::u16string> CSearchFilters::ExcludedPatterns() const {
    std::vector<std::u16string> patterns;
    for (const std::string& name : m_excluded) {
        patterns.push_back(Floating(name));
    }
    return patterns;
}

void CSearchFilters::FillCommon(SearchCriteria& criteria) const {
    criteria.record = m_limits;
    criteria.name = client::CString(WidestPattern());
    criteria.record.FileNamePattern = criteria.name;
}

void CSearchFilters::FillForCatalogue(SearchCriteria& criteria, bool hasRoot,
                                      const std::u16string& owner) const {
    FillCommon(criteria);
    criteria.root = client::CString(hasRoot ? Root(u"C") : u"");
    criteria.owner = client::CString(owner);
    criteria.record.rootPath = criteria.root;
    criteria.record.Owner = criteria.owner;
    criteria.record.UseSearchServerRule = m_useServerRule ? VARIANT_TRUE : VARIANT_FALSE;
}

void CSearchFilters::FillForText(SearchCriteria& criteria, std::u16string_view volume) const {
    FillCommon(criteria);
    if (m_under && !m_under->empty()) {
        criteria.root = client::CString(Root(volume) + u"\\");
        criteria.record.rootPath = criteria.root;
    }
}

}  // namespace zorel::cli
