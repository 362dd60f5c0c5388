// An owner of one VARIANT.
#pragma once

#include "automation/automation.h"

namespace automation {

class CVariant {
public:
    CVariant() noexcept { ::VariantInit(&m_value); }
    CVariant(CVariant&& other) noexcept : m_value(other.Detach()) {}
    CVariant& operator=(CVariant&& other) noexcept {
        if (this != &other) {
            Reset(other.Detach());
        }
        return *this;
    }
    CVariant(const CVariant&) = delete;
    CVariant& operator=(const CVariant&) = delete;
    ~CVariant() { ::VariantClear(&m_value); }

    VARIANT& Get() noexcept { return m_value; }
    const VARIANT& Get() const noexcept { return m_value; }
    // For calls that store a value; clears the old value first.
    VARIANT* Put() noexcept {
        ::VariantClear(&m_value);
        return &m_value;
    }
    VARIANT Detach() noexcept {
        const VARIANT value = m_value;
        ::VariantInit(&m_value);
        return value;
    }
    // Takes ownership of the content of `value`.
    void Reset(const VARIANT& value) noexcept {
        ::VariantClear(&m_value);
        m_value = value;
    }

private:
    VARIANT m_value;
};

}  // namespace automation
