// The arguments of one late-bound call: from the caller's variants to the storage that a
// method's thunk reads, and back.
#pragma once

#include <array>

#include "automation/interface_table.h"
#include "automation/variant.h"

namespace automation::detail {

// One parameter's storage. Bound once, then its address is handed to the thunk; it owns
// what was converted for the method and what the method stored, until Deliver passes that
// on. Not movable: the method sees addresses inside it.
class CArgument {
public:
    CArgument() = default;
    CArgument(const CArgument&) = delete;
    CArgument& operator=(const CArgument&) = delete;

    // Takes the caller's variant for `param`; conversions as ConvertVariant makes them.
    // DISP_E_PARAMNOTOPTIONAL for an argument left out, DISP_E_TYPEMISMATCH,
    // DISP_E_OVERFLOW, DISP_E_BADVARTYPE. Throws std::bad_alloc.
    HRESULT Bind(const ParamDesc& param, const VARIANT& given);
    // Makes room for a return value that the caller gets through the call's result.
    HRESULT BindResult(const ParamDesc& param);

    // What the thunk reads; valid as long as this object.
    void* Address() noexcept;

    // Passes what the method stored to the caller's variable, or to `result` (null: it is
    // dropped) when bound by BindResult. Does nothing for an input.
    HRESULT Deliver(VARIANT* result);

private:
    HRESULT BindValue(const VARIANT& given);
    HRESULT BindRecord(const VARIANT& view);
    HRESULT BindGuid(const VARIANT& view);
    HRESULT BindReference(const VARIANT& given);
    HRESULT PrepareOutput();
    void StoreThrough(const VARIANT& reference);

    const ParamDesc* m_param = nullptr;
    const VARIANT* m_target = nullptr;  // the caller's by-reference variant of an output
    bool m_isResult = false;
    VARIANT m_view = {};            // an input that needs no conversion; owns nothing
    GUID m_guid = {};               // a GUID given as text
    CVariant m_value;               // a converted input, or what the method stores
    void* m_data = nullptr;         // the value itself
    void* m_dataPointer = nullptr;  // what a pointer parameter is given
};

// One call of `method`, in this order: Bind, Call, Deliver.
class CCallFrame {
public:
    explicit CCallFrame(const MethodDesc& method) noexcept : m_method(method) {}

    // On failure `badArgument` is the index in params.rgvarg where there is a culprit; it
    // stays unchanged otherwise. Nothing has been called or changed then.
    HRESULT Bind(const DISPPARAMS& params, UINT& badArgument);
    HRESULT Call(IDispatch* self);
    // Hands over the outputs of a call that succeeded.
    HRESULT Deliver(VARIANT* result);

private:
    static constexpr UINT kNotGiven = 0xFFFFFFFFU;
    using Positions = std::array<UINT, MethodDesc::kMaxParams>;  // indices in rgvarg

    bool HasResult() const noexcept;
    HRESULT Place(const DISPPARAMS& params, Positions& positions, UINT& badArgument) const;

    const MethodDesc& m_method;
    std::array<CArgument, MethodDesc::kMaxParams> m_arguments;
};

}  // namespace automation::detail
