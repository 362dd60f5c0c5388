#include "automation/win32/out_variables.h"

#include <algorithm>

namespace automation::win32 {

namespace {

bool IsOutput(const ParamDesc& param) noexcept {
    const bool mayBeStored =
        param.direction == EDirection::Out || param.direction == EDirection::Unspecified;
    return mayBeStored && param.pointers == 1 && param.type != EValueType::Record &&
           param.type != EValueType::Guid;
}

}  // namespace

COutVariables::COutVariables(const MethodDesc* method, const DISPPARAMS& params) noexcept
    : m_params(params) {
    if (method == nullptr || params.cNamedArgs != 0 || params.cArgs > method->paramCount) {
        return;
    }
    std::copy_n(params.rgvarg, params.cArgs, m_arguments.begin());
    m_params.rgvarg = m_arguments.data();
    // The arguments are in reverse order.
    for (UINT i = 0; i < params.cArgs; ++i) {
        VARIANTARG& argument = m_arguments[i];
        const ParamDesc& param = method->params[params.cArgs - 1 - i];
        if (IsOutput(param) && argument.vt == (VT_BYREF | VT_VARIANT) &&
            argument.pvarVal != nullptr) {
            const VARTYPE type = VariantTypeOf(param.type);
            VARIANT& value = m_values[i].Get();
            value.vt = type;
            m_targets[i] = argument.pvarVal;
            argument.vt = static_cast<VARTYPE>(VT_BYREF | type);
            argument.byref = &value.llVal;
        }
    }
}

HRESULT COutVariables::Deliver() noexcept {
    for (std::size_t i = 0; i < m_targets.size(); ++i) {
        if (m_targets[i] == nullptr) {
            continue;
        }
        const HRESULT hr = ::VariantClear(m_targets[i]);
        if (FAILED(hr)) {
            return hr;
        }
        *m_targets[i] = m_values[i].Detach();
    }
    return S_OK;
}

}  // namespace automation::win32
