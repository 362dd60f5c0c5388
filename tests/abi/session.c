/* One session that calls every method of every interface. FOLDER/catalogue describes the
 * files a.txt (3 bytes), B.log (5) and Docs/old.txt (11), modified 2013-01-15 09:05:07 UTC. */
#include <glob.h>
#include <math.h>
#include <string.h>

#include "checks.h"

static const char16_t kProgId[] = u"ZorelOibIdxLib.COibIdxLib.5";

static bool TakeRecordIs(FileRecord* record, const char16_t* name, int64_t size, bool owned) {
    const bool same = record->Size == size && fabs(record->ModifyTime - 41289.37855324) < 1e-8 &&
                      (api.SysStringLen(record->Owner) > 0) == owned;
    api.SysFreeString(record->Owner);
    return TakeIs(&record->Name, name) && same;
}

static void CheckPlainMethods(void* library) {
    VARIANT_BOOL match = 5;
    BSTR crc = NULL, *owner = NULL;
    CheckObject(kIOibIdxLib, library);
    CHECK_OK(CALL(IOibIdxLib, InitLogging, library, InFolder("client.log"), -1));
    CHECK_OK(CALL(IOibIdxLib, IsWildcardMatch, library, T(u"C:\\A.txt"), T(u"*.TXT"), &match));
    CHECK(match == -1);
    CHECK(CALL(IOibIdxLib, IsWildcardMatch, library, T(u"a.txt"), T(u"*"), &match) == E_FAIL);
    CHECK(ErrorIs(IID(IOibIdxLib), kProgId, u"Cannot find a folder in the line: [a.txt]."));
    CHECK(CALL(IOibIdxLib, ParseOibTDFName, library, T(u"a"), &crc, &owner) == E_NOTIMPL);
    CHECK_OK(CALL(IOibIdxLib, ConvetrPathToCrcStr, library, T(u"C:\\Users\\john"), 3, &crc));
    CHECK(TakeIs(&crc, u"0hac906abf43d5"));
}

static void CheckBrowser(void* library, BSTR catalogue) {
    static const char16_t* const kFolders[] = {u"beta", u"Docs"};
    void *browser = NULL, *files = NULL;
    SAFEARRAY* folders = NULL;
    FileRecord file = {0};
    uint32_t count = 99;
    uint64_t total = 99;
    CHECK(CALL(IOibIdxLib, BrowseOibDF, library, InFolder("none"), &browser) < 0);
    CHECK(ErrorIs(IID(IOibIdxLib), kProgId, u"Instance of the CCoOibDFBrowser() cannot be"));
    CHECK_OK(CALL(IOibIdxLib, BrowseOibDF, library, catalogue, &browser));
    CheckObject(kIOibDFBrowser, browser);
    CHECK_OK(CALL(IOibDFBrowser, GetFolders, browser, T(u"c:\\"), &folders));
    CHECK(TakeListIs(&folders, 2, kFolders));
    CHECK_OK(CALL(IOibDFBrowser, GetFiles, browser, T(u""), &files));
    CHECK_OK(CALL(IOibFilesArray, FilesCount, files, &count));
    CHECK(count == 2);
    Release(files);
    CHECK_OK(CALL(IOibDFBrowser, GetFilesEx, browser, T(u"c:\\"), -1, T(u"txt"), &files));
    CHECK_OK(CALL(IOibDFBrowser, Close, browser));
    Release(browser);
    CheckObject(kIOibFilesArray, files);
    CHECK_OK(CALL(IOibFilesArray, TotalSize, files, &total));
    CHECK(total == 14);
    CHECK_OK(CALL(IOibFilesArray, GetFileInfo, files, 1, &file));
    CHECK(TakeRecordIs(&file, u"Docs\\old.txt", 11, true));
    CHECK(CALL(IOibFilesArray, GetFileInfo, files, 2, &file) == E_INVALIDARG);
    CHECK(ErrorIs(IID(IOibTDFSearchTask), NULL, u"CCoOibFilesArray::GetFileInfo: Index is out"));
    Release(files);
}

