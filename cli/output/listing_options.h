#pragma once

#include <CLI/App.hpp>
#include <string>

#include "cli/output/row_writer.h"

namespace zorel::cli {

// The options of all commands that list files, and how rows look on a terminal.
class CListingOptions {
public:
    void Declare(CLI::App& app);

    // The style of a listing as text.
    RowStyle TextStyle() const;

private:
    bool m_isLocal = false;
    std::string m_color = "auto";
};

}  // namespace zorel::cli
