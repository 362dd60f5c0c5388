#include "frame/server/registration/registry_script.h"

#include <algorithm>
#include <iterator>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "platform/errors.h"
#include "text/ascii_case.h"

namespace server {

using platform::win32err::kFileNotFound;
using platform::win32err::kSuccess;
using text::EqualsNoCase;

namespace {

[[noreturn]] void ThrowMalformed(std::u16string_view what, std::size_t line) {
    throw frame::CExc(u"Registry script, line %1: %2.", {frame::UInt64ToString(line), what},
                      frame::HResultFromWin32(platform::win32err::kInvalidData));
}

std::size_t LineAt(std::u16string_view text, std::size_t position) {
    return 1 + static_cast<std::size_t>(std::count(
                   text.begin(), text.begin() + static_cast<std::ptrdiff_t>(position), u'\n'));
}

std::u16string_view TextOfVariable(const ScriptVariables& variables, std::u16string_view name,
                                   std::size_t line) {
    for (const auto& [known, text] : variables) {
        if (text::EqualsNoCase(known, name)) {
            return text;
        }
    }
    ThrowMalformed(u"an unknown replacement variable", line);
}

std::u16string Expand(std::u16string_view script, const ScriptVariables& variables) {
    std::u16string expanded;
    std::size_t position = 0;
    while (position < script.size()) {
        const std::size_t start = std::min(script.find(u'%', position), script.size());
        expanded += script.substr(position, start - position);
        if (start == script.size()) {
            break;
        }
        const std::size_t end = script.find(u'%', start + 1);
        if (end == std::u16string_view::npos) {
            ThrowMalformed(u"a percent sign without its partner", LineAt(script, start));
        }
        const std::u16string_view name = script.substr(start + 1, end - start - 1);
        expanded += name.empty() ? std::u16string_view(u"%")
                                 : TextOfVariable(variables, name, LineAt(script, start));
        position = end + 1;
    }
    return expanded;
}

struct Word {
    std::u16string text;
    bool quoted = false;
    std::size_t line = 0;

    // Whether this is the keyword. A quoted word is not a keyword.
    bool Is(std::u16string_view keyword) const {
        return !quoted && text::EqualsNoCase(text, keyword);
    }
};

// The words of a script, with one word of lookahead.
class CScriptWords {
public:
    explicit CScriptWords(std::u16string_view text) : m_text(text) { Advance(); }

    bool AtEnd() const noexcept { return !m_next.has_value(); }
    bool NextIs(std::u16string_view keyword) const { return m_next && m_next->Is(keyword); }
    bool Skip(std::u16string_view keyword) {
        const bool found = NextIs(keyword);
        if (found) {
            Advance();
        }
        return found;
    }
    Word Take(std::u16string_view wanted) {
        if (!m_next) {
            ThrowMalformed(std::u16string(wanted) + u" is missing at the end", m_line);
        }
        Word word = std::move(*m_next);
        Advance();
        return word;
    }

private:
    static bool IsSpace(char16_t c) noexcept {
        return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n';
    }
    void Advance() {
        while (m_position < m_text.size() && IsSpace(m_text[m_position])) {
            m_line += m_text[m_position++] == u'\n' ? 1 : 0;
        }
        m_next.reset();
        if (m_position < m_text.size()) {
            m_next = m_text[m_position] == u'\'' ? Quoted() : Bare();
        }
    }
    Word Bare() {
        const std::size_t start = m_position;
        while (m_position < m_text.size() && !IsSpace(m_text[m_position]) &&
               m_text[m_position] != u'\'') {
            ++m_position;
        }
        return {std::u16string(m_text.substr(start, m_position - start)), false, m_line};
    }
    Word Quoted() {
        Word word{{}, true, m_line};
        for (;;) {
            const std::size_t start = m_position + 1;
            const std::size_t end = m_text.find(u'\'', start);
            if (end == std::u16string_view::npos) {
                ThrowMalformed(u"a quote without its partner", word.line);
            }
            word.text += m_text.substr(start, end - start);
            m_position = end + 1;
            if (m_position == m_text.size() || m_text[m_position] != u'\'') {
                break;
            }
            word.text += u'\'';
        }
        m_line += LineAt(word.text, word.text.size()) - 1;
        return word;
    }

    std::u16string_view m_text;
    std::size_t m_position = 0;
    std::size_t m_line = 1;
    std::optional<Word> m_next;
};

struct RootName {
    std::u16string_view name;
    platform::ERegistryRoot root;
};
constexpr RootName kRoots[] = {
    {u"HKCR", platform::ERegistryRoot::ClassesRoot},
    {u"HKCU", platform::ERegistryRoot::CurrentUser},
    {u"HKLM", platform::ERegistryRoot::LocalMachine},
    {u"HKU", platform::ERegistryRoot::Users},
};

platform::ERegistryRoot RootOf(const Word& word) {
    const auto* found = std::find_if(std::begin(kRoots), std::end(kRoots),
                                     [&](const RootName& row) { return word.Is(row.name); });
    if (found == std::end(kRoots)) {
        ThrowMalformed(u"not a root key", word.line);
    }
    return found->root;
}

std::uint32_t NumberOf(const Word& word) {
    const frame::DecimalPrefix number = frame::ReadDecimalPrefix(word.text);
    if (word.text.empty() || word.text[0] < u'0' || word.text[0] > u'9' ||
        number.length != word.text.size() || number.magnitude > 0xFFFFFFFFU) {
        ThrowMalformed(u"not a number of 32 bits", word.line);
    }
    return static_cast<std::uint32_t>(number.magnitude);
}

platform::RegistryValue TakeValue(CScriptWords& words) {
    const Word type = words.Take(u"a type of value");
    if (type.Is(u"s")) {
        return words.Take(u"a text").text;
    }
    if (type.Is(u"d")) {
        return NumberOf(words.Take(u"a number"));
    }
    ThrowMalformed(u"a value is neither s (text) nor d (number)", type.line);
}

}  // namespace

// Parses the words into keys. The open blocks are a list instead of a recursion: a deeply
// nested script must not exhaust the stack.
class CRegistryScriptParser {
public:
    using Key = CRegistryScript::Key;

