/* A client that uses only the published binary interface: it loads the module, calls every
 * export and every slot, and checks that nothing remains allocated or open.
 *
 * Usage: abi_client MODULE
 * The current folder is writable; its catalogue/ describes the files a.txt (3 bytes),
 * B.log (5) and Docs/old.txt (11), modified 2013-01-15 09:05:07 UTC. */
#include <dirent.h>
#include <dlfcn.h>
#include <glob.h>
#include <math.h>

#include "checks.h"

static void CheckValues(void) {
    BSTR text = api.SysAllocStringLen(u"a\0b", 3);
    const uint32_t* bytes = (const uint32_t*)(const void*)text - 1;
    CHECK(*bytes == 6 && api.SysStringByteLen(text) == 6 && api.SysStringLen(text) == 3);
    CHECK(text[2] == u'b' && text[3] == 0);

    SAFEARRAY* numbers = api.SafeArrayCreate(VT_I4, 1, &(SAFEARRAYBOUND){4, 5});
    int32_t *data = NULL, seven = 7;
    CHECK(numbers->cDims == 1 && numbers->cbElements == 4);
    CHECK(numbers->rgsabound[0].cElements == 4 && numbers->rgsabound[0].lLbound == 5);
    CHECK(api.SafeArrayAccessData(numbers, (void**)&data) == S_OK);
    CHECK(data == numbers->pvData && numbers->cLocks == 1);
    CHECK(api.SafeArrayPutElement(numbers, &seven, &(int32_t){42}) == S_OK && data[2] == 42);
    CHECK(api.SafeArrayUnaccessData(numbers) == S_OK && api.SafeArrayDestroy(numbers) == S_OK);

    VARIANT variant = {.vt = 0xABAB};
    api.VariantInit(&variant);
    CHECK(variant.vt == VT_EMPTY);
    variant.vt = VT_ARRAY | VT_BSTR;
    variant.value.parray = api.SafeArrayCreateVector(VT_BSTR, 0, 2);
    CHECK(api.SafeArrayPutElement(variant.value.parray, &(int32_t){0}, text) == S_OK);
    CHECK(api.VariantClear(&variant) == S_OK && variant.vt == VT_EMPTY);
    api.SysFreeString(text);

    SYSTEMTIME time = {2013, 1, 0, 15, 9, 5, 7, 250}, back;
    double date = 0;
    CHECK(api.SystemTimeToVariantTime(&time, &date) != 0 && fabs(date - 41289.37855324) < 1e-8);
    CHECK(api.VariantTimeToSystemTime(date, &back) != 0);
    CHECK(memcmp(&back, &(SYSTEMTIME){2013, 1, 2, 15, 9, 5, 7, 0}, sizeof(back)) == 0);
}

static void CheckErrorObjects(void) {
    void *created = NULL, *info = NULL;
    BSTR help = NULL;
    uint32_t context = 0;
    CHECK(api.CreateErrorInfo(&created) == S_OK);
    OK(ICreateErrorInfo_SetGUID, created, IID(IOibDFBrowser));
    OK(ICreateErrorInfo_SetSource, created, u"source");
    OK(ICreateErrorInfo_SetDescription, created, u"description");
    OK(ICreateErrorInfo_SetHelpFile, created, u"help");
    OK(ICreateErrorInfo_SetHelpContext, created, 17);
    OK(IUnknown_QueryInterface, created, IID(IErrorInfo), &info);
    OK(IErrorInfo_GetHelpFile, info, &help);
    OK(IErrorInfo_GetHelpContext, info, &context);
    CHECK(Take(&help, 1, "help") && context == 17);
    OK(ICreateErrorInfo_SetHelpFile, created, NULL);
    OK(ICreateErrorInfo_SetHelpContext, created, 0);
    CHECK(api.SetErrorInfo(0, info) == S_OK);
    Release(info);
    Release(created);
    CHECK(ErrorIs(IID(IOibDFBrowser), "source|description"));
    CHECK(api.GetErrorInfo(0, &info) == S_FALSE);
}

