// Names of text data files: "vl.VOLUME.OWNER.NUMBER.txt".
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zorel::cli {

struct TextFileName {
    std::u16string volume;                // "C" when the name contains none
    std::optional<std::u16string> owner;  // "CORP.ann", or "unkn0" for an unknown owner
};

// Parses the file name of a path, which / and \ separate.
TextFileName ParseTextFileName(std::string_view path);

// Whether `owner`, from a file name, is the account NAME, DOMAIN\NAME, NAME@DOMAIN or
// DOMAIN.NAME, without regard to the case of A-Z. A domain can contain dots, too: NAME matches
// the text after any dot of `owner`.
bool IsOwnedBy(std::u16string_view owner, std::u16string_view account);

}  // namespace zorel::cli
