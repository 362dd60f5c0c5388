/* The library object's own answers, and the browser over the catalogue of a small folder:
 *
 *   a.txt (3 bytes)  B.log (5)  beta/  zeta/
 *   Docs/report.txt (7)  Docs/2019/old.txt (11)  Docs/2019/photo.jpg (13)
 *
 * all last changed on 2013-01-15 09:05:07 UTC. */
#include <math.h>
#include <stdio.h>

#include "checks.h"

static const double kModified = 41289.37855324074;

typedef struct {
    const char16_t* name;
    int64_t size;
} File;

static void PrintName(BSTR text) {
    for (uint32_t i = 0; i < api.SysStringLen(text); ++i) {
        putchar((char)text[i]);
    }
}

/* Compares a files array with `files` in order and releases it. */
static void CheckFiles(IOibFilesArray* array, uint32_t count, const File* files) {
    if (!CHECK(array != NULL)) {
        return;
    }
    uint32_t found = 99;
    uint64_t total = 99, expectedTotal = 0;
    CHECK_HR(SLOT(IOibFilesArray, array, get_FilesCount)(array, &found), S_OK);
    CHECK_HR(SLOT(IOibFilesArray, array, get_TotalSize)(array, &total), S_OK);
    CHECK(found == count);
    for (uint32_t i = 0; i < count && i < found; ++i) {
        OibFileInfo info = {0};
        CHECK_HR(SLOT(IOibFilesArray, array, GetFileInfo)(array, i, &info), S_OK);
        printf("  %6lld  ", (long long)info.Size);
        PrintName(info.FileName);
        putchar('\n');
        CHECK(info.Size == files[i].size && fabs(info.ModifyTime - kModified) < 1e-9);
        CHECK(api.SysStringLen(info.Owner) > 0);
        CHECK(TakenIs(&info.FileName, files[i].name));
        api.SysFreeString(info.Owner);
        expectedTotal += (uint64_t)files[i].size;
    }
    CHECK(total == expectedTotal);
    OibFileInfo outside = {0};
    CHECK_REFUSED(array->vtbl->GetFileInfo(array, 0, NULL));
    CHECK_ERROR(array->vtbl->GetFileInfo(array, count, &outside), E_INVALIDARG,
                kIOibFilesArray.errorIid, u"CCoOibFilesArray::GetFileInfo: Index is out of range.");
    CheckObject(&kIOibFilesArray, array);
    Release(array);
}

static void CheckListings(IOibDFBrowser* browser) {
    static const char16_t* const kRoot[] = {u"beta", u"Docs", u"zeta"};
    static const char16_t* const kDocs[] = {u"2019"};
    static const File kRootFiles[] = {{u"a.txt", 3}, {u"B.log", 5}};
    static const File kTexts[] = {
        {u"a.txt", 3}, {u"B.log", 5}, {u"Docs\\2019\\old.txt", 11}, {u"Docs\\report.txt", 7}};
    SAFEARRAY* folders = NULL;
    IOibFilesArray* files = NULL;

    CHECK_HR(SLOT(IOibDFBrowser, browser, GetFolders)(browser, T(u"c:\\"), &folders), S_OK);
    CHECK(TakenListIs(&folders, 3, kRoot));
    CHECK_HR(browser->vtbl->GetFolders(browser, T(u"x:/DOCS"), &folders), S_OK);
    CHECK(TakenListIs(&folders, 1, kDocs));
    CHECK_HR(browser->vtbl->GetFolders(browser, T(u"c:\\none"), &folders), S_OK);
    CHECK(TakenListIs(&folders, 0, NULL));
    CHECK_REFUSED(browser->vtbl->GetFolders(browser, NULL, &folders));

    CHECK_HR(SLOT(IOibDFBrowser, browser, GetFiles)(browser, T(u""), &files), S_OK);
    CheckFiles(files, 2, kRootFiles);
    CHECK_REFUSED(browser->vtbl->GetFiles(browser, T(u""), NULL));
    CHECK_HR(
        SLOT(IOibDFBrowser, browser, GetFilesEx)(browser, T(u"c:\\"), -1, T(u"txt; log"), &files),
        S_OK);
    CheckFiles(files, 4, kTexts);
    CHECK_HR(browser->vtbl->GetFilesEx(browser, T(u"c:\\Docs"), -1, T(u""), &files), S_OK);
    CheckFiles(files, 0, NULL);
    CHECK_REFUSED(browser->vtbl->GetFilesEx(browser, NULL, 0, NULL, &files));
}