static void CheckServer(void) {
    const GUID clsid = ParseGuid(CLASS_COibIdxLib);
    void *factory = NULL, *library = &factory;
    CHECK(api.DllGetClassObject(IID(IOibIdxLib), IID(IClassFactory), &library) ==
          CLASS_E_CLASSNOTAVAILABLE);
    CHECK(library == NULL);
    CHECK(api.DllGetClassObject(&clsid, IID(IClassFactory), &factory) == S_OK);
    CHECK(api.DllCanUnloadNow() == S_OK);
    OK(IClassFactory_LockServer, factory, 1);
    CHECK(api.DllCanUnloadNow() == S_FALSE);
    OK(IClassFactory_LockServer, factory, 0);
    OK(IClassFactory_CreateInstance, factory, NULL, IID(IOibIdxLib), &library);
    CHECK(api.DllCanUnloadNow() == S_FALSE);
    Release(library);
    CHECK(api.DllCanUnloadNow() == S_OK);
    Release(factory);
    CHECK(api.DllRegisterServer() == E_NOTIMPL && api.DllUnregisterServer() == E_NOTIMPL);
    CHECK(ErrorIs(&clsid, "|COM error*"));
}

/* ----- One session that calls every method of every interface ----- */

static bool TakeFile(FileRecord* file, const char* name, int64_t size, bool owned) {
    const bool same = file->Size == size && fabs(file->ModifyTime - 41289.37855324) < 1e-8 &&
                      (api.SysStringLen(file->Owner) > 0) == owned;
    api.SysFreeString(file->Owner);
    return Take(&file->Name, 1, name) && same;
}

static void CheckPlainMethods(void* library) {
    VARIANT_BOOL match = 5;
    BSTR user = NULL, *owner = NULL;
    CHECK_OBJECT(IOibIdxLib, library);
    OK(IOibIdxLib_InitLogging, library, T("client.log"), -1);
    OK(IOibIdxLib_IsWildcardMatch, library, T("C:\\A.txt"), T("*.TXT"), &match);
    CHECK(match == -1);
    CHECK(CALL(IOibIdxLib_IsWildcardMatch, library, T("a.txt"), T("*"), &match) == E_FAIL);
    CHECK(ErrorIs(IID(IOibIdxLib),
                  "ZorelOibIdxLib.COibIdxLib.5|Cannot find a folder in the line: [a.txt].*"));
    CHECK(CALL(IOibIdxLib_ParseOibTDFName, library, T("a"), &user, &owner) == E_NOTIMPL);
    TEXT("0hac906abf43d5", IOibIdxLib_ConvetrPathToCrcStr, library, T("C:\\Users\\john"), 3);
}

static void CheckLateBound(void* files) {
    VARIANT result, index = {.vt = VT_I4, .value.lVal = 0};
    EXCEPINFO exception = {0};
    DISPPARAMS params = {&index, NULL, 1, 0};
    int32_t id = 0;
    OK(IDispatch_GetIDsOfNames, files, &(GUID){0}, (BSTR[]){T("TotalSize")}, 1, 0, &id);
    CHECK(id == 0x60020002);
    api.VariantInit(&result);
    OK(IDispatch_Invoke, files, 0x60020000, &(GUID){0}, 0, DISPATCH_METHOD, &params, &result,
       &exception, NULL);
    const FileRecord* file = result.value.record.pvRecord;
    CHECK(result.vt == VT_RECORD && file->Size == 3 && api.SysStringLen(file->Name) == 5);
    CHECK(api.VariantClear(&result) == S_OK);
    index.value.lVal = 2;
    CHECK(CALL(IDispatch_Invoke, files, 0x60020000, &(GUID){0}, 0, DISPATCH_METHOD, &params,
               &result, &exception, NULL) == DISP_E_EXCEPTION);
    CHECK(exception.scode == E_INVALIDARG && exception.bstrSource == NULL);
    CHECK(Take(&exception.bstrDescription, 1, "CCoOibFilesArray::GetFileInfo: Index is out*"));
}

