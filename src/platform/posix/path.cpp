#include "platform/posix/path.h"

#include <algorithm>

#include "ZorelText.h"
#include "platform/errors.h"
#include "text/ascii_case.h"

namespace platform::posix {

namespace {

constexpr std::u16string_view kLongPrefix = u"\\\\?\\";

bool IsSeparator(char16_t unit) {
    return unit == u'/' || unit == u'\\';
}

// "UNC" before a separator. Without its first three units the path becomes /server/share.
bool StartsWithUnc(std::u16string_view path) {
    return path.size() >= 4 && text::ToLowerAscii(path[0]) == u'u' &&
           text::ToLowerAscii(path[1]) == u'n' && text::ToLowerAscii(path[2]) == u'c' &&
           IsSeparator(path[3]);
}

bool StartsWithDrive(std::u16string_view path) {
    return path.size() >= 2 && path[1] == u':' && text::ToLowerAscii(path[0]) >= u'a' &&
           text::ToLowerAscii(path[0]) <= u'z' && (path.size() == 2 || IsSeparator(path[2]));
}

}  // namespace

std::optional<std::string> NativePath(std::u16string_view path) {
    if (path.find(u'\0') != std::u16string_view::npos) {
        SetLastError(win32err::kInvalidName);
        return std::nullopt;
    }
    std::string native;
    if (path.starts_with(kLongPrefix)) {
        path.remove_prefix(kLongPrefix.size());
        if (StartsWithUnc(path)) {
            path.remove_prefix(3);
            native = "/";
        }
    }
    if (path.empty() || StartsWithDrive(path)) {
        SetLastError(win32err::kPathNotFound);
        return std::nullopt;
    }
    native += zorel::ToUtf8(path);
    std::replace(native.begin(), native.end(), '\\', '/');
    return native;
}

std::string ParentFolder(const std::string& path) {
    const std::size_t last = path.find_last_not_of('/');
    const std::size_t separator = last == std::string::npos ? 0 : path.rfind('/', last);
    if (separator == std::string::npos) {
        return ".";
    }
    const std::size_t end = path.find_last_not_of('/', separator);
    return end == std::string::npos ? "/" : path.substr(0, end + 1);
}

}  // namespace platform::posix
