#pragma once

#include <utility>

#include "mtf/store/lines.h"

namespace mtf {

// Calls `body(const CMtfAttrLine&)` for every attribute line in ID order.
template <class Body>
void ForEachAttrLine(const CMtfLines& lines, Body&& body) {
    CMtfAttrLine attr;
    for (attr.line = 0; attr.line < lines.Count(); ++attr.line) {
        if (lines.ParseAttrLine(attr.line, attr.name, attr.value)) {
            body(std::as_const(attr));
        }
    }
}

}  // namespace mtf
