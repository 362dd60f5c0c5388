#include "checks.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

Api api;
GUID g_iids[kInterfaceCount];
const char* g_folder;
static int g_failures;

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

GUID ParseGuid(const char* text) {
    GUID guid = {0};
    unsigned first = 0;
    CHECK(sscanf(text, "%8x-%4hx-%4hx-%2hhx%2hhx-%2hhx%2hhx%2hhx%2hhx%2hhx%2hhx", &first,
                 &guid.Data2, &guid.Data3, guid.Data4, guid.Data4 + 1, guid.Data4 + 2,
                 guid.Data4 + 3, guid.Data4 + 4, guid.Data4 + 5, guid.Data4 + 6,
                 guid.Data4 + 7) == 11);
    guid.Data1 = first;
    return guid;
}

/* ----- Objects ----- */

static uint32_t g_called[kInterfaceCount]; /* a bit for each slot */

Method MethodAt(void* object, int slot) {
    return (*(Method**)object)[slot];
}

void MarkCalled(int interface, int slot) {
    g_called[interface] |= 1U << slot;
}

#define NAME_OF_METHOD(interface, method) #method,
#define DESCRIPTION_OF(name, id, first) {#name, name##_end, {OF_##name(NAME_OF_METHOD, name)}},
static const struct {
    const char* name;
    int end; /* the number of slots */
    const char* methods[15];
} kInterfaces[] = {FOR_EACH_INTERFACE(DESCRIPTION_OF)};

void CheckAllCalled(void) {
    for (int i = 0; i <= kIOibBDFSearchTask; ++i) {
        if (!CHECK(g_called[i] == (1U << kInterfaces[i].end) - (1U << FIRST_OWN_SLOT))) {
            printf("    %s: called slots 0x%x\n", kInterfaces[i].name, g_called[i]);
        }
    }
}

void Release(void* object) {
    if (object != NULL) {
        CALL(IUnknown, Release, object);
    }
}

static int32_t IdOf(void* object, const char* name) {
    char16_t wide[64] = {0};
    char16_t* names[] = {wide};
    int32_t id = 0;
    for (size_t i = 0; name[i] != 0 && i < 63; ++i) {
        wide[i] = (unsigned char)name[i];
    }
    CHECK_OK(CALL(IDispatch, GetIDsOfNames, object, &(GUID){0}, names, 1, 0, &id));
    return id;
}

static void CheckIds(int interface, void* object) {
    for (int i = 0; i < kInterfaces[interface].end - FIRST_OWN_SLOT; ++i) {
        const int32_t inherited = interface == kIOibBDFSearchTask ? 2 : 0;
        const bool own = inherited > 0 && i >= inherited;
        const int32_t expected = own ? 0x60030000 + i - inherited : 0x60020000 + i;
        if (!CHECK(IdOf(object, kInterfaces[interface].methods[i]) == expected)) {
            printf("    %s.%s\n", kInterfaces[interface].name, kInterfaces[interface].methods[i]);
        }
    }
    /* Only a system with type libraries has type information. */
    uint32_t count = 2;
    void* information = object;
    CHECK_OK(CALL(IDispatch, GetTypeInfoCount, object, &count));
    CHECK(count == 0 && CALL(IDispatch, GetTypeInfo, object, 0, 0, &information) < 0);
    CHECK(information == NULL);
}

void CheckObject(int interface, void* object) {
    const GUID* const known[] = {IID(IUnknown), IID(IDispatch), &g_iids[interface]};
    for (size_t i = 0; i < 3; ++i) {
        void* same = NULL;
        CHECK_OK(CALL(IUnknown, QueryInterface, object, known[i], &same));
        CHECK(same == object || i == 0);
        Release(same);
    }
    void* other = object;
    CHECK(CALL(IUnknown, QueryInterface, object, IID(IErrorInfo), &other) == E_NOINTERFACE);
    CHECK(other == NULL);
    const HRESULT references = CALL(IUnknown, AddRef, object);
    CHECK(CALL(IUnknown, Release, object) == references - 1);
    CHECK_OK(CALL(IUnknown, QueryInterface, object, IID(ISupportErrorInfo), &other));
    CHECK_OK(CALL(ISupportErrorInfo, InterfaceSupportsErrorInfo, other, &g_iids[interface]));
    CHECK(CALL(ISupportErrorInfo, InterfaceSupportsErrorInfo, other, IID(IDispatch)) == S_FALSE);
    Release(other);
    CheckIds(interface, object);
}

