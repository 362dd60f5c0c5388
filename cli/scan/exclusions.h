// What a scan leaves out at the user's request.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zorel::cli {

// Patterns of names and paths: * ? [a-z] [!a-z], \ before a character that is taken literally.
// The case of letters matters. A pattern without a slash matches a name at any depth; a pattern
// with one matches a path below the scanned folder, in which * and ? match no slash. A slash at
// the end restricts a pattern to folders; a slash at the start has no other meaning.
class CExclusions {
public:
    // Why the text is not a pattern; empty when it is one.
    static std::string Check(const std::string& text);

    void Add(std::string text);
    bool IsEmpty() const { return m_patterns.empty(); }
    // Whether a path is needed by Matches; otherwise it can be empty.
    bool NeedsPaths() const { return m_needsPaths; }
    // `path` is the path below the scanned folder, with slashes, without one at its start.
    bool Matches(const std::string& name, const std::string& path, bool isFolder) const;

private:
    struct Pattern {
        std::string text;
        bool isPath = false;
        bool isForFolders = false;
    };

    std::vector<Pattern> m_patterns;
    bool m_needsPaths = false;
};

}  // namespace zorel::cli
