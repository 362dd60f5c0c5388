#include "support/search_model.h"

#include <cstdlib>
#include <memory>
#include <set>

#include "frame/conversions.h"
#include "frame/file_system.h"
#include "idxdata/browser/extension_filter.h"
#include "idxdata/streams/buff_file_reader.h"
#include "idxdata/streams/file_reader.h"
#include "idxdata/tables/seq_table_reader.h"
#include "platform/times.h"
#include "tdf/matching/wildcard.h"
#include "text/ascii_case.h"

namespace support {

namespace {

using Text = std::u16string;

Text Lower(const std::optional<Text>& text) {
    return text::ToLowerAscii(std::u16string_view(text.value_or(u"")));
}

bool RejectsTime(const Criteria& criteria, double time) {
    return criteria.time && (criteria.time->first > time || time > criteria.time->second);
}

bool RejectsSize(const Criteria& criteria, std::int64_t size) {
    return criteria.size && (size < criteria.size->first || size > criteria.size->second);
}

// ----- Text -------------------------------------------------------------------------

std::uint16_t Field(const Text& line, std::size_t at, std::size_t length) {
    return static_cast<std::uint16_t>(
        frame::StringToInt(at < line.size() ? line.substr(at, length) : Text()));
}

[[noreturn]] void Fail(const char16_t* text, const Text& line) {
    throw frame::CExc(text, {line}, frame::kFail);
}

FoundFile ParseLine(const Text& line) {
    platform::SystemTime time{};
    time.month = Field(line, 0, 2);
    time.day = Field(line, 3, 2);
    time.year = Field(line, 6, 4);
    time.hour = Field(line, 11, 2);
    time.minute = Field(line, 14, 2);
    time.second = Field(line, 17, 2);
    double date = 0;
    if (!platform::SystemTimeToDate(time, date)) {
        Fail(u"Cannot convert system time to variant time while parsing string: [%1].", line);
    }
    const std::size_t comma = line.find(u',', 21);
    if (comma == Text::npos) {
        Fail(u"Cannot find file size while parsing string: [%1].", line);
    }
    if (comma + 2 >= line.size()) {
        Fail(u"Cannot find file name while parsing string: [%1].", line);
    }
    std::string size;
    for (const char16_t unit : line.substr(21, comma - 21)) {
        size += unit < 0x80 ? static_cast<char>(unit) : '?';
    }
    return {line, line.substr(comma + 2), date, std::strtoll(size.c_str(), nullptr, 10), u""};
}

void SearchText(const Text& path, const Criteria& criteria, SearchOutcome& outcome) {
    idxdata::CFileReader reader;
    reader.Open(path);
    Text line;
    for (std::uint64_t number = 1; reader.ReadTextString(line); ++number) {
        const std::size_t first = line.find(u'\\');
        const std::size_t last = line.rfind(u'\\');
        if (first == Text::npos || first < 2) {
            outcome.hr = frame::kFail;
            outcome.clues = {path, u" line " + frame::UInt64ToString(number) + u" "};
            return;
        }
        const Text folder = Lower(line.substr(first - 2, last + 1 - (first - 2)));
        if (!folder.starts_with(Lower(criteria.root))) {
            continue;
        }
        const FoundFile file = ParseLine(line);
        const Text pattern = criteria.pattern.value_or(u"");
        if (tdf::MatchWildcard(line.substr(last + 1), pattern,
                               tdf::Floats(pattern, tdf::EStarRule::LeadingStar)) &&
            !RejectsTime(criteria, *file.time) && !RejectsSize(criteria, file.size)) {
            outcome.files.push_back(file);
        }
    }
}

// ----- Binary -----------------------------------------------------------------------

struct Owner {
    Text name, domain;
    bool known;
};

template <class Record>
std::vector<Record> ReadTable(const std::shared_ptr<idxdata::CBuffFileReader>& reader,
                              idxdata::EIdxTable id) {
    reader->SetCurFilePos(0);
    Record record;
    idxdata::CSeqTableReader table(reader, id, record);
    std::vector<Record> records;
    while (!table.IsEnd()) {
        table.ReadRecord(record);
        records.push_back(record);
    }
    return records;
}

class CVolumeModel {
public:
    CVolumeModel(const Text& key, const Text& path, const Criteria& criteria,
                 SearchOutcome& outcome)
        : m_key(key), m_criteria(criteria), m_outcome(outcome) {
        m_reader->Open(path);
    }

