// The error model of the library: exceptions with a stack of messages and one HRESULT.
//
// The code that throws names the operation that failed. Each layer that catches a CExc adds
// its own message in front and rethrows it. The boundary (boundary.h) converts the exception
// into an HRESULT with error information.
#pragma once

#include <cstdint>
#include <exception>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace frame {

// The HRESULTs that engines throw. Engines do not include the automation headers.
using HResult = std::int32_t;
inline constexpr HResult kFail = static_cast<HResult>(0x80004005U);
inline constexpr HResult kInvalidArg = static_cast<HResult>(0x80070057U);

using TextArgs = std::initializer_list<std::u16string_view>;

// Replaces %1 … %n in `text` by the arguments. A placeholder without an argument, a single %
// and %% remain unchanged. Placeholders inside arguments are not replaced.
std::u16string FormatText(std::u16string_view text, TextArgs args);

// The string-table text with this id. If there is none, a text that shows the id and has
// placeholders for four arguments. `loaded`, if not null, reports whether the id was found.
std::u16string LoadTableString(std::uint32_t stringId, bool* loaded = nullptr);

// A positive code becomes 0x8007xxxx with its low 16 bits; other codes remain unchanged.
HResult HResultFromWin32(std::uint32_t code) noexcept;

class CExc : public std::exception {
public:
    CExc() = default;
    CExc(std::u16string message, HResult hr);
    CExc(std::u16string_view text, TextArgs args, HResult hr);

    // Adds a message in front of the earlier ones.
    void AddMessage(std::u16string message);
    void AddMessage(std::u16string_view text, TextArgs args);
    void AddMessage(std::uint32_t stringId, TextArgs args = {});

    HResult GetHResult() const noexcept { return m_result; }
    void SetHResult(HResult hr) noexcept { m_result = hr; }
    // Newest first.
    const std::vector<std::u16string>& GetMessages() const noexcept { return m_messages; }
    // The messages joined by CR LF, newest first.
    std::u16string GetFullMessage() const;
    // The name of the class; the messages are UTF-16.
    const char* what() const noexcept override { return "CExc"; }

private:
    std::vector<std::u16string> m_messages;
    HResult m_result = 0;
};

// A failed system call. The last message is "Win32 error:…" with the system's text.
class CWin32Exc : public CExc {
public:
    // In the constructors with a message: use the thread's last error.
    static constexpr std::uint32_t kLastError = 0xFFFFFFFFU;

    CWin32Exc();
    explicit CWin32Exc(std::uint32_t code);
    CWin32Exc(std::u16string message, std::uint32_t code);
    CWin32Exc(std::u16string_view text, TextArgs args, std::uint32_t code);
    CWin32Exc(std::uint32_t stringId, TextArgs args, std::uint32_t code);

    std::uint32_t GetCode() const noexcept { return m_code; }

private:
    void PushSystemMessage();

    std::uint32_t m_code;
};

// A failed COM or automation call. The last message is "COM error: …" with the thread's error
// information, which the constructor reads and clears. Construct it before any other
// automation call.
class CComExc : public CExc {
public:
    explicit CComExc(HResult hr);
    CComExc(std::u16string message, HResult hr);
    CComExc(std::u16string_view text, TextArgs args, HResult hr);
};

// Runs `body` and adds the formatted message in front of a CExc that leaves it. The
// arguments are formatted only on failure and must outlive the call.
template <class Body>
decltype(auto) WithContext(std::u16string_view text, TextArgs args, Body&& body) {
    try {
        return body();
    } catch (CExc& exc) {
        exc.AddMessage(text, args);
        throw;
    }
}

}  // namespace frame