static HRESULT Invoke(void* object, int32_t id, uint32_t count, VARIANT* arguments, VARIANT* result,
                      EXCEPINFO* exception) {
    DISPPARAMS params = {arguments, NULL, count, 0};
    uint32_t bad = 0;
    api.VariantInit(result);
    return CALL(IDispatch, Invoke, object, id, &(GUID){0}, 0, DISPATCH_METHOD, &params, result,
                exception, &bad);
}

static void CheckLateBound(void* library, BSTR catalogue) {
    VARIANT result, arguments[2] = {{.vt = VT_BSTR, .value.bstrVal = T(u"*.txt")},
                                    {.vt = VT_BSTR, .value.bstrVal = T(u"C:\\a.txt")}};
    EXCEPINFO exception = {0};
    CHECK_OK(Invoke(library, 0x60020009, 2, arguments, &result, &exception));
    CHECK(result.vt == VT_BOOL && result.value.boolVal == -1);
    arguments[0].value.bstrVal = catalogue;
    CHECK_OK(Invoke(library, 0x60020008, 1, arguments, &result, &exception));
    void* browser = result.value.pdispVal;
    CHECK(result.vt == VT_DISPATCH);
    arguments[0].value.bstrVal = T(u"C:");
    CHECK_OK(Invoke(browser, 0x60020001, 1, arguments, &result, &exception));
    void* files = result.value.pdispVal;
    Release(browser);
    arguments[0] = (VARIANT){.vt = VT_I4, .value.lVal = 1};
    CHECK_OK(Invoke(files, 0x60020000, 1, arguments, &result, &exception));
    const FileRecord* file = result.value.record.pvRecord;
    CHECK(result.vt == VT_RECORD && file->Size == 5 && api.SysStringLen(file->Name) == 5);
    CHECK_OK(api.VariantClear(&result));
    arguments[0].value.lVal = 2;
    CHECK(Invoke(files, 0x60020000, 1, arguments, &result, &exception) == DISP_E_EXCEPTION);
    CHECK(exception.scode == E_INVALIDARG && exception.bstrSource == NULL);
    CHECK(TakeIs(&exception.bstrDescription,
                 u"CCoOibFilesArray::GetFileInfo: Index is out of range."));
    Release(files);
}

static void CheckTextSearch(void* library) {
    SearchSpec criteria = {.FileNamePattern = T(u"*.txt"), .UseSizeLimits = -1};
    const char16_t* const line[] = {u"01/15/2013 09:05:07, 11, C:\\Docs\\old.txt"};
    void* task = NULL;
    SAFEARRAY* lines = NULL;
    FileRecord found = {0};
    int32_t count = 0;
    BSTR texts = InFolder("texts"), file;
    CHECK_OK(CALL(IOibIdxLib, GenerateOibTDFs, library, InFolder("catalogue/summary.txt"), texts,
                  ((FILETIME){0, 30000000}), 100, 0, 3, 0, T(u"._- ")));
    glob_t files = {0};
    if (!CHECK(glob("texts/vl.C.*", 0, NULL, &files) == 0 && files.gl_pathc == 1)) {
        return;
    }
    file = InFolder(files.gl_pathv[0]);
    globfree(&files);
    CHECK_OK(CALL(IOibIdxLib, FindInOibTDF, library, file, T(u"c:\\docs"), T(u"*.txt"), &lines));
    CHECK(TakeListIs(&lines, 1, line));
    criteria.SizeFrom = criteria.SizeTill = 11;
    CHECK_OK(CALL(IOibIdxLib, FindInOibTDF2, library, file, &criteria, &task));
    CheckObject(kIOibTDFSearchTask, task);
    CHECK_OK(CALL(IOibTDFSearchTask, ResultsCount, task, &count));
    CHECK_OK(CALL(IOibTDFSearchTask, GetResult, task, 0, &found));
    CHECK(count == 1 && TakeRecordIs(&found, u"C:\\Docs\\old.txt", 11, false));
    Release(task);

    CHECK_OK(CALL(IOibIdxLib, FindInOibBDF, library, InFolder("catalogue"), &task));
    CheckObject(kIOibBDFSearchTask, task);
    criteria.rootPath = T(u"c:\\DOCS");
    criteria.FileNamePattern = T(u"old");
    CHECK_OK(CALL(IOibBDFSearchTask, Find, task, &criteria));
    CHECK_OK(CALL(IOibBDFSearchTask, ResultsCount, task, &count));
    CHECK_OK(CALL(IOibBDFSearchTask, GetResult, task, 0, &found));
    CHECK(count == 1 && TakeRecordIs(&found, u"C:\\Docs\\old.txt", 11, true));
    Release(task);
}

