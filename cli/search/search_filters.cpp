#include "cli/search/search_filters.h"

#include <charconv>
#include <limits>

#include "ZorelText.h"
#include "cli/command_line/command_error.h"
#include "cli/output/calendar.h"

namespace zorel::cli {

namespace {

bool IsVolume(std::u16string_view text) {
    return text.size() >= 2 && text[1] == u':' && (text.size() == 2 || text[2] == u'\\');
}

}  // namespace

std::int64_t ParseSize(const std::string& text, const std::string& option) {
    constexpr std::string_view kUnits = "KMGT";
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const std::string_view unit(end, text.data() + text.size());
    int shift = 0;
    bool isValid = error == std::errc() && number >= 0;
    if (isValid && !unit.empty()) {
        const std::size_t power = kUnits.find(static_cast<char>(unit.front() & ~0x20));
        isValid = power != std::string_view::npos && (unit.size() == 1 || unit.substr(1) == "B");
        shift = 10 * (static_cast<int>(power) + 1);
    }
    if (!isValid || number > std::numeric_limits<std::int64_t>::max() >> shift) {
        throw CCommandError(option + ": '" + text +
                            "' is not a size; examples: 4096, 10K, 10M, 2G, 1T");
    }
    return number << shift;
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
        "' is not a time; examples: 2024-03-01, 2024-03-01T12:30:00, or an age such as 30d");
}

void CSearchFilters::Declare(CLI::App& app) {
    app.add_option("--name", m_name, "File name pattern: * and ? are wildcards")
        ->type_name("PATTERN");
    app.add_option("--under", m_under, "Only files in this folder and below")->type_name("PATH");
    app.add_option("--owner", m_owner, "NAME, DOMAIN\\NAME, NAME@DOMAIN or DOMAIN.NAME");
    app.add_option("--newer-than", m_newerThan, "Modified at this time (UTC) or later")
        ->type_name("TIME");
    app.add_option("--older-than", m_olderThan, "Modified at this time (UTC) or earlier")
        ->type_name("TIME");
    app.add_option("--min-size", m_minSize, "At least this many bytes, for example 10M")
        ->type_name("SIZE");
    app.add_option("--max-size", m_maxSize, "At most this many bytes")->type_name("SIZE");
    app.add_option("--ext", m_endings, "Endings of names, in lower case: '.txt;.log'")
        ->type_name("LIST");
    app.add_flag("--search-server-rule", m_useServerRule,
                 "A pattern without * must match at the start of the name");
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
    m_record.ModifyTimeFrom =
        m_newerThan ? ToDate(ParseTime(*m_newerThan, "--newer-than")) : -unbounded;
    m_record.ModifyTimeTill =
        m_olderThan ? ToDate(ParseTime(*m_olderThan, "--older-than")) : unbounded;
    m_record.UseSizeLimits = m_minSize || m_maxSize ? VARIANT_TRUE : VARIANT_FALSE;
    m_record.SizeFrom =
        m_minSize ? ParseSize(*m_minSize, "--min-size") : std::numeric_limits<std::int64_t>::min();
    m_record.SizeTill =
        m_maxSize ? ParseSize(*m_maxSize, "--max-size") : std::numeric_limits<std::int64_t>::max();
    m_nameText = m_name ? client::CString::FromUtf8(*m_name) : client::CString();
    m_record.FileNamePattern = m_nameText.Get();
}

SearchSpec& CSearchFilters::ForCatalogue() {
    FillCommon();
    m_rootText = m_under ? client::CString(Root(u"C")) : client::CString();
    m_ownerText = m_owner ? client::CString::FromUtf8(*m_owner) : client::CString();
    m_endingsText = m_endings ? client::CString::FromUtf8(*m_endings) : client::CString();
    m_record.rootPath = m_rootText.Get();
    m_record.Owner = m_ownerText.Get();
    m_record.UnrestrictedExtentions = m_endingsText.Get();
    m_record.UseSearchServerRule = m_useServerRule ? VARIANT_TRUE : VARIANT_FALSE;
    return m_record;
}

SearchSpec& CSearchFilters::ForText(std::u16string_view volume) {
    FillCommon();
    if (m_under) {
        m_rootText = client::CString(Root(volume) + u"\\");
        m_record.rootPath = m_rootText.Get();
    }
    const bool hasStar = m_name && m_name->find('*') != std::string::npos;
    if (m_name && !m_name->empty() && !m_useServerRule && !hasStar) {
        m_nameText = client::CString(u"*" + ToUtf16(*m_name));
        m_record.FileNamePattern = m_nameText.Get();
    }
    return m_record;
}

}  // namespace zorel::cli
