// Owners for what the library hands out: interface pointers, strings and arrays.
#pragma once

#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ZorelAutomation.h"

namespace zorel::client {

// One reference to an object.
template <class Interface>
class CPointer {
public:
    CPointer() = default;
    ~CPointer() { Reset(); }
    CPointer(CPointer&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    CPointer& operator=(CPointer&& other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }

    Interface* operator->() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }
    // Where a method puts the reference it hands out.
    Interface** Out() {
        Reset();
        return &m_object;
    }
    void Reset() {
        if (Interface* object = std::exchange(m_object, nullptr)) {
            object->Release();
        }
    }

private:
    Interface* m_object = nullptr;
};

// A string argument or result; an empty text is not the null string.
class CText {
public:
    CText() = default;
    explicit CText(std::u16string_view text)
        : m_text(SysAllocStringLen(text.data() != nullptr ? text.data() : u"",
                                   static_cast<UINT>(text.size()))) {
        if (m_text == nullptr) {
            throw std::bad_alloc();
        }
    }
    ~CText() { SysFreeString(m_text); }
    CText(CText&& other) noexcept : m_text(std::exchange(other.m_text, nullptr)) {}
    CText& operator=(CText&& other) noexcept {
        std::swap(m_text, other.m_text);
        return *this;
    }

    BSTR Get() const { return m_text; }
    BSTR* Out() {
        SysFreeString(std::exchange(m_text, nullptr));
        return &m_text;
    }
    std::u16string_view View() const {
        return m_text != nullptr ? std::u16string_view(m_text, SysStringLen(m_text))
                                 : std::u16string_view();
    }

private:
    BSTR m_text = nullptr;
};

// An array of strings handed out by a method.
class CTextArray {
public:
    CTextArray() = default;
    ~CTextArray() { Reset(); }
    CTextArray(const CTextArray&) = delete;
    CTextArray& operator=(const CTextArray&) = delete;

    SAFEARRAY** Out() {
        Reset();
        return &m_array;
    }
    std::vector<std::u16string> Texts() const {
        std::vector<std::u16string> texts;
        LONG first = 0;
        LONG last = -1;
        void* data = nullptr;
        if (m_array == nullptr || FAILED(SafeArrayGetLBound(m_array, 1, &first)) ||
            FAILED(SafeArrayGetUBound(m_array, 1, &last)) || last < first ||
            FAILED(SafeArrayAccessData(m_array, &data))) {
            return texts;
        }
        const BSTR* items = static_cast<const BSTR*>(data);
        for (std::int64_t i = 0; i <= std::int64_t{last} - first; ++i) {
            texts.emplace_back(items[i] != nullptr
                                   ? std::u16string(items[i], SysStringLen(items[i]))
                                   : std::u16string());
        }
        SafeArrayUnaccessData(m_array);
        return texts;
    }

private:
    void Reset() {
        if (SAFEARRAY* array = std::exchange(m_array, nullptr)) {
            SafeArrayDestroy(array);
        }
    }

    SAFEARRAY* m_array = nullptr;
};

}  // namespace zorel::client
