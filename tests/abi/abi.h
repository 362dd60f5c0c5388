/* The binary interface as a client in C writes it down from the published page: types,
 * records, vtables and identifiers. It shares nothing with the library's own headers. */
#ifndef ZOREL_TESTS_ABI_H
#define ZOREL_TESTS_ABI_H

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
#define DISP_E_MEMBERNOTFOUND HRESULT_OF(0x80020003U)
#define DISP_E_UNKNOWNNAME HRESULT_OF(0x80020006U)
#define DISP_E_EXCEPTION HRESULT_OF(0x80020009U)
#define CLASS_E_NOAGGREGATION HRESULT_OF(0x80040110U)
#define CLASS_E_CLASSNOTAVAILABLE HRESULT_OF(0x80040111U)

typedef struct {
    uint32_t Data1;
    uint16_t Data2, Data3;
    uint8_t Data4[8];
} GUID;

/* ----- Automation ----- */

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

enum { VT_EMPTY = 0, VT_I4 = 3, VT_BSTR = 8, VT_DISPATCH = 9, VT_BOOL = 11 };
enum { VT_UI4 = 19, VT_RECORD = 36, VT_ARRAY = 0x2000 };
enum { DISPATCH_METHOD = 1, DISPATCH_PROPERTYGET = 2 };

