#include "checks.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

Api api;
const char* g_folder;
static int g_failures;

/* ----- Checks ----- */

bool Check(bool condition, const char* text, const char* file, int line) {
    if (!condition) {
        printf("%s:%d: %s\n", file, line, text);
        ++g_failures;
    }
    return condition;
}

int FailureCount(void) {
    return g_failures;
}

bool CheckHr(HRESULT hr, HRESULT expected, const char* text, const char* file, int line) {
    if (hr != expected) {
        printf("%s:%d: 0x%08x instead of 0x%08x from %s\n", file, line, (unsigned)hr,
               (unsigned)expected, text);
        ++g_failures;
    }
    return hr == expected;
}

static bool StartsWith(BSTR text, const char16_t* expected) {
    uint32_t length = 0;
    while (expected[length] != 0) {
        ++length;
    }
    return text != NULL && api.SysStringLen(text) >= length &&
           memcmp(text, expected, length * sizeof(*expected)) == 0;
}

static void PrintText(const char* label, BSTR text) {
    printf("    %s: ", label);
    for (uint32_t i = 0; i < api.SysStringLen(text); ++i) {
        putchar(text[i] < 0x80 ? (char)text[i] : '?');
    }
    putchar('\n');
}

void CheckErrorInfo(const GUID* iid, const char16_t* description, const char* text,
                    const char* file, int line) {
    IErrorInfo* info = NULL;
    if (!Check(api.GetErrorInfo(0, &info) == S_OK, text, file, line)) {
        puts("    no error information");
        return;
    }
    GUID guid;
    BSTR source = NULL, message = NULL, help = NULL;
    uint32_t context = 1;
    CHECK_HR(info->vtbl->GetGUID(info, &guid), S_OK);
    CHECK_HR(info->vtbl->GetSource(info, &source), S_OK);
    CHECK_HR(info->vtbl->GetDescription(info, &message), S_OK);
    CHECK_HR(info->vtbl->GetHelpFile(info, &help), S_OK);
    CHECK_HR(info->vtbl->GetHelpContext(info, &context), S_OK);
    Check(memcmp(&guid, iid, sizeof(guid)) == 0, "the error's interface", file, line);
    const bool named = memcmp(iid, &IID_IOibIdxLib, sizeof(*iid)) == 0;
    Check(named ? Is(source, u"ZorelOibIdxLib.COibIdxLib.5") : source == NULL, "the error's source",
          file, line);
    if (!Check(StartsWith(message, description), text, file, line)) {
        PrintText("description", message);
    }
    CHECK(help == NULL && context == 0);
    api.SysFreeString(source);
    api.SysFreeString(message);
    Release(info);
}

static bool HasNoErrorInfo(void) {
    IErrorInfo* info = (IErrorInfo*)&g_failures;
    return api.GetErrorInfo(0, &info) == S_FALSE && info == NULL;
}

void CheckRefused(HRESULT hr, const char* text, const char* file, int line) {
    CheckHr(hr, E_INVALIDARG, text, file, line);
    Check(HasNoErrorInfo(), "no error information after a null argument", file, line);
}

/* ----- Strings and arrays ----- */

enum { kMaxTemporaries = 400, kMaxPath = 4096 };
static BSTR g_temporaries[kMaxTemporaries];
static size_t g_temporaryCount;

BSTR T(const char16_t* text) {
    BSTR copy = api.SysAllocString(text);
    if (copy == NULL || g_temporaryCount == kMaxTemporaries) {
        puts("too many temporary strings");
        abort();
    }
    g_temporaries[g_temporaryCount++] = copy;
    return copy;
}

void FreeTemporaries(void) {
    while (g_temporaryCount > 0) {
        api.SysFreeString(g_temporaries[--g_temporaryCount]);
    }
}

const char* InFolder8(const char* name) {
    static char path[kMaxPath];
    if ((size_t)snprintf(path, sizeof(path), "%s/%s", g_folder, name) >= sizeof(path)) {
        puts("the working folder's path is too long");
        abort();
    }
    return path;
}

BSTR InFolder(const char* name) {
    static char16_t wide[kMaxPath];
    const char* path = InFolder8(name);
    size_t i = 0;
    for (; path[i] != 0; ++i) {
        wide[i] = (unsigned char)path[i];
    }
    wide[i] = 0;
    return T(wide);
}

bool Is(BSTR text, const char16_t* expected) {
    return StartsWith(text, expected) && expected[api.SysStringLen(text)] == 0;
}

bool TakenIs(BSTR* text, const char16_t* expected) {
    const bool same = Is(*text, expected);
    if (!same) {
        PrintText(*text == NULL ? "null text" : "text", *text);
    }
    api.SysFreeString(*text);
    *text = NULL;
    return same;
}

