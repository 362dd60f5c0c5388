#include "automation/interface_table.h"

namespace automation {

VARTYPE VariantTypeOf(EValueType type) noexcept {
    switch (type) {
        case EValueType::Int32:
            return VT_I4;
        case EValueType::UInt32:
            return VT_UI4;
        case EValueType::Int64:
            return VT_I8;
        case EValueType::UInt64:
            return VT_UI8;
        case EValueType::Bool:
            return VT_BOOL;
        case EValueType::UInt16:
            return VT_UI2;
        case EValueType::Date:
            return VT_DATE;
        case EValueType::String:
            return VT_BSTR;
        case EValueType::StringArray:
            return VT_ARRAY | VT_BSTR;
        case EValueType::Interface:
            return VT_DISPATCH;
        case EValueType::Guid:
        case EValueType::Record:
            return VT_RECORD;
    }
    return VT_EMPTY;
}

const MethodDesc* FindMethod(const InterfaceTable& table, DISPID id) noexcept {
    return FindMethodIf(table, [&](const MethodDesc& method) { return method.id == id; });
}

bool IsWellFormed(const DISPPARAMS* params) noexcept {
    return params != nullptr && params->cNamedArgs <= params->cArgs &&
           (params->cArgs == 0 || params->rgvarg != nullptr) &&
           (params->cNamedArgs == 0 || params->rgdispidNamedArgs != nullptr);
}

}  // namespace automation
