// What the name of a text data file tells: "vl.VOLUME.OWNER.NUMBER.txt".
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zorel::tools {

struct TextFileName {
    std::u16string volume;                // "C" when the name tells none
    std::optional<std::u16string> owner;  // "CORP.ann", or "unkn0" for an unknown owner
};

// `path` is cut at / and \, as the library cuts it.
TextFileName ParseTextFileName(std::string_view path);

// Whether the files of `owner` are those of the account that was asked for as NAME,
// DOMAIN\NAME, NAME@DOMAIN or DOMAIN.NAME, without regard to the case of A-Z. Where the dot
// between domain and name stands is not told: NAME fits whatever follows any dot.
bool IsOwnedBy(std::u16string_view owner, std::u16string_view account);

}  // namespace zorel::tools