bool TakenListIs(SAFEARRAY** array, uint32_t count, const char16_t* const* expected) {
    uint16_t type = 0;
    int32_t low = -1, high = -9;
    bool same = *array != NULL && api.SafeArrayGetDim(*array) == 1 &&
                api.SafeArrayGetVartype(*array, &type) == S_OK && type == VT_BSTR &&
                api.SafeArrayGetLBound(*array, 1, &low) == S_OK && low == 0 &&
                api.SafeArrayGetUBound(*array, 1, &high) == S_OK && high == (int32_t)count - 1;
    for (int32_t i = 0; *array != NULL && i <= high; ++i) {
        BSTR text = NULL;
        same = api.SafeArrayGetElement(*array, &i, &text) == S_OK && same;
        same = same && TakenIs(&text, expected[i]);
        api.SysFreeString(text);
    }
    CHECK_HR(api.SafeArrayDestroy(*array), S_OK);
    *array = NULL;
    return same;
}

void WriteTextFile(const char* name, const char16_t* text) {
    FILE* file = fopen(InFolder8(name), "wb");
    if (!CHECK(file != NULL)) {
        return;
    }
    const char16_t mark = 0xFEFF;
    size_t length = 0;
    while (text[length] != 0) {
        ++length;
    }
    CHECK(fwrite(&mark, sizeof(mark), 1, file) == 1);
    CHECK(fwrite(text, sizeof(*text), length, file) == length);
    CHECK(fclose(file) == 0);
}

void Release(void* object) {
    if (object != NULL) {
        ((IUnknown*)object)->vtbl->Release(object);
    }
}

/* ----- Slots ----- */

#define LIBRARY_METHODS                                                                     \
    "InitLogging", "CreateMetaFile", "IsMetaFileExists", "GenerateOibTDFs", "FindInOibTDF", \
        "ParseOibTDFName", "ConvetrPathToCrcStr", "FindInOibTDF2", "BrowseOibDF",           \
        "IsWildcardMatch", "FindInOibBDF", "CreateBSessionMetaFile",                        \
        "LoadPublicationOrderingInfo", "LoadPublication"
#define SELF(name) #name, &IID_##name, &IID_##name
#define AS_SEARCH_TASK(name) #name, &IID_##name, &IID_IOibTDFSearchTask

Interface kIOibIdxLib = {SELF(IOibIdxLib), 0, {LIBRARY_METHODS}, 0};
Interface kIMtfMetaFile = {
    SELF(IMtfMetaFile),
    0,
    {"GetRootAttrsTree", "CreateAttrsTree", "FindAttrsTree", "GetExistingAttrsTree", "DelAttrsTree",
     "SetAttr", "FindAttr", "GetExistingAttr", "DelAttr", "EnumAllAttrs", "PushComment",
     "FlushChanges", "Close"},
    0};
Interface kIMtfAttrsTree = {
    SELF(IMtfAttrsTree),
    0,
    {"EnumChildTrees", "CreateSubtree", "FindSubtree", "GetExistingSubtree", "DelSubtree",
     "EnumChildAttrs", "DelAttr", "SetAttr", "FindAttr", "GetExistingAttr"},
    0};
Interface kIMtfBSessionMetaFile = {
    SELF(IMtfBSessionMetaFile), 0, {"DeleteOibRef", "EnumOibsRefs", "FlushChanges", "Close"}, 0};
Interface kICatOibRefsEnumerator = {
    SELF(ICatOibRefsEnumerator),
    0,
    {"RefsCount", "MoveToElem", "VmName", "BackupTimeUtc", "UniqueId", "GetOibRef"},
    0};
Interface kIMtfPublicationOrderingInfo = {
    SELF(IMtfPublicationOrderingInfo), 0, {"PubLocalTime", "PubUtcTime"}, 0};
Interface kIMtfPublicationMetaFileReader = {
    SELF(IMtfPublicationMetaFileReader),
    0,
    {"OrderingInfo", "CmdCount", "GetCmdType", "AddBSessionCmdAccessor", "MetaFile"},
    0};
Interface kIMtfAddBSessionCmdAccessor = {
    SELF(IMtfAddBSessionCmdAccessor),
    0,
    {"GetRetargetedOibGroupsNum", "GetOibsNumInRetargetedOibGroup",
     "GetBackupFilesNumInRetargetedOibGroup", "GetOibRef", "GetBackupFile", "GetBSessionInfo"},
    0};
Interface kIOibDFBrowser = {
    AS_SEARCH_TASK(IOibDFBrowser), 0, {"GetFolders", "GetFiles", "Close", "GetFilesEx"}, 0};
Interface kIOibFilesArray = {
    AS_SEARCH_TASK(IOibFilesArray), 0, {"GetFileInfo", "FilesCount", "TotalSize"}, 0};
Interface kIOibTDFSearchTask = {SELF(IOibTDFSearchTask), 0, {"GetResult", "ResultsCount"}, 0};
Interface kIOibBDFSearchTask = {
    AS_SEARCH_TASK(IOibBDFSearchTask), 2, {"GetResult", "ResultsCount", "Find"}, 0};

void MarkCalled(Interface* interface, uint32_t slot) {
    interface->called |= 1U << slot;
}

