#include "tdf/text_search/record_line_parser.h"

#include "frame/conversions.h"
#include "frame/errors.h"
#include "text/unaligned.h"

namespace tdf {

namespace {

// Positions of the fields in a line, in code units.
constexpr std::size_t kMonthAt = 0;
constexpr std::size_t kDayAt = 3;
constexpr std::size_t kYearAt = 6;
constexpr std::size_t kHourAt = 11;
constexpr std::size_t kMinuteAt = 14;
constexpr std::size_t kSecondAt = 17;
constexpr std::size_t kSizeAt = 21;

// A field after the end of a short line is empty and so is not a number.
std::uint16_t FieldAt(std::u16string_view line, std::size_t at, std::size_t length) {
    const std::u16string_view field =
        at < line.size() ? line.substr(at, length) : line.substr(0, 0);
    return static_cast<std::uint16_t>(frame::StringToInt(field));
}

double ParseDate(std::u16string_view line) {
    platform::SystemTime time{};
    time.month = FieldAt(line, kMonthAt, 2);
    time.day = FieldAt(line, kDayAt, 2);
    time.year = FieldAt(line, kYearAt, 4);
    time.hour = FieldAt(line, kHourAt, 2);
    time.minute = FieldAt(line, kMinuteAt, 2);
    time.second = FieldAt(line, kSecondAt, 2);
    double date = 0;
    if (!platform::SystemTimeToDate(time, date)) {
        throw frame::CExc(u"Cannot convert system time to variant time while parsing string: [%1].",
                          {line}, frame::kFail);
    }
    return date;
}

}  // namespace

RecordLine ParseRecordLine(std::u16string_view line) {
    RecordLine record;
    record.modifyTime = ParseDate(line);
    const std::size_t comma = line.find(u',', kSizeAt);
    if (comma == std::u16string_view::npos) {
        throw frame::CExc(u"Cannot find file size while parsing string: [%1].", {line},
                          frame::kFail);
    }
    record.size =
        frame::ClampToInt64(frame::ReadDecimalPrefix(line.substr(kSizeAt, comma - kSizeAt)));
    if (comma + 2 >= line.size()) {
        throw frame::CExc(u"Cannot find file name while parsing string: [%1].", {line},
                          frame::kFail);
    }
    record.path = line.substr(comma + 2);
    return record;
}

bool CFastRecordLine::TryParse(const std::byte* units, std::size_t length) noexcept {
    m_units = units;
    return length > kSizeAt && ParseTime() && ParseSize(length);
}

namespace {

// Four code units as one number: unit i is in bits 16 * i to 16 * i + 15.
constexpr std::size_t kGroup = 4;

// The separators of a time at their positions; all digits are 0.
constexpr char16_t kTemplate[] = u"00/00/0000 00:00:00,";

constexpr std::uint64_t GroupOf(const char16_t* units) {
    std::uint64_t group = 0;
    for (std::size_t i = 0; i < kGroup; ++i) {
        group |= static_cast<std::uint64_t>(units[i]) << (16 * i);
    }
    return group;
}

// The values of the digits at positions kFirst to kFirst + 3; a valid separator gives 0.
template <std::size_t kFirst>
std::uint64_t DigitsAt(const std::byte* units) noexcept {
    constexpr std::uint64_t kZeros = GroupOf(kTemplate + kFirst);
    return text::LoadLittle<std::uint64_t>(units + 2 * kFirst) ^ kZeros;
}

// Not 0 when a unit of the group is above 9.
constexpr std::uint64_t Above9(std::uint64_t group) {
    constexpr std::uint64_t kSixes = 0x0006'0006'0006'0006;
    constexpr std::uint64_t kHighBits = 0xFFF0'FFF0'FFF0'FFF0;
    return (group | (group + kSixes)) & kHighBits;
}

constexpr unsigned Lane(std::uint64_t group, unsigned i) {
    return static_cast<unsigned>(group >> (16 * i)) & 0xF;
}

constexpr std::uint16_t Number(unsigned tens, unsigned ones) {
    return static_cast<std::uint16_t>(tens * 10 + ones);
}

}  // namespace

bool CFastRecordLine::ParseTime() noexcept {
    const std::uint64_t a = DigitsAt<0>(m_units);   // MM/D
    const std::uint64_t b = DigitsAt<4>(m_units);   // D/YY
    const std::uint64_t c = DigitsAt<8>(m_units);   // YY h
    const std::uint64_t d = DigitsAt<12>(m_units);  // h:mm
    const std::uint64_t e = DigitsAt<16>(m_units);  // :ss,
    if ((Above9(a) | Above9(b) | Above9(c) | Above9(d) | Above9(e)) != 0) {
        return false;
    }
    m_time.month = Number(Lane(a, 0), Lane(a, 1));
    m_time.day = Number(Lane(a, 3), Lane(b, 0));
    m_time.year = static_cast<std::uint16_t>(Number(Lane(b, 2), Lane(b, 3)) * 100 +
                                             Number(Lane(c, 0), Lane(c, 1)));
    m_time.hour = Number(Lane(c, 3), Lane(d, 0));
    m_time.minute = Number(Lane(d, 2), Lane(d, 3));
    m_time.second = Number(Lane(e, 1), Lane(e, 2));
    return m_time.month - 1U < 12 && m_time.day - 1U < 31 && m_time.hour < 24 &&
           m_time.minute < 60 && m_time.second < 60 && m_time.year >= 100;
}

bool CFastRecordLine::ParseSize(std::size_t length) noexcept {
    constexpr std::size_t kMaxDigits = 18;
    const auto at = [this](std::size_t i) { return text::LoadUnit(m_units, i); };
    std::size_t i = kSizeAt;
    while (i < length && at(i) >= u'0' && at(i) <= u'9') {
        ++i;
    }
    m_sizeEnd = i;
    return i - kSizeAt <= kMaxDigits && i + 2 < length && at(i) == u',';
}

double CFastRecordLine::ModifyTime() const noexcept {
    double date = 0;
    platform::SystemTimeToDate(m_time, date);
    return date;
}

std::int64_t CFastRecordLine::Size() const noexcept {
    std::int64_t size = 0;
    for (std::size_t i = kSizeAt; i < m_sizeEnd; ++i) {
        size = size * 10 + (text::LoadUnit(m_units, i) - u'0');
    }
    return size;
}

}  // namespace tdf
