// The C++ convenience layer over ZorelOibIdxLib.h, for C++17 clients on Linux and on Windows:
// owners of references, strings, arrays and records, and a check that turns a failed call
// into an exception.
//
//     using namespace zorel::client;
//     const CComPtr<IOibIdxLib> library = CreateLibrary();
//     CComPtr<IOibDFBrowser> browser;
//     Check(library->BrowseOibDF(CString(u"C.dat"), browser.Put()), "C.dat");
//     CStringArray folders;
//     Check(browser->GetFolders(CString(u"C:\\docs"), folders.Put()));
//     for (std::size_t i = 0; i < folders.Size(); ++i) { use(folders[i]); }
//
// `Put()` is the address for an output argument; what the owner held before is released.
// An owner belongs to one thread at a time, as the object behind it does. The constructors
// that copy text throw std::bad_alloc. doc/interface.md describes the methods.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "ZorelAutomation.h"
#include "ZorelOibIdxLib.h"
#include "ZorelText.h"

namespace zorel::client {

// ----- References -----------------------------------------------------------------

// Owns one reference to an object, or none.
template <class T>
class CComPtr {
public:
    CComPtr() noexcept = default;
    CComPtr(std::nullptr_t) noexcept {}
    // Adds a reference; Attach takes one over.
    explicit CComPtr(T* object) noexcept : m_object(object) {
        if (m_object != nullptr) {
            m_object->AddRef();
        }
    }
    CComPtr(const CComPtr& other) noexcept : CComPtr(other.m_object) {}
    CComPtr(CComPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    CComPtr& operator=(CComPtr other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~CComPtr() {
        if (m_object != nullptr) {
            m_object->Release();
        }
    }

    static CComPtr Attach(T* object) noexcept {
        CComPtr pointer;
        pointer.m_object = object;
        return pointer;
    }
    T* Detach() noexcept { return std::exchange(m_object, nullptr); }
    T* Get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }
    T** Put() noexcept {
        *this = nullptr;
        return &m_object;
    }
    void** PutVoid() noexcept { return reinterpret_cast<void**>(Put()); }

private:
    T* m_object = nullptr;
};

// ----- Strings --------------------------------------------------------------------

// The UTF-16 text of a string; empty for the null string. Valid as long as the string.
inline std::u16string_view ViewOf(BSTR text) noexcept {
    static_assert(sizeof(OLECHAR) == sizeof(char16_t));
    return text != nullptr
               ? std::u16string_view(reinterpret_cast<const char16_t*>(text), ::SysStringLen(text))
               : std::u16string_view();
}

// Owns a string argument or a string result. The null string and the empty text are
// different values: a default CString is null, CString(u"") is empty.
class CString {
public:
    CString() noexcept = default;
    explicit CString(std::u16string_view text)
        : m_text(::SysAllocStringLen(
              reinterpret_cast<const OLECHAR*>(text.data() != nullptr ? text.data() : u""),
              static_cast<UINT>(text.size()))) {
        if (m_text == nullptr) {
            throw std::bad_alloc();
        }
    }
    CString(CString&& other) noexcept : m_text(std::exchange(other.m_text, nullptr)) {}
    CString& operator=(CString&& other) noexcept {
        std::swap(m_text, other.m_text);
        return *this;
    }
    ~CString() { ::SysFreeString(m_text); }

    static CString FromUtf8(std::string_view text) { return CString(ToUtf16(text)); }

    BSTR Get() const noexcept { return m_text; }
    operator BSTR() const noexcept { return m_text; }
    std::u16string_view View() const noexcept { return ViewOf(m_text); }
    std::string Utf8() const { return ToUtf8(View()); }
    BSTR* Put() noexcept {
        ::SysFreeString(std::exchange(m_text, nullptr));
        return &m_text;
    }

private:
    BSTR m_text = nullptr;
};

// Owns an array of strings that a method returned: one dimension of VT_BSTR.
class CStringArray {
public:
    CStringArray() noexcept = default;
    CStringArray(const CStringArray&) = delete;
    CStringArray& operator=(const CStringArray&) = delete;
    ~CStringArray() { Reset(); }

    SAFEARRAY** Put() noexcept {
        Reset();
        return &m_array;
    }
    std::size_t Size() const noexcept {
        return m_array != nullptr ? m_array->rgsabound[0].cElements : 0;
    }
    // Valid as long as the array; `index` counts from 0 and is below Size().
    std::u16string_view operator[](std::size_t index) const noexcept {
        return ViewOf(static_cast<const BSTR*>(m_array->pvData)[index]);
    }

private:
    void Reset() noexcept {
        if (SAFEARRAY* array = std::exchange(m_array, nullptr)) {
            ::SafeArrayDestroy(array);
        }
    }