void CheckBrowser(IOibIdxLib* library, BSTR catalogue) {
    static const File kPhotos[] = {{u"2019\\photo.jpg", 13}};
    IOibDFBrowser* browser = NULL;
    IOibFilesArray* kept = NULL;
    CHECK_REFUSED(library->vtbl->BrowseOibDF(library, NULL, &browser));
    CHECK_ERROR(library->vtbl->BrowseOibDF(library, InFolder("missing.dat"), &browser),
                HRESULT_OF(0x80070002U), &IID_IOibIdxLib,
                u"Instance of the CCoOibDFBrowser() cannot be initialized.");
    CHECK_ERROR(library->vtbl->BrowseOibDF(library, T(u"C:\\no\\drives.dat"), &browser),
                HRESULT_OF(0x80070003U), &IID_IOibIdxLib,
                u"Instance of the CCoOibDFBrowser() cannot be initialized.");
    if (!CHECK_HR(SLOT(IOibIdxLib, library, BrowseOibDF)(library, catalogue, &browser), S_OK)) {
        return;
    }
    CheckObject(&kIOibDFBrowser, browser);
    CheckListings(browser);
    CHECK_HR(browser->vtbl->GetFilesEx(browser, T(u"c:\\docs"), -1, T(u"jpg"), &kept), S_OK);
    CHECK_HR(SLOT(IOibDFBrowser, browser, Close)(browser), S_OK);
    SAFEARRAY* folders = NULL;
    CHECK(browser->vtbl->GetFolders(browser, T(u""), &folders) < 0 && folders == NULL);
    CHECK_HR(browser->vtbl->Close(browser), S_OK);
    Release(browser);
    CheckFiles(kept, 1, kPhotos); /* outlives its browser */
}

void CheckLibrary(IOibIdxLib* library) {
    VARIANT_BOOL match = 5;
    CHECK_HR(SLOT(IOibIdxLib, library, IsWildcardMatch)(library, T(u"C:\\x\\Report.txt"),
                                                        T(u"*.TXT"), &match),
             S_OK);
    CHECK(match == -1);
    CHECK_HR(library->vtbl->IsWildcardMatch(library, T(u"C:\\x\\Report.txt"), T(u"x"), &match),
             S_OK);
    CHECK(match == 0);
    CHECK_REFUSED(library->vtbl->IsWildcardMatch(library, T(u"a"), T(u"a"), NULL));

    BSTR domain = NULL, *owner = NULL;
    CHECK_HR(SLOT(IOibIdxLib, library, ParseOibTDFName)(library, T(u"a"), &domain, &owner),
             E_NOTIMPL);
    CHECK_HR(library->vtbl->ParseOibTDFName(library, NULL, NULL, NULL), E_NOTIMPL);
    CHECK(domain == NULL && owner == NULL);

    CHECK_REFUSED(library->vtbl->InitLogging(library, NULL, 0));
    CHECK_HR(SLOT(IOibIdxLib, library, InitLogging)(library, InFolder("logs/client.log"), -1),
             S_OK);

    BSTR crc = NULL;
    if (CHECK_HR(
            SLOT(IOibIdxLib, library, ConvetrPathToCrcStr)(library, T(u"C:\\Users\\john"), 3, &crc),
            S_OK)) {
        CHECK(TakenIs(&crc, u"0hac906abf43d5"));
        CHECK_HR(library->vtbl->ConvetrPathToCrcStr(library, T(u"c:/users//JOHN\\"), -1, &crc),
                 S_OK);
        CHECK(TakenIs(&crc, u"0hac906abf43d5"));
        CHECK_HR(library->vtbl->ConvetrPathToCrcStr(library, T(u"a"), 1, NULL), S_OK);
    }
}

