// Descriptions of the automation interfaces for late-bound callers: one constant table for each
// interface. The templates below write it, and the compiler checks it against the C++
// declaration. Names, directions and positions come from the table, types from the signature
// of the method.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>
#include <utility>

#include "automation/automation.h"

namespace automation {

enum class EValueType : std::uint8_t {
    Int32,
    UInt32,
    Int64,
    UInt64,
    Bool,    // VARIANT_BOOL
    UInt16,  // in records only
    Date,
    String,
    Guid,
    StringArray,  // SAFEARRAY(BSTR)
    Interface,
    Record,
};

// Unspecified: the type library gives no direction.
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

// Specialised with the tables for every record and interface of the library:
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

// Calls a method of `self`; `arguments[i]` points to the storage of argument i.
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
    const InterfaceTable* base;           // the table of the methods before these, or null
    std::uint16_t typeLibraryMajor;       // version of the registered type library to load
    std::span<const MethodDesc> methods;  // in slot order
};

// ----- Reading a table ----------------------------------------------------------

// The VARIANT type for a value of the type.
VARTYPE VariantTypeOf(EValueType type) noexcept;

// The first of the interface's own and inherited methods for which `matches` is true; null
// when there is none.
template <class Predicate>
const MethodDesc* FindMethodIf(const InterfaceTable& table, Predicate matches) {
    for (const InterfaceTable* part = &table; part != nullptr; part = part->base) {
        for (const MethodDesc& method : part->methods) {
            if (matches(method)) {
                return &method;
            }
        }
    }
    return nullptr;
}
const MethodDesc* FindMethod(const InterfaceTable& table, DISPID id) noexcept;

// Whether the counts and pointers of `params` are consistent.
bool IsWellFormed(const DISPPARAMS* params) noexcept;

// ----- Writing a table ----------------------------------------------------------

struct ParamName {
    const char16_t* name;
    EDirection direction;
};

constexpr ParamName Unspecified(const char16_t* name) {
    return {name, EDirection::Unspecified};
}
constexpr ParamName In(const char16_t* name) {
    return {name, EDirection::In};
}
constexpr ParamName Out(const char16_t* name) {
    return {name, EDirection::Out};
}
constexpr ParamName Retval(const char16_t* name) {
    return {name, EDirection::Retval};
}

namespace detail {

// INT and LONG are one type on some systems and two on others: size and sign decide.
template <class T>
constexpr EValueType IntegerType() {
    static_assert(sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8);
    constexpr bool isSigned = std::is_signed_v<T>;
    if constexpr (sizeof(T) == 2) {
        return isSigned ? EValueType::Bool : EValueType::UInt16;
    } else if constexpr (sizeof(T) == 4) {
        return isSigned ? EValueType::Int32 : EValueType::UInt32;
    } else {
        return isSigned ? EValueType::Int64 : EValueType::UInt64;
    }
}

template <class T>
constexpr ParamDesc DescribeType() {
    ParamDesc desc;
    if constexpr (std::is_same_v<T, BSTR>) {
        desc.type = EValueType::String;
    } else if constexpr (std::is_same_v<T, SAFEARRAY*>) {
        desc.type = EValueType::StringArray;
    } else if constexpr (std::is_same_v<T, GUID>) {
        desc.type = EValueType::Guid;
    } else if constexpr (std::is_same_v<T, DATE>) {
        desc.type = EValueType::Date;
    } else if constexpr (std::is_integral_v<T>) {
        desc.type = IntegerType<T>();
    } else if constexpr (std::is_base_of_v<IDispatch, std::remove_pointer_t<T>>) {
        static_assert(std::is_pointer_v<T>, "interfaces are passed by pointer");
        desc.type = EValueType::Interface;
        desc.iid = &InterfaceTraits<std::remove_pointer_t<T>>::kIid;
    } else if constexpr (std::is_pointer_v<T>) {
        desc = DescribeType<std::remove_pointer_t<T>>();
        ++desc.pointers;
    } else {
        desc.type = EValueType::Record;
        desc.record = &RecordTraits<T>::kDesc;
    }
    return desc;
}

// Whether the late-bound call supports the parameter. No method of the library has any other.
constexpr bool CanPass(const ParamDesc& param) {
    if (param.direction == EDirection::Out || param.direction == EDirection::Retval) {
        return param.pointers == 1;
    }
    if (param.pointers == 0) {
        return param.type != EValueType::Interface && param.type != EValueType::StringArray;
    }
    if (param.direction == EDirection::In) {
        return param.pointers == 1 && param.type == EValueType::Record;
    }
    return param.pointers == 1 || (param.pointers == 2 && param.type == EValueType::String);
}

template <class T>
T LoadArgument(const void* storage) {
    T value;
    std::memcpy(&value, storage, sizeof(T));
    return value;
}

template <class Pointer>
struct MethodTraits;

template <class Interface, class... Args>
struct MethodTraits<HRESULT (STDMETHODCALLTYPE Interface::*)(Args...)> {
    static constexpr std::size_t kCount = sizeof...(Args);
    static constexpr std::array<ParamDesc, kCount> kTypes = {DescribeType<Args>()...};

