/* The automation exports: strings, arrays, variants, error information, dates. */
#include <math.h>
#include <string.h>

#include "checks.h"

static void CheckStrings(void) {
    BSTR text = api.SysAllocString(u"Zażółć");
    uint32_t bytes = 0;
    memcpy(&bytes, (const char*)text - sizeof(bytes), sizeof(bytes));
    CHECK(bytes == 12 && api.SysStringByteLen(text) == 12 && api.SysStringLen(text) == 6);
    CHECK(text[6] == 0);
    api.SysFreeString(text);

    BSTR withNul = api.SysAllocStringLen(u"a\0b", 3);
    CHECK(api.SysStringLen(withNul) == 3 && withNul[2] == u'b' && withNul[3] == 0);
    api.SysFreeString(withNul);
    BSTR empty = api.SysAllocString(u"");
    CHECK(empty != NULL && api.SysStringLen(empty) == 0);
    api.SysFreeString(empty);
    CHECK(api.SysAllocString(NULL) == NULL && api.SysStringLen(NULL) == 0);
    CHECK(api.SysStringByteLen(NULL) == 0);
    api.SysFreeString(NULL);
}

static void CheckArrays(void) {
    SAFEARRAYBOUND bound = {3, -1};
    SAFEARRAY* strings = api.SafeArrayCreate(VT_BSTR, 1, &bound);
    int32_t low = 0, high = 0, index = 0, outside = 2;
    uint16_t type = 0;
    CHECK(strings != NULL && api.SafeArrayGetDim(strings) == 1);
    CHECK_HR(api.SafeArrayGetVartype(strings, &type), S_OK);
    CHECK_HR(api.SafeArrayGetLBound(strings, 1, &low), S_OK);
    CHECK_HR(api.SafeArrayGetUBound(strings, 1, &high), S_OK);
    CHECK(type == VT_BSTR && low == -1 && high == 1);
    BSTR read = NULL;
    CHECK_HR(api.SafeArrayPutElement(strings, &index, T(u"middle")), S_OK);
    CHECK_HR(api.SafeArrayGetElement(strings, &index, &read), S_OK);
    CHECK(TakenIs(&read, u"middle"));
    CHECK(api.SafeArrayGetElement(strings, &outside, &read) < 0 && read == NULL);
    CHECK_HR(api.SafeArrayDestroy(strings), S_OK);

    SAFEARRAY* numbers = api.SafeArrayCreateVector(VT_I4, 5, 4);
    int32_t* data = NULL;
    int32_t value = 0, seven = 7;
    CHECK_HR(api.SafeArrayAccessData(numbers, (void**)&data), S_OK);
    CHECK(data[0] == 0 && data[3] == 0);
    data[2] = 42;
    CHECK(api.SafeArrayDestroy(numbers) < 0); /* locked */
    CHECK_HR(api.SafeArrayUnaccessData(numbers), S_OK);
    CHECK_HR(api.SafeArrayGetElement(numbers, &seven, &value), S_OK);
    CHECK(value == 42);
    CHECK_HR(api.SafeArrayDestroy(numbers), S_OK);
}

static void CheckVariants(void) {
    VARIANT variant;
    memset(&variant, 0xAB, sizeof(variant));
    api.VariantInit(&variant);
    CHECK(variant.vt == VT_EMPTY);
    variant.vt = VT_BSTR;
    variant.value.bstrVal = api.SysAllocString(u"freed by the module");
    CHECK_HR(api.VariantClear(&variant), S_OK);
    CHECK(variant.vt == VT_EMPTY);
    variant.vt = VT_ARRAY | VT_BSTR;
    variant.value.parray = api.SafeArrayCreateVector(VT_BSTR, 0, 2);
    int32_t first = 0;
    CHECK_HR(api.SafeArrayPutElement(variant.value.parray, &first, T(u"x")), S_OK);
    CHECK_HR(api.VariantClear(&variant), S_OK);
    CHECK(variant.vt == VT_EMPTY);
}

static void CheckErrorObjects(void) {
    ICreateErrorInfo* created = NULL;
    IErrorInfo* info = NULL;
    if (!CHECK_HR(api.CreateErrorInfo(&created), S_OK)) {
        return;
    }
    CHECK_HR(created->vtbl->SetGUID(created, &IID_IOibDFBrowser), S_OK);
    CHECK_HR(created->vtbl->SetSource(created, u"source"), S_OK);
    CHECK_HR(created->vtbl->SetDescription(created, u"description"), S_OK);
    CHECK_HR(created->vtbl->SetHelpFile(created, u"help"), S_OK);
    CHECK_HR(created->vtbl->SetHelpContext(created, 17), S_OK);
    CHECK_HR(created->vtbl->QueryInterface(created, &IID_IErrorInfo, (void**)&info), S_OK);
    CHECK_HR(api.SetErrorInfo(0, info), S_OK);
    Release(info);
    Release(created);

    GUID guid;
    BSTR source = NULL, description = NULL, help = NULL;
    uint32_t context = 0;
    info = NULL;
    CHECK_HR(api.GetErrorInfo(0, &info), S_OK);
    CHECK_HR(info->vtbl->GetGUID(info, &guid), S_OK);
    CHECK_HR(info->vtbl->GetSource(info, &source), S_OK);
    CHECK_HR(info->vtbl->GetDescription(info, &description), S_OK);
    CHECK_HR(info->vtbl->GetHelpFile(info, &help), S_OK);
    CHECK_HR(info->vtbl->GetHelpContext(info, &context), S_OK);
    CHECK(memcmp(&guid, &IID_IOibDFBrowser, sizeof(guid)) == 0 && context == 17);
    CHECK(TakenIs(&source, u"source") && TakenIs(&description, u"description"));
    CHECK(TakenIs(&help, u"help"));
    Release(info);
    info = NULL;
    CHECK_HR(api.GetErrorInfo(0, &info), S_FALSE); /* taken once is taken */
    CHECK_HR(api.SetErrorInfo(0, NULL), S_OK);
}

static void CheckDates(void) {
    SYSTEMTIME time = {2013, 1, 0, 15, 9, 5, 7, 250}, back;
    const SYSTEMTIME month13 = {2013, 13, 0, 1, 0, 0, 0, 0};
    SYSTEMTIME wrong = month13;
    double date = 0;
    CHECK(api.SystemTimeToVariantTime(&time, &date) != 0);
    CHECK(fabs(date - 41289.37855324074) < 1e-10);
    CHECK(api.VariantTimeToSystemTime(date, &back) != 0);
    CHECK(back.wYear == 2013 && back.wMonth == 1 && back.wDay == 15 && back.wDayOfWeek == 2);
    CHECK(back.wHour == 9 && back.wMinute == 5 && back.wSecond == 7 && back.wMilliseconds == 0);
    CHECK(api.SystemTimeToVariantTime(&wrong, &date) == 0);
    CHECK(api.VariantTimeToSystemTime(3e6, &back) == 0);
}

void CheckAutomation(void) {
    CheckStrings();
    CheckArrays();
    CheckVariants();
    CheckErrorObjects();
    CheckDates();
}
