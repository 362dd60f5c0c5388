#include "mtf/store/lines.h"

#include <algorithm>
#include <bit>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "mtf/store/path_elements.h"
#include "text/ascii_case.h"
#include "text/text_scan.h"

namespace mtf {

namespace {

constexpr std::string_view kByteOrderMark = "\xFF\xFE";

static_assert(std::endian::native == std::endian::little, "lines are views of the file's bytes");

void AppendWide(idxdata::CMtfOutBuffer& out, std::u16string_view text) {
    out.Append(text.data(), text.size() * sizeof(char16_t));
}

bool HasNul(std::u16string_view text) noexcept {
    constexpr text::CUnitTest kIsNul{0, 0};
    const auto* units = reinterpret_cast<const std::byte*>(text.data());
    return text::FindUnitPair(units, text.size(), kIsNul, kIsNul, 0) != text.size();
}

// The code units of bytes at an even address; an odd last byte is ignored.
std::u16string_view UnitsOf(std::string_view bytes) noexcept {
    return {reinterpret_cast<const char16_t*>(bytes.data()), bytes.size() / sizeof(char16_t)};
}

}  // namespace

const CMtfLines::CMtfLine* CMtfLines::Find(std::uint64_t id) const noexcept {
    if (id >= Count()) {
        return nullptr;
    }
    const CMtfLine& line = m_lines[static_cast<std::size_t>(id)];
    return line.empty ? nullptr : &line;
}

bool CMtfLines::GetLine(std::uint64_t id, std::u16string_view& text) const noexcept {
    const CMtfLine* line = Find(id);
    if (line == nullptr || line->state == EMtfLineState::LineDeleted) {
        return false;
    }
    text = line->text.View();
    return true;
}

bool CMtfLines::ParseAttrLine(std::uint64_t id, std::u16string_view& name,
                              std::u16string_view& value) const noexcept {
    std::u16string_view text;
    if (!GetLine(id, text) || text.starts_with(u'#')) {
        return false;
    }
    const std::size_t sign = text.find(u'=');
    if (sign == std::u16string_view::npos) {
        return false;
    }
    name = frame::Trim(text.substr(0, sign));
    value = frame::Trim(text.substr(sign + 1));
    return true;
}

bool CMtfLines::IsLoadedText(std::uint64_t id) const noexcept {
    const CMtfLine* line = Find(id);
    return line != nullptr && !line->text.IsOwned();
}

std::uint64_t CMtfLines::Add(CMtfText text, EMtfLineState state) {
    const std::uint64_t id = Count();
    m_lines.Append(CMtfLine{std::move(text), state, false});
    if (state != EMtfLineState::LineUnchanged) {
        m_firstChanged = std::min(m_firstChanged, id);
    }
    return id;
}

std::uint64_t CMtfLines::AppendLine(std::u16string_view text, EMtfLineState state) {
    return Add(CMtfText::Copy(text), state);
}

std::uint64_t CMtfLines::AppendAttrLine(std::u16string_view name, std::u16string_view value) {
    return Add(CMtfText::Join(name, u'=', value), EMtfLineState::LineAppended);
}

void CMtfLines::ReplaceAttrLine(std::uint64_t id, std::u16string_view name,
                                std::u16string_view value) {
    if (id >= Count()) {
        throw frame::CExc(u"There is no line %1 in meta-file %2",
                          {frame::UInt64ToString(id), m_path}, frame::kFail);
    }
    CMtfText text = CMtfText::Join(name, u'=', value);
    CMtfLine& line = m_lines[static_cast<std::size_t>(id)];
    if (line.empty) {
        --m_emptySlots;
    }
    line = {std::move(text), EMtfLineState::LineModified, false};
    m_firstChanged = std::min(m_firstChanged, id);
}

void CMtfLines::MarkDeleted(std::uint64_t id) noexcept {
    if (Find(id) != nullptr) {
        m_lines[static_cast<std::size_t>(id)].state = EMtfLineState::LineDeleted;
        m_firstChanged = std::min(m_firstChanged, id);
    }
}

void CMtfLines::MarkDeletedAll(std::span<const std::uint64_t> ids) noexcept {
    for (const std::uint64_t id : ids) {
        MarkDeleted(id);
    }
}

void CMtfLines::PushComment(std::u16string_view text) {
    while (!text.empty()) {
        const std::size_t end = text.find(u'\n');
        std::u16string_view piece = text.substr(0, end);
        text.remove_prefix(std::min(text.size(), piece.size() + 1));
        if (end != std::u16string_view::npos && piece.ends_with(u'\r')) {
            piece.remove_suffix(1);
        }
        Add(CMtfText::Join({}, u'#', piece), EMtfLineState::LineAppended);
    }
}

std::vector<CMtfAttrLine> CMtfLines::FindAttrLinesUnder(std::u16string_view prefix) const {
    std::vector<CMtfAttrLine> found;
    CMtfAttrLine attr;
    for (attr.line = 0; attr.line < Count(); ++attr.line) {
        if (ParseAttrLine(attr.line, attr.name, attr.value) &&
            text::StartsWithNoCase(attr.name, prefix) && PathStartsWith(attr.name, prefix)) {
            found.push_back(attr);
        }
    }
    return found;
}

EMtfSaveKind CMtfLines::GetSaveKind() const noexcept {
    if (m_firstChanged == kNoLine) {
        return EMtfSaveKind::SaveNothing;
    }
    const EMtfLineState first = m_lines[static_cast<std::size_t>(m_firstChanged)].state;
    return first == EMtfLineState::LineAppended ? EMtfSaveKind::SaveAppend
                                                : EMtfSaveKind::SaveRewrite;
}

std::uint64_t CMtfLines::ComposedSize() const noexcept {
    std::uint64_t size = kByteOrderMark.size();
    for (std::size_t id = 0; id < m_lines.Size(); ++id) {
        size += m_lines[id].text.View().size() * sizeof(char16_t) + kWideLineEnd.size();
    }
    return size;
}

void CMtfLines::ComposeAll(idxdata::CMtfOutBuffer& out) const {
    out.Append(kByteOrderMark.data(), kByteOrderMark.size());
    ComposeFrom(0, 0, out);
}

void CMtfLines::ComposeTail(idxdata::CMtfOutBuffer& out) const {
    if (m_firstChanged == kNoLine) {
        return;
    }
    if (GetSaveKind() != EMtfSaveKind::SaveAppend) {
        throw frame::CExc(u"There are one or more lines updated at the beginning of the file.",
                          frame::kFail);
    }
    // Only saves empty slots, so all empty slots precede the lines added since the last save.
    ComposeFrom(m_firstChanged, m_firstChanged - m_emptySlots, out);
}

void CMtfLines::ComposeFrom(std::uint64_t id, std::uint64_t linesBefore,
                            idxdata::CMtfOutBuffer& out) const {
    for (; id < Count(); ++id) {
        const CMtfLine& line = m_lines[static_cast<std::size_t>(id)];
        if (line.empty || line.state == EMtfLineState::LineDeleted) {
            continue;
        }
        if (linesBefore++ > 0) {
            out.Append(kWideLineEnd.data(), kWideLineEnd.size());
        }
        AppendWide(out, line.text.View());
    }
}

void CMtfLines::CommitSaved() noexcept {
    for (std::uint64_t id = m_firstChanged; id < Count(); ++id) {
        CMtfLine& line = m_lines[static_cast<std::size_t>(id)];
        if (line.state == EMtfLineState::LineDeleted) {
            line = {{}, EMtfLineState::LineUnchanged, true};
            ++m_emptySlots;
        }
        line.state = EMtfLineState::LineUnchanged;
    }
    m_firstChanged = kNoLine;
}

void CMtfLines::Load(const std::shared_ptr<const idxdata::CMtfStorage>& content) {
    idxdata::CMtfInBuffer in(content);
    if (in.StartsWith(kByteOrderMark)) {
        in.Skip(kByteOrderMark.size());
        m_content = content;
        LoadWide(in);
    } else {
        LoadNarrow(in);
    }
}

void CMtfLines::LoadWide(idxdata::CMtfInBuffer& in) {
    std::string_view token;
    const bool cut = HasNul(UnitsOf(in.Rest()));
    while (in.NextToken(kWideLineEnd, token)) {
        if (token.size() % sizeof(char16_t) != 0) {
            throw frame::CExc(u"Unicode meta-file \"%1\" contains non-unicode lines.", {m_path},
                              frame::kFail);
        }
        std::u16string_view line = UnitsOf(token);
        if (cut) {
            line = line.substr(0, line.find(u'\0'));
        }
        Add(CMtfText::Borrow(line), EMtfLineState::LineUnchanged);
    }
}

void CMtfLines::LoadNarrow(idxdata::CMtfInBuffer& in) {
    // A byte gives at most one code unit, so the text is not reallocated while lines view it.
    auto text = std::make_shared<std::u16string>();
    text->reserve(static_cast<std::size_t>(in.Remaining()));
    std::string_view token;
    while (in.NextToken(kNarrowLineEnd, token)) {
        const std::size_t start = text->size();
        text->append(frame::AnsiToWide(token.substr(0, token.find('\0'))));
        Add(CMtfText::Borrow(std::u16string_view(*text).substr(start)),
            EMtfLineState::LineUnchanged);
    }
    m_content = std::move(text);
}

}  // namespace mtf