    SAFEARRAY* m_array = nullptr;
};

// ----- Records --------------------------------------------------------------------

// A record whose strings are released with it; read its fields, and use Put() for each call
// that fills it.
template <class Record, BSTR Record::*Name>
class COwnedRecord : public Record {
public:
    COwnedRecord() noexcept : Record{} {}
    COwnedRecord(const COwnedRecord&) = delete;
    COwnedRecord& operator=(const COwnedRecord&) = delete;
    ~COwnedRecord() { FreeStrings(); }

    Record* Put() noexcept {
        FreeStrings();
        static_cast<Record&>(*this) = Record{};
        return this;
    }

private:
    void FreeStrings() noexcept {
        ::SysFreeString(this->*Name);
        ::SysFreeString(this->Owner);
    }
};

// A result of a search task.
using CSearchResult = COwnedRecord<SearchResult, &SearchResult::FileFullName>;
// A file of a listing.
using CFileInfo = COwnedRecord<OibFileInfo, &OibFileInfo::FileName>;

// ----- Errors ---------------------------------------------------------------------

// The error information that a failed call leaves for its thread, as UTF-8. Both texts are
// empty when there is none. Lines of the description end with LF on every system; the first
// line is the operation that the client called, the last one the cause.
struct ErrorInfo {
    std::string source;
    std::string description;
};

// Takes the error information of the calling thread, which has none afterwards.
inline ErrorInfo TakeErrorInfo() {
    ErrorInfo taken;
    CComPtr<IErrorInfo> info;
    if (::GetErrorInfo(0, info.Put()) != S_OK || !info) {
        return taken;
    }
    CString text;
    if (SUCCEEDED(info->GetSource(text.Put()))) {
        taken.source = text.Utf8();
    }
    if (SUCCEEDED(info->GetDescription(text.Put()))) {
        taken.description = text.Utf8();
    }
    std::string& lines = taken.description;
    for (std::size_t at = lines.find("\r\n"); at != std::string::npos;
         at = lines.find("\r\n", at)) {
        lines.erase(at, 1);
    }
    return taken;
}

// A call of the library that failed. what() reads
// "SUBJECT: DESCRIPTION (HRESULT 0x80004005)", without "SUBJECT: " where none was given.
class CError : public std::runtime_error {
public:
    CError(HRESULT result, std::string_view subject, ErrorInfo info)
        : std::runtime_error(Compose(result, subject, info.description)),
          m_result(result),
          m_subject(subject),
          m_info(std::move(info)) {}

    HRESULT Result() const noexcept { return m_result; }
    // What the call was about, such as a path; the message begins with it.
    const std::string& Subject() const noexcept { return m_subject; }
    const std::string& Source() const noexcept { return m_info.source; }
    const std::string& Description() const noexcept { return m_info.description; }

private:
    static std::string Compose(HRESULT result, std::string_view subject,
                               const std::string& description) {
        char code[32];
        static_cast<void>(
            std::snprintf(code, sizeof(code), " (HRESULT 0x%08X)", static_cast<unsigned>(result)));
        std::string text(subject);
        text += text.empty() ? "" : ": ";
        return text + (description.empty() ? "The call failed." : description) + code;
    }

    HRESULT m_result;
    std::string m_subject;
    ErrorInfo m_info;
};

// Returns the result of a call that succeeded (S_OK, S_FALSE). Throws CError for a failed one,
// with the error information of the thread; `subject` names what the call worked on, usually
// a file.
inline HRESULT Check(HRESULT result, std::string_view subject = {}) {
    if (FAILED(result)) {
        throw CError(result, subject, TakeErrorInfo());
    }
    return result;
}

// ----- The library object ---------------------------------------------------------

// Creates the library object. On Windows the calling thread has called CoInitializeEx, and
// the library is registered. Throws CError.
inline CComPtr<IOibIdxLib> CreateLibrary() {
    CComPtr<IOibIdxLib> library;
#if defined(_WIN32)
    Check(::CoCreateInstance(CLSID_COibIdxLib, nullptr, CLSCTX_INPROC_SERVER, IID_IOibIdxLib,
                             library.PutVoid()),
          "library");
#else
    Check(::CreateOibIdxLib(nullptr, &IID_IOibIdxLib, library.PutVoid()), "library");
#endif
    return library;
}

}  // namespace zorel::client
