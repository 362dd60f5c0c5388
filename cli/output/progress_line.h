#pragma once

#include <chrono>
#include <string>

namespace zorel::cli {

// A line that is rewritten in place, at most ten times a second, and cleared at the end. It
// is shown only when standard error is a terminal.
class CProgressLine {
public:
    CProgressLine();
    ~CProgressLine() { Clear(); }
    CProgressLine(const CProgressLine&) = delete;
    CProgressLine& operator=(const CProgressLine&) = delete;

    // Whether Show would write. Callers check it before they format a text.
    bool IsDue() const;
    void Show(const std::string& text);
    void Clear();

private:
    std::chrono::steady_clock::time_point m_next;
    bool m_isTerminal;
    bool m_isShown = false;
};

}  // namespace zorel::cli
