// An object that counts its references.
#pragma once

#include <atomic>

#include "ZorelAutomation.h"

namespace support {

// Lives on the stack of a test, which compares References() with the expected number. It is 0
// when every reference has been released.
class CCountedObject final : public IUnknown {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
        *object = this;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override { return --m_references; }
    ULONG References() const { return m_references; }

private:
    std::atomic<ULONG> m_references{0};
};

}  // namespace support
