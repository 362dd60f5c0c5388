#pragma once

#include <chrono>
#include <string>

namespace zorel::tools {

// One line on the terminal behind standard error that is rewritten in place, at most ten
// times a second, and wiped at the end. Without a terminal nothing is shown.
class CProgressLine {
public:
    CProgressLine();
    ~CProgressLine() { Clear(); }
    CProgressLine(const CProgressLine&) = delete;
    CProgressLine& operator=(const CProgressLine&) = delete;

    // Whether Show would write: lets callers spare the making of the text.
    bool IsDue() const;
    void Show(const std::string& text);
    void Clear();

private:
    std::chrono::steady_clock::time_point m_next;
    bool m_isTerminal;
    bool m_isShown = false;
};

}  // namespace zorel::tools