typedef struct {
    uint16_t vt, reserved[3];
    union {
        int32_t lVal;
        uint32_t ulVal;
        VARIANT_BOOL boolVal;
        BSTR bstrVal;
        void* pdispVal;
        SAFEARRAY* parray;
        struct {
            void* pvRecord;
            void* pRecInfo;
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

/* ----- Records ----- */

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

typedef struct {
    BSTR FileFullName;
    DATE ModifyTime;
    int64_t Size;
    BSTR Owner;
} SearchResult;

typedef struct {
    BSTR FileName;
    DATE ModifyTime;
    int64_t Size;
    BSTR Owner;
} OibFileInfo;

static_assert(sizeof(GUID) == 16 && sizeof(VARIANT) == 24 && sizeof(SAFEARRAY) == 32, "layout");
static_assert(sizeof(DISPPARAMS) == 24 && sizeof(EXCEPINFO) == 64, "layout");
static_assert(sizeof(SearchSpec) == 88 && sizeof(OibFileInfo) == 32, "layout");

/* ----- Interfaces: slot after slot; `self` is the object ----- */

#define METHOD(name, ...) HRESULT (*name)(void* self, __VA_ARGS__)
#define METHOD_PLAIN(name) HRESULT (*name)(void* self)
#define UNKNOWN_SLOTS                                \
    METHOD(QueryInterface, const GUID*, void** out); \
    uint32_t (*AddRef)(void* self);                  \
    uint32_t (*Release)(void* self)
#define DISPATCH_SLOTS                                                                    \
    UNKNOWN_SLOTS;                                                                        \
    METHOD(GetTypeInfoCount, uint32_t* out);                                              \
    METHOD(GetTypeInfo, uint32_t index, uint32_t locale, void** out);                     \
    METHOD(GetIDsOfNames, const GUID*, char16_t** names, uint32_t count, uint32_t locale, \
           int32_t* out);                                                                 \
    METHOD(Invoke, int32_t id, const GUID*, uint32_t locale, uint16_t flags, DISPPARAMS*, \
           VARIANT* result, EXCEPINFO*, uint32_t* bad)
#define INTERFACE(name, slots)            \
    typedef struct name##Vtbl name##Vtbl; \
    typedef struct {                      \
        const name##Vtbl* vtbl;           \
    } name;                               \
    struct name##Vtbl {                   \
        slots;                            \
    }

INTERFACE(IUnknown, UNKNOWN_SLOTS);
INTERFACE(IDispatch, DISPATCH_SLOTS);
INTERFACE(IClassFactory, UNKNOWN_SLOTS;
          METHOD(CreateInstance, void* outer, const GUID*, void** out);
          METHOD(LockServer, int32_t lock));
INTERFACE(ISupportErrorInfo, UNKNOWN_SLOTS; METHOD(InterfaceSupportsErrorInfo, const GUID*));
INTERFACE(IErrorInfo, UNKNOWN_SLOTS; METHOD(GetGUID, GUID* out); METHOD(GetSource, BSTR* out);
          METHOD(GetDescription, BSTR* out); METHOD(GetHelpFile, BSTR* out);
          METHOD(GetHelpContext, uint32_t* out));
INTERFACE(ICreateErrorInfo, UNKNOWN_SLOTS; METHOD(SetGUID, const GUID*);
          METHOD(SetSource, const char16_t*); METHOD(SetDescription, const char16_t*);
          METHOD(SetHelpFile, const char16_t*); METHOD(SetHelpContext, uint32_t));

INTERFACE(IOibFilesArray, DISPATCH_SLOTS; METHOD(GetFileInfo, uint32_t index, OibFileInfo* out);
          METHOD(get_FilesCount, uint32_t* out); METHOD(get_TotalSize, uint64_t* out));
INTERFACE(IOibDFBrowser, DISPATCH_SLOTS; METHOD(GetFolders, BSTR path, SAFEARRAY** out);
          METHOD(GetFiles, BSTR path, IOibFilesArray** out); METHOD_PLAIN(Close);
          METHOD(GetFilesEx, BSTR path, VARIANT_BOOL recursive, BSTR endings,
                 IOibFilesArray** out));

#define TDF_SEARCH_TASK_SLOTS                            \
    DISPATCH_SLOTS;                                      \
    METHOD(GetResult, int32_t index, SearchResult* out); \
    METHOD(get_ResultsCount, int32_t* out)
INTERFACE(IOibTDFSearchTask, TDF_SEARCH_TASK_SLOTS);
INTERFACE(IOibBDFSearchTask, TDF_SEARCH_TASK_SLOTS; METHOD(Find, SearchSpec*));

INTERFACE(IMtfAttrsTree, DISPATCH_SLOTS; METHOD(EnumChildTrees, SAFEARRAY** out);
          METHOD(CreateSubtree, BSTR name, void** out); METHOD(FindSubtree, BSTR name, void** out);
          METHOD(GetExistingSubtree, BSTR name, void** out); METHOD(DelSubtree, BSTR name);
          METHOD(EnumChildAttrs, SAFEARRAY** out); METHOD(DelAttr, BSTR name);
          METHOD(SetAttr, BSTR name, BSTR value); METHOD(FindAttr, BSTR name, BSTR* out);
          METHOD(GetExistingAttr, BSTR name, BSTR* out));
INTERFACE(IMtfMetaFile, DISPATCH_SLOTS; METHOD(GetRootAttrsTree, IMtfAttrsTree** out);
          METHOD(CreateAttrsTree, BSTR path, IMtfAttrsTree** out);
          METHOD(FindAttrsTree, BSTR path, IMtfAttrsTree** out);
          METHOD(GetExistingAttrsTree, BSTR path, IMtfAttrsTree** out);
          METHOD(DelAttrsTree, BSTR path); METHOD(SetAttr, BSTR path, BSTR value);
          METHOD(FindAttr, BSTR path, BSTR* out); METHOD(GetExistingAttr, BSTR path, BSTR* out);
          METHOD(DelAttr, BSTR path); METHOD(EnumAllAttrs, SAFEARRAY** out);
          METHOD(PushComment, BSTR line); METHOD_PLAIN(FlushChanges); METHOD_PLAIN(Close));
INTERFACE(ICatOibRefsEnumerator, DISPATCH_SLOTS; METHOD(get_RefsCount, int32_t* out);
          METHOD(MoveToElem, int32_t index); METHOD(get_VmName, BSTR* out);
          METHOD(get_BackupTimeUtc, BSTR* out); METHOD(get_UniqueId, GUID* out);
          METHOD(GetOibRef, int32_t index, BSTR* vmName, BSTR* backupTime, GUID* id));
INTERFACE(IMtfBSessionMetaFile, DISPATCH_SLOTS; METHOD(DeleteOibRef, GUID id);
          METHOD(EnumOibsRefs, ICatOibRefsEnumerator** out); METHOD_PLAIN(FlushChanges);
          METHOD_PLAIN(Close));
INTERFACE(IMtfPublicationOrderingInfo, DISPATCH_SLOTS; METHOD(get_PubLocalTime, BSTR* out);
          METHOD(get_PubUtcTime, BSTR* out));
INTERFACE(IMtfAddBSessionCmdAccessor, DISPATCH_SLOTS;
          METHOD(GetRetargetedOibGroupsNum, int32_t cmd, int32_t* out);
          METHOD(GetOibsNumInRetargetedOibGroup, int32_t cmd, int32_t group, int32_t* out);
          METHOD(GetBackupFilesNumInRetargetedOibGroup, int32_t cmd, int32_t group, int32_t* out);
          METHOD(GetOibRef, int32_t cmd, int32_t group, int32_t oib, BSTR* vmName, BSTR* backupTime,
                 GUID* id, BSTR* origin, BSTR* platform);
          METHOD(GetBackupFile, int32_t cmd, int32_t group, int32_t file, BSTR* server, BSTR* path,
                 BSTR* time);
          METHOD(GetBSessionInfo, int32_t cmd, BSTR* job, BSTR* server, BSTR* date));
INTERFACE(IMtfPublicationMetaFileReader, DISPATCH_SLOTS;
          METHOD(get_OrderingInfo, IMtfPublicationOrderingInfo** out);
          METHOD(get_CmdCount, int32_t* out); METHOD(GetCmdType, int32_t cmd, BSTR* out);
          METHOD(get_AddBSessionCmdAccessor, IMtfAddBSessionCmdAccessor** out);
          METHOD(get_MetaFile, IMtfMetaFile** out));
INTERFACE(IOibIdxLib, DISPATCH_SLOTS; METHOD(InitLogging, BSTR path, VARIANT_BOOL skipSecure);
          METHOD(CreateMetaFile, BSTR path, int32_t mode, IMtfMetaFile** out);
          METHOD(IsMetaFileExists, BSTR path, VARIANT_BOOL* out);
          METHOD(GenerateOibTDFs, BSTR list, BSTR folder, FILETIME time, int32_t perFile,
                 VARIANT_BOOL crc, int32_t subfolders, int32_t parts, BSTR separators);
          METHOD(FindInOibTDF, BSTR file, BSTR root, BSTR pattern, SAFEARRAY** out);
          METHOD(ParseOibTDFName, BSTR name, BSTR* domain, BSTR** owner);
          METHOD(ConvetrPathToCrcStr, BSTR path, int32_t subfolders, BSTR* out);
          METHOD(FindInOibTDF2, BSTR file, SearchSpec*, IOibTDFSearchTask** out);
          METHOD(BrowseOibDF, BSTR file, IOibDFBrowser** out);
          METHOD(IsWildcardMatch, BSTR line, BSTR pattern, VARIANT_BOOL* out);
          METHOD(FindInOibBDF, BSTR folder, IOibBDFSearchTask** out);
          METHOD(CreateBSessionMetaFile, BSTR path, int32_t mode, IMtfBSessionMetaFile** out);
          METHOD(LoadPublicationOrderingInfo, BSTR path, IMtfPublicationOrderingInfo** out);
          METHOD(LoadPublication, BSTR path, IMtfPublicationMetaFileReader** out));

/* ----- Identifiers ----- */

#define GUID_OF(name, a, b, c, ...) static const GUID name = {a, b, c, {__VA_ARGS__}}
GUID_OF(IID_NULL, 0, 0, 0, 0);
GUID_OF(IID_IUnknown, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46);
GUID_OF(IID_IDispatch, 0x00020400, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46);
GUID_OF(IID_IClassFactory, 1, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46);
GUID_OF(IID_IErrorInfo, 0x1CF2B120, 0x547D, 0x101B, 0x8E, 0x65, 8, 0, 0x2B, 0x2B, 0xD1, 0x19);
GUID_OF(IID_ISupportErrorInfo, 0xDF0B3D60, 0x548F, 0x101B, 0x8E, 0x65, 8, 0, 0x2B, 0x2B, 0xD1,
        0x19);
GUID_OF(CLSID_COibIdxLib, 0xf527d4a6, 0x8452, 0x43f4, 0x95, 0xf5, 0xdc, 0xc3, 0x2f, 0xb0, 0xdc,
        0x24);
GUID_OF(IID_IOibIdxLib, 0x5e5c6200, 0x0e90, 0x4c90, 0xb7, 0x2a, 0xa0, 0x66, 0xa7, 0x23, 0xfd, 0x5e);
GUID_OF(IID_IMtfMetaFile, 0xf2c61ee0, 0x4209, 0x48f9, 0x8e, 0xec, 0, 0x56, 0xa9, 0x72, 0xdd, 0x79);
GUID_OF(IID_IMtfAttrsTree, 0xa502bffc, 0x669d, 0x41f6, 0x9c, 0xe2, 0x78, 0xdf, 0xbf, 0, 0x11, 0x6a);
GUID_OF(IID_IMtfBSessionMetaFile, 0x0811935f, 0x9257, 0x44b9, 0x8c, 0x78, 0x26, 0x19, 0xac, 0x0f,
        0x6d, 0x42);
GUID_OF(IID_ICatOibRefsEnumerator, 0x22bf1b01, 0xcc55, 0x4e89, 0xb5, 0x2f, 0x24, 0x47, 0xbb, 0x88,
        0x1b, 0x75);
GUID_OF(IID_IMtfPublicationOrderingInfo, 0xa331a1a5, 0xe8ad, 0x4254, 0x99, 0xe9, 0xce, 0x40, 0x0c,
        0x78, 0xfc, 0xa6);
GUID_OF(IID_IMtfPublicationMetaFileReader, 0xe9cdc05e, 0xb36c, 0x4d51, 0x8a, 0x2c, 0x1f, 0x86, 0xe2,
        0x87, 0x4b, 0x90);
GUID_OF(IID_IMtfAddBSessionCmdAccessor, 0x15dd54ff, 0x42f0, 0x4d41, 0xae, 0xc0, 0x65, 0xa7, 0x0c,
        0x47, 0x93, 0x73);
GUID_OF(IID_IOibDFBrowser, 0x31d94af1, 0xb515, 0x42fa, 0xa1, 0x23, 0x7f, 0xba, 0x9a, 0x4b, 0x70,
        0x2d);
GUID_OF(IID_IOibFilesArray, 0xc7c4515e, 0x2e8b, 0x459e, 0xbd, 0xae, 0x75, 0xad, 0xab, 0xc8, 0xb8,
        0xcb);
GUID_OF(IID_IOibTDFSearchTask, 0xc89a1654, 0x26df, 0x4277, 0xb0, 0xee, 0x7d, 0x55, 0x3d, 0x5e, 0x9e,
        0x57);
GUID_OF(IID_IOibBDFSearchTask, 0xe280ed53, 0x259e, 0x4988, 0x8a, 0xf6, 0x08, 0xcd, 0xcf, 0x37, 0xd6,
        0xbf);
GUID_OF(GUID_OibFileInfo, 0x0c7d7e0b, 0x0247, 0x4802, 0xa8, 0x44, 0xcc, 0x2f, 0xbc, 0x4c, 0xcd,
        0x51);

/* ----- Exports, with their usual parameters ----- */

#define FOR_EACH_EXPORT(EXPORT)                                              \
    EXPORT(HRESULT, DllGetClassObject, const GUID*, const GUID*, void**)     \
    EXPORT(HRESULT, DllCanUnloadNow, void)                                   \
    EXPORT(HRESULT, DllRegisterServer, void)                                 \
    EXPORT(HRESULT, DllUnregisterServer, void)                               \
    EXPORT(HRESULT, CreateOibIdxLib, void*, const GUID*, void**)             \
    EXPORT(BSTR, SysAllocString, const char16_t*)                            \
    EXPORT(BSTR, SysAllocStringLen, const char16_t*, uint32_t)               \
    EXPORT(void, SysFreeString, BSTR)                                        \
    EXPORT(uint32_t, SysStringLen, BSTR)                                     \
    EXPORT(uint32_t, SysStringByteLen, BSTR)                                 \
    EXPORT(SAFEARRAY*, SafeArrayCreate, uint16_t, uint32_t, SAFEARRAYBOUND*) \
    EXPORT(SAFEARRAY*, SafeArrayCreateVector, uint16_t, int32_t, uint32_t)   \
    EXPORT(HRESULT, SafeArrayDestroy, SAFEARRAY*)                            \
    EXPORT(uint32_t, SafeArrayGetDim, SAFEARRAY*)                            \
    EXPORT(HRESULT, SafeArrayGetLBound, SAFEARRAY*, uint32_t, int32_t*)      \
    EXPORT(HRESULT, SafeArrayGetUBound, SAFEARRAY*, uint32_t, int32_t*)      \
    EXPORT(HRESULT, SafeArrayGetElement, SAFEARRAY*, int32_t*, void*)        \
    EXPORT(HRESULT, SafeArrayPutElement, SAFEARRAY*, int32_t*, void*)        \
    EXPORT(HRESULT, SafeArrayGetVartype, SAFEARRAY*, uint16_t*)              \
    EXPORT(HRESULT, SafeArrayAccessData, SAFEARRAY*, void**)                 \
    EXPORT(HRESULT, SafeArrayUnaccessData, SAFEARRAY*)                       \
    EXPORT(void, VariantInit, VARIANT*)                                      \
    EXPORT(HRESULT, VariantClear, VARIANT*)                                  \
    EXPORT(HRESULT, CreateErrorInfo, ICreateErrorInfo**)                     \
    EXPORT(HRESULT, GetErrorInfo, uint32_t, IErrorInfo**)                    \
    EXPORT(HRESULT, SetErrorInfo, uint32_t, void*)                           \
    EXPORT(int32_t, SystemTimeToVariantTime, SYSTEMTIME*, double*)           \
    EXPORT(int32_t, VariantTimeToSystemTime, double, SYSTEMTIME*)

#endif