static void CheckTree(void* tree) {
    static const char16_t *const kTrees[] = {u"Target"}, *const kNames[] = {u"Color", u"Name"};
    void* found = NULL;
    SAFEARRAY* names = NULL;
    BSTR value = NULL;
    CheckObject(kIMtfAttrsTree, tree);
    CHECK_OK(CALL(IMtfAttrsTree, CreateSubtree, tree, T(u"Target"), &found));
    Release(found);
    CHECK_OK(CALL(IMtfAttrsTree, EnumChildTrees, tree, &names));
    CHECK(TakeListIs(&names, 1, kTrees));
    CHECK_OK(CALL(IMtfAttrsTree, GetExistingSubtree, tree, T(u"Target"), &found));
    Release(found);
    CHECK_OK(CALL(IMtfAttrsTree, DelSubtree, tree, T(u"Target")));
    CHECK(CALL(IMtfAttrsTree, FindSubtree, tree, T(u"Target"), &found) == S_FALSE);
    CHECK(found == NULL);
    CHECK_OK(CALL(IMtfAttrsTree, SetAttr, tree, T(u"Color"), T(u"red")));
    CHECK_OK(CALL(IMtfAttrsTree, EnumChildAttrs, tree, &names));
    CHECK(TakeListIs(&names, 2, kNames));
    CHECK_OK(CALL(IMtfAttrsTree, GetExistingAttr, tree, T(u"Color"), &value));
    CHECK(TakeIs(&value, u"red"));
    CHECK_OK(CALL(IMtfAttrsTree, DelAttr, tree, T(u"Color")));
    CHECK(CALL(IMtfAttrsTree, FindAttr, tree, T(u"Color"), &value) == S_FALSE && value == NULL);
    Release(tree);
}

/* Creates a meta-file with the attributes, each a name and a value, and leaves it open. */
static void* NewMetaFile(void* library, const char* name, size_t count,
                         const char16_t* const (*attrs)[2]) {
    void* file = NULL;
    CHECK_OK(CALL(IOibIdxLib, CreateMetaFile, library, InFolder(name), 2, &file));
    for (size_t i = 0; i < count; ++i) {
        CHECK_OK(CALL(IMtfMetaFile, SetAttr, file, T(attrs[i][0]), T(attrs[i][1])));
    }
    CHECK_OK(CALL(IMtfMetaFile, FlushChanges, file));
    return file;
}

static void CheckMetaFile(void* library) {
    static const char16_t* const kAttrs[][2] = {{u"Job.Name", u"Daily"}, {u"Old", u"x"}};
    static const char16_t* const kAll[] = {u"Job.Name"};
    void *file = NewMetaFile(library, "job.mtf", 2, kAttrs), *tree = NULL;
    VARIANT_BOOL exists = 5;
    SAFEARRAY* names = NULL;
    BSTR value = NULL;
    CheckObject(kIMtfMetaFile, file);
    CHECK_OK(CALL(IMtfMetaFile, DelAttr, file, T(u"Old")));
    CHECK(CALL(IMtfMetaFile, FindAttr, file, T(u"Old"), &value) == S_FALSE && value == NULL);
    CHECK_OK(CALL(IMtfMetaFile, GetExistingAttr, file, T(u"Job.Name"), &value));
    CHECK(TakeIs(&value, u"Daily"));
    CHECK_OK(CALL(IMtfMetaFile, CreateAttrsTree, file, T(u"Gone"), &tree));
    Release(tree);
    CHECK_OK(CALL(IMtfMetaFile, DelAttrsTree, file, T(u"Gone")));
    CHECK(CALL(IMtfMetaFile, FindAttrsTree, file, T(u"Gone"), &tree) == S_FALSE && tree == NULL);
    CHECK_OK(CALL(IMtfMetaFile, GetExistingAttrsTree, file, T(u"Job"), &tree));
    CheckTree(tree);
    CHECK_OK(CALL(IMtfMetaFile, GetRootAttrsTree, file, &tree));
    Release(tree);
    CHECK_OK(CALL(IMtfMetaFile, PushComment, file, T(u"written by the client")));
    CHECK_OK(CALL(IMtfMetaFile, EnumAllAttrs, file, &names));
    CHECK(TakeListIs(&names, 1, kAll));
    CHECK_OK(CALL(IMtfMetaFile, Close, file));
    Release(file);
    CHECK_OK(CALL(IOibIdxLib, IsMetaFileExists, library, InFolder("job.mtf"), &exists));
    CHECK(exists == -1);
}