    template <auto kMethod, std::size_t... kIndex>
    static HRESULT Call(IDispatch* self, [[maybe_unused]] void* const* arguments,
                        std::index_sequence<kIndex...>) {
        return (static_cast<Interface*>(self)->*kMethod)(LoadArgument<Args>(arguments[kIndex])...);
    }
    template <auto kMethod>
    static HRESULT Thunk(IDispatch* self, void* const* arguments) {
        return Call<kMethod>(self, arguments, std::index_sequence_for<Args...>());
    }
};

}  // namespace detail

// The description of one method; `params` names each of its parameters in order. For constant
// expressions only: a table that does not match the declaration does not compile.
template <auto kMethod, class... Params>
constexpr MethodDesc Method(const char16_t* name, Params... params) {
    using Traits = detail::MethodTraits<decltype(kMethod)>;
    static_assert(sizeof...(Params) == Traits::kCount, "every parameter needs a name");
    static_assert(Traits::kCount <= MethodDesc::kMaxParams);
    MethodDesc desc;
    desc.name = name;
    desc.paramCount = Traits::kCount;
    desc.call = &Traits::template Thunk<kMethod>;
    const std::array<ParamName, Traits::kCount> names = {params...};
    for (std::size_t i = 0; i < Traits::kCount; ++i) {
        desc.params[i] = Traits::kTypes[i];
        desc.params[i].name = names[i].name;
        desc.params[i].direction = names[i].direction;
        if (!detail::CanPass(desc.params[i])) {
            throw "a parameter's direction does not fit its type";
        }
        if (names[i].direction == EDirection::Retval && i + 1 != Traits::kCount) {
            throw "only the last parameter can be the return value";
        }
    }
    return desc;
}

template <auto kMethod, class... Params>
constexpr MethodDesc PropertyGet(const char16_t* name, Params... params) {
    MethodDesc desc = Method<kMethod>(name, params...);
    desc.invokeKind = DISPATCH_PROPERTYGET;
    return desc;
}

// The methods of one interface in slot order, numbered from `firstId`.
template <class... Descs>
constexpr std::array<MethodDesc, sizeof...(Descs)> Methods(DISPID firstId, Descs... descs) {
    std::array<MethodDesc, sizeof...(Descs)> methods = {descs...};
    for (MethodDesc& method : methods) {
        method.id = firstId++;
    }
    return methods;
}

// One field of a record; `T` is the type of the member at `offset`.
template <class T>
constexpr FieldDesc Field(const char16_t* name, std::size_t offset) {
    constexpr ParamDesc type = detail::DescribeType<T>();
    static_assert(type.pointers == 0 && type.type != EValueType::Record &&
                      type.type != EValueType::Guid && type.type != EValueType::Interface &&
                      type.type != EValueType::StringArray,
                  "records hold numbers, times and strings");
    return {name, type.type, offset};
}

}  // namespace automation