/* ----- The same through IDispatch ----- */

static HRESULT Invoke(void* object, int32_t id, uint16_t flags, uint32_t count, VARIANT* arguments,
                      VARIANT* result, EXCEPINFO* exception) {
    DISPPARAMS params = {arguments, NULL, count, 0};
    uint32_t bad = 0;
    api.VariantInit(result);
    return ((IDispatch*)object)
        ->vtbl->Invoke(object, id, &IID_NULL, 0, flags, &params, result, exception, &bad);
}

static VARIANT StringArgument(BSTR text) {
    VARIANT variant;
    api.VariantInit(&variant);
    variant.vt = VT_BSTR;
    variant.value.bstrVal = text;
    return variant;
}

static void CheckLateFiles(void* files) {
    VARIANT result, index;
    EXCEPINFO exception = {0};
    CHECK_HR(Invoke(files, IdOf(files, "FilesCount"), DISPATCH_PROPERTYGET, 0, NULL, &result,
                    &exception),
             S_OK);
    CHECK(result.vt == VT_UI4 && result.value.ulVal == 2);

    api.VariantInit(&index);
    index.vt = VT_I4;
    index.value.lVal = 1;
    CHECK_HR(
        Invoke(files, IdOf(files, "GetFileInfo"), DISPATCH_METHOD, 1, &index, &result, &exception),
        S_OK);
    if (CHECK(result.vt == VT_RECORD && result.value.record.pvRecord != NULL)) {
        const OibFileInfo* info = result.value.record.pvRecord;
        CHECK(Is(info->FileName, u"B.log") && info->Size == 5);
    }
    CHECK_HR(api.VariantClear(&result), S_OK);

    index.value.lVal = 2;
    CHECK_HR(
        Invoke(files, IdOf(files, "GetFileInfo"), DISPATCH_METHOD, 1, &index, &result, &exception),
        DISP_E_EXCEPTION);
    CHECK(exception.scode == E_INVALIDARG);
    CHECK(TakenIs(&exception.bstrDescription,
                  u"CCoOibFilesArray::GetFileInfo: Index is out of range."));
    api.SysFreeString(exception.bstrSource);
    api.SysFreeString(exception.bstrHelpFile);
}

void CheckLateBound(IOibIdxLib* library, BSTR catalogue) {
    static const char16_t* const kRoot[] = {u"beta", u"Docs", u"zeta"};
    VARIANT result, arguments[2];
    EXCEPINFO exception = {0};
    arguments[0] = StringArgument(T(u"*.txt")); /* the last argument stands first */
    arguments[1] = StringArgument(T(u"C:\\report.txt"));
    CHECK_HR(Invoke(library, IdOf(library, "IsWildcardMatch"), DISPATCH_METHOD, 2, arguments,
                    &result, &exception),
             S_OK);
    CHECK(result.vt == VT_BOOL && result.value.boolVal == -1);

    arguments[0] = StringArgument(catalogue);
    if (!CHECK_HR(Invoke(library, IdOf(library, "BrowseOibDF"), DISPATCH_METHOD, 1, arguments,
                         &result, &exception),
                  S_OK) ||
        !CHECK(result.vt == VT_DISPATCH && result.value.pdispVal != NULL)) {
        return;
    }
    void* browser = result.value.pdispVal;
    arguments[0] = StringArgument(T(u"c:"));
    CHECK_HR(Invoke(browser, IdOf(browser, "GetFolders"), DISPATCH_METHOD, 1, arguments, &result,
                    &exception),
             S_OK);
    CHECK(result.vt == (VT_ARRAY | VT_BSTR) && TakenListIs(&result.value.parray, 3, kRoot));
    CHECK_HR(Invoke(browser, IdOf(browser, "GetFiles"), DISPATCH_METHOD, 1, arguments, &result,
                    &exception),
             S_OK);
    if (CHECK(result.vt == VT_DISPATCH && result.value.pdispVal != NULL)) {
        CheckLateFiles(result.value.pdispVal);
        Release(result.value.pdispVal);
    }
    Release(browser);
}
