#include "automation/posix/call_frame.h"

#include <cstring>
#include <string_view>

#include "automation/bstr.h"
#include "automation/guid.h"
#include "automation/posix/automation_internal.h"
#include "automation/posix/record_info.h"
#include "automation/posix/variant_convert.h"

namespace automation::detail {

namespace {

bool IsRecordLike(const ParamDesc& param) {
    return param.type == EValueType::Record || param.type == EValueType::Guid;
}

const RecordDesc& RecordOf(const ParamDesc& param) {
    return param.type == EValueType::Guid ? GuidRecord() : *param.record;
}

// Whether the method reads the parameter; it stores into all others.
bool IsInput(const ParamDesc& param) {
    return param.pointers == 0 || param.direction == EDirection::In;
}

// Whether values of the two types have the same representation.
bool SameType(VARTYPE natural, VARTYPE type) {
    return type == natural || (natural == VT_I4 && type == VT_INT) ||
           (natural == VT_UI4 && type == VT_UINT) || (natural == VT_DISPATCH && type == VT_UNKNOWN);
}

bool IsMissing(const VARIANT& given) {
    return given.vt == VT_ERROR && given.scode == DISP_E_PARAMNOTFOUND;
}

// GUID text with or without braces.
bool ReadGuid(std::u16string_view text, GUID& guid) {
    if (text.size() >= 2 && text.front() == u'{' && text.back() == u'}') {
        text = text.substr(1, text.size() - 2);
    }
    return UuidFromString(text, guid) == kRpcStatusOk;
}

// Frees the old value of a by-reference variable.
void ReleaseReferenced(const VARIANT& reference) {
    VARIANT old = {};
    if (reference.vt != (VT_BYREF | VT_RECORD) && SUCCEEDED(Dereference(reference, old))) {
        VariantClear(&old);
    }
}

}  // namespace

// ----- One argument -------------------------------------------------------------

HRESULT CArgument::Bind(const ParamDesc& param, const VARIANT& given) {
    m_param = &param;
    if (IsMissing(given)) {
        return DISP_E_PARAMNOTOPTIONAL;
    }
    return IsInput(param) ? BindValue(given) : BindReference(given);
}

HRESULT CArgument::BindResult(const ParamDesc& param) {
    m_param = &param;
    m_isResult = true;
    return PrepareOutput();
}

HRESULT CArgument::BindValue(const VARIANT& given) {
    HRESULT hr = Dereference(given, m_view);
    if (FAILED(hr)) {
        return hr;
    }
    if (IsMissing(m_view)) {
        return DISP_E_PARAMNOTOPTIONAL;
    }
    if (IsRecordLike(*m_param)) {
        return m_view.vt == VT_RECORD ? BindRecord(m_view) : BindGuid(m_view);
    }
    const VARTYPE natural = VariantTypeOf(m_param->type);
    m_data = &m_view.llVal;
    if (!SameType(natural, m_view.vt)) {
        hr = ConvertVariant(m_view, natural, m_value);
        m_data = &m_value.Get().llVal;
    }
    return hr;
}

// A null record is a null pointer to a method that takes one.
HRESULT CArgument::BindRecord(const VARIANT& view) {
    const bool mayBeNull = m_param->pointers != 0;
    if (!DescribesRecord(view.pRecInfo, RecordOf(*m_param)) ||
        (view.pvRecord == nullptr && !mayBeNull)) {
        return DISP_E_TYPEMISMATCH;
    }
    m_data = view.pvRecord;
    return S_OK;
}

HRESULT CArgument::BindGuid(const VARIANT& view) {
    if (m_param->type != EValueType::Guid || view.vt != VT_BSTR ||
        !ReadGuid(TextOf(view.bstrVal), m_guid)) {
        return DISP_E_TYPEMISMATCH;
    }
    m_data = &m_guid;
    return S_OK;
}

HRESULT CArgument::BindReference(const VARIANT& given) {
    const VARTYPE natural = VariantTypeOf(m_param->type);
    // No method stores through a second indirection, so an empty argument is accepted.
    const bool isEmpty = given.vt == VT_EMPTY || given.vt == VT_NULL;
    if (m_param->pointers == 2 && isEmpty) {
        return S_OK;
    }
    const auto type = static_cast<VARTYPE>(given.vt & ~VT_BYREF);
    if ((given.vt & VT_BYREF) == 0 || (type != VT_VARIANT && !SameType(natural, type)) ||
        (type == VT_RECORD && !DescribesRecord(given.pRecInfo, RecordOf(*m_param)))) {
        return DISP_E_TYPEMISMATCH;
    }
    // The reference is the first word of the value, for a record too. A null reference is
    // passed to the method.
    if (given.byref == nullptr) {
        return S_OK;
    }
    m_target = &given;
    return PrepareOutput();
}

HRESULT CArgument::PrepareOutput() {
    VARIANT& value = m_value.Get();
    value.vt = VariantTypeOf(m_param->type);
    m_data = &value.llVal;
    if (!IsRecordLike(*m_param)) {
        return S_OK;
    }
    value.pRecInfo = NewRecordInfo(RecordOf(*m_param)).Detach();
    value.pvRecord = value.pRecInfo == nullptr ? nullptr : value.pRecInfo->RecordCreate();
    m_data = value.pvRecord;
    return m_data == nullptr ? E_OUTOFMEMORY : S_OK;
}

void* CArgument::Address() noexcept {
    if (m_param->pointers == 0) {
        return m_data;
    }
    m_dataPointer =
        m_param->pointers == 2 && m_data != nullptr ? static_cast<void*>(&m_data) : m_data;
    return &m_dataPointer;
}

HRESULT CArgument::Deliver(VARIANT* result) {
    if (m_isResult) {
        if (result != nullptr) {
            *result = m_value.Detach();
        }
        return S_OK;
    }
    if (m_target == nullptr) {
        return S_OK;
    }
    if (m_target->vt != (VT_BYREF | VT_VARIANT)) {
        StoreThrough(*m_target);
        return S_OK;
    }
    const HRESULT hr = VariantClear(m_target->pvarVal);
    if (SUCCEEDED(hr)) {
        *m_target->pvarVal = m_value.Detach();
    }
    return hr;
}

// An [out] variable is overwritten without being freed. A variable without a direction is
// treated as [in, out]: its old value is freed.
void CArgument::StoreThrough(const VARIANT& reference) {
    if (m_param->direction == EDirection::Unspecified) {
        ReleaseReferenced(reference);
    }
    if (IsRecordLike(*m_param)) {
        // The strings move to the caller; the emptied record owns none.
        const std::size_t size = RecordOf(*m_param).size;
        std::memcpy(reference.pvRecord, m_data, size);
        std::memset(m_data, 0, size);
        return;
    }
    const VARIANT value = m_value.Detach();
    const std::size_t size = (value.vt & VT_ARRAY) != 0 ? sizeof(SAFEARRAY*) : ValueSize(value.vt);
    std::memcpy(reference.byref, &value.llVal, size);
}

// ----- The call -----------------------------------------------------------------

bool CCallFrame::HasResult() const noexcept {
    const std::size_t count = m_method.paramCount;
    return count > 0 && m_method.params[count - 1].direction == EDirection::Retval;
}

// Finds the variant of each parameter: positional ones from the end of rgvarg, named ones by
// their number. The return value may be a by-reference argument instead.
HRESULT CCallFrame::Place(const DISPPARAMS& params, Positions& positions, UINT& badArgument) const {
    const auto count = static_cast<UINT>(m_method.paramCount);
    const UINT required = count - (HasResult() ? 1 : 0);
    if (params.cArgs < required || params.cArgs > count) {
        return DISP_E_BADPARAMCOUNT;
    }
    positions.fill(kNotGiven);
    for (UINT i = params.cNamedArgs; i < params.cArgs; ++i) {
        positions[params.cArgs - 1 - i] = i;
    }
    for (UINT i = 0; i < params.cNamedArgs; ++i) {
        const DISPID id = params.rgdispidNamedArgs[i];
        if (id < 0 || static_cast<UINT>(id) >= count ||
            positions[static_cast<UINT>(id)] != kNotGiven) {
            badArgument = i;
            return DISP_E_PARAMNOTFOUND;
        }
        positions[static_cast<UINT>(id)] = i;
    }
    for (UINT i = 0; i < required; ++i) {
        if (positions[i] == kNotGiven) {
            return DISP_E_PARAMNOTOPTIONAL;
        }
    }
    if (required < count && positions[required] != kNotGiven &&
        (params.rgvarg[positions[required]].vt & VT_BYREF) == 0) {
        return DISP_E_BADPARAMCOUNT;
    }
    return S_OK;
}

HRESULT CCallFrame::Bind(const DISPPARAMS& params, UINT& badArgument) {
    Positions positions;
    HRESULT hr = Place(params, positions, badArgument);
    for (std::size_t i = 0; i < m_method.paramCount && SUCCEEDED(hr); ++i) {
        const ParamDesc& param = m_method.params[i];
        if (positions[i] == kNotGiven) {
            hr = m_arguments[i].BindResult(param);
        } else if (hr = m_arguments[i].Bind(param, params.rgvarg[positions[i]]); FAILED(hr)) {
            badArgument = positions[i];
        }
    }
    return hr;
}

HRESULT CCallFrame::Call(IDispatch* self) {
    std::array<void*, MethodDesc::kMaxParams> addresses = {};
    for (std::size_t i = 0; i < m_method.paramCount; ++i) {
        addresses[i] = m_arguments[i].Address();
    }
    return m_method.call(self, addresses.data());
}

HRESULT CCallFrame::Deliver(VARIANT* result) {
    HRESULT delivered = S_OK;
    for (std::size_t i = 0; i < m_method.paramCount; ++i) {
        const HRESULT hr = m_arguments[i].Deliver(result);
        delivered = FAILED(hr) ? hr : delivered;
    }
    return delivered;
}

}  // namespace automation::detail
