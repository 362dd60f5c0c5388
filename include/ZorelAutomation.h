// The automation types that ZorelOibIdxLib.h uses.
//
// On Windows the system's headers define them. On other systems this header declares the
// part of OLE Automation that the library and its clients use, with the published
// 64-bit layouts and identifiers: OLECHAR is a UTF-16 code unit (char16_t), LONG and
// ULONG have 32 bits, and an interface is a C++ class without data whose vtable has
// the published slots.
#pragma once

#if !defined(__cplusplus)
#error "The headers of ZorelOibIdxLib are C++17. tests/abi/abi.h shows the declarations for C."
#endif

#if defined(_WIN32)

#include <windows.h>
// The automation headers need windows.h before them.
#include <oaidl.h>
#include <ocidl.h>
#include <oleauto.h>
#include <unknwn.h>

#else

#include <cstddef>
#include <cstdint>
#include <cstring>

// ----- Plain types --------------------------------------------------------------

using BYTE = std::uint8_t;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using WORD = std::uint16_t;
using INT = std::int32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using BOOL = std::int32_t;
using LCID = std::uint32_t;
using DISPID = std::int32_t;
using MEMBERID = DISPID;
using SCODE = std::int32_t;
using HRESULT = std::int32_t;
using VARTYPE = std::uint16_t;
using VARIANT_BOOL = std::int16_t;
using DATE = double;
using OLECHAR = char16_t;
using LPOLESTR = OLECHAR*;
using LPCOLESTR = const OLECHAR*;
using BSTR = OLECHAR*;
using PVOID = void*;

inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;
inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;

#define STDMETHODCALLTYPE
#define STDAPICALLTYPE

// ----- Results ------------------------------------------------------------------

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001U);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002U);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003U);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005U);
inline constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFU);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000EU);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057U);
inline constexpr HRESULT DISP_E_UNKNOWNINTERFACE = static_cast<HRESULT>(0x80020001U);
inline constexpr HRESULT DISP_E_MEMBERNOTFOUND = static_cast<HRESULT>(0x80020003U);
inline constexpr HRESULT DISP_E_PARAMNOTFOUND = static_cast<HRESULT>(0x80020004U);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = static_cast<HRESULT>(0x80020005U);
inline constexpr HRESULT DISP_E_UNKNOWNNAME = static_cast<HRESULT>(0x80020006U);
inline constexpr HRESULT DISP_E_NONAMEDARGS = static_cast<HRESULT>(0x80020007U);
inline constexpr HRESULT DISP_E_BADVARTYPE = static_cast<HRESULT>(0x80020008U);
inline constexpr HRESULT DISP_E_EXCEPTION = static_cast<HRESULT>(0x80020009U);
inline constexpr HRESULT DISP_E_OVERFLOW = static_cast<HRESULT>(0x8002000AU);
inline constexpr HRESULT DISP_E_BADINDEX = static_cast<HRESULT>(0x8002000BU);
inline constexpr HRESULT DISP_E_ARRAYISLOCKED = static_cast<HRESULT>(0x8002000DU);
inline constexpr HRESULT DISP_E_BADPARAMCOUNT = static_cast<HRESULT>(0x8002000EU);
inline constexpr HRESULT DISP_E_PARAMNOTOPTIONAL = static_cast<HRESULT>(0x8002000FU);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110U);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = static_cast<HRESULT>(0x80040111U);

constexpr bool SUCCEEDED(HRESULT hr) noexcept {
    return hr >= 0;
}
constexpr bool FAILED(HRESULT hr) noexcept {
    return hr < 0;
}

// ----- Identifiers --------------------------------------------------------------

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

inline bool operator==(const GUID& a, const GUID& b) noexcept {
    return std::memcmp(&a, &b, sizeof(GUID)) == 0;
}

inline constexpr GUID GUID_NULL = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
inline constexpr IID IID_NULL = GUID_NULL;
inline constexpr CLSID CLSID_NULL = GUID_NULL;

// ----- Arrays, variants, records ------------------------------------------------

struct SAFEARRAYBOUND {
    ULONG cElements;
    LONG lLbound;
};

struct SAFEARRAY {
    USHORT cDims;
    USHORT fFeatures;
    ULONG cbElements;  // bytes of one element
    ULONG cLocks;
    PVOID pvData;
    SAFEARRAYBOUND rgsabound[1];  // cDims bounds, the last dimension first
};

inline constexpr USHORT FADF_AUTO = 0x0001;
inline constexpr USHORT FADF_STATIC = 0x0002;
inline constexpr USHORT FADF_EMBEDDED = 0x0004;
inline constexpr USHORT FADF_FIXEDSIZE = 0x0010;
inline constexpr USHORT FADF_RECORD = 0x0020;
inline constexpr USHORT FADF_HAVEIID = 0x0040;
inline constexpr USHORT FADF_HAVEVARTYPE = 0x0080;
inline constexpr USHORT FADF_BSTR = 0x0100;
inline constexpr USHORT FADF_UNKNOWN = 0x0200;
inline constexpr USHORT FADF_DISPATCH = 0x0400;
inline constexpr USHORT FADF_VARIANT = 0x0800;

