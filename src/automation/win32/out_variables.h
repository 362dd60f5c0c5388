// Variables of script engines as outputs of a late-bound call.
#pragma once

#include <array>

#include "automation/interface_table.h"
#include "automation/variant.h"

namespace automation::win32 {

// The system's call takes a typed variable for an output and refuses what a script engine
// passes, a reference to a variant that may hold anything. Here such an argument is replaced
// by a variable of the output's type, and what the method stored there goes to the engine's.
// Records and GUIDs stay as they are.
class COutVariables {
public:
    // `params` is well formed, and its arguments outlive this object.
    COutVariables(const MethodDesc* method, const DISPPARAMS& params) noexcept;
    COutVariables(const COutVariables&) = delete;
    COutVariables& operator=(const COutVariables&) = delete;

    // What to call with.
    DISPPARAMS* Params() noexcept { return &m_params; }
    // Hands over the outputs of a call that succeeded.
    HRESULT Deliver() noexcept;

private:
    using Arguments = std::array<VARIANTARG, MethodDesc::kMaxParams>;

    DISPPARAMS m_params;
    Arguments m_arguments{};
    std::array<VARIANT*, MethodDesc::kMaxParams> m_targets{};  // the engine's variables
    std::array<CVariant, MethodDesc::kMaxParams> m_values;
};

}  // namespace automation::win32
