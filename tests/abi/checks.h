/* What the parts of the client share: the module's functions, checks that print what went
 * wrong, strings, and the account of the slots that were called. */
#ifndef ZOREL_TESTS_CHECKS_H
#define ZOREL_TESTS_CHECKS_H

#include <stdbool.h>

#include "abi.h"

#define EXPORT_MEMBER(result, name, ...) result (*name)(__VA_ARGS__);
typedef struct {
    FOR_EACH_EXPORT(EXPORT_MEMBER)
} Api;
extern Api api;

/* ----- Checks ----- */

#define CHECK(condition) Check(condition, #condition, __FILE__, __LINE__)
#define CHECK_HR(call, expected) CheckHr(call, expected, #call, __FILE__, __LINE__)
/* A call that reports an error: its result and the start of its description. */
#define CHECK_ERROR(call, expected, iid, description) \
    (CHECK_HR(call, expected), CheckErrorInfo(iid, description, #call, __FILE__, __LINE__))
/* A call that is refused for a null pointer: no error information. */
#define CHECK_REFUSED(call) CheckRefused(call, #call, __FILE__, __LINE__)

bool Check(bool condition, const char* text, const char* file, int line);
bool CheckHr(HRESULT hr, HRESULT expected, const char* text, const char* file, int line);
void CheckErrorInfo(const GUID* iid, const char16_t* description, const char* text,
                    const char* file, int line);
void CheckRefused(HRESULT hr, const char* text, const char* file, int line);
int FailureCount(void);

/* ----- Strings and arrays ----- */

/* A string that lives until FreeTemporaries. */
BSTR T(const char16_t* text);
/* `name` in the client's working folder. */
BSTR InFolder(const char* name);
/* The same as 8-bit text; overwritten by the next call. */
const char* InFolder8(const char* name);
void FreeTemporaries(void);
extern const char* g_folder;

bool Is(BSTR text, const char16_t* expected);
/* Compares a string handed out by the module and frees it. */
bool TakenIs(BSTR* text, const char16_t* expected);
/* Compares an array of strings in order and destroys it. */
bool TakenListIs(SAFEARRAY** array, uint32_t count, const char16_t* const* expected);
/* Writes a meta-file or the like: UTF-16 with its mark, lines as in `text`. */
void WriteTextFile(const char* name, const char16_t* text);

/* ----- Slots ----- */

enum { kFirstOwnSlot = 7, kMaxMethods = 16 };

typedef struct {
    const char* name;
    const GUID* iid;
    const GUID* errorIid;             /* what its error information names */
    int32_t derivedFrom;              /* methods at the front that a base interface numbers */
    const char* methods[kMaxMethods]; /* dispatch names in slot order, then null */
    uint32_t called;                  /* a bit for each slot */
} Interface;

#define FOR_EACH_INTERFACE(NAME)        \
    NAME(IOibIdxLib)                    \
    NAME(IMtfMetaFile)                  \
    NAME(IMtfAttrsTree)                 \
    NAME(IMtfBSessionMetaFile)          \
    NAME(ICatOibRefsEnumerator)         \
    NAME(IMtfPublicationOrderingInfo)   \
    NAME(IMtfPublicationMetaFileReader) \
    NAME(IMtfAddBSessionCmdAccessor)    \
    NAME(IOibDFBrowser)                 \
    NAME(IOibFilesArray)                \
    NAME(IOibTDFSearchTask)             \
    NAME(IOibBDFSearchTask)
#define DECLARE_INTERFACE(name) extern Interface k##name;
FOR_EACH_INTERFACE(DECLARE_INTERFACE)

/* The method `method` of `object`, to be called; it is marked as called. */
#define SLOT(interface, object, method)                                                        \
    (MarkCalled(&k##interface, (uint32_t)(offsetof(interface##Vtbl, method) / sizeof(void*))), \
     (object)->vtbl->method)
void MarkCalled(Interface* interface, uint32_t slot);

/* Everything that all objects of the library have in common: slots 0 to 6 and the support
 * of error information. */
void CheckObject(Interface* interface, void* object);
/* The dispatch identifier of a method, by its name. */
int32_t IdOf(void* object, const char* name);
/* Every slot of every interface was called. */
void CheckAllCalled(void);

void Release(void* object);

/* ----- The parts ----- */

void CheckAutomation(void);
void CheckServer(void);
void CheckLibrary(IOibIdxLib* library);
void CheckBrowser(IOibIdxLib* library, BSTR catalogue);
void CheckLateBound(IOibIdxLib* library, BSTR catalogue);
void CheckMetaFiles(IOibIdxLib* library);
void CheckBackupSessions(IOibIdxLib* library);
void CheckPublications(IOibIdxLib* library);
void CheckTextSearch(IOibIdxLib* library);
void CheckBinarySearch(IOibIdxLib* library);

#endif