enum VARENUM : VARTYPE {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_CY = 6,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_DECIMAL = 14,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_VOID = 24,
    VT_HRESULT = 25,
    VT_PTR = 26,
    VT_SAFEARRAY = 27,
    VT_USERDEFINED = 29,
    VT_RECORD = 36,
    VT_ARRAY = 0x2000,
    VT_BYREF = 0x4000,
    VT_TYPEMASK = 0x0FFF,
};

struct IUnknown;
struct IDispatch;
struct IRecordInfo;
struct ITypeInfo;

union CY {
    struct {
        std::uint32_t Lo;
        std::int32_t Hi;
    } parts;
    std::int64_t int64;  // ten-thousandths
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"  // the published VARIANT has an unnamed record member
struct VARIANT {
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union {
        LONGLONG llVal;
        ULONGLONG ullVal;
        LONG lVal;
        ULONG ulVal;
        INT intVal;
        UINT uintVal;
        SHORT iVal;
        USHORT uiVal;
        std::int8_t cVal;
        BYTE bVal;
        float fltVal;
        double dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        CY cyVal;
        DATE date;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        SAFEARRAY* parray;
        // By reference.
        BYTE* pbVal;
        std::int8_t* pcVal;
        SHORT* piVal;
        USHORT* puiVal;
        LONG* plVal;
        ULONG* pulVal;
        INT* pintVal;
        UINT* puintVal;
        LONGLONG* pllVal;
        ULONGLONG* pullVal;
        float* pfltVal;
        double* pdblVal;
        VARIANT_BOOL* pboolVal;
        SCODE* pscode;
        CY* pcyVal;
        DATE* pdate;
        BSTR* pbstrVal;
        IUnknown** ppunkVal;
        IDispatch** ppdispVal;
        SAFEARRAY** pparray;
        VARIANT* pvarVal;
        PVOID byref;
        struct {
            PVOID pvRecord;
            IRecordInfo* pRecInfo;
        };
    };
};
#pragma GCC diagnostic pop
using VARIANTARG = VARIANT;

struct DISPPARAMS {
    VARIANTARG* rgvarg;         // last argument first
    DISPID* rgdispidNamedArgs;  // positions of the first cNamedArgs entries
    UINT cArgs;
    UINT cNamedArgs;
};

struct EXCEPINFO {
    WORD wCode;
    WORD wReserved;
    BSTR bstrSource;
    BSTR bstrDescription;
    BSTR bstrHelpFile;
    DWORD dwHelpContext;
    PVOID pvReserved;
    HRESULT(STDAPICALLTYPE* pfnDeferredFillIn)(EXCEPINFO*);
    SCODE scode;
};

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;  // 1 is January
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

struct _FILETIME {
    ULONG dwLowDateTime;
    ULONG dwHighDateTime;
};
using FILETIME = _FILETIME;

inline constexpr WORD DISPATCH_METHOD = 0x1;
inline constexpr WORD DISPATCH_PROPERTYGET = 0x2;
inline constexpr WORD DISPATCH_PROPERTYPUT = 0x4;
inline constexpr WORD DISPATCH_PROPERTYPUTREF = 0x8;
inline constexpr DISPID DISPID_UNKNOWN = -1;
inline constexpr DISPID DISPID_PROPERTYPUT = -3;

static_assert(sizeof(GUID) == 16);
static_assert(sizeof(VARIANT) == 24);
static_assert(sizeof(SAFEARRAY) == 32 && offsetof(SAFEARRAY, rgsabound) == 24);
static_assert(sizeof(DISPPARAMS) == 24);
static_assert(sizeof(EXCEPINFO) == 64 && offsetof(EXCEPINFO, scode) == 56);
static_assert(sizeof(SYSTEMTIME) == 16);

// ----- Interfaces ---------------------------------------------------------------

// The destructors are protected, because clients must not delete through an interface. They
// are not virtual and have no vtable slot.

struct IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

protected:
    ~IUnknown() = default;
};

struct IDispatch : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count,
                                                    LCID locale, DISPID* ids) = 0;
    virtual HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags,
                                             DISPPARAMS* params, VARIANT* result,
                                             EXCEPINFO* exception, UINT* badArgument) = 0;

protected:
    ~IDispatch() = default;
};

struct IClassFactory : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid,
                                                     void** object) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) = 0;

protected:
    ~IClassFactory() = default;
};

struct ISupportErrorInfo : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) = 0;

protected:
    ~ISupportErrorInfo() = default;
};

