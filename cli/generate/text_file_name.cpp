#include "cli/generate/text_file_name.h"

#include "ZorelText.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

bool IsNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// OWNER in "OWNER.NUMBER.txt".
std::optional<std::u16string> OwnerIn(std::string_view text) {
    constexpr std::string_view kEnding = ".txt";
    if (!text.ends_with(kEnding)) {
        return std::nullopt;
    }
    text.remove_suffix(kEnding.size());
    const std::size_t end = text.rfind('.');
    if (end == std::string_view::npos || !IsNumber(text.substr(end + 1))) {
        return std::nullopt;
    }
    const std::string_view owner = text.substr(0, end);
    const bool isUnknown = owner.starts_with("unkn") && IsNumber(owner.substr(4));
    return isUnknown || owner.find('.') != std::string_view::npos ? std::optional(ToUtf16(owner))
                                                                  : std::nullopt;
}

}  // namespace

TextFileName ParseTextFileName(std::string_view path) {
    constexpr std::string_view kStart = "vl.";
    path.remove_prefix(path.find_last_of("/\\") + 1);
    const std::size_t end =
        path.starts_with(kStart) ? path.find('.', kStart.size()) : std::string_view::npos;
    if (end == std::string_view::npos) {
        return {u"C", std::nullopt};
    }
    return {ToUtf16(path.substr(kStart.size(), end - kStart.size())),
            OwnerIn(path.substr(end + 1))};
}

bool IsOwnedBy(std::u16string_view owner, std::u16string_view account) {
    const std::u16string label = Folded(owner);
    std::u16string wanted = Folded(account);
    for (const char16_t separator : {u'\\', u'@', u'.'}) {
        const std::size_t at = wanted.find(separator);
        if (at != std::u16string::npos) {
            std::u16string domain = wanted.substr(0, at);
            std::u16string name = wanted.substr(at + 1);
            if (separator == u'@') {
                domain.swap(name);
            }
            return label == domain.append(u".").append(name);
        }
    }
    return label.ends_with(wanted.insert(0, u"."));
}

}  // namespace zorel::cli
