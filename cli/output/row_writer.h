// Rows of listings: a file or a folder each.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ZorelAutomation.h"
#include "cli/output/date_formatter.h"
#include "cli/output/text_buffer.h"

namespace zorel::cli {

struct FileRow {
    std::u16string_view path;  // "C:\docs\report.txt"
    std::size_t shownAt = 0;   // where the path that listings show begins
    DATE modified = 0;         // UTC
    std::int64_t size = 0;     // bytes
    std::u16string_view owner;
    bool isFolder = false;  // a folder has no time, size and owner

    // Where the name begins.
    std::size_t NameAt() const { return path.rfind(u'\\') + 1; }
    std::u16string_view Name() const { return path.substr(NameAt()); }
    // With its backslash.
    std::u16string_view Folder() const { return path.substr(0, NameAt()); }
    std::u16string_view Volume() const { return path.substr(0, path.find(u':')); }
};

enum class ERowFormat {
    Line,      // date, size, owner, path
    Columns,   // type, owner, size, date, path
    Path,      // the path only
    Json,      // one object
    Template,  // as the user wrote it
};

// A template such as "{size} {path}".
class CRowTemplate {
public:
    enum class EField { Path, Name, Folder, Size, Time, Owner, Volume };
    struct Part {
        std::string text;             // before the field
        std::optional<EField> field;  // none: the end of the template
    };

    CRowTemplate() = default;
    // "{{" is a brace. Throws CCommandError for an unknown field and for a brace without its pair.
    explicit CRowTemplate(std::string_view text);

    const std::vector<Part>& Parts() const { return m_parts; }

private:
    std::vector<Part> m_parts;
};

struct RowStyle {
    ERowFormat format = ERowFormat::Line;
    CRowTemplate fields;
    char end = '\n';           // NUL: texts are not changed and rows have no colour
    bool isColored = false;    // folders of paths in blue
    bool isZoneShown = false;  // times are marked
    bool isLocal = false;      // times of the machine's zone; JSON is in UTC
    bool isHuman = false;      // sizes like 1.5K
    bool hasVolume = false;    // a column for the volume, in the format Columns
    std::size_t ownerWidth = 16;
    std::size_t sizeWidth = 13;
};

// Appends rows to a buffer without an allocation for each. For one thread at a time.
class CRowWriter {
public:
    explicit CRowWriter(RowStyle style) : m_style(std::move(style)), m_dates(m_style.isLocal) {}

    void Append(CTextBuffer& out, const FileRow& row);

private:
    void AppendLine(CTextBuffer& out, const FileRow& row);
    void AppendColumns(CTextBuffer& out, const FileRow& row);
    void AppendJson(CTextBuffer& out, const FileRow& row);
    void AppendTemplate(CTextBuffer& out, const FileRow& row);
    void AppendField(CTextBuffer& out, const FileRow& row, CRowTemplate::EField field);

    // With the width of a column; "-" where there is none.
    void AppendDate(CTextBuffer& out, const FileRow& row);
    void AppendSize(CTextBuffer& out, const FileRow& row);
    void AppendOwner(CTextBuffer& out, const FileRow& row) const;
    void AppendPath(CTextBuffer& out, const FileRow& row) const;
    void AppendText(CTextBuffer& out, std::u16string_view text) const;

    RowStyle m_style;
    CDateFormatter m_dates;
};

}  // namespace zorel::cli
