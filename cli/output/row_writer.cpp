#include "cli/output/row_writer.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "cli/command_line/command_error.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

using EField = CRowTemplate::EField;

constexpr std::pair<std::string_view, EField> kFields[] = {
    {"path", EField::Path},     {"name", EField::Name}, {"folder", EField::Folder},
    {"size", EField::Size},     {"time", EField::Time}, {"owner", EField::Owner},
    {"volume", EField::Volume},
};

EField FieldNamed(std::string_view name) {
    const auto* const found = std::find_if(std::begin(kFields), std::end(kFields),
                                           [&](const auto& field) { return field.first == name; });
    if (found != std::end(kFields)) {
        return found->second;
    }
    std::string names;
    for (const auto& field : kFields) {
        names += (names.empty() ? "{" : ", {") + std::string(field.first) + "}";
    }
    throw CCommandError("--format: there is no field {" + std::string(name) +
                        "}; fields: " + names);
}

}  // namespace

CRowTemplate::CRowTemplate(std::string_view text) {
    Part part;
    while (!text.empty()) {
        const std::size_t brace = std::min(text.find_first_of("{}"), text.size());
        part.text += text.substr(0, brace);
        text.remove_prefix(brace);
        if (text.starts_with("{{") || text.starts_with("}}")) {
            part.text += text.front();
            text.remove_prefix(2);
        } else if (const std::size_t end = text.find('}');
                   end != std::string_view::npos && end > 0) {
            part.field = FieldNamed(text.substr(1, end - 1));
            m_parts.push_back(std::exchange(part, {}));
            text.remove_prefix(end + 1);
        } else if (!text.empty()) {
            throw CCommandError("--format: a brace without its pair; {{ and }} print a brace");
        }
    }
    m_parts.push_back(std::move(part));
}

void CRowWriter::Append(CTextBuffer& out, const FileRow& row) {
    switch (m_style.format) {
        case ERowFormat::Line:
            AppendLine(out, row);
            break;
        case ERowFormat::Columns:
            AppendColumns(out, row);
            break;
        case ERowFormat::Path:
            AppendPath(out, row);
            break;
        case ERowFormat::Json:
            AppendJson(out, row);
            break;
        case ERowFormat::Template:
            AppendTemplate(out, row);
            break;
    }
    out.Append(m_style.end);
}

void CRowWriter::AppendLine(CTextBuffer& out, const FileRow& row) {
    AppendDate(out, row);
    out.Append("  ");
    AppendSize(out, row);
    out.Append("  ");
    AppendOwner(out, row);
    out.Append("  ");
    AppendPath(out, row);
}

void CRowWriter::AppendColumns(CTextBuffer& out, const FileRow& row) {
    out.Append(row.isFolder ? "d  " : "-  ");
    if (m_style.hasVolume) {
        AppendText(out, row.Volume());
        out.Append("  ");
    }
    AppendOwner(out, row);
    out.Append("  ");
    AppendSize(out, row);
    out.Append("  ");
    AppendDate(out, row);
    out.Append("  ");
    AppendPath(out, row);
}

void CRowWriter::AppendJson(CTextBuffer& out, const FileRow& row) {
    out.Append(row.isFolder ? R"({"type":"folder","path":")" : R"({"type":"file","path":")");
    out.AppendJson(row.Folder());
    const std::size_t name = out.Size();
    out.AppendJson(row.Name());
    const std::size_t nameSize = out.Size() - name;
    out.Append(R"(","name":")");
    out.AppendAgain(name, nameSize);
    if (!row.isFolder) {
        out.Append(R"(","size":)");
        out.AppendNumber(row.size);
        out.Append(R"(,"modified":)");
        const std::size_t date = out.Size();
        out.Append('"');
        if (m_dates.Append(out, row.modified, 'T')) {
            out.Append(R"(Z","owner":")");
        } else {
            out.Truncate(date);
            out.Append(R"(null,"owner":")");
        }
        out.AppendJson(row.owner);
    }
    out.Append(R"(","volume":")");
    out.AppendJson(row.Volume());
    out.Append(R"("})");
}

