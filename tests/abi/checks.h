/* What the client is made of: the module's functions, calls by slot, checks that print the line
 * that failed, strings, and the checks that every object passes. Included once. */
#pragma once

#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "abi.h"

#ifdef __clang__
#pragma clang diagnostic ignored "-Wdeprecated-non-prototype"
#endif

#define EXPORT_MEMBER(result, name, ...) result (*name)(__VA_ARGS__);
static struct { FOR_EACH_EXPORT(EXPORT_MEMBER) } api;

static int g_failures;
#define CHECK(condition) Check(condition, #condition, __LINE__)
static bool Check(bool condition, const char* text, int line) {
    if (!condition) {
        printf("line %d: %s\n", line, text);
        ++g_failures;
    }
    return condition;
}

/* Calls a method of the first argument by its slot. Arguments must have the types of the
 * parameters after the default promotions. */
typedef HRESULT (*Method)();
#define CALL(method, ...) (*(Method**)FIRST_OF(__VA_ARGS__, 0))[method](__VA_ARGS__)
#define FIRST_OF(first, ...) (first)
#define OK(...) CHECK(CALL(__VA_ARGS__) == S_OK)

/* ----- Strings ----- */

static BSTR g_temporaries[500];
static size_t g_temporaryCount;

/* A string that exists until FreeTemporaries. */
static BSTR T(const char* text) {
    char16_t wide[1024] = {0};
    for (size_t i = 0; text[i] != 0; ++i) {
        wide[i] = (unsigned char)text[i];
    }
    if (g_temporaryCount == 500) {
        puts("too many temporary strings");
        abort();
    }
    return g_temporaries[g_temporaryCount++] = api.SysAllocString(wide);
}

static void FreeTemporaries(void) {
    while (g_temporaryCount > 0) {
        api.SysFreeString(g_temporaries[--g_temporaryCount]);
    }
}

/* Compares strings, joined by '|', with a text, up to its '*' if it has one. Frees them. */
static bool Take(BSTR* texts, uint32_t count, const char* expected) {
    char found[1024] = {0};
    size_t length = 0;
    for (uint32_t i = 0; i < count; ++i) {
        found[length] = '|';
        length += i > 0;
        for (uint32_t j = 0; j < api.SysStringLen(texts[i]) && length < 1000; ++j) {
            found[length++] = texts[i][j] < 0x80 ? (char)texts[i][j] : '?';
        }
        found[length] = 0;
        api.SysFreeString(texts[i]);
        texts[i] = NULL;
    }
    const char* star = strchr(expected, '*');
    const bool same = strncmp(found, expected, star ? (size_t)(star - expected) : 1024) == 0;
    if (!same) {
        puts(found);
    }
    return same;
}

static bool TakeList(SAFEARRAY* array, int32_t count, const char* expected) {
    uint16_t type = 0;
    int32_t low = -1, high = -9;
    BSTR texts[2] = {NULL, NULL};
    CHECK(api.SafeArrayGetDim(array) == 1 && api.SafeArrayGetVartype(array, &type) == S_OK);
    CHECK(api.SafeArrayGetLBound(array, 1, &low) == S_OK && low == 0 && type == VT_BSTR);
    CHECK(api.SafeArrayGetUBound(array, 1, &high) == S_OK && high == count - 1);
    for (int32_t i = 0; i < count; ++i) {
        CHECK(api.SafeArrayGetElement(array, &i, &texts[i]) == S_OK);
    }
    CHECK(api.SafeArrayDestroy(array) == S_OK);
    return Take(texts, (uint32_t)count, expected);
}

/* ----- Objects ----- */

static GUID ParseGuid(const char* text) {
    GUID id = {0};
    unsigned char* last = id.Data4;
    CHECK(sscanf(text, "%8x-%4hx-%4hx-%2hhx%2hhx-%2hhx%2hhx%2hhx%2hhx%2hhx%2hhx", &id.Data1,
                 &id.Data2, &id.Data3, last, last + 1, last + 2, last + 3, last + 4, last + 5,
                 last + 6, last + 7) == 11);
    return id;
}

#define ID_OF(name, id, first) static const char k##name[] = id;
FOR_EACH_INTERFACE(ID_OF)
#define IID(interface) (&(GUID[]){ParseGuid(k##interface)}[0])

static void Release(void* object) {
    if (object != NULL) {
        CALL(IUnknown_Release, object);
    }
}

/* Checks slots 0 to 6 and ISupportErrorInfo, which every object of the library has. */
#define CHECK_OBJECT(interface, object) CheckObject(IID(interface), object)
static void CheckObject(const GUID* iid, void* object) {
    uint32_t count = 2;
    const GUID* const known[] = {IID(IUnknown), IID(IDispatch), iid};
    void* other = NULL;
    for (size_t i = 0; i < 3; ++i) {
        OK(IUnknown_QueryInterface, object, known[i], &other);
        CHECK(other == object || i == 0);
        Release(other);
    }
    CHECK(CALL(IUnknown_QueryInterface, object, IID(IErrorInfo), &other) == E_NOINTERFACE);
    CHECK(other == NULL);
    const HRESULT references = CALL(IUnknown_AddRef, object);
    CHECK(CALL(IUnknown_Release, object) == references - 1);
    OK(IUnknown_QueryInterface, object, IID(ISupportErrorInfo), &other);
    OK(ISupportErrorInfo_InterfaceSupportsErrorInfo, other, iid);
    CHECK(CALL(ISupportErrorInfo_InterfaceSupportsErrorInfo, other, IID(IDispatch)) == S_FALSE);
    Release(other);
    /* Only a system with type libraries has type information. */
    OK(IDispatch_GetTypeInfoCount, object, &count);
    CHECK(count == 0 && CALL(IDispatch_GetTypeInfo, object, 0, 0, &other) < 0 && other == NULL);
}

/* Calls with one more argument, the result: a new object, which passes CheckObject, or a text, a
 * number or a list of strings, which are compared. */
static void* g_object;
static BSTR g_text;
static int32_t g_number;
static SAFEARRAY* g_list;
#define OPEN(interface, ...) \
    (OK(__VA_ARGS__, &g_object), CHECK_OBJECT(interface, g_object), g_object)
#define TEXT(expected, ...) (OK(__VA_ARGS__, &g_text), CHECK(Take(&g_text, 1, expected)))
#define NUMBER(expected, ...) \
    (g_number = -1, OK(__VA_ARGS__, &g_number), CHECK(g_number == (expected)))
#define LIST(count, expected, ...) \
    (OK(__VA_ARGS__, &g_list), CHECK(TakeList(g_list, count, expected)))

/* Takes the thread's error information: the source and the description, joined. */
static bool ErrorIs(const GUID* iid, const char* texts) {
    void* info = NULL;
    GUID guid = {0};
    BSTR found[2] = {NULL, NULL}, help = NULL;
    uint32_t context = 1;
    if (!CHECK(api.GetErrorInfo(0, &info) == S_OK)) {
        return false;
    }
    OK(IErrorInfo_GetGUID, info, &guid);
    OK(IErrorInfo_GetSource, info, &found[0]);
    OK(IErrorInfo_GetDescription, info, &found[1]);
    OK(IErrorInfo_GetHelpFile, info, &help);
    OK(IErrorInfo_GetHelpContext, info, &context);
    Release(info);
    return Take(found, 2, texts) && memcmp(&guid, iid, 16) == 0 && help == NULL && context == 0;
}
