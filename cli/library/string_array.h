#pragma once

#include <string>
#include <vector>

#include "ZorelClient.h"

namespace zorel::cli {

inline std::vector<std::u16string> TextsOf(const client::CStringArray& array) {
    std::vector<std::u16string> texts;
    texts.reserve(array.Size());
    for (std::size_t i = 0; i < array.Size(); ++i) {
        texts.emplace_back(array[i]);
    }
    return texts;
}

}  // namespace zorel::cli
