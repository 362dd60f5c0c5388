// The library as C++ clients like to call it: a failed call is an exception.
#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

#include "ZorelOibIdxLib.h"
#include "ZorelText.h"
#include "cli/library/com_holders.h"

namespace zorel::client {

// A failed call of the library. what() reads "SUBJECT: DESCRIPTION (HRESULT 0x80004005)".
class CLibraryError : public std::runtime_error {
public:
    CLibraryError(std::string_view subject, const std::string& description, HRESULT result)
        : std::runtime_error(Compose(subject, description, result)), m_result(result) {}

    HRESULT Result() const { return m_result; }

private:
    static std::string Compose(std::string_view subject, const std::string& description,
                               HRESULT result) {
        char code[40];
        static_cast<void>(
            std::snprintf(code, sizeof(code), " (HRESULT 0x%08X)", static_cast<unsigned>(result)));
        std::string text(subject);
        text += text.empty() ? "" : ": ";
        return text + (description.empty() ? "The call failed." : description) + code;
    }

    HRESULT m_result;
};

// The description that the failed call left for this thread, which is cleared; its line
// ends are those of the system.
inline std::string TakeErrorDescription() {
    CPointer<IErrorInfo> info;
    CText description;
    if (GetErrorInfo(0, info.Out()) != S_OK || !info ||
        FAILED(info->GetDescription(description.Out()))) {
        return {};
    }
    std::string text = ToUtf8(description.View());
    for (std::size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at)) {
        text.erase(at, 1);
    }
    return text;
}

// `subject` says what the call was about: usually a file.
inline void Check(HRESULT result, std::string_view subject) {
    if (FAILED(result)) {
        throw CLibraryError(subject, TakeErrorDescription(), result);
    }
}

// One library object; one thread.
class CLibrary {
public:
    CLibrary() {
        void* object = nullptr;
        Check(CreateOibIdxLib(nullptr, &IID_IOibIdxLib, &object), "library");
        *m_library.Out() = static_cast<IOibIdxLib*>(object);
    }
    IOibIdxLib* operator->() const { return m_library.operator->(); }

private:
    CPointer<IOibIdxLib> m_library;
};

}  // namespace zorel::client
