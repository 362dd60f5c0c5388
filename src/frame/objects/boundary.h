// The exception boundary: every method of an automation interface runs its body through it.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

#include "automation/automation.h"

namespace frame {

// The identity under which a class reports its errors.
struct CErrorSource {
    const IID* iid;    // the identifier that the error information carries
    LPCOLESTR progId;  // the source in the error information; null: none
};

// A non-owning reference to a callable. The callable must outlive the call.
class CBodyRef {
public:
    template <class Body>
    requires(!std::is_same_v<std::remove_cvref_t<Body>, CBodyRef>) CBodyRef(Body&& body)
    noexcept
        : m_body(const_cast<void*>(static_cast<const void*>(std::addressof(body)))),
          m_call([](void* object) -> HRESULT {
              return (*static_cast<std::remove_reference_t<Body>*>(object))();
          }) {}

    HRESULT operator()() const { return m_call(m_body); }

private:
    void* m_body;
    HRESULT (*m_call)(void*);
};

// Clears the thread's error information, locks `lock` (null: none), runs `body` and returns
// its HRESULT. Converts an exception into error information and an HRESULT: the HRESULT of a
// CExc unchanged, E_OUTOFMEMORY if memory is exhausted, E_FAIL for any other exception.
HRESULT RunAtBoundary(const CErrorSource& source, std::mutex* lock, CBodyRef body) noexcept;

// Sets the error information of the calling thread. Sets none if there is not enough memory for
// it. Returns `hr`; DISP_E_EXCEPTION for 0.
HRESULT ReportError(const CErrorSource& source, LPCOLESTR description, HRESULT hr) noexcept;
// With a text of the string table; "Unknown Error" if there is none. Returns `hr`; 0x80040000
// with the identifier for 0. Throws std::bad_alloc.
HRESULT ReportError(const CErrorSource& source, std::uint32_t stringId, HRESULT hr);

}  // namespace frame
