// The owner of a resource that must be released.
#pragma once

#include <utility>

namespace platform {

// A move-only holder of one value. The traits give the value's type, its empty value and its
// release function: `Value`, `static Value Empty()`, `static void Release(Value)`.
template <class Traits>
class CUniqueResource {
public:
    using Value = typename Traits::Value;

    CUniqueResource() noexcept : m_value(Traits::Empty()) {}
    explicit CUniqueResource(Value value) noexcept : m_value(value) {}
    CUniqueResource(CUniqueResource&& other) noexcept : m_value(other.Detach()) {}
    CUniqueResource& operator=(CUniqueResource&& other) noexcept {
        if (this != &other) {
            Reset(other.Detach());
        }
        return *this;
    }
    CUniqueResource(const CUniqueResource&) = delete;
    CUniqueResource& operator=(const CUniqueResource&) = delete;
    ~CUniqueResource() { Reset(); }

    explicit operator bool() const noexcept { return m_value != Traits::Empty(); }
    Value Get() const noexcept { return m_value; }
    Value Detach() noexcept { return std::exchange(m_value, Traits::Empty()); }
    void Reset(Value value = Traits::Empty()) noexcept {
        const Value old = std::exchange(m_value, value);
        if (old != Traits::Empty()) {
            Traits::Release(old);
        }
    }
    // For calls that store their result through a pointer; releases the old value first.
    Value* Put() noexcept {
        Reset();
        return &m_value;
    }

private:
    Value m_value;
};

}  // namespace platform
