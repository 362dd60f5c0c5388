// The lines of a meta-file: what was read, what has changed since the last save.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "idxdata/buffers/mtf_buffers.h"
#include "mtf/store/stable_array.h"
#include "mtf/store/text.h"

namespace mtf {

enum class EMtfLineState : std::uint8_t {
    LineUnchanged = 0,  // as read or as last saved
    LineAppended = 1,   // added since the last save
    LineDeleted = 2,    // to be removed by the next save
    LineModified = 3,   // replaced since the last save
};

enum class EMtfSaveKind { SaveNothing = 0, SaveAppend = 1, SaveRewrite = 2 };

// What stands between lines, in UTF-16 and in 8-bit text.
inline constexpr std::string_view kWideLineEnd{"\r\0\n\0", 4};
inline constexpr std::string_view kNarrowLineEnd = "\r\n";

// An attribute line cut into its trimmed name and value.
struct CMtfAttrLine {
    std::uint64_t line = 0;
    std::u16string_view name;
    std::u16string_view value;
};

// The line store, shared by a meta-file and the trees over it; no locks. A line's ID is its
// position in the file, or the next free number for lines added later; IDs are never used
// again. Views handed out stay valid until their line changes or a save is committed; those
// into the text that was loaded stay valid as long as the store (IsLoadedText).
class CMtfLines {
public:
    static constexpr std::uint64_t kNoLine = ~std::uint64_t{0};

    explicit CMtfLines(std::u16string_view path) : m_path(path) {}

    // Slots, those of lines deleted and saved included.
    std::uint64_t Count() const noexcept { return m_lines.Size(); }
    const std::u16string& GetPath() const noexcept { return m_path; }

    // False for an unknown, empty or deleted line.
    bool GetLine(std::uint64_t id, std::u16string_view& text) const noexcept;
    // False also for comments and for lines without "=".
    bool ParseAttrLine(std::uint64_t id, std::u16string_view& name,
                       std::u16string_view& value) const noexcept;
    bool IsLoadedText(std::uint64_t id) const noexcept;

    std::uint64_t AppendLine(std::u16string_view text, EMtfLineState state);
    std::uint64_t AppendAttrLine(std::u16string_view name, std::u16string_view value);
    // Throws CExc for an ID that was never given; fills the slot of a line deleted and saved.
    void ReplaceAttrLine(std::uint64_t id, std::u16string_view name, std::u16string_view value);
    void MarkDeleted(std::uint64_t id) noexcept;
    void MarkDeletedAll(std::span<const std::uint64_t> ids) noexcept;
    // One comment line for each line of the text.
    void PushComment(std::u16string_view text);

    // The attribute lines whose path begins with the elements of `prefix`, in ID order.
    std::vector<CMtfAttrLine> FindAttrLinesUnder(std::u16string_view prefix) const;

    // The first changed line alone decides; costs nothing however many lines there are.
    EMtfSaveKind GetSaveKind() const noexcept;
    // Bytes of the whole file, or some more.
    std::uint64_t ComposedSize() const noexcept;
    // The whole file, byte-order mark included.
    void ComposeAll(idxdata::CMtfOutBuffer& out) const;
    // What an append has to add. Throws CExc when the first change is not an added line.
    void ComposeTail(idxdata::CMtfOutBuffer& out) const;
    // All changes are in the file now.
    void CommitSaved() noexcept;

    // Adds the lines of a file's content to an empty store. Throws CExc for UTF-16 content
    // with a line of an odd number of bytes.
    void Load(std::shared_ptr<const idxdata::CMtfStorage> content);

private:
    struct CMtfLine {
        CMtfText text;
        EMtfLineState state = EMtfLineState::LineUnchanged;
        bool empty = false;  // deleted and saved
    };

    const CMtfLine* Find(std::uint64_t id) const noexcept;
    std::uint64_t Add(CMtfText text, EMtfLineState state);
    void LoadWide(idxdata::CMtfInBuffer& in);
    void LoadNarrow(idxdata::CMtfInBuffer& in);
    void ComposeFrom(std::uint64_t id, std::uint64_t linesBefore,
                     idxdata::CMtfOutBuffer& out) const;

    std::u16string m_path;
    CStableArray<CMtfLine> m_lines;
    std::shared_ptr<const void> m_content;   // what loaded lines point into
    std::uint64_t m_firstChanged = kNoLine;  // no change stands before it
    std::uint64_t m_emptySlots = 0;
};

}  // namespace mtf
