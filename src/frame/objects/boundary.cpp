#include "frame/objects/boundary.h"

#include <exception>
#include <new>
#include <stdexcept>
#include <string>

#include "automation/com_ptr.h"
#include "frame/conversions.h"
#include "frame/errors.h"

namespace frame {

namespace {

HRESULT ReportText(const CErrorSource& source, const char16_t* text, HRESULT hr) noexcept {
    ReportError(source, reinterpret_cast<LPCOLESTR>(text), hr);
    return hr;
}

HRESULT ReportOutOfMemory(const CErrorSource& source) noexcept {
    return ReportText(source, u"There is not enough memory to finish the call.", E_OUTOFMEMORY);
}

// Reports the exception being handled. Throws std::bad_alloc if there is not enough memory
// for its text.
HRESULT ReportCurrentException(const CErrorSource& source) {
    try {
        throw;
    } catch (const CExc& exc) {
        return ReportText(source, exc.GetFullMessage().c_str(), exc.GetHResult());
    } catch (const std::bad_alloc&) {
        return ReportOutOfMemory(source);
    } catch (const std::length_error&) {
        return ReportOutOfMemory(source);
    } catch (const std::exception& error) {
        const std::u16string text = u"Unexpected failure: " + AnsiToWide(error.what()) + u".";
        return ReportText(source, text.c_str(), E_FAIL);
    } catch (...) {
        return ReportText(source, u"Unexpected failure.", E_FAIL);
    }
}

void PublishError(const CErrorSource& source, LPCOLESTR description) noexcept {
    automation::CComPtr<ICreateErrorInfo> creator;
    if (FAILED(::CreateErrorInfo(creator.Put()))) {
        return;
    }
    creator->SetGUID(*source.iid);
    if (source.progId != nullptr) {
        creator->SetSource(const_cast<LPOLESTR>(source.progId));
    }
    creator->SetDescription(const_cast<LPOLESTR>(description));
    automation::CComPtr<IErrorInfo> info;
    if (SUCCEEDED(creator->QueryInterface(IID_IErrorInfo, info.PutVoid()))) {
        ::SetErrorInfo(0, info.Get());
    }
}

}  // namespace

HRESULT ReportError(const CErrorSource& source, LPCOLESTR description, HRESULT hr) noexcept {
    PublishError(source, description);
    return hr != S_OK ? hr : DISP_E_EXCEPTION;
}

HRESULT ReportError(const CErrorSource& source, std::uint32_t stringId, HRESULT hr) {
    bool loaded = false;
    const std::u16string text = LoadTableString(stringId, &loaded);
    const char16_t* description = loaded ? text.c_str() : u"Unknown Error";
    const auto own = static_cast<HRESULT>(0x80040000U | stringId);
    return ReportError(source, reinterpret_cast<LPCOLESTR>(description), hr != S_OK ? hr : own);
}

HRESULT RunAtBoundary(const CErrorSource& source, std::mutex* lock, CBodyRef body) noexcept {
    ::SetErrorInfo(0, nullptr);
    try {
        try {
            std::unique_lock<std::mutex> guard;
            if (lock != nullptr) {
                guard = std::unique_lock(*lock);
            }
            return body();
        } catch (...) {
            return ReportCurrentException(source);
        }
    } catch (...) {  // not enough memory to report the first exception
        return ReportOutOfMemory(source);
    }
}

}  // namespace frame
