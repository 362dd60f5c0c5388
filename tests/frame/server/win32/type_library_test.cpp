// Compares the module's type library with the published list of interfaces, which the
// interface tables are compared with too.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <string>

#include "ZorelText.h"
#include "automation/bstr.h"
#include "automation/com_ptr.h"
#include "automation/dispatch.h"
#include "automation/win32/type_library.h"
#include "frame/conversions.h"
#include "frame/objects/interface_tables.h"
#include "support/temp_folder.h"

namespace {

using automation::CBstr;
using automation::CComPtr;

std::string TextOf(const CBstr& text) {
    return zorel::ToUtf8(automation::TextOf(text.Get()));
}

std::string GuidText(const GUID& guid) {
    return zorel::ToUtf8(frame::GuidToString(guid, false));
}

CComPtr<ITypeLib> OwnLibrary() {
    std::u16string path;
    CComPtr<ITypeLib> library;
    EXPECT_EQ(platform::win32::OwnModulePath(path), S_OK);
    EXPECT_EQ(platform::win32::LoadTypeLibraryOf(path, library), S_OK);
    return library;
}

// The attributes of a type library or a type; releases them.
template <class Owner, class Attributes, HRESULT (STDMETHODCALLTYPE Owner::*kGet)(Attributes**),
          void (STDMETHODCALLTYPE Owner::*kRelease)(Attributes*)>
class CAttributes {
public:
    explicit CAttributes(const CComPtr<Owner>& owner) : m_owner(owner) {
        EXPECT_EQ((owner.Get()->*kGet)(&m_attributes), S_OK);
    }
    CAttributes(const CAttributes&) = delete;
    CAttributes& operator=(const CAttributes&) = delete;
    ~CAttributes() { (m_owner.Get()->*kRelease)(m_attributes); }
    const Attributes* operator->() const { return m_attributes; }

private:
    CComPtr<Owner> m_owner;
    Attributes* m_attributes = nullptr;
};
using CTypeAttributes =
    CAttributes<ITypeInfo, TYPEATTR, &ITypeInfo::GetTypeAttr, &ITypeInfo::ReleaseTypeAttr>;
using CLibraryAttributes =
    CAttributes<ITypeLib, TLIBATTR, &ITypeLib::GetLibAttr, &ITypeLib::ReleaseTLibAttr>;

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

std::string TypeText(const CComPtr<ITypeInfo>& owner, const TYPEDESC& type) {
    static const std::map<int, std::string> names = {
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
        const CTypeAttributes attributes(referred);
        return attributes->typekind == TKIND_ENUM ? "INT" : NameOf(referred);
    }
    const auto found = names.find(type.vt);
    return found == names.end() ? "type " + std::to_string(type.vt) : found->second;
}

std::string DirectionOf(USHORT flags) {
    switch (flags) {
        case PARAMFLAG_NONE:
            return "-";
        case PARAMFLAG_FIN:
            return "in";
        case PARAMFLAG_FOUT:
            return "out";
        case PARAMFLAG_FOUT | PARAMFLAG_FRETVAL:
            return "retval";
        default:
            return "flags " + std::to_string(flags);
    }
}

std::string MethodText(const CComPtr<ITypeInfo>& type, const FUNCDESC& method) {
    BSTR raw[16] = {};
    UINT count = 0;
    EXPECT_EQ(type->GetNames(method.memid, raw, 16, &count), S_OK);
    std::vector<CBstr> names(16);
    for (UINT i = 0; i < count; ++i) {
        names[i].Reset(raw[i]);
    }
    char id[16];
    std::snprintf(id, sizeof(id), "  %08x ", static_cast<unsigned>(method.memid));
    std::string text = id;
    text += method.invkind == INVOKE_PROPERTYGET ? "get " : "method ";
    text += TextOf(names[0]) + "(";
    for (int i = 0; i < method.cParams; ++i) {
        const ELEMDESC& param = method.lprgelemdescParam[i];
        text += i == 0 ? "" : ", ";
        text += DirectionOf(param.paramdesc.wParamFlags) + " " + TypeText(type, param.tdesc) + " " +
                TextOf(names[static_cast<std::size_t>(i) + 1]);
    }
    return text + ")\n";
}

// The vtable side of an interface that is both.
CComPtr<ITypeInfo> VtableSide(const CComPtr<ITypeInfo>& type) {
    HREFTYPE reference = 0;
    EXPECT_EQ(type->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
    return Referred(type, reference);
}

std::string InterfaceText(const CComPtr<ITypeInfo>& dispatch) {
    const auto type = VtableSide(dispatch);
    const CTypeAttributes attributes(type);
    EXPECT_EQ(attributes->typekind, TKIND_INTERFACE);
    EXPECT_EQ(attributes->wTypeFlags,
              TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FDISPATCHABLE)
        << NameOf(type);
    HREFTYPE reference = 0;
    EXPECT_EQ(type->GetRefTypeOfImplType(0, &reference), S_OK);
    const auto base = Referred(type, reference);
    const CTypeAttributes baseAttributes(base);
    const bool derived = baseAttributes->guid != IID_IDispatch;
    std::string text = NameOf(type) + " " + GuidText(attributes->guid);
    text += derived ? " from " + NameOf(base) + "\n" : "\n";
    for (UINT i = 0; i < attributes->cFuncs; ++i) {
        FUNCDESC* method = nullptr;
        EXPECT_EQ(type->GetFuncDesc(i, &method), S_OK);
        text += MethodText(type, *method);
        EXPECT_EQ(method->elemdescFunc.tdesc.vt, VT_HRESULT);
        EXPECT_EQ(method->callconv, CC_STDCALL);
        EXPECT_EQ(method->oVft, static_cast<SHORT>(baseAttributes->cbSizeVft + 8 * i))
            << NameOf(type, method->memid);
        type->ReleaseFuncDesc(method);
    }
    return text;
}

std::string RecordText(const CComPtr<ITypeInfo>& type) {
    const CTypeAttributes attributes(type);
    std::string text = NameOf(type) + " " + GuidText(attributes->guid) + " size " +
                       std::to_string(attributes->cbSizeInstance) + "\n";
    for (UINT i = 0; i < attributes->cVars; ++i) {
        VARDESC* field = nullptr;
        EXPECT_EQ(type->GetVarDesc(i, &field), S_OK);
        text += "  " + std::to_string(field->oInst) + " " +
                TypeText(type, field->elemdescVar.tdesc) + " " + NameOf(type, field->memid) + "\n";
        type->ReleaseVarDesc(field);
    }
    return text;
}

std::string LibraryText(const CComPtr<ITypeLib>& library, TYPEKIND kind,
                        std::string (*text)(const CComPtr<ITypeInfo>&)) {
    std::map<std::string, std::string> byName;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        TYPEKIND found = TKIND_MAX;
        EXPECT_EQ(library->GetTypeInfoType(i, &found), S_OK);
        if (found == kind) {
            CComPtr<ITypeInfo> type;
            EXPECT_EQ(library->GetTypeInfo(i, type.Put()), S_OK);
            byName[NameOf(type)] = text(type);
        }
    }
    std::string all;
    // In the order of the tables; the order in the library depends on the compiler.
    for (const automation::InterfaceTable* table : frame::AllInterfaceTables()) {
        all += std::exchange(byName[zorel::ToUtf8(table->name)], "");
    }
    for (const automation::RecordDesc* record : frame::AllRecordDescs()) {
        all += std::exchange(byName[zorel::ToUtf8(record->name)], "");
    }
    for (const auto& [name, rest] : byName) {
        all += rest;
    }
    return all;
}

TEST(TypeLibrary, DescribesThePublishedInterfacesAndRecords) {
    std::ifstream file(ZOREL_SOURCE_DIR "/tests/data/interfaces.txt");
    std::string published{std::istreambuf_iterator<char>(file), {}};
    ASSERT_FALSE(published.empty());
    // The list also has the library version that late-bound calls use.
    published = std::regex_replace(published, std::regex(" library [15]"), "");
    const auto library = OwnLibrary();
    EXPECT_EQ(LibraryText(library, TKIND_DISPATCH, &InterfaceText) +
                  LibraryText(library, TKIND_RECORD, &RecordText),
              published);
}

TEST(TypeLibrary, HasThePublishedIdentityAndClass) {
    const auto library = OwnLibrary();
    const CLibraryAttributes attributes(library);
    EXPECT_EQ(attributes->guid, LIBID_ZorelOibIdxLib);
    EXPECT_EQ(attributes->wMajorVerNum, 1);
    EXPECT_EQ(attributes->wMinorVerNum, 0);
    EXPECT_EQ(attributes->lcid, 0x409U);
    EXPECT_EQ(attributes->syskind, SYS_WIN64);
    CBstr name;
    EXPECT_EQ(library->GetDocumentation(-1, name.Put(), nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(TextOf(name), "ZorelOibIdxLib");

    CComPtr<ITypeInfo> type;
    ASSERT_EQ(library->GetTypeInfoOfGuid(CLSID_COibIdxLib, type.Put()), S_OK);
    const CTypeAttributes classAttributes(type);
    EXPECT_EQ(classAttributes->typekind, TKIND_COCLASS);
    EXPECT_EQ(NameOf(type), "COibIdxLib");
    ASSERT_EQ(classAttributes->cImplTypes, 1);
    INT flags = 0;
    HREFTYPE reference = 0;
    EXPECT_EQ(type->GetImplTypeFlags(0, &flags), S_OK);
    EXPECT_EQ(flags, IMPLTYPEFLAG_FDEFAULT);
    EXPECT_EQ(type->GetRefTypeOfImplType(0, &reference), S_OK);
    EXPECT_EQ(NameOf(Referred(type, reference)), "IOibIdxLib");
}

TEST(TypeLibrary, HasTheModesOfOpening) {
    CComPtr<ITypeInfo> type;
    ASSERT_EQ(OwnLibrary()->GetTypeInfoOfGuid(GUID_EIdxMetaOpenMode, type.Put()), S_OK);
    const CTypeAttributes attributes(type);
    EXPECT_EQ(attributes->typekind, TKIND_ENUM);
    std::string text = NameOf(type);
    for (UINT i = 0; i < attributes->cVars; ++i) {
        VARDESC* member = nullptr;
        ASSERT_EQ(type->GetVarDesc(i, &member), S_OK);
        text += " " + NameOf(type, member->memid) + "=" + std::to_string(member->lpvarValue->lVal);
        type->ReleaseVarDesc(member);
    }
    EXPECT_EQ(text, "EIdxMetaOpenMode EIdxMetaLoad=0 EIdxMetaOpenRW=1 EIdxMetaCreateNewDetached=2");
}

TEST(TypeLibrary, HasTheHelpTextsOfSearchCriteria) {
    CComPtr<ITypeInfo> type;
    ASSERT_EQ(OwnLibrary()->GetTypeInfoOfGuid(GUID_SearchSpec, type.Put()), S_OK);
    const char* const helps[] = {
        "A long value",
        "Search string",
        "Owner",
        "Use time limits",
        "Time from",
        "Time till",
        "Use size limits",
        "Size from",
        "Size till",
        "Use Search server wildcard rule",
        "",
    };
    const CTypeAttributes attributes(type);
    ASSERT_EQ(attributes->cVars, std::size(helps));
    for (UINT i = 0; i < attributes->cVars; ++i) {
        VARDESC* field = nullptr;
        ASSERT_EQ(type->GetVarDesc(i, &field), S_OK);
        CBstr help;
        EXPECT_EQ(type->GetDocumentation(field->memid, nullptr, help.Put(), nullptr, nullptr),
                  S_OK);
        EXPECT_EQ(TextOf(help), helps[i]) << NameOf(type, field->memid);
        type->ReleaseVarDesc(field);
    }
}

// Every interface has type information: from the registered library of its version, or from
// the module's own library.
TEST(TypeLibrary, AnswersForEveryInterface) {
    for (const automation::InterfaceTable* table : frame::AllInterfaceTables()) {
        SCOPED_TRACE(zorel::ToUtf8(table->name));
        UINT count = 0;
        EXPECT_EQ(automation::DispatchGetTypeInfoCount(*table, &count), S_OK);
        EXPECT_EQ(count, 1U);
        CComPtr<ITypeInfo> first;
        CComPtr<ITypeInfo> second;
        EXPECT_EQ(automation::DispatchGetTypeInfo(*table, 1, 0, first.Put()), DISP_E_BADINDEX);
        ASSERT_EQ(automation::DispatchGetTypeInfo(*table, 0, 0, first.Put()), S_OK);
        ASSERT_EQ(automation::DispatchGetTypeInfo(*table, 0, 0x407, second.Put()), S_OK);
        EXPECT_EQ(first.Get(), second.Get());
        const CTypeAttributes attributes(first);
        EXPECT_EQ(attributes->guid, *table->iid);
        // Inherited methods are found too.
        for (const auto* part = table; part != nullptr; part = part->base) {
            for (const automation::MethodDesc& method : part->methods) {
                auto* name = const_cast<LPOLESTR>(reinterpret_cast<LPCOLESTR>(method.name));
                DISPID id = 0;
                EXPECT_EQ(automation::DispatchGetIDsOfNames(*table, IID_NULL, &name, 1, 0, &id),
                          S_OK);
                EXPECT_EQ(id, method.id) << zorel::ToUtf8(method.name);
            }
        }
    }
    const auto& table = frame::TableOf<IOibIdxLib>();
    EXPECT_EQ(automation::DispatchGetTypeInfoCount(table, nullptr), E_POINTER);
    EXPECT_EQ(automation::DispatchGetTypeInfo(table, 0, 0, nullptr), E_POINTER);
}

// A module without a type library uses the .tlb file in its folder.
TEST(TypeLibrary, IsLoadedFromTheFileBesideTheModule) {
    const support::CTempFolder folder;
    const auto load = [&](const char16_t* module) {
        CComPtr<ITypeLib> library;
        const HRESULT hr = platform::win32::LoadTypeLibraryOf(folder.Path(module), library);
        EXPECT_EQ(library.Get() != nullptr, SUCCEEDED(hr));
        return hr;
    };
    std::ofstream(folder.Native(u"no library.dll")) << "not a module";
    EXPECT_TRUE(FAILED(load(u"no library.dll")));
    std::filesystem::copy_file(ZOREL_TYPE_LIBRARY, folder.Native(u"no library.tlb"));
    EXPECT_EQ(load(u"no library.dll"), S_OK);
    EXPECT_EQ(load(u"no library"), S_OK);
    EXPECT_TRUE(FAILED(load(u"missing.dll")));
}

}  // namespace
