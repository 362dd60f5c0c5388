// The arguments of one late-bound call: their conversion from the caller's variants to the
// storage that a method's thunk reads, and back.
#pragma once

#include <array>

#include "automation/interface_table.h"
#include "automation/variant.h"

namespace automation::detail {

// The storage of one parameter. Owns the converted input and the value that the method stores,
// until Deliver passes that value on. Not movable: the method gets addresses inside it. Order
// of calls: Bind or BindResult, Address, Deliver.
class CArgument {
public:
    CArgument() = default;
    CArgument(const CArgument&) = delete;
    CArgument& operator=(const CArgument&) = delete;

    // Binds the caller's variant, with the conversions of ConvertVariant.
    // DISP_E_PARAMNOTOPTIONAL for a missing argument, DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW,
    // DISP_E_BADVARTYPE. Throws std::bad_alloc.
    HRESULT Bind(const ParamDesc& param, const VARIANT& given);
    // Binds a return value that the caller gets as the result of the call.
    HRESULT BindResult(const ParamDesc& param);

    // The address for the thunk; valid as long as this object.
    void* Address() noexcept;

    // Moves the value that the method stored to the caller's variable, or to `result` if bound by
    // BindResult (null: the value is freed). Does nothing for an input.
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
    CVariant m_value;               // a converted input, or the value that the method stores
    void* m_data = nullptr;         // the value itself
    void* m_dataPointer = nullptr;  // the value of a pointer parameter
};

// One call of `method`, in this order: Bind, Call, Deliver.
class CCallFrame {
public:
    explicit CCallFrame(const MethodDesc& method) noexcept : m_method(method) {}

    // If one argument causes the failure, `badArgument` is its index in params.rgvarg; otherwise
    // it is unchanged. After a failure nothing has been called or changed.
    HRESULT Bind(const DISPPARAMS& params, UINT& badArgument);
    HRESULT Call(IDispatch* self);
    // Stores the outputs of a call that succeeded.
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
