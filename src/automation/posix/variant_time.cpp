#include "automation/posix/automation_internal.h"
#include "platform/times.h"

extern "C" {

ZOREL_EXPORT INT SystemTimeToVariantTime(SYSTEMTIME* time, double* date) {
    if (time == nullptr || date == nullptr) {
        return 0;
    }
    const platform::SystemTime converted = {time->wYear,   time->wMonth,       time->wDayOfWeek,
                                            time->wDay,    time->wHour,        time->wMinute,
                                            time->wSecond, time->wMilliseconds};
    return platform::SystemTimeToDate(converted, *date) ? 1 : 0;
}

ZOREL_EXPORT INT VariantTimeToSystemTime(double date, SYSTEMTIME* time) {
    platform::SystemTime converted = {};
    if (time == nullptr || !platform::DateToSystemTime(date, converted)) {
        return 0;
    }
    *time = {converted.year, converted.month,  converted.dayOfWeek, converted.day,
             converted.hour, converted.minute, converted.second,    converted.milliseconds};
    return 1;
}

}  // extern "C"
