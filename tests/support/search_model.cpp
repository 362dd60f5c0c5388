#include "support/search_model.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <set>
#include <tuple>

#include "support/port_files.h"
#include "support/tdf_model.h"

namespace support {

namespace {

using Text = std::u16string;
namespace chrono = std::chrono;

// To be thrown.
SearchOutcome Failure(HRESULT hr, std::vector<Text> clues) {
    return {{}, {}, hr, std::move(clues)};
}

bool IsWithinLimits(const Criteria& criteria, double time, std::int64_t size) {
    return !(criteria.time && (criteria.time->first > time || time > criteria.time->second)) &&
           !(criteria.size && (size < criteria.size->first || size > criteria.size->second));
}

// The DATE of a moment; none outside the years 100 to 9999.
std::optional<double> DateOf(chrono::sys_seconds moment) {
    const auto day = chrono::floor<chrono::days>(moment);
    const auto year = chrono::year_month_day(day).year();
    if (year < chrono::year(100) || year > chrono::year(9999)) {
        return std::nullopt;
    }
    const auto number = static_cast<double>((day - chrono::sys_days(chrono::days(-25569))).count());
    const double time = static_cast<double>((moment - day).count()) / 86400;
    return number < 0 ? number - time : number + time;
}

// ----- Text -------------------------------------------------------------------------

std::string Ascii(const Text& text) {
    std::string ascii;
    for (const char16_t unit : text) {
        ascii += unit < 0x80 ? static_cast<char>(unit) : '?';
    }
    return ascii;
}

std::uint16_t Field(const Text& line, std::size_t at, std::size_t length) {
    const Text field = at < line.size() ? line.substr(at, length) : Text();
    const std::string ascii = Ascii(field);
    char* end = nullptr;
    const long number = std::strtol(ascii.c_str(), &end, 10);
    if (end == ascii.c_str()) {
        throw Failure(E_FAIL,
                      {u"Cannot unserialize a string value to integer. String: [" + field + u"]."});
    }
    return static_cast<std::uint16_t>(number);
}

// A day beyond the end of its month is a day of the next month; day 0 is the last day of the
// month before.
std::optional<double> ParseTime(const Text& line) {
    const unsigned month = Field(line, 0, 2), day = Field(line, 3, 2), year = Field(line, 6, 4),
                   hour = Field(line, 11, 2), minute = Field(line, 14, 2),
                   second = Field(line, 17, 2);
    if (month < 1 || month > 12 || day > 31 || year < 100 || year > 9999 || hour > 23 ||
        minute > 59 || second > 59) {
        return std::nullopt;
    }
    const chrono::sys_days first =
        chrono::year(static_cast<int>(year)) / chrono::month(month) / chrono::day(1);
    return DateOf(first + chrono::days(static_cast<int>(day) - 1) + chrono::hours(hour) +
                  chrono::minutes(minute) + chrono::seconds(second));
}

FoundFile ParseLine(const Text& line) {
    const auto fail = [&](const char16_t* what) {
        return Failure(E_FAIL, {what + (u" while parsing string: [" + line + u"].")});
    };
    const std::optional<double> date = ParseTime(line);
    if (!date) {
        throw fail(u"Cannot convert system time to variant time");
    }
    const std::size_t comma = line.find(u',', 21);
    if (comma == Text::npos) {
        throw fail(u"Cannot find file size");
    }
    if (comma + 2 >= line.size()) {
        throw fail(u"Cannot find file name");
    }
    const std::string size = Ascii(line.substr(21, comma - 21));
    return {line.substr(comma + 2), date, std::strtoll(size.c_str(), nullptr, 10), u""};
}

// The lines of UTF-16LE bytes; half a code unit at the end counts as a whole one.
std::vector<Text> LinesOf(const std::string& bytes) {
    std::vector<Text> lines(1);
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        const auto high = static_cast<unsigned char>(i + 1 < bytes.size() ? bytes[i + 1] : 0);
        const auto unit = static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) | high << 8);
        if (unit == u'\n') {
            lines.emplace_back();
        } else if (unit != u'\r' && unit != u'\uFEFF') {
            lines.back() += unit;
        }
    }
    if (lines.back().empty()) {
        lines.pop_back();
    }
    return lines;
}

