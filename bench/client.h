// The library as a client sees it, for the benchmarks.
#pragma once

#include <string_view>
#include <utility>

#include "ZorelOibIdxLib.h"
#include "ZorelText.h"

namespace bench {

class CString {
public:
    explicit CString(std::u16string_view text)
        : m_text(::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
    explicit CString(std::string_view text) : CString(zorel::ToUtf16(text)) {}
    CString(const CString&) = delete;
    CString& operator=(const CString&) = delete;
    ~CString() { ::SysFreeString(m_text); }
    operator BSTR() const { return m_text; }

private:
    BSTR m_text;
};

template <class T>
class CRef {
public:
    CRef() = default;
    CRef(CRef&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    CRef& operator=(CRef&& other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    CRef(const CRef&) = delete;
    CRef& operator=(const CRef&) = delete;
    ~CRef() {
        if (m_object != nullptr) {
            m_object->Release();
        }
    }
    T** Put() { return &m_object; }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }
    explicit operator bool() const { return m_object != nullptr; }

private:
    T* m_object = nullptr;
};

inline CRef<IOibIdxLib> Library() {
    CRef<IOibIdxLib> library;
    ::CreateOibIdxLib(nullptr, &IID_IOibIdxLib, reinterpret_cast<void**>(library.Put()));
    return library;
}

}  // namespace bench