    void Search() {
        ReadOwners();
        const auto wanted = FindOwner();
        if (!Lower(m_criteria.owner).empty() && !wanted) {
            return;
        }
        m_dirs = ReadTable<rec::CDirRecord>(m_reader, idxdata::EIdxTableDirs);
        if (!Lower(m_criteria.root).empty() && !FindRoot()) {
            return;
        }
        m_reader->SetCurFilePos(0);
        rec::CFileRecord file;
        idxdata::CSeqTableReader table(m_reader, idxdata::EIdxTableFiles, file);
        for (std::uint64_t number = 0; !table.IsEnd() && m_outcome.hr == 0; ++number) {
            table.ReadRecord(file);
            if ((!wanted || file.OwnerIndex == *wanted) && Accepts(file)) {
                Add(file, number);
            }
        }
    }

private:
    void ReadOwners() {
        int unknown = 0;
        for (const auto& row : ReadTable<rec::COwnerRecord>(m_reader, idxdata::EIdxTableOwners)) {
            const bool known = !row.OwnerName.empty() && Lower(row.OwnerName) != Lower(row.OwnerId);
            m_owners.push_back({known ? row.OwnerName : u"unkn" + frame::IntToString(unknown++),
                                known ? row.OwnerDomain : u"", known});
        }
    }

    std::optional<std::size_t> FindOwner() const {
        Text name = Lower(m_criteria.owner);
        std::optional<Text> domain;
        std::size_t at = 0;
        if ((at = name.find(u'\\')) != Text::npos || (at = name.find(u'@')) != Text::npos ||
            (at = name.find(u'.')) != Text::npos) {
            const bool nameFirst = name[at] == u'@';
            domain = name.substr(0, at);
            name.erase(0, at + 1);
            if (nameFirst) {
                name.swap(*domain);
            }
        }
        for (std::size_t i = 0; i < m_owners.size() && !Lower(m_criteria.owner).empty(); ++i) {
            const Owner& owner = m_owners[i];
            if (owner.known && name == Lower(owner.name) &&
                (!domain || *domain == Lower(owner.domain))) {
                return i;
            }
        }
        return std::nullopt;
    }

    bool FindRoot() {
        std::vector<Text> elements(1);
        for (const char16_t unit : Lower(m_criteria.root)) {
            if (unit != u'\\') {
                elements.back() += unit;
            } else if (!elements.back().empty()) {
                elements.emplace_back();
            }
        }
        if (elements.back().empty()) {
            elements.pop_back();
        }
        if (elements.empty()) {
            return true;  // searched, and nothing is found
        }
        std::size_t current = 0;
        std::int64_t matched = -1;
        for (std::size_t i = 0; i < m_dirs.size(); ++i) {
            const rec::CDirRecord& dir = m_dirs[i];
            if (current < elements.size() &&
                (dir.DirName.empty() ||
                 (Lower(dir.DirName) == elements[current] && dir.ParentDirIndex == matched))) {
                matched = static_cast<std::int64_t>(i);
                ++current;
            }
            if (current == elements.size() &&
                (dir.ParentDirIndex == matched || m_root.contains(dir.ParentDirIndex))) {
                m_root.insert(static_cast<std::int64_t>(i));
            }
        }
        if (current == elements.size()) {
            m_root.insert(matched);
        }
        return !m_root.empty();
    }