void SearchText(const Text& path, const Criteria& criteria, SearchOutcome& outcome) {
    int number = 0;
    for (const Text& line : LinesOf(ReadWhole(path))) {
        ++number;
        const std::size_t first = line.find(u'\\');
        const std::size_t last = line.rfind(u'\\');
        if (first == Text::npos || first < 2) {
            throw Failure(E_FAIL, {path, Wide(" line " + std::to_string(number) + " ")});
        }
        const Text folder = Lower(line.substr(first - 2, last + 1 - (first - 2)));
        if (folder.starts_with(Lower(criteria.root.value_or(u"")))) {
            const FoundFile file = ParseLine(line);
            if (PlainWildcardMatch(line.substr(last + 1), criteria.pattern.value_or(u""), true) &&
                IsWithinLimits(criteria, *file.time, file.size)) {
                outcome.files.push_back(file);
                outcome.lines.push_back(line);
            }
        }
    }
}

// ----- Binary -----------------------------------------------------------------------

bool IsWanted(const OwnerRow& owner, const Text& filter) {
    const Text name = Lower(owner.name);
    const Text domain = Lower(owner.domain);
    const auto has = [&](char16_t unit) { return filter.find(unit) != Text::npos; };
    return filter == (has(u'\\')  ? domain + u"\\" + name
                      : has(u'@') ? name + u"@" + domain
                      : has(u'.') ? domain + u"." + name
                                  : name);
}

std::set<std::int64_t> FoldersBelow(const std::vector<DirRow>& dirs, const Text& root) {
    const std::vector<Text> elements = Split(Lower(root), u"\\");
    std::set<std::int64_t> folders;
    std::size_t current = 0;
    std::int64_t matched = -1;
    for (std::size_t i = 0; i < dirs.size() && !elements.empty(); ++i) {
        const DirRow& dir = dirs[i];
        if (current < elements.size() &&
            (dir.name.empty() || (Lower(dir.name) == elements[current] && dir.parent == matched))) {
            matched = static_cast<std::int64_t>(i);
            ++current;
        }
        if (current == elements.size() && (i == static_cast<std::size_t>(matched) ||
                                           dir.parent == matched || folders.contains(dir.parent))) {
            folders.insert(static_cast<std::int64_t>(i));
        }
    }
    return folders;
}

// For extensions without blanks inside.
bool IsPermitted(const Text& name, Text extensions) {
    std::erase(extensions, u' ');
    const std::vector<Text> list = Split(Lower(extensions), u";,");
    return extensions.empty() || std::any_of(list.begin(), list.end(), [&](const Text& extension) {
               return extension.size() < name.size() && name.ends_with(extension);
           });
}

// The path of a folder; none if its parents do not lead to the root.
std::optional<Text> PathOf(const std::vector<DirRow>& dirs, std::int64_t dir) {
    Text path;
    for (std::size_t steps = 0; dir != 0; ++steps) {
        if (static_cast<std::uint64_t>(dir) >= dirs.size() || steps > dirs.size()) {
            return std::nullopt;
        }
        const DirRow& row = dirs[static_cast<std::size_t>(dir)];
        path = row.name + u"\\" + path;
        dir = row.parent;
    }
    return path;
}

void SearchVolume(const Text& key, const Volume& volume, const Criteria& criteria,
                  SearchOutcome& outcome) {
    const Text filter = Lower(criteria.owner.value_or(u""));
    const std::vector<OwnerRow>& owners = volume.owners;
    const auto wanted = std::find_if(owners.begin(), owners.end(), [&](const OwnerRow& owner) {
        return !IsUnknown(owner) && IsWanted(owner, filter);
    });
    const std::vector<OwnerLabel> labels = LabelsOf(owners);
    const Text root = criteria.root.value_or(u"");
    const std::set<std::int64_t> folders = FoldersBelow(volume.dirs, root);
    for (std::size_t i = 0; i < volume.files.size(); ++i) {
        const FileRow& file = volume.files[i];
        if ((!filter.empty() &&
             (wanted == owners.end() || file.owner != wanted - owners.begin())) ||
            (!root.empty() && !folders.contains(file.dir)) ||
            !PlainWildcardMatch(file.name, criteria.pattern.value_or(u""), criteria.serverRule) ||
            !IsPermitted(file.name, criteria.extensions.value_or(u""))) {
            continue;
        }
        const std::optional<double> date = DateOfTicks(file.modifyTime);
        if (criteria.time && !date) {
            throw Failure(E_FAIL, {u"Cannot convert file time to variant time."});
        }
        if (!IsWithinLimits(criteria, date.value_or(0), file.size)) {
            continue;
        }
        const std::optional<Text> path = PathOf(volume.dirs, file.dir);
        if (!path) {
            throw Failure(E_INVALIDARG, {Wide(" " + std::to_string(i) + " "), key,
                                         Wide(" " + std::to_string(file.dir) + ",")});
        }
        Text name = key.substr(key.find(u'.') + 1, 1) + u":\\" + *path + file.name;
        if (file.name.ends_with(u'\\') || file.name.ends_with(u'/')) {
            name.pop_back();
        }
        const Text owner = file.owner < labels.size() ? labels[file.owner].inResults : u"";
        outcome.files.push_back(date ? FoundFile{name, date, file.size, owner} : FoundFile());
    }
}

