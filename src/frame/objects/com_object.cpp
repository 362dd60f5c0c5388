#include "frame/com_object.h"

namespace frame {

bool TableImplements(const platform::InterfaceTable& table, REFIID iid) noexcept {
    for (const platform::InterfaceTable* t = &table; t != nullptr; t = t->base) {
        if (*t->iid == iid) {
            return true;
        }
    }
    return false;
}

}  // namespace frame
