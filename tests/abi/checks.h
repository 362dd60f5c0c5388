/* What the parts of the client share: the module's functions, calls by slot, checks that print
 * the call that failed, and strings. */
#ifndef ZOREL_TESTS_CHECKS_H
#define ZOREL_TESTS_CHECKS_H

#include <stdbool.h>

#include "abi.h"

#ifdef __clang__
#pragma clang diagnostic ignored "-Wdeprecated-non-prototype"
#endif

#define EXPORT_MEMBER(result, name, ...) result (*name)(__VA_ARGS__);
typedef struct {
    FOR_EACH_EXPORT(EXPORT_MEMBER)
} Api;
extern Api api;

#define NUMBER_OF(name, id, first) k##name,
enum { FOR_EACH_INTERFACE(NUMBER_OF) kInterfaceCount };
/* The identifier of an interface, by its number. */
extern GUID g_iids[kInterfaceCount];
#define IID(interface) (&g_iids[k##interface])
GUID ParseGuid(const char* text);

/* Calls a method of the first argument by its slot and marks the slot as called. Arguments must
 * have the types of the parameters after the default promotions. */
#define CALL(interface, method, ...)                 \
    (MarkCalled(k##interface, interface##_##method), \
     MethodAt(FIRST_OF(__VA_ARGS__, 0), interface##_##method)(__VA_ARGS__))
#define FIRST_OF(first, ...) (first)
typedef HRESULT (*Method)();
Method MethodAt(void* object, int slot);
void MarkCalled(int interface, int slot);
void CheckAllCalled(void);

#define CHECK(condition) Check(condition, #condition, __FILE__, __LINE__)
#define CHECK_OK(call) CHECK((call) == S_OK)
bool Check(bool condition, const char* text, const char* file, int line);
int FailureCount(void);

/* Slots 0 to 6 and ISupportErrorInfo, which every object of the library has. */
void CheckObject(int interface, void* object);
/* Checks and clears the thread's error information; compares the start of its description. */
bool ErrorIs(const GUID* iid, const char16_t* source, const char16_t* description);
void Release(void* object);

/* A string that exists until FreeTemporaries. */
BSTR T(const char16_t* text);
/* `name` in the client's working folder. */
BSTR InFolder(const char* name);
void FreeTemporaries(void);
extern const char* g_folder;

/* Compare a returned string or array and free it. */
bool TakeIs(BSTR* text, const char16_t* expected);
bool TakeListIs(SAFEARRAY** array, uint32_t count, const char16_t* const* expected);

void CheckAutomation(void);
void CheckServer(void);
void CheckSession(void* library);

#endif
