#pragma once

#include <string>

#include "ZorelClient.h"
#include "ZorelText.h"
#include "frame/errors.h"

namespace zorel::cli {

// Calls `body`, which uses the readers and writers of index data. Their failures become
// client::CError with `subject`, usually the path of the file, like failures of the library.
template <class Body>
decltype(auto) WithSubject(const std::string& subject, Body&& body) {
    try {
        return body();
    } catch (const frame::CExc& error) {
        throw client::CError(error.GetHResult(), subject, {"", ToUtf8(error.GetFullMessage())});
    }
}

}  // namespace zorel::cli
