#include "frame/errors.h"

#include <utility>

#include "automation/bstr.h"
#include "automation/com_ptr.h"
#include "frame/conversions.h"
#include "platform/errors.h"

namespace frame {

namespace {

constexpr std::uint32_t kLibraryNameId = 100;

// The number after a '%', parsed like wcstol: leading blanks, a sign, digits.
struct PlaceholderNumber {
    std::size_t length = 0;  // code units consumed; 0 if there is no number
    std::int64_t value = 0;  // clamped to 32 bits
};

PlaceholderNumber ReadNumber(std::u16string_view text) {
    const DecimalPrefix prefix = ReadDecimalPrefix(text);
    return {prefix.length, ClampToInt32(prefix)};
}

// The text for placeholder number `n` without an argument: the number is printed unsigned.
std::u16string UnfilledPlaceholder(std::int64_t n) {
    return u"%" + UInt64ToString(static_cast<std::uint32_t>(n));
}

// Returns the description of the thread's error information and clears the information.
std::u16string TakeErrorDescription() {
    automation::CComPtr<IErrorInfo> info;
    if (::GetErrorInfo(0, info.Put()) != S_OK) {
        return {};
    }
    automation::CBstr description;
    if (FAILED(info->GetDescription(description.Put()))) {
        return {};
    }
    return std::u16string(automation::TextOf(description.Get()));
}

std::u16string ComMessage(HResult hr) {
    return u"COM error: " + TakeErrorDescription() + u" Code: " +
           UIntToHexString(static_cast<std::uint32_t>(hr));
}

}  // namespace

std::u16string FormatText(std::u16string_view text, TextArgs args) {
    std::u16string out;
    out.reserve(text.size() + 32);
    std::size_t pos = 0;
    while (pos < text.size()) {
        if (text[pos] != u'%') {
            out.push_back(text[pos++]);
            continue;
        }
        ++pos;
        const PlaceholderNumber number = ReadNumber(text.substr(pos));
        pos += number.length;
        if (number.length == 0) {
            out.push_back(u'%');
        } else if (number.value < 1 || number.value > static_cast<std::int64_t>(args.size())) {
            out += UnfilledPlaceholder(number.value);
        } else {
            out += args.begin()[number.value - 1];
        }
    }
    return out;
}

std::u16string LoadTableString(std::uint32_t stringId, bool* loaded) {
    const bool found = stringId == kLibraryNameId;
    if (loaded != nullptr) {
        *loaded = found;
    }
    if (found) {
        return u"ZorelOibIdxLib";
    }
    return u"Cannot load a string from the strings table. String ID: " + UInt64ToString(stringId) +
           u"Arguments: %1, %2, %3, %4.";
}

HResult HResultFromWin32(std::uint32_t code) noexcept {
    if (static_cast<std::int32_t>(code) > 0) {
        return static_cast<HResult>(0x80070000U | (code & 0xFFFFU));
    }
    return static_cast<HResult>(code);
}

CExc::CExc(std::u16string message, HResult hr) : m_result(hr) {
    AddMessage(std::move(message));
}

CExc::CExc(std::u16string_view text, TextArgs args, HResult hr)
    : CExc(FormatText(text, args), hr) {}

void CExc::AddMessage(std::u16string message) {
    m_messages.insert(m_messages.begin(), std::move(message));
}

void CExc::AddMessage(std::u16string_view text, TextArgs args) {
    AddMessage(FormatText(text, args));
}

void CExc::AddMessage(std::uint32_t stringId, TextArgs args) {
    AddMessage(LoadTableString(stringId), args);
}

std::u16string CExc::GetFullMessage() const {
    constexpr std::u16string_view kBreak = u"\r\n";
    std::u16string out;
    bool first = true;
    for (std::u16string_view message : m_messages) {
        if (!std::exchange(first, false)) {
            out += kBreak;
        }
        if (message.ends_with(kBreak)) {
            message.remove_suffix(kBreak.size());
        }
        out += message;
    }
    return out;
}

CWin32Exc::CWin32Exc() : CWin32Exc(platform::GetLastError()) {}

CWin32Exc::CWin32Exc(std::uint32_t code) : m_code(code) {
    PushSystemMessage();
}

CWin32Exc::CWin32Exc(std::u16string message, std::uint32_t code)
    : CWin32Exc(code == kLastError ? platform::GetLastError() : code) {
    AddMessage(std::move(message));
}

CWin32Exc::CWin32Exc(std::u16string_view text, TextArgs args, std::uint32_t code)
    : CWin32Exc(code == kLastError ? platform::GetLastError() : code) {
    AddMessage(text, args);
}

CWin32Exc::CWin32Exc(std::uint32_t stringId, TextArgs args, std::uint32_t code)
    : CWin32Exc(code == kLastError ? platform::GetLastError() : code) {
    AddMessage(stringId, args);
}

void CWin32Exc::PushSystemMessage() {
    SetHResult(HResultFromWin32(m_code));
    AddMessage(u"Win32 error:" + platform::SystemMessage(m_code) + u" Code: " +
               IntToString(static_cast<std::int32_t>(m_code)));
}

CComExc::CComExc(HResult hr) : CExc(ComMessage(hr), hr) {}

CComExc::CComExc(std::u16string message, HResult hr) : CComExc(hr) {
    AddMessage(std::move(message));
}

CComExc::CComExc(std::u16string_view text, TextArgs args, HResult hr) : CComExc(hr) {
    AddMessage(text, args);
}

}  // namespace frame
