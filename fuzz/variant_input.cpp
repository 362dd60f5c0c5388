#include "variant_input.h"

#include "automation/bstr.h"
#include "automation/posix/record_info.h"
#include "frame/objects/interface_tables.h"

namespace fuzz {

namespace {

using automation::CVariant;
using automation::EDirection;
using automation::EValueType;
using automation::ParamDesc;
using automation::RecordDesc;

// Names of files in the working folder, which calls can read and replace. No other text can name
// a file outside of it.
// clang-format off
constexpr std::u16string_view kTexts[] = {
    u"summary.txt", u"v.dat", u"m.mtf", u"s.mtf", u"t.txt", u".", u"out", u"", u"c:", u"a.b", u"b",
    u"*", u"1", u"web01", u"CORP", u"01/15/2013", u"{9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}"};
// clang-format on

CVariant Variant(int type, LONGLONG content = 0) {
    CVariant variant;
    variant.Get().vt = static_cast<VARTYPE>(type);
    variant.Get().llVal = content;
    return variant;
}

}  // namespace

CVariant CVariantInput::TextVariant(std::u16string_view text) {
    CVariant variant = Variant(VT_BSTR);
    variant.Get().bstrVal = automation::NewBstr(text);
    return variant;
}

CVariant CVariantInput::AnyText() {
    const std::size_t choice = m_input.Below(std::size(kTexts) + 3);
    return TextVariant(choice < std::size(kTexts)
                           ? std::u16string(kTexts[choice])
                           : m_input.Text(u"aAb1*?-{; =#\r\n\xD800\u00E9", 10));
}

CVariant CVariantInput::AnyRecord(const RecordDesc& desc) {
    CVariant variant = Variant(VT_RECORD);
    IRecordInfo* const info = automation::detail::NewRecordInfo(desc).Detach();
    variant.Get().pRecInfo = info;
    variant.Get().pvRecord = m_input.Below(16) == 15 ? nullptr : info->RecordCreate();
    for (const automation::FieldDesc& field : desc.fields) {
        if (variant.Get().pvRecord != nullptr && m_input.Below(3) == 1) {
            info->PutField(0, variant.Get().pvRecord, field.name, &AnyValue().Get());
        }
    }
    return variant;
}

CVariant CVariantInput::AnyArray() {
    SAFEARRAY* const array =
        ::SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(m_input.Below(4)));
    for (ULONG i = 0; i < array->rgsabound[0].cElements; ++i) {
        static_cast<BSTR*>(array->pvData)[i] = AnyText().Detach().bstrVal;
    }
    CVariant variant = Variant(VT_ARRAY | VT_BSTR);
    variant.Get().parray = array;
    return variant;
}

CVariant CVariantInput::AnyObject() {
    CVariant variant = Variant(m_input.Flag() ? VT_DISPATCH : VT_UNKNOWN);
    if (m_input.Below(4) != 0) {
        variant.Get().pdispVal =
            zorel::client::CComPtr<IDispatch>(m_input.Pick(m_objects)).Detach();
    }
    return variant;
}

CVariant CVariantInput::AnyValue() {
    constexpr VARTYPE kNumbers[] = {VT_I4, VT_I1,  VT_UI1,  VT_I2,   VT_UI2, VT_UI4,
                                    VT_I8, VT_UI8, VT_INT,  VT_UINT, VT_CY,  VT_ERROR,
                                    VT_R4, VT_R8,  VT_DATE, VT_BOOL};
    switch (m_input.Below(16)) {
        case 0:
            return Variant(VT_ERROR, DISP_E_PARAMNOTFOUND);
        case 1:
            return AnyObject();
        case 2:
            return AnyArray();
        case 3:
            return AnyRecord(*m_input.Pick(frame::AllRecordDescs()));
        case 4:  // a null value of any type, also of none
            return Variant(static_cast<int>(m_input.Below(40) | m_input.Below(8) << 13));
        case 5: {
            CVariant real = Variant(VT_R8);
            real.Get().dblVal = static_cast<double>(m_input.Number()) / 64;
            return real;
        }
        case 6:
        case 7:
        case 8:
            return AnyText();
        default: {
            const VARTYPE type = m_input.Pick(kNumbers);
            return Variant(type, m_input.Number());
        }
    }
}

// A reference to a variable of the type, whose content is null.
CVariant CVariantInput::Reference(int type) {
    if (m_input.Below(16) == 15) {
        return Variant(VT_BYREF | type);
    }
    CVariant& variable = m_variables.emplace_back(Variant(type == VT_VARIANT ? VT_EMPTY : type));
    CVariant variant = Variant(VT_BYREF | type);
    variant.Get().byref = type == VT_VARIANT ? static_cast<void*>(&variable.Get())
                                             : static_cast<void*>(&variable.Get().llVal);
    return variant;
}

CVariant CVariantInput::RecordReference(const RecordDesc& desc) {
    CVariant& variable = m_variables.emplace_back(AnyRecord(desc));
    CVariant variant = Variant(VT_BYREF | VT_RECORD);
    variant.Get().pvRecord = variable.Get().pvRecord;
    variant.Get().pRecInfo = variable.Get().pRecInfo;
    return variant;
}

CVariant CVariantInput::AnyArgument() {
    CVariant value = AnyValue();
    if (m_input.Below(3) != 2) {
        return value;
    }
    if (value.Get().vt == VT_RECORD || m_input.Flag()) {
        CVariant& variable = m_variables.emplace_back(std::move(value));
        CVariant variant = Variant(VT_BYREF | VT_VARIANT);
        variant.Get().pvarVal = &variable.Get();
        return variant;
    }
    return Reference(value.Get().vt & ~VT_BYREF);
}

CVariant CVariantInput::FittingArgument(const ParamDesc& param) {
    const bool isInput = param.pointers == 0 || param.direction == EDirection::In;
    if (param.type == EValueType::Record) {
        return isInput          ? AnyRecord(*param.record)
               : m_input.Flag() ? RecordReference(*param.record)
                                : Reference(VT_VARIANT);
    }
    if (!isInput) {
        const bool isTyped = param.type != EValueType::Guid && m_input.Flag();
        return Reference(isTyped ? automation::VariantTypeOf(param.type) : VARTYPE{VT_VARIANT});
    }
    if (param.type == EValueType::String || param.type == EValueType::Guid) {
        return AnyText();
    }
    return Variant(VT_I4, static_cast<INT>(m_input.Number()));
}

}  // namespace fuzz
