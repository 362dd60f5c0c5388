/* The binary interface as a client in C declares it from the published page: types, records,
 * slots and identifiers. This header includes none of the library's own. */
#pragma once

#include <assert.h>
#include <stddef.h>
#include <stdint.h>
#include <uchar.h>

typedef int32_t HRESULT;
typedef int16_t VARIANT_BOOL;
typedef double DATE;
typedef char16_t* BSTR;

#define S_OK 0
#define S_FALSE 1
#define HRESULT_OF(code) ((HRESULT)(code))
#define E_NOTIMPL HRESULT_OF(0x80004001U)
#define E_NOINTERFACE HRESULT_OF(0x80004002U)
#define E_POINTER HRESULT_OF(0x80004003U)
#define E_FAIL HRESULT_OF(0x80004005U)
#define E_INVALIDARG HRESULT_OF(0x80070057U)
#define DISP_E_EXCEPTION HRESULT_OF(0x80020009U)
#define CLASS_E_CLASSNOTAVAILABLE HRESULT_OF(0x80040111U)

typedef struct {
    uint32_t Data1;
    uint16_t Data2, Data3;
    uint8_t Data4[8];
} GUID;

typedef struct {
    uint32_t cElements;
    int32_t lLbound;
} SAFEARRAYBOUND;

typedef struct {
    uint16_t cDims, fFeatures;
    uint32_t cbElements, cLocks;
    void* pvData;
    SAFEARRAYBOUND rgsabound[1];
} SAFEARRAY;

enum { VT_EMPTY = 0, VT_I4 = 3, VT_BSTR = 8, VT_RECORD = 36 };
enum { VT_ARRAY = 0x2000, DISPATCH_METHOD = 1 };

typedef struct {
    uint16_t vt, reserved[3];
    union {
        int32_t lVal;
        BSTR bstrVal;
        SAFEARRAY* parray;
        struct {
            void *pvRecord, *pRecInfo;
        } record;
    } value;
} VARIANT;

typedef struct {
    VARIANT* rgvarg; /* last argument first */
    int32_t* rgdispidNamedArgs;
    uint32_t cArgs, cNamedArgs;
} DISPPARAMS;

typedef struct {
    uint16_t wCode, wReserved;
    BSTR bstrSource, bstrDescription, bstrHelpFile;
    uint32_t dwHelpContext;
    void *pvReserved, *pfnDeferredFillIn;
    int32_t scode;
} EXCEPINFO;

typedef struct {
    uint16_t wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
} SYSTEMTIME;

typedef struct {
    uint32_t dwLowDateTime, dwHighDateTime;
} FILETIME;

typedef struct {
    BSTR rootPath, FileNamePattern, Owner;
    VARIANT_BOOL UseTimeLimits;
    DATE ModifyTimeFrom, ModifyTimeTill;
    VARIANT_BOOL UseSizeLimits;
    int64_t SizeFrom, SizeTill;
    VARIANT_BOOL UseSearchServerRule;
    BSTR UnrestrictedExtentions;
} SearchSpec;

/* SearchResult and OibFileInfo, which have the same layout. */
typedef struct {
    BSTR Name;
    DATE ModifyTime;
    int64_t Size;
    BSTR Owner;
} FileRecord;

static_assert(sizeof(GUID) == 16 && sizeof(VARIANT) == 24 && sizeof(SAFEARRAY) == 32, "layout");
static_assert(sizeof(DISPPARAMS) == 24 && sizeof(EXCEPINFO) == 64, "layout");
static_assert(sizeof(SearchSpec) == 88 && sizeof(FileRecord) == 32, "layout");

/* ----- Interfaces: INTERFACE(name, identifier, number of the first slot, methods) -----
 * The methods are in slot order; a property is listed by its name. */

/* Not formatted: the format of these lists is not stable. */
/* clang-format off */
#define OF_IUnknown(M, I) M(I, QueryInterface) M(I, AddRef) M(I, Release)
#define OF_IDispatch(M, I) M(I, GetTypeInfoCount) M(I, GetTypeInfo) M(I, GetIDsOfNames) \
    M(I, Invoke)
#define OF_IClassFactory(M, I) M(I, CreateInstance) M(I, LockServer)
#define OF_ISupportErrorInfo(M, I) M(I, InterfaceSupportsErrorInfo)
#define OF_IErrorInfo(M, I) M(I, GetGUID) M(I, GetSource) M(I, GetDescription) M(I, GetHelpFile) \
    M(I, GetHelpContext)
