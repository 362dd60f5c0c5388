#include "cli/scan/exclusions.h"

#include <algorithm>
#include <utility>

#include "cli/scan/glob.h"

namespace zorel::cli {

std::string CExclusions::Check(const std::string& text) {
    const bool isPattern = text.find_first_not_of('/') != std::string::npos;
    return isPattern ? "" : "\"" + text + "\" is not a pattern of names or paths";
}

void CExclusions::Add(std::string text) {
    Pattern pattern;
    while (text.ends_with('/')) {
        pattern.isForFolders = true;
        text.pop_back();
    }
    pattern.isPath = text.find('/') != std::string::npos;
    text.erase(0, text.find_first_not_of('/'));
    pattern.text = std::move(text);
    m_needsPaths = m_needsPaths || pattern.isPath;
    m_patterns.push_back(std::move(pattern));
}

bool CExclusions::Matches(const std::string& name, const std::string& path, bool isFolder) const {
    return std::any_of(m_patterns.begin(), m_patterns.end(), [&](const Pattern& pattern) {
        return (isFolder || !pattern.isForFolders) &&
               MatchesGlob(pattern.text, pattern.isPath ? path : name);
    });
}

}  // namespace zorel::cli
