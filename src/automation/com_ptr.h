// A small COM pointer: owns one reference.
#pragma once

#include <cstddef>
#include <utility>

namespace automation {

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
    // For calls that store a reference through a pointer; releases what was held.
    T** Put() noexcept {
        *this = nullptr;
        return &m_object;
    }
    void** PutVoid() noexcept { return reinterpret_cast<void**>(Put()); }

private:
    T* m_object = nullptr;
};

}  // namespace automation
