#include "cli/search/search_output.h"

#include <algorithm>

#include "ZorelText.h"
#include "cli/output/calendar.h"
#include "cli/output/json_object.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {
constexpr std::size_t kSizeWidth = 13;
constexpr std::size_t kOwnerWidth = 16;
constexpr std::size_t kDateWidth = 19;

void ReportUnread(HRESULT code, const std::string& subject) {
    try {
        client::Check(code, subject);
    } catch (const client::CError& error) {
        PrintError(error.what());
    }
}

}  // namespace

void CSearchOutput::KeepEndings(const std::optional<std::string>& endings) {
    if (!endings || endings->empty()) {
        return;
    }
    m_endings.emplace();
    const std::u16string list = Folded(ToUtf16(*endings)) + u";";
    std::size_t start = 0;
    std::size_t count = 0;  // units of the ending, without its blanks
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (list[i] == u';' || list[i] == u',') {
            if (count > 0) {
                m_endings->push_back(list.substr(start, count));
            }
            count = 0;
        } else if (list[i] != u' ') {
            start = count == 0 ? i : start;
            ++count;
        }
    }
}

bool CSearchOutput::IsKept(std::u16string_view path) const {
    if (m_volume && Folded(path.substr(0, 1)) != Folded({&*m_volume, 1})) {
        return false;
    }
    const std::u16string_view name = path.substr(path.rfind(u'\\') + 1);
    return !m_endings || std::any_of(m_endings->begin(), m_endings->end(), [&](const auto& ending) {
        return name.size() > ending.size() && name.ends_with(ending);
    });
}

void CSearchOutput::Add(IOibTDFSearchTask& task, const std::string& subject) {
    INT count = 0;
    client::Check(task.get_ResultsCount(&count), subject);
    if (m_isCount && !m_endings && !m_volume) {
        m_found += static_cast<std::uint64_t>(count);
        return;
    }
    for (INT i = 0; i < count; ++i) {
        client::CSearchResult result;
        const HRESULT code = task.GetResult(i, result.Put());
        if (FAILED(code)) {
            ReportUnread(code, subject + ": Result " + std::to_string(i + 1) + " of " +
                                   std::to_string(count) + " cannot be read");
            m_isComplete = false;
            continue;
        }
        if (IsKept(client::ViewOf(result.FileFullName))) {
            ++m_found;
            Print(result);
        }
    }
}

void CSearchOutput::Print(const SearchResult& result) {
    if (m_isCount) {
        return;
    }
    const std::u16string_view path = client::ViewOf(result.FileFullName);
    const std::u16string_view owner = client::ViewOf(result.Owner);
    if (!m_isJson) {
        const std::string date = FormatDate(result.ModifyTime, " ").value_or("-");
        m_output.Write(PadRight(date, kDateWidth) + "  " +
                       PadLeft(std::to_string(result.Size), kSizeWidth) + "  " +
                       PadRight(owner.empty() ? "-" : Printable(owner), kOwnerWidth) + "  " +
                       Printable(path) + "\n");
        return;
    }
    CJsonObject object;
    object.Add("path", path).AddNumber("size", result.Size);
    object.AddDate("modified", result.ModifyTime).Add("owner", owner);
    m_output.Write(object.Line());
}

EExitCode CSearchOutput::Finish() {
    if (m_isCount) {
        m_output.Write(
            m_isJson ? CJsonObject().AddNumber("count", static_cast<std::int64_t>(m_found)).Line()
                     : std::to_string(m_found) + "\n");
    }
    if (!m_isComplete) {
        return kExitIncomplete;
    }
    return m_found == 0 ? kExitNothingFound : kExitOk;
}

}  // namespace zorel::cli