void CRowWriter::AppendTemplate(CTextBuffer& out, const FileRow& row) {
    for (const CRowTemplate::Part& part : m_style.fields.Parts()) {
        out.Append(part.text);
        if (part.field) {
            AppendField(out, row, *part.field);
        }
    }
}

void CRowWriter::AppendField(CTextBuffer& out, const FileRow& row, EField field) {
    switch (field) {
        case EField::Path:
            AppendPath(out, row);
            break;
        case EField::Name:
            AppendText(out, row.Name());
            break;
        case EField::Folder: {
            std::u16string_view folder = row.Folder();
            folder.remove_suffix(folder.ends_with(u'\\') ? 1 : 0);
            AppendText(out, folder);
            break;
        }
        case EField::Size:
            if (!row.isFolder) {
                out.AppendNumber(row.size);
            }
            break;
        case EField::Time:
            if (!row.isFolder && m_dates.Append(out, row.modified, 'T')) {
                m_dates.AppendZone(out);
            }
            break;
        case EField::Owner:
            AppendText(out, row.owner);
            break;
        case EField::Volume:
            AppendText(out, row.Volume());
            break;
    }
}

void CRowWriter::AppendDate(CTextBuffer& out, const FileRow& row) {
    constexpr std::string_view kUtc = " UTC";
    constexpr std::size_t kOffsetWidth = 7;  // " +01:00"
    const bool isKnown = !row.isFolder && m_dates.Append(out, row.modified, ' ');
    if (!isKnown) {
        out.Append('-');
        out.AppendBlanks(CDateFormatter::kWidth - 1);
    }
    if (!m_style.isZoneShown) {
        return;
    }
    if (!isKnown) {
        out.AppendBlanks(m_style.isLocal ? kOffsetWidth : kUtc.size());
    } else if (m_style.isLocal) {
        out.Append(' ');
        m_dates.AppendZone(out);
    } else {
        out.Append(kUtc);
    }
}

void CRowWriter::AppendSize(CTextBuffer& out, const FileRow& row) {
    char digits[32];
    std::string_view text = "-";
    if (!row.isFolder) {
        char* const end = m_style.isHuman ? PutHumanSize(digits, row.size)
                                          : std::to_chars(digits, std::end(digits), row.size).ptr;
        text = {digits, static_cast<std::size_t>(end - digits)};
    }
    out.AppendBlanks(m_style.sizeWidth - std::min(text.size(), m_style.sizeWidth));
    out.Append(text);
}

void CRowWriter::AppendOwner(CTextBuffer& out, const FileRow& row) const {
    std::size_t columns = 1;
    if (row.owner.empty()) {
        out.Append('-');
    } else {
        columns = out.AppendPrintable(row.owner);
    }
    out.AppendBlanks(m_style.ownerWidth - std::min(columns, m_style.ownerWidth));
}

void CRowWriter::AppendPath(CTextBuffer& out, const FileRow& row) const {
    constexpr std::string_view kBlue = "\033[34m";
    constexpr std::string_view kPlain = "\033[0m";
    const std::u16string_view shown = row.path.substr(row.shownAt);
    const std::size_t name = !m_style.isColored ? 0
                             : row.isFolder     ? shown.size()
                                                : shown.rfind(u'\\') + 1;
    if (name == 0) {
        AppendText(out, shown);
    } else {
        out.Append(kBlue);
        AppendText(out, shown.substr(0, name));
        out.Append(kPlain);
        AppendText(out, shown.substr(name));
    }
    if (row.isFolder && m_style.format != ERowFormat::Template) {
        out.Append('\\');
    }
}

void CRowWriter::AppendText(CTextBuffer& out, std::u16string_view text) const {
    if (m_style.end == '\0') {
        out.AppendText(text);
    } else {
        out.AppendPrintable(text);
    }
}

}  // namespace zorel::cli