struct IErrorInfo : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetGUID(GUID* guid) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSource(BSTR* source) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDescription(BSTR* description) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* file) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* context) = 0;

protected:
    ~IErrorInfo() = default;
};

struct ICreateErrorInfo : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetGUID(REFGUID guid) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR source) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR description) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR file) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD context) = 0;

protected:
    ~ICreateErrorInfo() = default;
};

struct IEnumString : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG count, LPOLESTR* strings, ULONG* fetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG count) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumString** copy) = 0;

protected:
    ~IEnumString() = default;
};

// The description of the record in a VT_RECORD variant.
struct IRecordInfo : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE RecordInit(PVOID record) = 0;
    virtual HRESULT STDMETHODCALLTYPE RecordClear(PVOID record) = 0;
    virtual HRESULT STDMETHODCALLTYPE RecordCopy(PVOID source, PVOID target) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetGuid(GUID* guid) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSize(ULONG* bytes) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(ITypeInfo** info) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetField(PVOID record, LPCOLESTR name, VARIANT* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFieldNoCopy(PVOID record, LPCOLESTR name, VARIANT* value,
                                                     PVOID* array) = 0;
    virtual HRESULT STDMETHODCALLTYPE PutField(ULONG flags, PVOID record, LPCOLESTR name,
                                               VARIANT* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE PutFieldNoCopy(ULONG flags, PVOID record, LPCOLESTR name,
                                                     VARIANT* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFieldNames(ULONG* count, BSTR* names) = 0;
    virtual BOOL STDMETHODCALLTYPE IsMatchingType(IRecordInfo* other) = 0;
    virtual PVOID STDMETHODCALLTYPE RecordCreate() = 0;
    virtual HRESULT STDMETHODCALLTYPE RecordCreateCopy(PVOID source, PVOID* target) = 0;
    virtual HRESULT STDMETHODCALLTYPE RecordDestroy(PVOID record) = 0;

protected:
    ~IRecordInfo() = default;
};

inline constexpr IID IID_IUnknown = {0x00000000, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IClassFactory = {0x00000001, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IEnumString = {0x00000101, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IDispatch = {0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IRecordInfo = {0x0000002F, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IErrorInfo = {
    0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
inline constexpr IID IID_ICreateErrorInfo = {
    0x22F03340, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
inline constexpr IID IID_ISupportErrorInfo = {
    0xDF0B3D60, 0x548F, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};

// ----- Functions exported by the module -------------------------------------------

extern "C" {
BSTR STDAPICALLTYPE SysAllocString(const OLECHAR* text);
// With a null `text` the `length` code units are uninitialized. Writes the terminating NUL
// in both cases.
BSTR STDAPICALLTYPE SysAllocStringLen(const OLECHAR* text, UINT length);
void STDAPICALLTYPE SysFreeString(BSTR text);
UINT STDAPICALLTYPE SysStringLen(BSTR text);      // code units; 0 for null
UINT STDAPICALLTYPE SysStringByteLen(BSTR text);  // bytes; 0 for null

SAFEARRAY* STDAPICALLTYPE SafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds);
SAFEARRAY* STDAPICALLTYPE SafeArrayCreateVector(VARTYPE type, LONG lowerBound, ULONG elements);
HRESULT STDAPICALLTYPE SafeArrayDestroy(SAFEARRAY* array);
UINT STDAPICALLTYPE SafeArrayGetDim(SAFEARRAY* array);
HRESULT STDAPICALLTYPE SafeArrayGetLBound(SAFEARRAY* array, UINT dimension, LONG* bound);
HRESULT STDAPICALLTYPE SafeArrayGetUBound(SAFEARRAY* array, UINT dimension, LONG* bound);
HRESULT STDAPICALLTYPE SafeArrayGetElement(SAFEARRAY* array, LONG* indices, void* value);
HRESULT STDAPICALLTYPE SafeArrayPutElement(SAFEARRAY* array, LONG* indices, void* value);
HRESULT STDAPICALLTYPE SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type);
HRESULT STDAPICALLTYPE SafeArrayAccessData(SAFEARRAY* array, void** data);
HRESULT STDAPICALLTYPE SafeArrayUnaccessData(SAFEARRAY* array);

void STDAPICALLTYPE VariantInit(VARIANTARG* variant);
HRESULT STDAPICALLTYPE VariantClear(VARIANTARG* variant);

HRESULT STDAPICALLTYPE CreateErrorInfo(ICreateErrorInfo** info);
HRESULT STDAPICALLTYPE GetErrorInfo(ULONG reserved, IErrorInfo** info);
HRESULT STDAPICALLTYPE SetErrorInfo(ULONG reserved, IErrorInfo* info);

INT STDAPICALLTYPE SystemTimeToVariantTime(SYSTEMTIME* time, double* date);
INT STDAPICALLTYPE VariantTimeToSystemTime(double date, SYSTEMTIME* time);
}

#endif
