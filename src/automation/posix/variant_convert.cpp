#include "automation/posix/variant_convert.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
#include <variant>

#include "automation/bstr.h"
#include "automation/posix/automation_internal.h"
#include "platform/times.h"
#include "text/ascii_case.h"

namespace automation::detail {

namespace {

using Number = std::variant<std::int64_t, std::uint64_t, double>;

// ----- Reading ------------------------------------------------------------------

// The text without leading and trailing blanks. A code unit outside ASCII becomes '?', which
// occurs in no number and no date.
std::string AsciiOf(BSTR text) {
    std::string ascii;
    for (const char16_t unit : TextOf(text)) {
        ascii.push_back(unit < 0x80 ? static_cast<char>(unit) : '?');
    }
    constexpr const char* kBlanks = " \t\r\n\v\f";
    const std::size_t first = ascii.find_first_not_of(kBlanks);
    if (first == std::string::npos) {
        return {};
    }
    return ascii.substr(first, ascii.find_last_not_of(kBlanks) + 1 - first);
}

// Removes the thousands separators from the integer part.
std::string WithoutSeparators(const std::string& text) {
    std::string plain;
    bool inInteger = true;
    for (std::size_t i = 0; i < text.size(); ++i) {
        inInteger = inInteger && (text[i] == ',' || (text[i] >= '0' && text[i] <= '9'));
        if (text[i] != ',' || !inInteger || i == 0) {
            plain.push_back(text[i]);
        }
    }
    return plain;
}

template <class T>
std::errc ParseWhole(const std::string& text, T& value) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop != end ? std::errc::invalid_argument : error;
}

HRESULT ParseNumber(const std::string& text, Number& number) {
    const bool negative = !text.empty() && text[0] == '-';
    const bool isSigned = negative || (!text.empty() && text[0] == '+');
    const std::string digits = WithoutSeparators(text.substr(isSigned ? 1 : 0));
    if (digits.empty() || (digits[0] != '.' && (digits[0] < '0' || digits[0] > '9'))) {
        return DISP_E_TYPEMISMATCH;
    }
    if (std::uint64_t whole = 0; ParseWhole(digits, whole) == std::errc()) {
        constexpr std::uint64_t kLowest = std::uint64_t{1} << 63;
        if (!negative) {
            number = whole;
            return S_OK;
        }
        if (whole <= kLowest) {
            number = static_cast<std::int64_t>(std::uint64_t{0} - whole);
            return S_OK;
        }
    }
    double real = 0;
    const std::errc error = ParseWhole(digits, real);
    number = negative ? -real : real;
    return error == std::errc()                      ? S_OK
           : error == std::errc::result_out_of_range ? DISP_E_OVERFLOW
                                                     : DISP_E_TYPEMISMATCH;
}

// The failure for a type that has no number.
HRESULT RefuseType(VARTYPE type) {
    const VARTYPE base = type & VT_TYPEMASK;
    const bool isKnown = base <= VT_DECIMAL || base == VT_RECORD || ValueSize(base) != 0;
    return isKnown ? DISP_E_TYPEMISMATCH : DISP_E_BADVARTYPE;
}

HRESULT ReadNumber(const VARIANT& source, Number& number) {
    switch (source.vt) {
        case VT_EMPTY:
            number = std::int64_t{0};
            return S_OK;
        case VT_I1:
            number = std::int64_t{source.cVal};
            return S_OK;
        case VT_I2:
        case VT_BOOL:
            number = std::int64_t{source.iVal};
            return S_OK;
        case VT_I4:
        case VT_INT:
            number = std::int64_t{source.lVal};
            return S_OK;
        case VT_I8:
            number = std::int64_t{source.llVal};
            return S_OK;
        case VT_UI1:
            number = std::uint64_t{source.bVal};
            return S_OK;
        case VT_UI2:
            number = std::uint64_t{source.uiVal};
            return S_OK;
        case VT_UI4:
        case VT_UINT:
            number = std::uint64_t{source.ulVal};
            return S_OK;
        case VT_UI8:
            number = std::uint64_t{source.ullVal};
            return S_OK;
        case VT_R4:
            number = double{source.fltVal};
            return S_OK;
        case VT_R8:
        case VT_DATE:
            number = source.dblVal;
            return S_OK;
        case VT_CY:
            number = static_cast<double>(source.cyVal.int64) / 10000.0;
            return S_OK;
        case VT_BSTR:
            return ParseNumber(AsciiOf(source.bstrVal), number);
        default:
            return RefuseType(source.vt);
    }
}

double RealOf(const Number& number) {
    return std::visit([](auto value) { return static_cast<double>(value); }, number);
}

// Rounds halves to even. False when the value is out of range.
template <class T>
bool ToInteger(const Number& number, T& value) {
    return std::visit(
        [&](auto source) {
            if constexpr (std::is_same_v<decltype(source), double>) {
                const double rounded = std::nearbyint(source);
                const double end = std::ldexp(1.0, std::numeric_limits<T>::digits);
                const double first = std::is_signed_v<T> ? -end : 0.0;
                if (!(rounded >= first && rounded < end)) {
                    return false;
                }
                value = static_cast<T>(rounded);
            } else {
                if (!std::in_range<T>(source)) {
                    return false;
                }
                value = static_cast<T>(source);
            }
            return true;
        },
        number);
}

// ----- Targets ------------------------------------------------------------------

template <class T>
HRESULT ConvertToInteger(const VARIANT& source, T& value) {
    // True is all ones for an unsigned type too.
    if (source.vt == VT_BOOL) {
        value = static_cast<T>(source.boolVal);
        return S_OK;
    }
    Number number;
    const HRESULT hr = ReadNumber(source, number);
    if (FAILED(hr)) {
        return hr;
    }
    return ToInteger(number, value) ? S_OK : DISP_E_OVERFLOW;
}

HRESULT ConvertToBool(const VARIANT& source, VARIANT_BOOL& value) {
    if (source.vt == VT_BSTR) {
        const std::u16string text(TextOf(source.bstrVal));
        for (const bool candidate : {true, false}) {
            if (text::EqualsNoCase(text.c_str(), candidate ? u"True" : u"False") ||
                text::EqualsNoCase(text.c_str(), candidate ? u"#TRUE#" : u"#FALSE#")) {
                value = candidate ? VARIANT_TRUE : VARIANT_FALSE;
                return S_OK;
            }
        }
    }
    Number number;
    const HRESULT hr = ReadNumber(source, number);
    if (SUCCEEDED(hr)) {
        value = RealOf(number) != 0 ? VARIANT_TRUE : VARIANT_FALSE;
    }
    return hr;
}

// Reads "h:mm[:ss] [AM|PM]" to the end of the text.
bool ParseTimeText(const char* text, platform::SystemTime& time) {
    unsigned hour = 0;
    unsigned minute = 0;
    unsigned second = 0;
    int used = 0;
    if (std::sscanf(text, "%2u:%2u%n", &hour, &minute, &used) != 2) {
        return false;
    }
    text += used;
    if (std::sscanf(text, ":%2u%n", &second, &used) == 1) {
        text += used;
    }
    char half[3] = {};
    if (std::sscanf(text, " %2[APMapm]%n", half, &used) == 1) {
        text += used;
        const bool isPm = half[0] == 'P' || half[0] == 'p';
        if (half[0] == 'M' || half[0] == 'm' || hour < 1 || hour > 12) {
            return false;
        }
        hour = hour % 12 + (isPm ? 12 : 0);
    }
    time.hour = static_cast<std::uint16_t>(hour);
    time.minute = static_cast<std::uint16_t>(minute);
    time.second = static_cast<std::uint16_t>(second);
    return *text == '\0';
}

// Month/day/year or year-month-day with an optional time of day, or a time of day alone.
bool ParseDateText(const char* text, double& date) {
    unsigned year = 1899;
    unsigned month = 12;
    unsigned day = 30;
    int used = 0;
    const bool hasDate = std::sscanf(text, "%2u/%2u/%4u%n", &month, &day, &year, &used) == 3 ||
                         std::sscanf(text, "%4u-%2u-%2u%n", &year, &month, &day, &used) == 3;
    platform::SystemTime time = {};
    if (hasDate) {
        text += used;
        if (*text != '\0' && (*text != ' ' || !ParseTimeText(text + 1, time))) {
            return false;
        }
    } else {
        year = 1899;
        month = 12;
        day = 30;
        if (!ParseTimeText(text, time)) {
            return false;
        }
    }
    time.year = static_cast<std::uint16_t>(year);
    time.month = static_cast<std::uint16_t>(month);
    time.day = static_cast<std::uint16_t>(day);
    platform::SystemTime back = {};
    // SystemTimeToDate accepts a day past the end of its month.
    return platform::SystemTimeToDate(time, date) && platform::DateToSystemTime(date, back) &&
           back.day == day;
}

HRESULT ConvertToDate(const VARIANT& source, DATE& date) {
    if (source.vt == VT_BSTR) {
        double parsed = 0;
        if (!ParseDateText(AsciiOf(source.bstrVal).c_str(), parsed)) {
            return DISP_E_TYPEMISMATCH;
        }
        date = parsed;
        return S_OK;
    }
    Number number;
    const HRESULT hr = ReadNumber(source, number);
    if (FAILED(hr)) {
        return hr;
    }
    const double value = RealOf(number);
    if (!(value >= platform::kMinDate && value < platform::kEndOfDates)) {
        return DISP_E_OVERFLOW;
    }
    date = value;
    return S_OK;
}

// ----- Text ---------------------------------------------------------------------

std::string RealText(double value, int digits) {
    char buffer[64];
    const auto [end, error] =
        std::to_chars(buffer, buffer + sizeof(buffer), value == 0 ? 0.0 : value,
                      std::chars_format::general, digits);
    static_cast<void>(error);  // the buffer takes any number of this many digits
    std::string text(buffer, end);
    for (char& c : text) {
        c = c == 'e' ? 'E' : c;
    }
    return text;
}

std::string CurrencyText(std::int64_t tenThousandths) {
    const bool negative = tenThousandths < 0;
    const std::uint64_t magnitude =
        negative ? std::uint64_t{0} - static_cast<std::uint64_t>(tenThousandths)
                 : static_cast<std::uint64_t>(tenThousandths);
    std::string fraction = std::to_string(10000 + magnitude % 10000).substr(1);
    fraction.erase(fraction.find_last_not_of('0') + 1);
    return (negative ? "-" : "") + std::to_string(magnitude / 10000) +
           (fraction.empty() ? "" : "." + fraction);
}

// Midnight is written as the date alone, a time on day 0 as the time alone.
bool DateText(double date, std::string& text) {
    platform::SystemTime time = {};
    if (!platform::DateToSystemTime(date, time)) {
        return false;
    }
    const bool isZeroDay = time.year == 1899 && time.month == 12 && time.day == 30;
    const bool isMidnight = time.hour == 0 && time.minute == 0 && time.second == 0;
    char buffer[64];
    if (!isZeroDay) {
        static_cast<void>(
            std::snprintf(buffer, sizeof(buffer), "%u/%u/%u", time.month, time.day, time.year));
        text = buffer;
    }
    if (isZeroDay || !isMidnight) {
        const unsigned hour = time.hour % 12U;
        static_cast<void>(std::snprintf(buffer, sizeof(buffer), "%s%u:%02u:%02u %s",
                                        isZeroDay ? "" : " ", hour == 0 ? 12U : hour, time.minute,
                                        time.second, time.hour < 12 ? "AM" : "PM"));
        text += buffer;
    }
    return true;
}

HRESULT TextFrom(const VARIANT& source, std::string& text) {
    switch (source.vt) {
        case VT_R4:
            text = RealText(double{source.fltVal}, 7);
            return S_OK;
        case VT_R8:
            text = RealText(source.dblVal, 15);
            return S_OK;
        case VT_CY:
            text = CurrencyText(source.cyVal.int64);
            return S_OK;
        case VT_DATE:
            return DateText(source.date, text) ? S_OK : DISP_E_OVERFLOW;
        case VT_EMPTY:
            return S_OK;
        default:
            break;
    }
    Number number;
    const HRESULT hr = ReadNumber(source, number);
    if (SUCCEEDED(hr)) {
        text = std::visit([](auto value) { return std::to_string(value); }, number);
    }
    return hr;
}

HRESULT ConvertToString(const VARIANT& source, BSTR& string) {
    if (source.vt == VT_BSTR) {
        string = CopyBstr(source.bstrVal);
        return CopyFailed(source.bstrVal, string) ? E_OUTOFMEMORY : S_OK;
    }
    std::string text;
    const HRESULT hr = TextFrom(source, text);
    if (SUCCEEDED(hr)) {
        string = NewBstr(std::u16string(text.begin(), text.end()));
    }
    return hr;
}

HRESULT ConvertValue(const VARIANT& source, VARIANT& target) {
    switch (target.vt) {
        case VT_UI2:
            return ConvertToInteger(source, target.uiVal);
        case VT_I4:
            return ConvertToInteger(source, target.lVal);
        case VT_UI4:
            return ConvertToInteger(source, target.ulVal);
        case VT_I8:
            return ConvertToInteger(source, target.llVal);
        case VT_UI8:
            return ConvertToInteger(source, target.ullVal);
        case VT_BOOL:
            return ConvertToBool(source, target.boolVal);
        case VT_DATE:
            return ConvertToDate(source, target.date);
        case VT_BSTR:
            return ConvertToString(source, target.bstrVal);
        default:
            return DISP_E_TYPEMISMATCH;
    }
}

}  // namespace

