#include "frame/objects/com_object.h"

namespace frame {

bool TableImplements(const automation::InterfaceTable& table, REFIID iid) noexcept {
    for (const automation::InterfaceTable* t = &table; t != nullptr; t = t->base) {
        if (*t->iid == iid) {
            return true;
        }
    }
    return false;
}

}  // namespace frame