    bool Accepts(const rec::CFileRecord& file) const {
        const Text pattern = m_criteria.pattern.value_or(u"");
        const auto rule =
            m_criteria.serverRule ? tdf::EStarRule::LeadingStar : tdf::EStarRule::Standard;
        const Text extensions = Lower(m_criteria.extensions);
        if ((!Lower(m_criteria.root).empty() && !m_root.contains(file.DirIndex)) ||
            !tdf::MatchWildcard(file.FileName, pattern, tdf::Floats(pattern, rule)) ||
            !idxdata::CExtensionFilter(!extensions.empty(), extensions)
                 .IsPermitted(file.FileName)) {
            return false;
        }
        double date = 0;
        if (m_criteria.time && !platform::FileTimeToDate(file.ModifyTime, date)) {
            throw frame::CExc(u"Cannot convert file time to variant time.", frame::kFail);
        }
        return !RejectsTime(m_criteria, date) && !RejectsSize(m_criteria, file.Size);
    }

    void Add(const rec::CFileRecord& file, std::uint64_t number) {
        Text path;
        std::size_t steps = 0;
        for (std::int64_t i = file.DirIndex; i != 0; ++steps) {
            if (static_cast<std::uint64_t>(i) >= m_dirs.size() || steps > m_dirs.size()) {
                m_outcome.hr = frame::kInvalidArg;
                m_outcome.clues = {u" " + frame::UInt64ToString(number) + u" ", m_key,
                                   frame::Int64ToString(file.DirIndex)};
                return;
            }
            const rec::CDirRecord& dir = m_dirs[static_cast<std::size_t>(i)];
            path = dir.DirName + u"\\" + path;
            i = dir.ParentDirIndex;
        }
        const std::size_t dot = m_key.find(u'.');
        const Text folder = m_key.substr(dot == Text::npos ? 0 : dot + 1, 1) + u":\\" + path;
        const Owner owner = file.OwnerIndex < m_owners.size() ? m_owners[file.OwnerIndex] : Owner{};
        double date = 0;
        const bool dated = platform::FileTimeToDate(file.ModifyTime, date);
        m_outcome.files.push_back(
            {u"", frame::CombinePath(folder, file.FileName),
             dated ? std::optional(date) : std::nullopt, file.Size,
             (owner.domain.empty() ? u"" : owner.domain + u"\\") + owner.name});
    }

    const Text& m_key;
    const Criteria& m_criteria;
    SearchOutcome& m_outcome;
    std::shared_ptr<idxdata::CBuffFileReader> m_reader =
        std::make_shared<idxdata::CBuffFileReader>();
    std::vector<Owner> m_owners;
    std::vector<rec::CDirRecord> m_dirs;
    std::set<std::int64_t> m_root;
};

template <class Body>
SearchOutcome OutcomeOf(Body&& body) {
    SearchOutcome outcome;
    try {
        body(outcome);
    } catch (const frame::CExc& exc) {
        outcome.hr = exc.GetHResult();
        outcome.clues = {exc.GetFullMessage()};
    }
    return outcome;
}

}  // namespace

void Criteria::Merge(const Criteria& later) {
    const auto take = [](auto& mine, const auto& given) { mine = given ? given : mine; };
    take(root, later.root);
    take(pattern, later.pattern);
    take(owner, later.owner);
    take(extensions, later.extensions);
    take(time, later.time);
    take(size, later.size);
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
    std::tie(m_spec.ModifyTimeFrom, m_spec.ModifyTimeTill) =
        criteria.time.value_or(std::pair(1., 0.));
    const auto sizes = criteria.size.value_or(std::pair(std::int64_t{1}, std::int64_t{0}));
    m_spec.SizeFrom = sizes.first;
    m_spec.SizeTill = sizes.second;
}

BSTR CSpec::Keep(const std::optional<std::u16string>& text) {
    return text ? m_strings.emplace_back(automation::NewBstr(*text)).Get() : nullptr;
}

SearchOutcome ModelTextSearch(const std::u16string& path, const Criteria& criteria) {
    return OutcomeOf([&](SearchOutcome& outcome) { SearchText(path, criteria, outcome); });
}

SearchOutcome ModelBinSearch(const VolumeFiles& volumes, const Criteria& criteria) {
    return OutcomeOf([&](SearchOutcome& outcome) {
        for (const auto& [key, path] : volumes) {
            if (outcome.hr == 0) {
                CVolumeModel(key, path, criteria, outcome).Search();
            }
        }
    });
}

}  // namespace support