static void CheckBrowser(void* library) {
    void *browser = NULL, *files = NULL;
    FileRecord file = {0};
    uint64_t total = 99;
    browser = OPEN(IOibDFBrowser, IOibIdxLib_BrowseOibDF, library, T("catalogue/C.dat"));
    LIST(2, "beta|Docs", IOibDFBrowser_GetFolders, browser, T("c:\\"));
    OK(IOibDFBrowser_GetFiles, browser, T(""), &files);
    NUMBER(2, IOibFilesArray_FilesCount, files);
    Release(files);
    OK(IOibDFBrowser_GetFilesEx, browser, T("c:\\"), -1, T("txt"), &files);
    OK(IOibDFBrowser_Close, browser);
    Release(browser);
    CHECK_OBJECT(IOibFilesArray, files);
    OK(IOibFilesArray_TotalSize, files, &total);
    CHECK(total == 14);
    OK(IOibFilesArray_GetFileInfo, files, 1, &file);
    CHECK(TakeFile(&file, "Docs\\old.txt", 11, true));
    CHECK(CALL(IOibFilesArray_GetFileInfo, files, 2, &file) == E_INVALIDARG);
    CHECK(ErrorIs(IID(IOibTDFSearchTask), "|CCoOibFilesArray::GetFileInfo: Index is out*"));
    CheckLateBound(files);
    Release(files);
}

static void CheckSearches(void* library) {
    SearchSpec criteria = {.FileNamePattern = T("*.txt"), .UseSizeLimits = -1};
    void* task = NULL;
    FileRecord found = {0};
    glob_t files = {0};
    OK(IOibIdxLib_GenerateOibTDFs, library, T("catalogue/summary.txt"), T("./texts"),
       ((FILETIME){0, 30000000}), 100, 0, 3, 0, T("._- "));
    if (!CHECK(glob("texts/vl.C.*", 0, NULL, &files) == 0 && files.gl_pathc == 1)) {
        return;
    }
    BSTR file = T(files.gl_pathv[0]);
    globfree(&files);
    LIST(1, "01/15/2013 09:05:07, 11, C:\\Docs\\old.txt", IOibIdxLib_FindInOibTDF, library, file,
         T("c:\\docs"), T("*.txt"));
    criteria.SizeFrom = criteria.SizeTill = 11;
    task = OPEN(IOibTDFSearchTask, IOibIdxLib_FindInOibTDF2, library, file, &criteria);
    NUMBER(1, IOibTDFSearchTask_ResultsCount, task);
    OK(IOibTDFSearchTask_GetResult, task, 0, &found);
    CHECK(TakeFile(&found, "C:\\Docs\\old.txt", 11, false));
    Release(task);

    task = OPEN(IOibBDFSearchTask, IOibIdxLib_FindInOibBDF, library, T("catalogue"));
    criteria.rootPath = T("c:\\DOCS");
    criteria.FileNamePattern = T("old");
    OK(IOibBDFSearchTask_Find, task, &criteria);
    NUMBER(1, IOibBDFSearchTask_ResultsCount, task);
    OK(IOibBDFSearchTask_GetResult, task, 0, &found);
    CHECK(TakeFile(&found, "C:\\Docs\\old.txt", 11, true));
    Release(task);
}

static void CheckTree(void* tree) {
    void* found = NULL;
    BSTR value = NULL;
    CHECK_OBJECT(IMtfAttrsTree, tree);
    Release(OPEN(IMtfAttrsTree, IMtfAttrsTree_CreateSubtree, tree, T("Target")));
    LIST(1, "Target", IMtfAttrsTree_EnumChildTrees, tree);
    Release(OPEN(IMtfAttrsTree, IMtfAttrsTree_GetExistingSubtree, tree, T("Target")));
    OK(IMtfAttrsTree_DelSubtree, tree, T("Target"));
    CHECK(CALL(IMtfAttrsTree_FindSubtree, tree, T("Target"), &found) == S_FALSE && !found);
    OK(IMtfAttrsTree_SetAttr, tree, T("Color"), T("red"));
    LIST(2, "Color|Name", IMtfAttrsTree_EnumChildAttrs, tree);
    TEXT("red", IMtfAttrsTree_GetExistingAttr, tree, T("Color"));
    OK(IMtfAttrsTree_DelAttr, tree, T("Color"));
    CHECK(CALL(IMtfAttrsTree_FindAttr, tree, T("Color"), &value) == S_FALSE && !value);
    Release(tree);
}