template <class Body>
SearchOutcome OutcomeOf(Body&& body) {
    SearchOutcome outcome;
    try {
        body(outcome);
    } catch (const SearchOutcome& failure) {
        outcome.hr = failure.hr;
        outcome.clues = failure.clues;
    }
    return outcome;
}

}  // namespace

void Criteria::Merge(const Criteria& later) {
    const auto set = [](auto& mine, const auto& given) { mine = given ? given : mine; };
    set(root, later.root);
    set(pattern, later.pattern);
    set(owner, later.owner);
    set(extensions, later.extensions);
    set(time, later.time);
    set(size, later.size);
    serverRule = serverRule || later.serverRule;
}

CSpec::CSpec(const Criteria& criteria) {
    m_spec.rootPath = Keep(criteria.root);
    m_spec.FileNamePattern = Keep(criteria.pattern);
    m_spec.Owner = Keep(criteria.owner);
    m_spec.UnrestrictedExtentions = Keep(criteria.extensions);
    // Any value but 0 turns a flag on.
    m_spec.UseTimeLimits = criteria.time ? VARIANT_TRUE : VARIANT_FALSE;
    m_spec.UseSizeLimits = criteria.size ? 2 : VARIANT_FALSE;
    m_spec.UseSearchServerRule = criteria.serverRule ? 1 : VARIANT_FALSE;
    // Limits that are not in use reject everything.
    std::tie(m_spec.ModifyTimeFrom, m_spec.ModifyTimeTill) =
        criteria.time.value_or(std::pair(1., 0.));
    const auto sizes = criteria.size.value_or(std::pair(std::int64_t{1}, std::int64_t{0}));
    m_spec.SizeFrom = sizes.first;
    m_spec.SizeTill = sizes.second;
}

BSTR CSpec::Keep(const std::optional<std::u16string>& text) {
    return text ? m_strings.emplace_back(automation::NewBstr(*text)).Get() : nullptr;
}

std::optional<double> DateOfTicks(std::int64_t ticks) {
    constexpr chrono::seconds kTo1970{11'644'473'600};
    return ticks < 0 ? std::nullopt
                     : DateOf(chrono::sys_seconds(chrono::seconds(ticks / 10'000'000) - kTo1970));
}

bool PlainWildcardMatch(std::u16string_view wholeName, std::u16string_view wholePattern,
                        bool serverRule) {
    Text name = Lower(wholeName);
    const Text pattern = Lower(wholePattern);
    bool floating = pattern.starts_with(u'*') ||
                    (!serverRule && !pattern.empty() && pattern.find(u'*') == Text::npos);
    for (const Text& token : Split(pattern, u"*")) {
        const auto fits = [&] {
            return std::equal(token.begin(), token.end(), name.begin(),
                              [](char16_t t, char16_t n) { return t == u'?' || t == n; });
        };
        while (name.size() >= token.size() && !fits()) {
            if (!floating) {
                return false;
            }
            name.erase(0, 1);
        }
        if (name.size() < token.size()) {
            return false;
        }
        floating = true;
    }
    return true;
}

SearchOutcome ModelTextSearch(const std::u16string& path, const Criteria& criteria) {
    return OutcomeOf([&](SearchOutcome& outcome) { SearchText(path, criteria, outcome); });
}

SearchOutcome ModelBinSearch(const Volumes& volumes, const Criteria& criteria) {
    return OutcomeOf([&](SearchOutcome& outcome) {
        for (const auto& [key, volume] : volumes) {
            SearchVolume(key, volume, criteria, outcome);
        }
    });
}

}  // namespace support