static const char16_t kOibId[] = u"9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d";
static bool IsOibId(const GUID* id) {
    const GUID expected = ParseGuid("9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d");
    return memcmp(id, &expected, sizeof(expected)) == 0;
}

static void CheckBackupSession(void* library) {
    static const char16_t* const kAttrs[][2] = {
        {u"oib1.VmName", u"web01"}, {u"oib1.BackupTimeUtc", u"monday"}, {u"oib1.OibUID", kOibId}};
    void *session = NULL, *refs = NULL;
    int32_t count = 0;
    BSTR name = NULL, time = NULL;
    GUID id = {0};
    Release(NewMetaFile(library, "session.mtf", 3, kAttrs));
    CHECK_OK(
        CALL(IOibIdxLib, CreateBSessionMetaFile, library, InFolder("session.mtf"), 1, &session));
    CheckObject(kIMtfBSessionMetaFile, session);
    CHECK_OK(CALL(IMtfBSessionMetaFile, EnumOibsRefs, session, &refs));
    CheckObject(kICatOibRefsEnumerator, refs);
    CHECK_OK(CALL(ICatOibRefsEnumerator, RefsCount, refs, &count));
    CHECK_OK(CALL(ICatOibRefsEnumerator, MoveToElem, refs, 0));
    CHECK_OK(CALL(ICatOibRefsEnumerator, VmName, refs, &name));
    CHECK_OK(CALL(ICatOibRefsEnumerator, BackupTimeUtc, refs, &time));
    CHECK_OK(CALL(ICatOibRefsEnumerator, UniqueId, refs, &id));
    CHECK(count == 1 && TakeIs(&name, u"web01") && TakeIs(&time, u"monday") && IsOibId(&id));
    CHECK_OK(CALL(ICatOibRefsEnumerator, GetOibRef, refs, 0, &name, &time, &id));
    CHECK(TakeIs(&name, u"web01") && TakeIs(&time, u"monday") && IsOibId(&id));
    Release(refs);
    CHECK_OK(CALL(IMtfBSessionMetaFile, DeleteOibRef, session, id));
    CHECK_OK(CALL(IMtfBSessionMetaFile, FlushChanges, session));
    CHECK_OK(CALL(IMtfBSessionMetaFile, EnumOibsRefs, session, &refs));
    CHECK_OK(CALL(ICatOibRefsEnumerator, RefsCount, refs, &count));
    CHECK(count == 0);
    Release(refs);
    CHECK_OK(CALL(IMtfBSessionMetaFile, Close, session));
    Release(session);
}

static void CheckCommands(void* commands) {
    int32_t groups = 0, oibs = 0, files = 0;
    BSTR a = NULL, b = NULL, c = NULL, d = NULL;
    GUID id = {0};
    CheckObject(kIMtfAddBSessionCmdAccessor, commands);
    CHECK_OK(CALL(IMtfAddBSessionCmdAccessor, GetRetargetedOibGroupsNum, commands, 7, &groups));
    CHECK_OK(
        CALL(IMtfAddBSessionCmdAccessor, GetOibsNumInRetargetedOibGroup, commands, 7, 0, &oibs));
    CHECK_OK(CALL(IMtfAddBSessionCmdAccessor, GetBackupFilesNumInRetargetedOibGroup, commands, 7, 0,
                  &files));
    CHECK(groups == 1 && oibs == 1 && files == 1);
    CHECK_OK(CALL(IMtfAddBSessionCmdAccessor, GetOibRef, commands, 7, 0, 0, &a, &b, &id, &c, &d));
    CHECK(TakeIs(&a, u"web01") && TakeIs(&b, u"monday") && TakeIs(&c, u"here"));
    CHECK(TakeIs(&d, u"any") && IsOibId(&id));
    CHECK_OK(CALL(IMtfAddBSessionCmdAccessor, GetBackupFile, commands, 7, 0, 0, &a, &b, &c));
    CHECK(TakeIs(&a, u"srv") && TakeIs(&b, u"/a/b") && TakeIs(&c, u"sunday"));
    CHECK_OK(CALL(IMtfAddBSessionCmdAccessor, GetBSessionInfo, commands, 7, &a, &b, &c));
    CHECK(TakeIs(&a, u"Daily") && TakeIs(&b, u"main") && TakeIs(&c, u"friday"));
    Release(commands);
}