bool ErrorIs(const GUID* iid, const char16_t* source, const char16_t* description) {
    void* info = NULL;
    GUID guid = {0};
    BSTR sourceFound = NULL, found = NULL, help = NULL;
    uint32_t context = 1;
    if (api.GetErrorInfo(0, &info) != S_OK) {
        return false;
    }
    CHECK_OK(CALL(IErrorInfo, GetGUID, info, &guid));
    CHECK_OK(CALL(IErrorInfo, GetSource, info, &sourceFound));
    CHECK_OK(CALL(IErrorInfo, GetDescription, info, &found));
    CHECK_OK(CALL(IErrorInfo, GetHelpFile, info, &help));
    CHECK_OK(CALL(IErrorInfo, GetHelpContext, info, &context));
    Release(info);
    size_t length = 0;
    while (description[length] != 0) {
        ++length;
    }
    BSTR start =
        api.SysStringLen(found) < length ? NULL : api.SysAllocStringLen(found, (uint32_t)length);
    api.SysFreeString(found);
    const bool same = TakeIs(&start, description) && memcmp(&guid, iid, sizeof(guid)) == 0;
    return TakeIs(&sourceFound, source) && same && help == NULL && context == 0;
}

/* ----- Strings and arrays ----- */

static BSTR g_temporaries[200];
static size_t g_temporaryCount;

BSTR T(const char16_t* text) {
    BSTR copy = api.SysAllocString(text);
    if (copy == NULL || g_temporaryCount == 200) {
        puts("too many temporary strings");
        abort();
    }
    return g_temporaries[g_temporaryCount++] = copy;
}

void FreeTemporaries(void) {
    while (g_temporaryCount > 0) {
        api.SysFreeString(g_temporaries[--g_temporaryCount]);
    }
}

BSTR InFolder(const char* name) {
    char path[1024];
    char16_t wide[1024] = {0};
    const int length = snprintf(path, sizeof(path), "%s/%s", g_folder, name);
    CHECK(length > 0 && (size_t)length < sizeof(path));
    for (size_t i = 0; path[i] != 0; ++i) {
        wide[i] = (unsigned char)path[i];
    }
    return T(wide);
}

bool TakeIs(BSTR* text, const char16_t* expected) {
    BSTR wanted = api.SysAllocString(expected);
    const uint32_t bytes = api.SysStringByteLen(wanted);
    const bool same = api.SysStringByteLen(*text) == bytes && !*text == !wanted &&
                      (bytes == 0 || memcmp(*text, wanted, bytes) == 0);
    for (uint32_t i = 0; !same && i < api.SysStringLen(*text); ++i) {
        printf("%c%s", (*text)[i] < 0x80 ? (char)(*text)[i] : '?',
               i + 1 == api.SysStringLen(*text) ? "\n" : "");
    }
    api.SysFreeString(wanted);
    api.SysFreeString(*text);
    *text = NULL;
    return same;
}

bool TakeListIs(SAFEARRAY** array, uint32_t count, const char16_t* const* expected) {
    uint16_t type = 0;
    int32_t low = -1, high = -9;
    bool same = api.SafeArrayGetDim(*array) == 1 &&
                api.SafeArrayGetVartype(*array, &type) == S_OK && type == VT_BSTR &&
                api.SafeArrayGetLBound(*array, 1, &low) == S_OK && low == 0 &&
                api.SafeArrayGetUBound(*array, 1, &high) == S_OK && high == (int32_t)count - 1;
    for (int32_t i = 0; same && i <= high; ++i) {
        BSTR text = NULL;
        same = api.SafeArrayGetElement(*array, &i, &text) == S_OK && TakeIs(&text, expected[i]);
    }
    CHECK_OK(api.SafeArrayDestroy(*array));
    *array = NULL;
    return same;
}
