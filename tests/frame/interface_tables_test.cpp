#include "frame/objects/interface_tables.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "ZorelText.h"
#include "automation/bstr.h"
#include "automation/dispatch.h"
#include "automation/variant.h"
#include "support/target.h"

namespace {

using automation::EDirection;
using automation::EValueType;
using automation::InterfaceTable;
using automation::MethodDesc;
using automation::ParamDesc;

std::string GuidText(const GUID& guid) {
    char text[40];
    std::snprintf(text, sizeof(text), "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x",
                  static_cast<unsigned>(guid.Data1), guid.Data2, guid.Data3, guid.Data4[0],
                  guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5],
                  guid.Data4[6], guid.Data4[7]);
    return text;
}

std::string InterfaceName(const IID& iid) {
    for (const InterfaceTable* table : frame::AllInterfaceTables()) {
        if (*table->iid == iid) {
            return zorel::ToUtf8(table->name);
        }
    }
    return "?";
}

std::string TypeText(const ParamDesc& type) {
    const char* const names[] = {"INT",    "ULONG", "LONGLONG", "ULONGLONG", "VARIANT_BOOL",
                                 "USHORT", "DATE",  "BSTR",     "GUID",      "SAFEARRAY*"};
    std::string text;
    if (type.type == EValueType::Interface) {
        text = InterfaceName(*type.iid) + "*";
    } else if (type.type == EValueType::Record) {
        text = zorel::ToUtf8(type.record->name);
    } else {
        text = names[static_cast<std::size_t>(type.type)];
    }
    return text + std::string(type.pointers, '*');
}

std::string MethodText(const MethodDesc& method) {
    const char* const directions[] = {"-", "in", "out", "retval"};
    char id[16];
    std::snprintf(id, sizeof(id), "  %08x ", static_cast<unsigned>(method.id));
    std::string text = id;
    text += method.invokeKind == DISPATCH_PROPERTYGET ? "get " : "method ";
    text += zorel::ToUtf8(method.name) + "(";
    for (std::size_t i = 0; i < method.paramCount; ++i) {
        const ParamDesc& param = method.params[i];
        text += (i == 0 ? "" : ", ");
        text += directions[static_cast<std::size_t>(param.direction)];
        text += " " + TypeText(param) + " " + zorel::ToUtf8(param.name);
    }
    return text + ")\n";
}

std::string AllTables() {
    std::string text;
    for (const InterfaceTable* table : frame::AllInterfaceTables()) {
        text += zorel::ToUtf8(table->name) + " " + GuidText(*table->iid) + " library " +
                std::to_string(table->typeLibraryMajor);
        text += table->base == nullptr ? "" : " from " + zorel::ToUtf8(table->base->name);
        text += "\n";
        for (const MethodDesc& method : table->methods) {
            text += MethodText(method);
        }
    }
    for (const automation::RecordDesc* record : frame::AllRecordDescs()) {
        text += zorel::ToUtf8(record->name) + " " + GuidText(*record->guid) + " size " +
                std::to_string(record->size) + "\n";
        for (const automation::FieldDesc& field : record->fields) {
            ParamDesc type;
            type.type = field.type;
            text += "  " + std::to_string(field.offset) + " " + TypeText(type) + " " +
                    zorel::ToUtf8(field.name) + "\n";
        }
    }
    return text;
}

TEST(InterfaceTables, DescribeThePublishedInterfaces) {
    std::ifstream file(ZOREL_SOURCE_DIR "/tests/data/interfaces.txt");
    const std::string published{std::istreambuf_iterator<char>(file), {}};
    ASSERT_FALSE(published.empty());
    EXPECT_EQ(AllTables(), published);
}

// A search task whose answers tell what it was asked.
class CFakeSearchTask final : public IOibBDFSearchTask {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) override {
        return automation::DispatchGetIDsOfNames(frame::TableOf<IOibBDFSearchTask>(), IID_NULL,
                                                 names, count, locale, ids);
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags,
                                     DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                                     UINT* badArgument) override {
        return automation::DispatchInvoke(frame::TableOf<IOibBDFSearchTask>(), this, id, reserved,
                                          locale, flags, params, result, exception, badArgument);
    }

    HRESULT STDMETHODCALLTYPE GetResult(INT index, SearchResult* result) override {
        *result = {automation::NewBstr(u"C:\\a.txt"), 45000.5, index, nullptr};
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_ResultsCount(INT* count) override {
        *count = m_finds;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Find(SearchSpec* criteria) override {
        m_finds += automation::TextOf(criteria->Owner) == u"owner" ? 1 : 100;
        return S_OK;
    }

private:
    INT m_finds = 0;
};

TEST(InterfaceTables, ReachInheritedMethodsThroughTheDerivedInterface) {
    CFakeSearchTask task;
    const struct {
        const char16_t* name;
        DISPID id;
    } names[] = {{u"find", 0x60030000}, {u"GETRESULT", 0x60020000}, {u"ResultsCount", 0x60020001}};
    for (const auto& row : names) {
        auto* name = reinterpret_cast<LPOLESTR>(const_cast<char16_t*>(row.name));
        DISPID id = 0;
        EXPECT_EQ(task.GetIDsOfNames(IID_NULL, &name, 1, 0, &id), S_OK);
        EXPECT_EQ(id, row.id);
    }
    const automation::CBstr owner(automation::NewBstr(u"owner"));
    SearchSpec criteria = {};
    criteria.Owner = owner.Get();
    VARIANT argument = {};
    argument.vt = VT_RECORD;
    argument.pvRecord = &criteria;
    DISPPARAMS one = {&argument, nullptr, 1, 0};
    // Windows wants the record's description beside it, and Wine takes no records at all.
    EXPECT_EQ(support::kOnWindows ? task.Find(&criteria)
                                  : task.Invoke(0x60030000, IID_NULL, 0, DISPATCH_METHOD, &one,
                                                nullptr, nullptr, nullptr),
              S_OK);
    DISPPARAMS none = {};
    automation::CVariant count;
    EXPECT_EQ(task.Invoke(0x60020001, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, count.Put(),
                          nullptr, nullptr),
              S_OK);
    EXPECT_EQ(count.Get().vt, VT_I4);
    EXPECT_EQ(count.Get().lVal, 1);
    if (support::kOnWindows) {
        return;
    }
    argument = {};
    argument.vt = VT_I4;
    argument.lVal = 42;
    automation::CVariant result;
    EXPECT_EQ(
        task.Invoke(0x60020000, IID_NULL, 0, DISPATCH_METHOD, &one, result.Put(), nullptr, nullptr),
        S_OK);
    ASSERT_EQ(result.Get().vt, VT_RECORD);
    GUID guid = {};
    EXPECT_EQ(result.Get().pRecInfo->GetGuid(&guid), S_OK);
    EXPECT_EQ(guid, GUID_SearchResult);
    EXPECT_EQ(static_cast<SearchResult*>(result.Get().pvRecord)->Size, 42);
}

}  // namespace
