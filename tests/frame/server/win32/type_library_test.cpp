// Compares the module's type library with the published list of interfaces, which the
// interface tables are compared with too.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <sstream>
#include <string>

#include "ZorelText.h"
#include "automation/bstr.h"
#include "automation/com_ptr.h"
#include "automation/dispatch.h"
#include "automation/win32/type_library.h"
#include "frame/conversions.h"
#include "frame/objects/interface_tables.h"

namespace {

using automation::CBstr;
using automation::CComPtr;

std::string TextOf(const CBstr& text) {
    return zorel::ToUtf8(automation::TextOf(text.Get()));
}

TYPEATTR AttributesOf(const CComPtr<ITypeInfo>& type) {
    TYPEATTR* attributes = nullptr;
    EXPECT_EQ(type->GetTypeAttr(&attributes), S_OK);
    const TYPEATTR copy = *attributes;
    type->ReleaseTypeAttr(attributes);
    return copy;
}

std::string NameOf(const CComPtr<ITypeInfo>& type, MEMBERID member = MEMBERID_NIL) {
    CBstr name;
    EXPECT_EQ(type->GetDocumentation(member, name.Put(), nullptr, nullptr, nullptr), S_OK);
    return TextOf(name);
}

CComPtr<ITypeInfo> Referred(const CComPtr<ITypeInfo>& type, HREFTYPE reference) {
    CComPtr<ITypeInfo> referred;
    EXPECT_EQ(type->GetRefTypeInfo(reference, referred.Put()), S_OK);
    return referred;
}

// The type at an index of the implemented types; -1 is the vtable side of a dual interface.
CComPtr<ITypeInfo> Implemented(const CComPtr<ITypeInfo>& type, int index) {
    HREFTYPE reference = 0;
    EXPECT_EQ(type->GetRefTypeOfImplType(static_cast<UINT>(index), &reference), S_OK);
    return Referred(type, reference);
}

using Names = std::map<int, std::string>;  // an unknown value fails the test

std::string TypeText(const CComPtr<ITypeInfo>& owner, const TYPEDESC& type) {
    static const Names names = {
        {VT_INT, "INT"},           {VT_UI4, "ULONG"}, {VT_I8, "LONGLONG"}, {VT_UI8, "ULONGLONG"},
        {VT_BOOL, "VARIANT_BOOL"}, {VT_DATE, "DATE"}, {VT_BSTR, "BSTR"},
    };
    if (type.vt == VT_PTR) {
        return TypeText(owner, *type.lptdesc) + "*";
    }
    if (type.vt == VT_SAFEARRAY) {
        return type.lptdesc->vt == VT_BSTR ? "SAFEARRAY*" : "array of something";
    }
    if (type.vt == VT_USERDEFINED) {
        const auto referred = Referred(owner, type.hreftype);
        return AttributesOf(referred).typekind == TKIND_ENUM ? "INT" : NameOf(referred);
    }
    return names.at(type.vt);
}

std::string MethodText(const CComPtr<ITypeInfo>& type, const FUNCDESC& method) {
    static const Names directions = {{PARAMFLAG_NONE, "-"},
                                     {PARAMFLAG_FIN, "in"},
                                     {PARAMFLAG_FOUT, "out"},
                                     {PARAMFLAG_FOUT | PARAMFLAG_FRETVAL, "retval"}};
    BSTR names[16] = {};
    UINT count = 0;
    EXPECT_EQ(type->GetNames(method.memid, names, 16, &count), S_OK);
    std::ostringstream text;
    text << "  " << std::hex << method.memid
         << (method.invkind == INVOKE_PROPERTYGET ? " get " : " method ");
    for (int i = 0; i <= method.cParams; ++i) {
        if (i > 0) {
            const ELEMDESC& param = method.lprgelemdescParam[i - 1];
            text << (i == 1 ? "" : ", ") << directions.at(param.paramdesc.wParamFlags) << " "
                 << TypeText(type, param.tdesc) << " ";
        }
        CBstr name;
        name.Reset(names[i]);
        text << TextOf(name) << (i == 0 ? "(" : "");
    }
    return text.str() + ")\n";
}

std::string InterfaceText(const CComPtr<ITypeInfo>& dispatch) {
    const auto type = Implemented(dispatch, -1);
    const TYPEATTR attributes = AttributesOf(type);
    EXPECT_EQ(attributes.typekind, TKIND_INTERFACE);
    EXPECT_EQ(attributes.wTypeFlags,
              TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FDISPATCHABLE);
    const auto base = Implemented(type, 0);
    const TYPEATTR baseAttributes = AttributesOf(base);
    const bool derived = baseAttributes.guid != IID_IDispatch;
    std::string text = derived ? " from " + NameOf(base) + "\n" : "\n";
    for (UINT i = 0; i < attributes.cFuncs; ++i) {
        FUNCDESC* method = nullptr;
        EXPECT_EQ(type->GetFuncDesc(i, &method), S_OK);
        text += MethodText(type, *method);
        EXPECT_EQ(method->elemdescFunc.tdesc.vt, VT_HRESULT);
        EXPECT_EQ(method->callconv, CC_STDCALL);
        EXPECT_EQ(method->oVft, static_cast<SHORT>(baseAttributes.cbSizeVft + 8 * i)) << text;
        type->ReleaseFuncDesc(method);
    }
    return text;
}

// The fields of a record, or the members of an enumeration. Adds their help texts to `helps`.
std::string FieldsText(const CComPtr<ITypeInfo>& type, std::string& helps) {
    std::string text;
    for (UINT i = 0; i < AttributesOf(type).cVars; ++i) {
        VARDESC* field = nullptr;
        EXPECT_EQ(type->GetVarDesc(i, &field), S_OK);
        text += "  ";
        text += field->varkind == VAR_CONST
                    ? std::to_string(field->lpvarValue->lVal)
                    : std::to_string(field->oInst) + " " + TypeText(type, field->elemdescVar.tdesc);
        const std::string name = NameOf(type, field->memid);
        text += " " + name + "\n";
        CBstr help;
        EXPECT_EQ(type->GetDocumentation(field->memid, nullptr, help.Put(), nullptr, nullptr),
                  S_OK);
        helps += TextOf(help).empty() ? "" : name + ": " + TextOf(help) + "\n";
        type->ReleaseVarDesc(field);
    }
    return text;
}

std::string Describe(const CComPtr<ITypeInfo>& type, std::string& helps) {
    const TYPEATTR attributes = AttributesOf(type);
    const std::string start =
        NameOf(type) + " " + zorel::ToUtf8(frame::GuidToString(attributes.guid, false));
    INT flags = 0;
    switch (attributes.typekind) {
        case TKIND_DISPATCH:
            return start + InterfaceText(type);
        case TKIND_RECORD:
            return start + " size " + std::to_string(attributes.cbSizeInstance) + "\n" +
                   FieldsText(type, helps);
        case TKIND_ENUM:
            return start + "\n" + FieldsText(type, helps);
        case TKIND_COCLASS:
            EXPECT_EQ(attributes.cImplTypes, 1);
            EXPECT_EQ(type->GetImplTypeFlags(0, &flags), S_OK);
            EXPECT_EQ(flags, IMPLTYPEFLAG_FDEFAULT);
            return start + " default " + NameOf(Implemented(type, 0)) + "\n";
        default:
            return "";
    }
}

// The identifier, version and locale of the library are checked with its registration.
TEST(TypeLibrary, DescribesThePublishedTypes) {
    std::ifstream file(ZOREL_SOURCE_DIR "/tests/data/interfaces.txt");
    std::string published{std::istreambuf_iterator<char>(file), {}};
    ASSERT_FALSE(published.empty());
    // The list also has the library version that late-bound calls use.
    published = std::regex_replace(published, std::regex(" library [15]"), "");
    published +=
        "COibIdxLib f527d4a6-8452-43f4-95f5-dcc32fb0dc24 default IOibIdxLib\n"
        "EIdxMetaOpenMode 83cfff4d-b5e2-49b5-b4ed-230354be4e74\n"
        "  0 EIdxMetaLoad\n  1 EIdxMetaOpenRW\n  2 EIdxMetaCreateNewDetached\n";
    std::u16string path;
    CComPtr<ITypeLib> library;
    ASSERT_EQ(automation::win32::OwnModulePath(path), S_OK);
    ASSERT_EQ(automation::win32::LoadTypeLibraryOf(path, library), S_OK);
    // The order in the library depends on the compiler.
    std::size_t described = 0;
    std::string helps;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        CComPtr<ITypeInfo> type;
        ASSERT_EQ(library->GetTypeInfo(i, type.Put()), S_OK);
        const std::string text = Describe(type, helps);
        EXPECT_NE(published.find(text), published.npos) << text;
        described += text.size();
    }
    EXPECT_EQ(described, published.size());
    EXPECT_EQ(helps,
              "rootPath: A long value\nFileNamePattern: Search string\nOwner: Owner\n"
              "UseTimeLimits: Use time limits\nModifyTimeFrom: Time from\n"
              "ModifyTimeTill: Time till\nUseSizeLimits: Use size limits\nSizeFrom: Size from\n"
              "SizeTill: Size till\nUseSearchServerRule: Use Search server wildcard rule\n");
    CBstr name;
    EXPECT_EQ(library->GetDocumentation(-1, name.Put(), nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(TextOf(name), "ZorelOibIdxLib");
}

// Every interface has type information: from the registered library of its version, or from
// the module's own library. Late-bound calls of every method are part of other tests.
TEST(TypeLibrary, AnswersForEveryInterface) {
    for (const automation::InterfaceTable* table : frame::AllInterfaceTables()) {
        SCOPED_TRACE(zorel::ToUtf8(table->name));
        UINT count = 0;
        EXPECT_EQ(automation::DispatchGetTypeInfoCount(*table, nullptr), E_POINTER);
        EXPECT_EQ(automation::DispatchGetTypeInfoCount(*table, &count), S_OK);
        EXPECT_EQ(count, 1U);
        CComPtr<ITypeInfo> first;
        CComPtr<ITypeInfo> second;
        EXPECT_EQ(automation::DispatchGetTypeInfo(*table, 0, 0, nullptr), E_POINTER);
        EXPECT_EQ(automation::DispatchGetTypeInfo(*table, 1, 0, first.Put()), DISP_E_BADINDEX);
        ASSERT_EQ(automation::DispatchGetTypeInfo(*table, 0, 0, first.Put()), S_OK);
        ASSERT_EQ(automation::DispatchGetTypeInfo(*table, 0, 0x407, second.Put()), S_OK);
        EXPECT_EQ(first.Get(), second.Get());
        EXPECT_EQ(AttributesOf(first).guid, *table->iid);
    }
}

}  // namespace
