// How an automation interface is described to late-bound callers: one constant table for
// each interface, written with the templates below and held against the C++ declaration
// by the compiler. Names, directions and positions come from the table; types come from
// the method's own signature.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <utility>

#include "platform/automation.h"

namespace platform {

enum class EValueType : std::uint8_t {
    Int32,
    UInt32,
    Int64,
    UInt64,
    Bool,  // VARIANT_BOOL
    Date,
    String,
    Guid,
    StringArray,  // SAFEARRAY(BSTR)
    Interface,
    Record,
};

// Unspecified stands where the published description gives no direction.
enum class EDirection : std::uint8_t { Unspecified, In, Out, Retval };

struct FieldDesc {
    const char16_t* name;
    EValueType type;
    std::size_t offset;  // bytes from the start of the record
};

struct RecordDesc {
    const char16_t* name;
    const GUID* guid;
    std::size_t size;  // bytes
    std::span<const FieldDesc> fields;
};

// Specialised beside the tables for every record and interface of the library:
//   static constexpr const RecordDesc& kDesc   /   static constexpr const IID& kIid
template <class Record>
struct RecordTraits;
template <class Interface>
struct InterfaceTraits;

struct ParamDesc {
    const char16_t* name = nullptr;
    EDirection direction = EDirection::Unspecified;
    EValueType type = EValueType::Int32;
    std::uint8_t pointers = 0;           // levels of indirection above the value type
    const IID* iid = nullptr;            // of an Interface
    const RecordDesc* record = nullptr;  // of a Record
};

// Calls a method of `self`; `arguments[i]` points at the storage of argument i.
using MethodThunk = HRESULT (*)(IDispatch* self, void* const* arguments);

struct MethodDesc {
    static constexpr std::size_t kMaxParams = 8;

    const char16_t* name = nullptr;  // a property's name without get_
    DISPID id = 0;
    WORD invokeKind = DISPATCH_METHOD;
    std::size_t paramCount = 0;
    std::array<ParamDesc, kMaxParams> params{};
    MethodThunk call = nullptr;
};

struct InterfaceTable {
    const char16_t* name;
    const IID* iid;
    const InterfaceTable* base;         // the table of the methods before these, or null
    std::uint16_t typeLibraryMajor;     // version of the registered type library to ask for
    std::span<const MethodDesc> methods;  // in slot order
};

}  // namespace platform
