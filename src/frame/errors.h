// The error model of the library: exceptions with a stack of messages and one HRESULT.
//
// A thrower names what failed; each layer that catches a CExc on its way up puts its own
// message in front and rethrows; the boundary (boundary.h) turns the exception into an
// HRESULT with error information.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace frame {

// The HRESULTs that engines throw; engines do not see the automation headers.
using HResult = std::int32_t;
inline constexpr HResult kFail = static_cast<HResult>(0x80004005U);
inline constexpr HResult kInvalidArg = static_cast<HResult>(0x80070057U);
inline constexpr HResult kOutOfMemory = static_cast<HResult>(0x8007000EU);

using TextArgs = std::initializer_list<std::u16string_view>;

// Replaces %1 … %n in `text` by the arguments. A placeholder without its argument, a lone
// % and %% stay as they stand; arguments are not scanned again.
std::u16string FormatText(std::u16string_view text, TextArgs args);

// The string-table text with this id. When there is none: a text that shows the id and
// has placeholders for four arguments; `loaded`, if given, tells which.
std::u16string LoadTableString(std::uint32_t stringId, bool* loaded = nullptr);

// A positive code becomes 0x8007xxxx with its low 16 bits; others pass unchanged.
HResult HResultFromWin32(std::uint32_t code) noexcept;

class CExc {
public:
    CExc() = default;
    CExc(std::u16string message, HResult hr);
    CExc(std::u16string_view text, TextArgs args, HResult hr);
    virtual ~CExc() = default;
    CExc(const CExc&) = default;
    CExc(CExc&&) = default;
    CExc& operator=(const CExc&) = default;
    CExc& operator=(CExc&&) = default;

    // Puts a message in front of the earlier ones.
    void AddMessage(std::u16string message);
    void AddMessage(std::u16string_view text, TextArgs args);
    void AddMessage(std::uint32_t stringId, TextArgs args = {});

    HResult GetHResult() const noexcept { return m_result; }
    void SetHResult(HResult hr) noexcept { m_result = hr; }
    // Newest first.
    const std::vector<std::u16string>& GetMessages() const noexcept { return m_messages; }
    // The messages joined by CR LF, newest first.
    std::u16string GetFullMessage() const;

private:
    std::vector<std::u16string> m_messages;
    HResult m_result = 0;
};

// A failed call of the system. Carries "Win32 error:…" behind the caller's message.
class CWin32Exc : public CExc {
public:
    // Stands for "the thread's last error" wherever a message is given.
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

// A failed COM or automation call. Carries "COM error: …" with the thread's error
// information, which it takes: build it before any other automation call.
class CComExc : public CExc {
public:
    explicit CComExc(HResult hr);
    CComExc(std::u16string message, HResult hr);
    CComExc(std::u16string_view text, TextArgs args, HResult hr);
};

// Runs `body`; a CExc that leaves it gets the formatted message in front. The arguments
// are only formatted on failure and must outlive the call.
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
