#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "automation/automation.h"
#include "frame/objects/boundary.h"
#include "frame/objects/module.h"

namespace coClasses {

using StringList = std::vector<std::u16string>;

// IEnumString over a list that it shares with its clones; created with one reference. Not a
// CCoObject, because IEnumString is not an automation interface.
class CCoEnumString final : public IEnumString, public ISupportErrorInfo {
public:
    explicit CCoEnumString(std::shared_ptr<const StringList> list) noexcept
        : m_list(std::move(list)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override;

    // The strings are BSTRs for the caller to free.
    HRESULT STDMETHODCALLTYPE Next(ULONG count, LPOLESTR* strings, ULONG* fetched) override;
    // S_FALSE also when the last string is reached exactly. Kept for compatibility.
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    // The copy starts at the first string, not at the current one. Kept for compatibility.
    HRESULT STDMETHODCALLTYPE Clone(IEnumString** copy) override;

    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) override {
        return iid == IID_IEnumString ? S_OK : S_FALSE;
    }

private:
    ~CCoEnumString() = default;
    HRESULT CopyNext(ULONG count, LPOLESTR* strings, ULONG* fetched);

    frame::CModuleLock m_moduleLock;
    std::atomic<ULONG> m_references{1};
    std::mutex m_lock;
    std::shared_ptr<const StringList> m_list;
    std::uint64_t m_position = 0;  // never past the end of the list
};

}  // namespace coClasses