    CRegistryScriptParser(std::u16string_view text, std::vector<Key>& keys)
        : m_words(text), m_keys(keys) {}

    void Parse() {
        while (!m_words.AtEnd()) {
            m_root = RootOf(m_words.Take(u"a root key"));
            Open(kNoKey);
            while (!m_open.empty()) {
                if (m_words.Skip(u"}")) {
                    m_open.pop_back();
                } else {
                    TakeEntry();
                }
            }
        }
    }

private:
    static constexpr std::size_t kNoKey = static_cast<std::size_t>(-1);

    // Enters the block of the key with index `key`.
    void Open(std::size_t key) {
        const Word brace = m_words.Take(u"an opening brace");
        if (!brace.Is(u"{")) {
            ThrowMalformed(u"an opening brace is missing", brace.line);
        }
        m_open.push_back(key);
    }

    void TakeEntry() {
        const bool noRemove = m_words.Skip(u"NoRemove");
        const bool forceRemove = m_words.Skip(u"ForceRemove");
        if (!noRemove && !forceRemove && m_words.Skip(u"val")) {
            TakeNamedValue();
        } else {
            TakeKey(noRemove, forceRemove);
        }
    }

    void TakeNamedValue() {
        const Word name = m_words.Take(u"the name of a value");
        if (m_open.back() == kNoKey || name.text.empty() || !m_words.Skip(u"=")) {
            ThrowMalformed(u"a value needs a key, a name and an equals sign", name.line);
        }
        m_keys[m_open.back()].values.push_back({name.text, TakeValue(m_words)});
    }

    void TakeKey(bool noRemove, bool forceRemove) {
        const Word name = m_words.Take(u"a key or a closing brace");
        // An empty name would denote the parent key, and Unregister would delete all of it.
        if (!platform::IsRegistryPath(name.text) || name.text.find(u'\\') != std::u16string::npos ||
            name.Is(u"{") || name.Is(u"=")) {
            ThrowMalformed(u"not the name of a key", name.line);
        }
        Key key;
        key.key.root = m_root;
        if (m_open.back() != kNoKey) {
            key.key.path = m_keys[m_open.back()].key.path + u"\\";
        }
        key.key.path += name.text;
        key.forceRemove = forceRemove;
        if (m_words.Skip(u"=")) {
            key.values.push_back({{}, TakeValue(m_words)});
        }
        m_keys.push_back(std::move(key));
        if (noRemove) {
            KeepLast();
        }
        if (m_words.NextIs(u"{")) {
            Open(m_keys.size() - 1);
        }
    }

    // Marks the last key and its ancestors: a key cannot be deleted if a subkey remains.
    void KeepLast() {
        m_keys.back().noRemove = true;
        for (const std::size_t ancestor : m_open) {
            if (ancestor != kNoKey) {
                m_keys[ancestor].noRemove = true;
            }
        }
    }

    CScriptWords m_words;
    std::vector<Key>& m_keys;
    platform::ERegistryRoot m_root{};
    std::vector<std::size_t> m_open;  // indexes of the keys with open blocks, innermost last
};

CRegistryScript::CRegistryScript(std::u16string_view text, const ScriptVariables& variables) {
    const std::u16string expanded = Expand(text, variables);
    CRegistryScriptParser(expanded, m_keys).Parse();
}

std::uint32_t CRegistryScript::RegisterKey(const Key& key, platform::IRegistry& registry) {
    std::uint32_t code = key.forceRemove ? registry.DeleteTree(key.key) : kSuccess;
    if (code == kSuccess || code == kFileNotFound) {
        code = registry.CreateKey(key.key);
    }
    for (auto value = key.values.begin(); code == kSuccess && value != key.values.end(); ++value) {
        code = registry.SetValue(key.key, value->name, value->value);
    }
    return code;
}

std::uint32_t CRegistryScript::UnregisterKey(const Key& key, platform::IRegistry& registry) {
    if (!key.noRemove) {
        const std::uint32_t code = registry.DeleteTree(key.key);
        return code == kFileNotFound ? kSuccess : code;
    }
    for (const Value& value : key.values) {
        const std::uint32_t code = registry.DeleteValue(key.key, value.name);
        if (code != kSuccess && code != kFileNotFound) {
            return code;
        }
    }
    return kSuccess;
}

std::uint32_t CRegistryScript::Register(platform::IRegistry& registry) const {
    for (const Key& key : m_keys) {
        const std::uint32_t code = RegisterKey(key, registry);
        if (code != kSuccess) {
            return code;
        }
    }
    return kSuccess;
}

std::uint32_t CRegistryScript::Unregister(platform::IRegistry& registry) const {
    for (std::size_t i = m_keys.size(); i-- > 0;) {
        const std::uint32_t code = UnregisterKey(m_keys[i], registry);
        if (code != kSuccess) {
            return code;
        }
    }
    return kSuccess;
}

std::u16string DoubleQuotes(std::u16string_view text) {
    std::u16string doubled;
    for (const char16_t c : text) {
        doubled.append(c == u'\'' ? 2 : 1, c);
    }
    return doubled;
}

}  // namespace server
