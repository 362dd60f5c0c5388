/* The automation exports and the ways to the library object. */
#include <math.h>
#include <string.h>

#include "checks.h"

static void CheckStrings(void) {
    BSTR text = api.SysAllocStringLen(u"a\0b", 3);
    uint32_t bytes = 0;
    memcpy(&bytes, (const char*)text - sizeof(bytes), sizeof(bytes));
    CHECK(bytes == 6 && api.SysStringByteLen(text) == 6 && api.SysStringLen(text) == 3);
    CHECK(text[2] == u'b' && text[3] == 0);
    api.SysFreeString(text);
}

static void CheckArrays(void) {
    SAFEARRAY* numbers = api.SafeArrayCreate(VT_I4, 1, &(SAFEARRAYBOUND){4, 5});
    int32_t *data = NULL, value = 0, seven = 7;
    CHECK(numbers->cDims == 1 && numbers->cbElements == 4);
    CHECK(numbers->rgsabound[0].cElements == 4 && numbers->rgsabound[0].lLbound == 5);
    CHECK_OK(api.SafeArrayAccessData(numbers, (void**)&data));
    CHECK(data == numbers->pvData && numbers->cLocks == 1);
    CHECK_OK(api.SafeArrayPutElement(numbers, &seven, &(int32_t){42}));
    CHECK(data[2] == 42);
    CHECK_OK(api.SafeArrayUnaccessData(numbers));
    CHECK_OK(api.SafeArrayGetElement(numbers, &seven, &value));
    CHECK(value == 42);
    CHECK_OK(api.SafeArrayDestroy(numbers));

    VARIANT variant;
    memset(&variant, 0xAB, sizeof(variant));
    api.VariantInit(&variant);
    CHECK(variant.vt == VT_EMPTY);
    variant.vt = VT_ARRAY | VT_BSTR;
    variant.value.parray = api.SafeArrayCreateVector(VT_BSTR, 0, 2);
    CHECK_OK(api.SafeArrayPutElement(variant.value.parray, &(int32_t){0}, T(u"x")));
    CHECK_OK(api.VariantClear(&variant));
    CHECK(variant.vt == VT_EMPTY);
}

static void CheckErrorObjects(void) {
    void *created = NULL, *info = NULL;
    CHECK_OK(api.CreateErrorInfo(&created));
    CHECK_OK(CALL(ICreateErrorInfo, SetGUID, created, IID(IOibDFBrowser)));
    CHECK_OK(CALL(ICreateErrorInfo, SetSource, created, u"source"));
    CHECK_OK(CALL(ICreateErrorInfo, SetDescription, created, u"description"));
    CHECK_OK(CALL(ICreateErrorInfo, SetHelpFile, created, u"help"));
    CHECK_OK(CALL(ICreateErrorInfo, SetHelpContext, created, 17));
    CHECK_OK(CALL(IUnknown, QueryInterface, created, IID(IErrorInfo), &info));
    BSTR help = NULL;
    uint32_t context = 0;
    CHECK_OK(CALL(IErrorInfo, GetHelpFile, info, &help));
    CHECK_OK(CALL(IErrorInfo, GetHelpContext, info, &context));
    CHECK(TakeIs(&help, u"help") && context == 17);
    CHECK_OK(CALL(ICreateErrorInfo, SetHelpFile, created, NULL));
    CHECK_OK(CALL(ICreateErrorInfo, SetHelpContext, created, 0));
    CHECK_OK(api.SetErrorInfo(0, info));
    Release(info);
    Release(created);
    CHECK(ErrorIs(IID(IOibDFBrowser), u"source", u"description"));
    CHECK(api.GetErrorInfo(0, &info) == S_FALSE);
}

static void CheckDates(void) {
    SYSTEMTIME time = {2013, 1, 0, 15, 9, 5, 7, 250}, back;
    double date = 0;
    CHECK(api.SystemTimeToVariantTime(&time, &date) != 0 && fabs(date - 41289.37855324) < 1e-8);
    CHECK(api.VariantTimeToSystemTime(date, &back) != 0);
    CHECK(back.wYear == 2013 && back.wMonth == 1 && back.wDay == 15 && back.wDayOfWeek == 2);
    CHECK(back.wHour == 9 && back.wMinute == 5 && back.wSecond == 7 && back.wMilliseconds == 0);
}

void CheckAutomation(void) {
    CheckStrings();
    CheckArrays();
    CheckErrorObjects();
    CheckDates();
}

void CheckServer(void) {
    const GUID clsid = ParseGuid(CLASS_COibIdxLib);
    void *factory = NULL, *library = &factory;
    CHECK(api.DllGetClassObject(IID(IOibIdxLib), IID(IClassFactory), &library) ==
          CLASS_E_CLASSNOTAVAILABLE);
    CHECK(library == NULL);
    CHECK_OK(api.DllGetClassObject(&clsid, IID(IClassFactory), &factory));
    CHECK_OK(api.DllCanUnloadNow());
    CHECK_OK(CALL(IClassFactory, LockServer, factory, 1));
    CHECK(api.DllCanUnloadNow() == S_FALSE);
    CHECK_OK(CALL(IClassFactory, LockServer, factory, 0));
    CHECK_OK(CALL(IClassFactory, CreateInstance, factory, NULL, IID(IOibIdxLib), &library));
    CHECK(api.DllCanUnloadNow() == S_FALSE);
    CheckObject(kIOibIdxLib, library);
    Release(library);
    CHECK_OK(api.DllCanUnloadNow());
    Release(factory);
    CHECK(api.DllRegisterServer() == E_NOTIMPL && api.DllUnregisterServer() == E_NOTIMPL);
    CHECK(ErrorIs(&clsid, NULL, u"COM error"));
}