static const char* const kAttrs[][2] = {
    {"Job.Name", "Daily"},
    {"oib1.VmName", "web01"},
    {"oib1.BackupTimeUtc", "monday"},
    {"oib1.OibUID", "9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d"},
    {"Publication.LocalTime", "noon"},
    {"Publication.UTCTime", "eleven"},
    {"cmd.7.Type", "AddBSession"},
    {"cmd.7.JobName", "Daily"},
    {"cmd.7.grp.5.BackupFile.2.Path", "/a/b"},
    {"cmd.7.grp.5.OIB.9.VmName", "web01"},
    {"cmd.7.grp.5.OIB.9.OibUID", "9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d"},
    {"cmd.7.grp.5.OIB.9.Platform", "any"}};

static void CheckMetaFile(void* library) {
    void *file = NULL, *tree = NULL;
    VARIANT_BOOL exists = 5;
    BSTR value = NULL;
    file = OPEN(IMtfMetaFile, IOibIdxLib_CreateMetaFile, library, T("job.mtf"), 2);
    OK(IMtfMetaFile_SetAttr, file, T("Job.Name"), T("Daily"));
    LIST(1, "Job.Name", IMtfMetaFile_EnumAllAttrs, file);
    Release(OPEN(IMtfAttrsTree, IMtfMetaFile_CreateAttrsTree, file, T("Gone")));
    OK(IMtfMetaFile_DelAttrsTree, file, T("Gone"));
    CHECK(CALL(IMtfMetaFile_FindAttrsTree, file, T("Gone"), &tree) == S_FALSE && !tree);
    OK(IMtfMetaFile_GetExistingAttrsTree, file, T("Job"), &tree);
    CheckTree(tree);
    Release(OPEN(IMtfAttrsTree, IMtfMetaFile_GetRootAttrsTree, file));
    for (size_t i = 0; i < sizeof(kAttrs) / sizeof(*kAttrs); ++i) {
        OK(IMtfMetaFile_SetAttr, file, T(kAttrs[i][0]), T(kAttrs[i][1]));
    }
    TEXT("Daily", IMtfMetaFile_GetExistingAttr, file, T("Job.Name"));
    OK(IMtfMetaFile_DelAttr, file, T("Job.Name"));
    CHECK(CALL(IMtfMetaFile_FindAttr, file, T("Job.Name"), &value) == S_FALSE && !value);
    OK(IMtfMetaFile_PushComment, file, T("written by the client"));
    OK(IMtfMetaFile_FlushChanges, file);
    OK(IMtfMetaFile_Close, file);
    Release(file);
    OK(IOibIdxLib_IsMetaFileExists, library, T("job.mtf"), &exists);
    CHECK(exists == -1);
}

static bool IsOibId(const GUID* id) {
    const GUID expected = ParseGuid("9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d");
    return memcmp(id, &expected, sizeof(expected)) == 0;
}

static void CheckBackupSession(void* library) {
    void *session, *refs;
    BSTR texts[2] = {NULL, NULL};
    GUID id = {0};
    session =
        OPEN(IMtfBSessionMetaFile, IOibIdxLib_CreateBSessionMetaFile, library, T("job.mtf"), 1);
    refs = OPEN(ICatOibRefsEnumerator, IMtfBSessionMetaFile_EnumOibsRefs, session);
    NUMBER(1, ICatOibRefsEnumerator_RefsCount, refs);
    OK(ICatOibRefsEnumerator_MoveToElem, refs, 0);
    TEXT("web01", ICatOibRefsEnumerator_VmName, refs);
    TEXT("monday", ICatOibRefsEnumerator_BackupTimeUtc, refs);
    OK(ICatOibRefsEnumerator_UniqueId, refs, &id);
    CHECK(IsOibId(&id));
    id.Data1 = 0;
    OK(ICatOibRefsEnumerator_GetOibRef, refs, 0, &texts[0], &texts[1], &id);
    CHECK(Take(texts, 2, "web01|monday") && IsOibId(&id));
    Release(refs);
    OK(IMtfBSessionMetaFile_DeleteOibRef, session, id);
    OK(IMtfBSessionMetaFile_FlushChanges, session);
    OK(IMtfBSessionMetaFile_EnumOibsRefs, session, &refs);
    NUMBER(0, ICatOibRefsEnumerator_RefsCount, refs);
    Release(refs);
    OK(IMtfBSessionMetaFile_Close, session);
    Release(session);
}

