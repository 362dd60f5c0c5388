// Where exceptions end: every method of an automation interface runs its body here.
#pragma once

#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

#include "automation/automation.h"

namespace frame {

// Under which name a class reports its errors.
struct CErrorSource {
    const IID* iid;    // the identifier that the error information carries
    LPCOLESTR progId;  // null: no source is set
};

// A callable borrowed for the length of one call.
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

// Clears the thread's error information, takes `lock` (null: none), runs `body` and
// returns its HRESULT. An exception becomes error information and an HRESULT: that of a
// CExc as it stands, E_OUTOFMEMORY for exhausted memory, E_FAIL for anything else.
HRESULT RunAtBoundary(const CErrorSource& source, std::mutex* lock, CBodyRef body) noexcept;

// Publishes error information for the calling thread; publishes nothing when the system
// has no memory for it.
void ReportError(const CErrorSource& source, LPCOLESTR description) noexcept;

}  // namespace frame