HRESULT Dereference(const VARIANT& given, VARIANT& view) noexcept {
    const VARIANT* source = &given;
    if (source->vt == (VT_BYREF | VT_VARIANT)) {
        source = source->pvarVal;
        if (source == nullptr || source->vt == (VT_BYREF | VT_VARIANT)) {
            return DISP_E_TYPEMISMATCH;
        }
    }
    view = *source;
    if ((source->vt & VT_BYREF) == 0) {
        return S_OK;
    }
    view.vt = static_cast<VARTYPE>(source->vt & ~VT_BYREF);
    if (view.vt == VT_RECORD) {
        return S_OK;
    }
    const std::size_t size = (view.vt & VT_ARRAY) != 0 ? sizeof(SAFEARRAY*) : ValueSize(view.vt);
    if (source->byref == nullptr || size == 0 || size > sizeof(view.llVal)) {
        return DISP_E_TYPEMISMATCH;
    }
    std::memcpy(&view.llVal, source->byref, size);
    return S_OK;
}

HRESULT ConvertVariant(const VARIANT& source, VARTYPE type, CVariant& result) {
    VARIANT converted = {};
    converted.vt = type;
    const HRESULT hr = ConvertValue(source, converted);
    if (SUCCEEDED(hr)) {
        result.Reset(converted);
    }
    return hr;
}

}  // namespace automation::detail
