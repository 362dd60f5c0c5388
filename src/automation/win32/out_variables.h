// Script variables as outputs of a late-bound call.
#pragma once

#include <array>

#include "automation/interface_table.h"
#include "automation/variant.h"

namespace automation::win32 {

// DispInvoke requires a reference to a variable of the output's type and refuses a reference to
// a VARIANT, which script engines pass. This class replaces such an argument by a variable of
// the output's type and moves its value to the VARIANT after the call. Does not apply to
// records and GUIDs.
class COutVariables {
public:
    // `params` must be well formed, and its arguments must outlive this object.
    COutVariables(const MethodDesc* method, const DISPPARAMS& params) noexcept;
    COutVariables(const COutVariables&) = delete;
    COutVariables& operator=(const COutVariables&) = delete;

    // The arguments for DispInvoke.
    DISPPARAMS* Params() noexcept { return &m_params; }
    // Stores the outputs of a call that succeeded.
    HRESULT Deliver() noexcept;

private:
    using Arguments = std::array<VARIANTARG, MethodDesc::kMaxParams>;

    DISPPARAMS m_params;
    Arguments m_arguments{};
    std::array<VARIANT*, MethodDesc::kMaxParams> m_targets{};  // the VARIANTs of the script engine
    std::array<CVariant, MethodDesc::kMaxParams> m_values;
};

}  // namespace automation::win32
