#include "frame/objects/interface_tables.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "ZorelText.h"

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

}  // namespace
