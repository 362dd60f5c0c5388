#include "cli/scan/glob.h"

#include <fnmatch.h>

#include <clocale>

namespace zorel::cli {

bool MatchesGlob(const std::string& pattern, const std::string& text) {
    static const locale_t utf8 = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const locale_t previous = utf8 != nullptr ? ::uselocale(utf8) : nullptr;
    const bool isMatch = ::fnmatch(pattern.c_str(), text.c_str(), FNM_PATHNAME) == 0;
    if (previous != nullptr) {
        ::uselocale(previous);
    }
    return isMatch;
}

}  // namespace zorel::cli