static void CheckPublication(void* library) {
    static const char16_t* const kAttrs[][2] = {
        {u"Publication.LocalTime", u"noon"},
        {u"Publication.UTCTime", u"eleven"},
        {u"cmd.7.Type", u"AddBSession"},
        {u"cmd.7.JobName", u"Daily"},
        {u"cmd.7.BackupServer", u"main"},
        {u"cmd.7.SessionDateUtc", u"friday"},
        {u"cmd.7.grp.5.BackupFile.2.Server", u"srv"},
        {u"cmd.7.grp.5.BackupFile.2.Path", u"/a/b"},
        {u"cmd.7.grp.5.BackupFile.2.ModifyDateUtc", u"sunday"},
        {u"cmd.7.grp.5.OIB.9.VmName", u"web01"},
        {u"cmd.7.grp.5.OIB.9.BackupTimeUtc", u"monday"},
        {u"cmd.7.grp.5.OIB.9.OibUID", kOibId},
        {u"cmd.7.grp.5.OIB.9.Origin", u"here"},
        {u"cmd.7.grp.5.OIB.9.Platform", u"any"}};
    void *reader = NULL, *info = NULL, *commands = NULL, *file = NULL;
    int32_t count = 0;
    BSTR first = NULL, second = NULL, path = InFolder("publication.mtf");
    Release(NewMetaFile(library, "publication.mtf", sizeof(kAttrs) / sizeof(*kAttrs), kAttrs));
    CHECK(CALL(IOibIdxLib, LoadPublicationOrderingInfo, library, path, NULL) == E_POINTER);
    CHECK_OK(CALL(IOibIdxLib, LoadPublication, library, path, &reader));
    CheckObject(kIMtfPublicationMetaFileReader, reader);
    CHECK_OK(CALL(IMtfPublicationMetaFileReader, CmdCount, reader, &count));
    CHECK_OK(CALL(IMtfPublicationMetaFileReader, GetCmdType, reader, 0, &first));
    CHECK(count == 1 && TakeIs(&first, u"AddBSession"));
    CHECK_OK(CALL(IMtfPublicationMetaFileReader, OrderingInfo, reader, &info));
    CHECK_OK(CALL(IMtfPublicationMetaFileReader, AddBSessionCmdAccessor, reader, &commands));
    CHECK_OK(CALL(IMtfPublicationMetaFileReader, MetaFile, reader, &file));
    Release(reader); /* the returned objects remain valid */
    Release(file);
    CheckObject(kIMtfPublicationOrderingInfo, info);
    CHECK_OK(CALL(IMtfPublicationOrderingInfo, PubLocalTime, info, &first));
    CHECK_OK(CALL(IMtfPublicationOrderingInfo, PubUtcTime, info, &second));
    CHECK(TakeIs(&first, u"noon") && TakeIs(&second, u"eleven"));
    Release(info);
    CheckCommands(commands);
}

void CheckSession(void* library) {
    BSTR catalogue = InFolder("catalogue/C.dat");
    CheckPlainMethods(library);
    CheckBrowser(library, catalogue);
    CheckLateBound(library, catalogue);
    CheckTextSearch(library);
    CheckMetaFile(library);
    CheckBackupSession(library);
    CheckPublication(library);
    CheckAllCalled();
    CHECK(api.DllCanUnloadNow() == S_FALSE);
}