#define OF_ICreateErrorInfo(M, I) M(I, SetGUID) M(I, SetSource) M(I, SetDescription) \
    M(I, SetHelpFile) M(I, SetHelpContext)
#define OF_IOibIdxLib(M, I) M(I, InitLogging) M(I, CreateMetaFile) M(I, IsMetaFileExists) \
    M(I, GenerateOibTDFs) M(I, FindInOibTDF) M(I, ParseOibTDFName) M(I, ConvetrPathToCrcStr) \
    M(I, FindInOibTDF2) M(I, BrowseOibDF) M(I, IsWildcardMatch) M(I, FindInOibBDF) \
    M(I, CreateBSessionMetaFile) M(I, LoadPublicationOrderingInfo) M(I, LoadPublication)
#define OF_IMtfMetaFile(M, I) M(I, GetRootAttrsTree) M(I, CreateAttrsTree) M(I, FindAttrsTree) \
    M(I, GetExistingAttrsTree) M(I, DelAttrsTree) M(I, SetAttr) M(I, FindAttr) \
    M(I, GetExistingAttr) M(I, DelAttr) M(I, EnumAllAttrs) M(I, PushComment) M(I, FlushChanges) \
    M(I, Close)
#define OF_IMtfAttrsTree(M, I) M(I, EnumChildTrees) M(I, CreateSubtree) M(I, FindSubtree) \
    M(I, GetExistingSubtree) M(I, DelSubtree) M(I, EnumChildAttrs) M(I, DelAttr) M(I, SetAttr) \
    M(I, FindAttr) M(I, GetExistingAttr)
#define OF_IMtfBSessionMetaFile(M, I) M(I, DeleteOibRef) M(I, EnumOibsRefs) M(I, FlushChanges) \
    M(I, Close)
#define OF_ICatOibRefsEnumerator(M, I) M(I, RefsCount) M(I, MoveToElem) M(I, VmName) \
    M(I, BackupTimeUtc) M(I, UniqueId) M(I, GetOibRef)
#define OF_IMtfPublicationOrderingInfo(M, I) M(I, PubLocalTime) M(I, PubUtcTime)
#define OF_IMtfPublicationMetaFileReader(M, I) M(I, OrderingInfo) M(I, CmdCount) M(I, GetCmdType) \
    M(I, AddBSessionCmdAccessor) M(I, MetaFile)
#define OF_IMtfAddBSessionCmdAccessor(M, I) M(I, GetRetargetedOibGroupsNum) \
    M(I, GetOibsNumInRetargetedOibGroup) M(I, GetBackupFilesNumInRetargetedOibGroup) \
    M(I, GetOibRef) M(I, GetBackupFile) M(I, GetBSessionInfo)
#define OF_IOibDFBrowser(M, I) M(I, GetFolders) M(I, GetFiles) M(I, Close) M(I, GetFilesEx)
#define OF_IOibFilesArray(M, I) M(I, GetFileInfo) M(I, FilesCount) M(I, TotalSize)
#define OF_IOibTDFSearchTask(M, I) M(I, GetResult) M(I, ResultsCount)
#define OF_IOibBDFSearchTask(M, I) OF_IOibTDFSearchTask(M, I) M(I, Find)

