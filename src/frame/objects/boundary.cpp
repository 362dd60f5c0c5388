#include "frame/objects/boundary.h"

#include <exception>
#include <new>
#include <optional>
#include <string>

#include "automation/com_ptr.h"
#include "frame/conversions.h"
#include "frame/errors.h"

namespace frame {

namespace {

LPCOLESTR AsOleText(const char16_t* text) {
    return reinterpret_cast<LPCOLESTR>(text);
}

HRESULT ReportFixedText(const CErrorSource& source, const char16_t* text, HRESULT hr) noexcept {
    ReportError(source, AsOleText(text));
    return hr;
}

HRESULT ReportOutOfMemory(const CErrorSource& source) noexcept {
    return ReportFixedText(source, u"There is not enough memory to finish the call.",
                           E_OUTOFMEMORY);
}

HRESULT ReportExc(const CErrorSource& source, const CExc& exc) {
    ReportError(source, AsOleText(exc.GetFullMessage().c_str()));
    return exc.GetHResult();
}

HRESULT ReportStandardException(const CErrorSource& source, const std::exception& error) {
    const std::u16string text = u"Unexpected failure: " + AnsiToWide(error.what()) + u".";
    ReportError(source, AsOleText(text.c_str()));
    return E_FAIL;
}

// Translates the exception being handled. May itself run out of memory.
HRESULT ReportCurrentException(const CErrorSource& source) {
    try {
        throw;
    } catch (const CExc& exc) {
        return ReportExc(source, exc);
    } catch (const std::bad_alloc&) {
        return ReportOutOfMemory(source);
    } catch (const std::length_error&) {
        return ReportOutOfMemory(source);
    } catch (const std::exception& error) {
        return ReportStandardException(source, error);
    }
}

}  // namespace

void ReportError(const CErrorSource& source, LPCOLESTR description) noexcept {
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

HRESULT RunAtBoundary(const CErrorSource& source, std::mutex* lock, CBodyRef body) noexcept {
    ::SetErrorInfo(0, nullptr);
    try {
        std::optional<std::lock_guard<std::mutex>> guard;
        if (lock != nullptr) {
            guard.emplace(*lock);
        }
        try {
            return body();
        } catch (const std::exception&) {
            return ReportCurrentException(source);
        } catch (const CExc&) {
            return ReportCurrentException(source);
        }
    } catch (const std::bad_alloc&) {
        return ReportOutOfMemory(source);
    } catch (...) {
        return ReportFixedText(source, u"Unexpected failure.", E_FAIL);
    }
}

}  // namespace frame
