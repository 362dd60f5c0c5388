// The filters that the search commands share, and what people may write for them.
#pragma once

#include <CLI/App.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "ZorelOibIdxLib.h"
#include "cli/library/com_holders.h"

namespace zorel::tools {

// Bytes: a number, alone or with K, M, G or T behind it (powers of 1024). Throws CToolError
// naming `option`.
std::int64_t ParseSize(const std::string& text, const std::string& option);

// A moment in UTC: 2024-03-01, 2024-03-01T12:30 or 2024-03-01T12:30:15, or an age such as
// 45s, 10min, 12h, 30d or 2w. Throws CToolError naming `option`.
DATE ParseTime(const std::string& text, const std::string& option);

// Ticks of a FILETIME for a moment of whole seconds.
std::uint64_t TicksOf(DATE date);

// The criteria of one search, as options and as the library's record.
class CSearchFilters {
public:
    void Declare(CLI::App& app);

    const std::optional<std::string>& Owner() const { return m_owner; }
    const std::optional<std::string>& Endings() const { return m_endings; }
    // The volume that the folder is written with.
    std::optional<char16_t> Volume() const;

    // The record for a search of a catalogue. It points into this object.
    SearchSpec& ForCatalogue();
    // The record for a text data file whose lines name `volume`, with the same meaning:
    // the folder ends with a backslash, and a pattern without stars may stand anywhere.
    SearchSpec& ForText(std::u16string_view volume);

private:
    void FillCommon();
    // The folder with backslashes and a volume in front; empty when none is asked for.
    std::u16string Root(std::u16string_view volume) const;

    std::optional<std::string> m_name;
    std::optional<std::string> m_under;
    std::optional<std::string> m_owner;
    std::optional<std::string> m_newerThan;
    std::optional<std::string> m_olderThan;
    std::optional<std::string> m_minSize;
    std::optional<std::string> m_maxSize;
    std::optional<std::string> m_endings;
    bool m_useServerRule = false;

    SearchSpec m_record{};
    client::CText m_rootText;
    client::CText m_nameText;
    client::CText m_ownerText;
    client::CText m_endingsText;
};

}  // namespace zorel::tools
