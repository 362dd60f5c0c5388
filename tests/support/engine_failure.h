// The failure of a call of an engine.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "frame/conversions.h"
#include "frame/errors.h"

namespace support {

struct Failure {
    std::string message;  // the first one; empty when nothing was thrown
    frame::HResult result = 0;
    std::uint32_t code = 0;  // of a failure of the system
    bool operator==(const Failure&) const = default;
};

inline Failure FailureOf(const std::function<void()>& call) {
    try {
        call();
        return {};
    } catch (const frame::CWin32Exc& exc) {
        return {frame::WideToAnsi(exc.GetMessages().front()), exc.GetHResult(), exc.GetCode()};
    } catch (const frame::CExc& exc) {
        return {frame::WideToAnsi(exc.GetMessages().front()), exc.GetHResult()};
    }
}

inline Failure Refused(std::string message, std::uint32_t code) {
    return {std::move(message), frame::HResultFromWin32(code), code};
}

// The whole message of the CExc that `action` throws; "<none>" when it throws none.
template <class Action>
std::u16string MessageOf(Action&& action) {
    try {
        action();
    } catch (const frame::CExc& exc) {
        return exc.GetFullMessage();
    }
    return u"<none>";
}

}  // namespace support
