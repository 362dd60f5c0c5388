#include "frame/objects/interface_tables.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <string>

#include "frame/conversions.h"

namespace {

using automation::EValueType;
using automation::ParamDesc;
using frame::WideToAnsi;

std::string TypeText(const ParamDesc& type) {
    static const char* const kNames[] = {"INT",    "ULONG", "LONGLONG", "ULONGLONG", "VARIANT_BOOL",
                                         "USHORT", "DATE",  "BSTR",     "GUID",      "SAFEARRAY*"};
    if (type.type != EValueType::Record && type.type != EValueType::Interface) {
        return kNames[static_cast<std::size_t>(type.type)] + std::string(type.pointers, '*') + " ";
    }
    std::string text = type.type == EValueType::Record ? WideToAnsi(type.record->name) : "?";
    for (const automation::InterfaceTable* table : frame::AllInterfaceTables()) {
        if (type.type == EValueType::Interface && *table->iid == *type.iid) {
            text = WideToAnsi(table->name) + "*";
        }
    }
    return text + std::string(type.pointers, '*') + " ";
}

std::string Head(const char16_t* name, const GUID& guid) {
    return WideToAnsi(std::u16string(name) + u" " + frame::GuidToString(guid, false));
}

TEST(InterfaceTables, DescribeThePublishedInterfaces) {
    std::ostringstream text;
    for (const automation::InterfaceTable* table : frame::AllInterfaceTables()) {
        text << Head(table->name, *table->iid) << " library " << table->typeLibraryMajor
             << (table->base == nullptr ? "" : " from " + WideToAnsi(table->base->name)) << "\n";
        for (const automation::MethodDesc& method : table->methods) {
            text << "  " << std::hex << std::setfill('0') << std::setw(8) << method.id << std::dec
                 << (method.invokeKind == DISPATCH_PROPERTYGET ? " get " : " method ")
                 << WideToAnsi(method.name) << "(";
            for (std::size_t i = 0; i < method.paramCount; ++i) {
                static const char* const kDirections[] = {"- ", "in ", "out ", "retval "};
                const ParamDesc& param = method.params[i];
                text << (i == 0 ? "" : ", ")
                     << kDirections[static_cast<std::size_t>(param.direction)] << TypeText(param)
                     << WideToAnsi(param.name);
            }
            text << ")\n";
        }
    }
    for (const automation::RecordDesc* record : frame::AllRecordDescs()) {
        text << Head(record->name, *record->guid) << " size " << record->size << "\n";
        for (const automation::FieldDesc& field : record->fields) {
            ParamDesc type;
            type.type = field.type;
            text << "  " << field.offset << " " << TypeText(type) << WideToAnsi(field.name) << "\n";
        }
    }
    std::ostringstream published;
    published << std::ifstream(ZOREL_SOURCE_DIR "/tests/data/interfaces.txt").rdbuf();
    EXPECT_EQ(text.str(), published.str());
}

}  // namespace