static void CheckCommands(void* commands) {
    BSTR t[4] = {NULL, NULL, NULL, NULL};
    GUID id = {0};
    CHECK_OBJECT(IMtfAddBSessionCmdAccessor, commands);
    NUMBER(1, IMtfAddBSessionCmdAccessor_GetRetargetedOibGroupsNum, commands, 7);
    NUMBER(1, IMtfAddBSessionCmdAccessor_GetOibsNumInRetargetedOibGroup, commands, 7, 0);
    NUMBER(1, IMtfAddBSessionCmdAccessor_GetBackupFilesNumInRetargetedOibGroup, commands, 7, 0);
    OK(IMtfAddBSessionCmdAccessor_GetOibRef, commands, 7, 0, 0, t, t + 1, &id, t + 2, t + 3);
    CHECK(Take(t, 4, "web01|||any") && IsOibId(&id));
    OK(IMtfAddBSessionCmdAccessor_GetBackupFile, commands, 7, 0, 0, t, t + 1, t + 2);
    CHECK(Take(t, 3, "|/a/b|"));
    OK(IMtfAddBSessionCmdAccessor_GetBSessionInfo, commands, 7, t, t + 1, t + 2);
    CHECK(Take(t, 3, "Daily||"));
    Release(commands);
}

static void CheckPublication(void* library) {
    void *reader, *info, *commands = NULL;
    BSTR path = T("job.mtf");
    CHECK(CALL(IOibIdxLib_LoadPublicationOrderingInfo, library, path, NULL) == E_POINTER);
    reader = OPEN(IMtfPublicationMetaFileReader, IOibIdxLib_LoadPublication, library, path);
    NUMBER(1, IMtfPublicationMetaFileReader_CmdCount, reader);
    TEXT("AddBSession", IMtfPublicationMetaFileReader_GetCmdType, reader, 0);
    info = OPEN(IMtfPublicationOrderingInfo, IMtfPublicationMetaFileReader_OrderingInfo, reader);
    OK(IMtfPublicationMetaFileReader_AddBSessionCmdAccessor, reader, &commands);
    Release(OPEN(IMtfMetaFile, IMtfPublicationMetaFileReader_MetaFile, reader));
    Release(reader); /* the returned objects remain valid */
    TEXT("noon", IMtfPublicationOrderingInfo_PubLocalTime, info);
    TEXT("eleven", IMtfPublicationOrderingInfo_PubUtcTime, info);
    Release(info);
    CheckCommands(commands);
}

/* ----- The module ----- */

static int CountDescriptors(void) {
    int count = 0;
    DIR* folder = opendir("/proc/self/fd");
    while (folder != NULL && readdir(folder) != NULL) {
        ++count;
    }
    closedir(folder);
    return count;
}

static void CheckModule(void) {
    void* library = NULL;
    CheckValues();
    CheckErrorObjects();
    CheckServer();
    if (CHECK(api.CreateOibIdxLib(NULL, IID(IOibIdxLib), &library) == S_OK)) {
        CheckPlainMethods(library);
        CheckBrowser(library);
        CheckSearches(library);
        CheckMetaFile(library);
        CheckBackupSession(library);
        CheckPublication(library);
        CHECK(api.DllCanUnloadNow() == S_FALSE);
        Release(library);
    }
    FreeTemporaries();
    CHECK(api.SetErrorInfo(0, NULL) == S_OK && api.DllCanUnloadNow() == S_OK);
}

int main(int argc, char** argv) {
    const int descriptors = CountDescriptors();
    void* module = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
    if (module == NULL) {
        puts(argc == 2 ? dlerror() : "usage: abi_client MODULE");
        return 2;
    }
#define LOAD_EXPORT(result, name, ...) \
    CHECK((*(void**)(void*)& api.name = dlsym(module, #name)) != NULL);
    FOR_EACH_EXPORT(LOAD_EXPORT)
    if (g_failures == 0) {
        CheckModule();
    }
    CHECK(dlclose(module) == 0);
    CHECK(CountDescriptors() == descriptors && descriptors > 0);
    printf("%d checks failed\n", g_failures);
    return g_failures == 0 ? 0 : 1;
}
