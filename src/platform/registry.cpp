#include "platform/registry.h"

#include <algorithm>

namespace platform {

bool IsRegistryPath(std::u16string_view path) noexcept {
    constexpr std::size_t kLongestName = 255;
    for (;;) {
        const std::size_t end = std::min(path.find(u'\\'), path.size());
        if (end == 0 || end > kLongestName || path.substr(0, end).find(u'\0') < end) {
            return false;
        }
        if (end == path.size()) {
            return true;
        }
        path.remove_prefix(end + 1);
    }
}

}  // namespace platform