static HRESULT GetId(void* object, const char* name, int32_t* id) {
    char16_t wide[64];
    size_t length = 0;
    for (; name[length] != 0 && length < 63; ++length) {
        wide[length] = (unsigned char)name[length];
    }
    wide[length] = 0;
    char16_t* names[] = {wide};
    return ((IDispatch*)object)->vtbl->GetIDsOfNames(object, &IID_NULL, names, 1, 0, id);
}

int32_t IdOf(void* object, const char* name) {
    int32_t id = 0;
    CHECK_HR(GetId(object, name, &id), S_OK);
    return id;
}

static void CheckIdentity(const Interface* interface, IDispatch* object) {
    static const GUID kNobody = {1, 2, 3, {4}};
    const GUID* const known[] = {&IID_IDispatch, interface->iid};
    void *identity = NULL, *same = NULL;
    CHECK_HR(object->vtbl->QueryInterface(object, &IID_IUnknown, &identity), S_OK);
    for (size_t i = 0; i < sizeof(known) / sizeof(*known); ++i) {
        CHECK_HR(((IUnknown*)identity)->vtbl->QueryInterface(identity, known[i], &same), S_OK);
        CHECK(same == object);
        Release(same);
        CHECK_HR(object->vtbl->QueryInterface(object, known[i], &same), S_OK);
        CHECK(same == object);
        Release(same);
    }
    Release(identity);
    void* other = object;
    CHECK_HR(object->vtbl->QueryInterface(object, &kNobody, &other), E_NOINTERFACE);
    CHECK(other == NULL);
    CHECK_HR(object->vtbl->QueryInterface(object, interface->iid, NULL), E_POINTER);
    const uint32_t references = object->vtbl->AddRef(object);
    CHECK(object->vtbl->Release(object) == references - 1);

    ISupportErrorInfo* errors = NULL;
    if (CHECK_HR(object->vtbl->QueryInterface(object, &IID_ISupportErrorInfo, (void**)&errors),
                 S_OK)) {
        CHECK_HR(errors->vtbl->InterfaceSupportsErrorInfo(errors, interface->iid), S_OK);
        CHECK_HR(errors->vtbl->InterfaceSupportsErrorInfo(errors, &IID_IDispatch), S_FALSE);
        void* back = NULL;
        CHECK_HR(errors->vtbl->QueryInterface(errors, interface->iid, &back), S_OK);
        CHECK(back == object);
        Release(back);
        Release(errors);
    }
}

static void CheckDispatch(const Interface* interface, IDispatch* object) {
    for (int32_t i = 0; i < kMaxMethods && interface->methods[i] != NULL; ++i) {
        const bool derived = interface->derivedFrom > 0 && i >= interface->derivedFrom;
        const int32_t expected = derived ? 0x60030000 + i - interface->derivedFrom : 0x60020000 + i;
        if (!CHECK(IdOf(object, interface->methods[i]) == expected)) {
            printf("    %s.%s\n", interface->name, interface->methods[i]);
        }
    }
    int32_t id = 0;
    CHECK_HR(GetId(object, "NoSuchMethod", &id), DISP_E_UNKNOWNNAME);
    CHECK(id == -1);

    DISPPARAMS none = {NULL, NULL, 0, 0};
    VARIANT result;
    api.VariantInit(&result);
    CHECK_HR(object->vtbl->Invoke(object, 0x60020063, &IID_NULL, 0, DISPATCH_METHOD, &none, &result,
                                  NULL, NULL),
             DISP_E_MEMBERNOTFOUND);
    /* The type description is the type library's, which not every system has. */
    uint32_t count = 2;
    void* description = object;
    CHECK_HR(object->vtbl->GetTypeInfoCount(object, &count), S_OK);
    const HRESULT described = object->vtbl->GetTypeInfo(object, 0, 0, &description);
    CHECK(count == 1 ? described == S_OK && description != NULL
                     : count == 0 && described < 0 && description == NULL);
    Release(description);
}

void CheckObject(Interface* interface, void* object) {
    if (!CHECK(object != NULL)) {
        return;
    }
    CheckIdentity(interface, object);
    CheckDispatch(interface, object);
    for (uint32_t slot = 0; slot < kFirstOwnSlot; ++slot) {
        MarkCalled(interface, slot);
    }
}

void CheckAllCalled(void) {
#define TAKE_INTERFACE(name) &k##name,
    Interface* const all[] = {FOR_EACH_INTERFACE(TAKE_INTERFACE)};
    for (size_t i = 0; i < sizeof(all) / sizeof(*all); ++i) {
        uint32_t slots = kFirstOwnSlot;
        for (; all[i]->methods[slots - kFirstOwnSlot] != NULL; ++slots) {
        }
        if (!CHECK(all[i]->called == (1U << slots) - 1)) {
            printf("    %s: called slots 0x%x of %u\n", all[i]->name, all[i]->called, slots);
        }
    }
}
