// What tests ask of automation objects again and again.
#pragma once

#include <string>

#include "platform/automation.h"
#include "platform/bstr.h"
#include "platform/com_ptr.h"

namespace support {

// The thread's error information; empty texts and the null GUID when there is none.
struct ErrorReport {
    std::u16string description;
    std::u16string source;
    GUID guid = GUID_NULL;
};

// Takes the thread's error information away.
inline ErrorReport TakeError() {
    ErrorReport report;
    platform::CComPtr<IErrorInfo> info;
    if (::GetErrorInfo(0, info.Put()) == S_OK) {
        platform::CBstr description;
        platform::CBstr source;
        info->GetDescription(description.Put());
        info->GetSource(source.Put());
        info->GetGUID(&report.guid);
        report.description = platform::TextOf(description.Get());
        report.source = platform::TextOf(source.Get());
    }
    return report;
}

}  // namespace support
