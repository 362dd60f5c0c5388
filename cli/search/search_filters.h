#pragma once

#include <CLI/App.hpp>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "ZorelClient.h"

namespace zorel::cli {

// Bytes: a number, alone or followed by K, M, G or T (powers of 1024). Throws CCommandError
// with `option`.
std::int64_t ParseSize(const std::string& text, const std::string& option);

// A moment in UTC or an age (cli/output/calendar.h). Throws CCommandError with `option`.
std::chrono::sys_seconds ParseTime(const std::string& text, const std::string& option);

// The criteria of one search, as options and as the library's record.
class CSearchFilters {
public:
    void Declare(CLI::App& app);

    const std::optional<std::string>& Owner() const { return m_owner; }
    const std::optional<std::string>& Endings() const { return m_endings; }
    // The volume in the path of --under; none when the path has no volume.
    std::optional<char16_t> Volume() const;

    // The record for a search of a catalogue. It points into this object.
    SearchSpec& ForCatalogue();
    // The record for a text data file whose lines begin with `volume`. The library has other
    // rules for text: the folder ends with a backslash, and a pattern without stars fits at
    // the start of a name only. The record is adapted to both.
    SearchSpec& ForText(std::u16string_view volume);

private:
    void FillCommon();
    // The folder with backslashes and a volume; empty without --under.
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
    client::CString m_rootText;
    client::CString m_nameText;
    client::CString m_ownerText;
    client::CString m_endingsText;
};

}  // namespace zorel::cli