#define FOR_EACH_INTERFACE(INTERFACE) \
    INTERFACE(IOibIdxLib, "5e5c6200-0e90-4c90-b72a-a066a723fd5e", 7) \
    INTERFACE(IMtfMetaFile, "f2c61ee0-4209-48f9-8eec-0056a972dd79", 7) \
    INTERFACE(IMtfAttrsTree, "a502bffc-669d-41f6-9ce2-78dfbf00116a", 7) \
    INTERFACE(IMtfBSessionMetaFile, "0811935f-9257-44b9-8c78-2619ac0f6d42", 7) \
    INTERFACE(ICatOibRefsEnumerator, "22bf1b01-cc55-4e89-b52f-2447bb881b75", 7) \
    INTERFACE(IMtfPublicationOrderingInfo, "a331a1a5-e8ad-4254-99e9-ce400c78fca6", 7) \
    INTERFACE(IMtfPublicationMetaFileReader, "e9cdc05e-b36c-4d51-8a2c-1f86e2874b90", 7) \
    INTERFACE(IMtfAddBSessionCmdAccessor, "15dd54ff-42f0-4d41-aec0-65a70c479373", 7) \
    INTERFACE(IOibDFBrowser, "31d94af1-b515-42fa-a123-7fba9a4b702d", 7) \
    INTERFACE(IOibFilesArray, "c7c4515e-2e8b-459e-bdae-75adabc8b8cb", 7) \
    INTERFACE(IOibTDFSearchTask, "c89a1654-26df-4277-b0ee-7d553d5e9e57", 7) \
    INTERFACE(IOibBDFSearchTask, "e280ed53-259e-4988-8af6-08cdcf37d6bf", 7) \
    INTERFACE(IUnknown, "00000000-0000-0000-c000-000000000046", 0) \
    INTERFACE(IDispatch, "00020400-0000-0000-c000-000000000046", 3) \
    INTERFACE(IClassFactory, "00000001-0000-0000-c000-000000000046", 3) \
    INTERFACE(ISupportErrorInfo, "df0b3d60-548f-101b-8e65-08002b2bd119", 3) \
    INTERFACE(IErrorInfo, "1cf2b120-547d-101b-8e65-08002b2bd119", 3) \
    INTERFACE(ICreateErrorInfo, "22f03340-547d-101b-8e65-08002b2bd119", 3)
/* clang-format on */
#define CLASS_COibIdxLib "f527d4a6-8452-43f4-95f5-dcc32fb0dc24"

/* The slot of each method: IOibIdxLib_InitLogging and so on. */
#define SLOT_OF_METHOD(interface, method) interface##_##method,
#define SLOTS_OF(name, id, first) \
    enum { name##_before = (first)-1, OF_##name(SLOT_OF_METHOD, name) };
FOR_EACH_INTERFACE(SLOTS_OF)

/* ----- Exports, with their usual parameters ----- */

/* clang-format off */
#define FOR_EACH_EXPORT(EXPORT) \
    EXPORT(HRESULT, DllGetClassObject, const GUID*, const GUID*, void**) \
    EXPORT(HRESULT, CreateOibIdxLib, void*, const GUID*, void**) \
    EXPORT(HRESULT, DllCanUnloadNow, void) \
    EXPORT(HRESULT, DllRegisterServer, void) EXPORT(HRESULT, DllUnregisterServer, void) \
    EXPORT(BSTR, SysAllocString, const char16_t*) \
    EXPORT(BSTR, SysAllocStringLen, const char16_t*, uint32_t) EXPORT(void, SysFreeString, BSTR) \
    EXPORT(uint32_t, SysStringLen, BSTR) EXPORT(uint32_t, SysStringByteLen, BSTR) \
    EXPORT(SAFEARRAY*, SafeArrayCreate, uint16_t, uint32_t, SAFEARRAYBOUND*) \
    EXPORT(SAFEARRAY*, SafeArrayCreateVector, uint16_t, int32_t, uint32_t) \
    EXPORT(HRESULT, SafeArrayDestroy, SAFEARRAY*) EXPORT(uint32_t, SafeArrayGetDim, SAFEARRAY*) \
    EXPORT(HRESULT, SafeArrayGetLBound, SAFEARRAY*, uint32_t, int32_t*) \
    EXPORT(HRESULT, SafeArrayGetUBound, SAFEARRAY*, uint32_t, int32_t*) \
    EXPORT(HRESULT, SafeArrayGetElement, SAFEARRAY*, int32_t*, void*) \
    EXPORT(HRESULT, SafeArrayPutElement, SAFEARRAY*, int32_t*, void*) \
    EXPORT(HRESULT, SafeArrayGetVartype, SAFEARRAY*, uint16_t*) \
    EXPORT(HRESULT, SafeArrayAccessData, SAFEARRAY*, void**) \
    EXPORT(HRESULT, SafeArrayUnaccessData, SAFEARRAY*) \
    EXPORT(void, VariantInit, VARIANT*) EXPORT(HRESULT, VariantClear, VARIANT*) \
    EXPORT(HRESULT, CreateErrorInfo, void**) \
    EXPORT(HRESULT, GetErrorInfo, uint32_t, void**) EXPORT(HRESULT, SetErrorInfo, uint32_t, void*) \
    EXPORT(int32_t, SystemTimeToVariantTime, SYSTEMTIME*, double*) \
    EXPORT(int32_t, VariantTimeToSystemTime, double, SYSTEMTIME*)
/* clang-format on */
