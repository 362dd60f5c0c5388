#include "mtf/sessions/bsession_meta_file.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <map>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "mtf/store/attr_lines.h"
#include "mtf/store/path_elements.h"
#include "text/ascii_case.h"

namespace mtf {

namespace {

constexpr std::u16string_view kPrefix = u"oib";
constexpr std::u16string_view kIdName = u"OibUID";

struct GroupAttr {
    std::uint64_t group;
    std::u16string_view name;
};

GroupAttr SplitName(std::u16string_view name) {
    const CMtfPathElements elements(name);
    if (elements.Count() < 2) {
        throw frame::CExc(u"Path is too short.", frame::kFail);
    }
    const std::u16string_view subtree = elements.At(0);
    if (subtree.size() <= kPrefix.size()) {
        throw frame::CExc(u"Invalid OIB subtree name: '%1'.", {subtree}, frame::kFail);
    }
    const std::int64_t number = frame::StringToInt(subtree.substr(kPrefix.size()));
    return {static_cast<std::uint64_t>(number), elements.At(elements.Count() - 1)};
}

GroupAttr ReadGroupAttr(std::u16string_view name) {
    return frame::WithContext(
        u"Failed to get OIB group number and attribute name by attribute path '%1'.", {name},
        [&] { return SplitName(name); });
}

void StoreAttr(OibRef& ref, std::u16string_view name, std::u16string_view value) {
    if (text::EqualsNoCase(name, kIdName)) {
        ref.uniqueId = frame::StringToGuid(value);
    } else if (text::EqualsNoCase(name, u"BackupTimeUtc")) {
        ref.backupTimeUtc = value;
    } else if (text::EqualsNoCase(name, u"VmName")) {
        ref.vmName = value;
    }
}

// Calls `body(const CMtfAttrLine&)` for the attribute lines of all groups in ID order.
template <class Body>
void ForEachGroupLine(const CMtfLines& lines, Body&& body) {
    ForEachAttrLine(lines, [&](const CMtfAttrLine& attr) {
        if (text::StartsWithNoCase(attr.name, kPrefix)) {
            body(attr);
        }
    });
}

// Compares the end of the text, not the last path element. Kept for compatibility.
bool IsIdLine(std::u16string_view name) {
    return text::EndsWithNoCase(name, kIdName);
}

std::u16string_view SubtreeOf(std::u16string_view name) {
    std::u16string_view subtree;
    NextPathElement(name, subtree);
    return subtree;
}

using GuidBytes = std::array<std::byte, sizeof(GUID)>;

GuidBytes BytesOf(const GUID& id) {
    return std::bit_cast<GuidBytes>(id);
}

}  // namespace

std::shared_ptr<CBSessionMetaFile> CBSessionMetaFile::Open(std::u16string_view path,
                                                           EMtfOpenMode mode) {
    return std::shared_ptr<CBSessionMetaFile>(
        new CBSessionMetaFile(CMtfMetaFile::Open(path, mode)));
}

std::vector<OibRef> CBSessionMetaFile::EnumOibRefs() const {
    return frame::WithContext(u"Failed to enumerate OIB references in metafile '%1'.",
                              {m_file->GetPath()}, [&] {
                                  std::map<std::uint64_t, OibRef, std::greater<>> groups;
                                  ForEachGroupLine(Lines(), [&](const CMtfAttrLine& line) {
                                      const GroupAttr attr = ReadGroupAttr(line.name);
                                      OibRef& ref = groups[attr.group];
                                      ref.group = attr.group;
                                      StoreAttr(ref, attr.name, line.value);
                                  });
                                  std::vector<OibRef> refs;
                                  refs.reserve(groups.size());
                                  for (auto& [number, ref] : groups) {
                                      refs.push_back(std::move(ref));
                                  }
                                  return refs;
                              });
}

bool CBSessionMetaFile::GroupLine::Before(const GroupLine& a, const GroupLine& b) noexcept {
    return text::CompareNoCase(a.subtree, b.subtree) < 0;
}

CMtfAttrLine CBSessionMetaFile::AttrAt(std::uint64_t line) const noexcept {
    CMtfAttrLine attr{line, {}, {}};
    Lines().ParseAttrLine(line, attr.name, attr.value);
    return attr;
}

void CBSessionMetaFile::BuildIndex() {
    if (m_indexed) {
        return;
    }
    m_groupLines.clear();
    ForEachGroupLine(Lines(), [&](const CMtfAttrLine& attr) {
        m_groupLines.push_back({SubtreeOf(attr.name), attr.line});
        if (IsIdLine(attr.name)) {
            AddIdLine(attr);
        }
    });
    std::stable_sort(m_groupLines.begin(), m_groupLines.end(), GroupLine::Before);
    m_indexed = true;
}

void CBSessionMetaFile::AddIdLine(const CMtfAttrLine& attr) {
    try {
        m_idLines.emplace(BytesOf(frame::StringToGuid(attr.value)), attr.line);
    } catch (const frame::CWin32Exc&) {
        m_malformedIdLines.insert(attr.line);
    }
}

// Like a search from the first line on: the first match, or the failure at a malformed
// identifier before it.
std::uint64_t CBSessionMetaFile::FindLineOf(const GUID& id) const {
    const GuidBytes bytes = BytesOf(id);
    const auto found = m_idLines.lower_bound({bytes, 0});
    const bool matches = found != m_idLines.end() && found->first == bytes;
    const std::uint64_t line = matches ? found->second : CMtfLines::kNoLine;
    if (!m_malformedIdLines.empty() && *m_malformedIdLines.begin() < line) {
        frame::StringToGuid(AttrAt(*m_malformedIdLines.begin()).value);
    }
    return line;
}

void CBSessionMetaFile::DeleteGroup(std::u16string_view subtree) {
    const auto [first, last] = std::equal_range(m_groupLines.begin(), m_groupLines.end(),
                                                GroupLine{subtree, 0}, GroupLine::Before);
    for (auto member = first; member != last; ++member) {
        const CMtfAttrLine attr = AttrAt(member->line);
        if (IsIdLine(attr.name) && m_malformedIdLines.erase(attr.line) == 0) {
            m_idLines.erase({BytesOf(frame::StringToGuid(attr.value)), attr.line});
        }
        m_file->GetLines()->MarkDeleted(attr.line);
    }
}

void CBSessionMetaFile::DeleteOibRef(const GUID& id) {
    const auto find = [&] {
        BuildIndex();
        return FindLineOf(id);
    };
    frame::WithContext(u"Failed to delete OIB from backup session metafile '%1' ( oib: '%2').",
                       {m_file->GetPath(), frame::GuidToString(id, true)}, [&] {
                           const std::uint64_t line = frame::WithContext(
                               u"Unable to find row containing OIB reference.", {}, find);
                           if (line != CMtfLines::kNoLine) {
                               DeleteGroup(SubtreeOf(AttrAt(line).name));
                           }
                       });
}

}  // namespace mtf
