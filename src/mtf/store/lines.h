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

// The line separator in UTF-16 and in 8-bit text.
inline constexpr std::string_view kWideLineEnd{"\r\0\n\0", 4};
inline constexpr std::string_view kNarrowLineEnd = "\r\n";

// An attribute line with its trimmed name and value.
struct CMtfAttrLine {
    std::uint64_t line = 0;
    std::u16string_view name;
    std::u16string_view value;
};

// The line store, shared by a meta-file and the trees over it; no locks. A line's ID is its
// position in the file, or the next free number for lines added later; IDs are never
// reused. Returned views stay valid until their line changes or a save is committed; views
// of loaded text (IsLoadedText) stay valid as long as the store.
class CMtfLines {
public:
    static constexpr std::uint64_t kNoLine = ~std::uint64_t{0};

    explicit CMtfLines(std::u16string_view path) : m_path(path) {}

    // The number of slots, including those of lines that were deleted and saved.
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
    // Throws CExc for an unassigned ID. Also fills a slot that a save emptied.
    void ReplaceAttrLine(std::uint64_t id, std::u16string_view name, std::u16string_view value);
    void MarkDeleted(std::uint64_t id) noexcept;
    void MarkDeletedAll(std::span<const std::uint64_t> ids) noexcept;
    // Adds one comment line for each line of the text.
    void PushComment(std::u16string_view text);

    // The attribute lines whose path begins with the elements of `prefix`, in ID order.
    std::vector<CMtfAttrLine> FindAttrLinesUnder(std::u16string_view prefix) const;

    // Decided by the first changed line, in constant time.
    EMtfSaveKind GetSaveKind() const noexcept;
    // An upper bound of what ComposeAll appends, in bytes.
    std::uint64_t ComposedSize() const noexcept;
    // Appends the content of the whole file, including the byte-order mark.
    void ComposeAll(idxdata::CMtfOutBuffer& out) const;
    // Appends the added lines. Throws CExc when the first change is not an added line.
    void ComposeTail(idxdata::CMtfOutBuffer& out) const;
    // Marks all changes as saved.
    void CommitSaved() noexcept;

    // Adds the lines of a file's content to an empty store. Throws CExc for UTF-16 content
    // with a line of an odd number of bytes.
    void Load(const std::shared_ptr<const idxdata::CMtfStorage>& content);

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
    std::shared_ptr<const void> m_content;   // memory of the loaded lines
    std::uint64_t m_firstChanged = kNoLine;  // ID of the first changed line
    std::uint64_t m_emptySlots = 0;
};

}  // namespace mtf
