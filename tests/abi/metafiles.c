/* Meta-files and their trees, backup sessions, publications. */
#include <string.h>

#include "checks.h"

/* ----- Meta-files ----- */

static void CheckTreeAttrs(IMtfAttrsTree* tree) {
    static const char16_t* const kNames[] = {u"Color", u"Name"};
    SAFEARRAY* names = NULL;
    BSTR value = NULL;
    CHECK_HR(SLOT(IMtfAttrsTree, tree, SetAttr)(tree, T(u"Color"), T(u"red")), S_OK);
    CHECK_HR(SLOT(IMtfAttrsTree, tree, EnumChildAttrs)(tree, &names), S_OK);
    CHECK(TakenListIs(&names, 2, kNames));
    CHECK_HR(SLOT(IMtfAttrsTree, tree, FindAttr)(tree, T(u"Color"), &value), S_OK);
    CHECK(TakenIs(&value, u"red"));
    CHECK_HR(SLOT(IMtfAttrsTree, tree, GetExistingAttr)(tree, T(u"Name"), &value), S_OK);
    CHECK(TakenIs(&value, u"Daily"));
    CHECK_HR(SLOT(IMtfAttrsTree, tree, DelAttr)(tree, T(u"Color")), S_OK);
    CHECK_HR(tree->vtbl->FindAttr(tree, T(u"Color"), &value), S_FALSE);
    CHECK(value == NULL);
    CHECK_ERROR(tree->vtbl->GetExistingAttr(tree, T(u"Color"), &value), E_FAIL, &IID_IMtfAttrsTree,
                u"");
    CHECK_REFUSED(tree->vtbl->SetAttr(tree, T(u"Color"), NULL));
}

static void CheckTree(IMtfAttrsTree* tree) {
    static const char16_t* const kTrees[] = {u"Server", u"Target"};
    SAFEARRAY* names = NULL;
    void *deep = NULL, *found = NULL;
    CheckObject(&kIMtfAttrsTree, tree);
    CHECK_HR(SLOT(IMtfAttrsTree, tree, CreateSubtree)(tree, T(u"Target.Disk"), &deep), S_OK);
    CHECK_HR(SLOT(IMtfAttrsTree, tree, EnumChildTrees)(tree, &names), S_OK);
    CHECK(TakenListIs(&names, 2, kTrees));
    CHECK_HR(SLOT(IMtfAttrsTree, tree, FindSubtree)(tree, T(u"target.DISK"), &found), S_OK);
    Release(found);
    CHECK_HR(SLOT(IMtfAttrsTree, tree, GetExistingSubtree)(tree, T(u"Target"), &found), S_OK);
    Release(found);
    CHECK_HR(SLOT(IMtfAttrsTree, tree, DelSubtree)(tree, T(u"Target")), S_OK);
    CHECK_HR(tree->vtbl->FindSubtree(tree, T(u"Target"), &found), S_FALSE);
    CHECK(found == NULL);
    CHECK_ERROR(tree->vtbl->GetExistingSubtree(tree, T(u"Target"), &found), E_FAIL,
                &IID_IMtfAttrsTree, u"");
    Release(deep);
    CheckTreeAttrs(tree);
}

static void CheckMetaFileTrees(IMtfMetaFile* file) {
    IMtfAttrsTree *tree = NULL, *root = NULL;
    CHECK_HR(SLOT(IMtfMetaFile, file, CreateAttrsTree)(file, T(u"Job.Server"), &tree), S_OK);
    Release(tree);
    CHECK_HR(SLOT(IMtfMetaFile, file, GetExistingAttrsTree)(file, T(u"job"), &tree), S_OK);
    CheckTree(tree);
    Release(tree);
    CHECK_HR(SLOT(IMtfMetaFile, file, FindAttrsTree)(file, T(u"Nothing"), &tree), S_FALSE);
    CHECK(tree == NULL);
    CHECK_ERROR(file->vtbl->GetExistingAttrsTree(file, T(u"Nothing"), &tree), E_FAIL,
                &IID_IMtfMetaFile, u"");
    CHECK_HR(SLOT(IMtfMetaFile, file, GetRootAttrsTree)(file, &root), S_OK);
    CHECK_HR(SLOT(IMtfMetaFile, file, DelAttrsTree)(file, T(u"Job.Server")), S_OK);
    SAFEARRAY* names = NULL;
    static const char16_t* const kTrees[] = {u"Job"};
    CHECK_HR(root->vtbl->EnumChildTrees(root, &names), S_OK);
    CHECK(TakenListIs(&names, 1, kTrees));
    Release(root);
}

static void CheckMetaFile(IMtfMetaFile* file) {
    static const char16_t* const kAll[] = {u"Version", u"Job.Name"};
    SAFEARRAY* names = NULL;
    BSTR value = NULL;
    CheckObject(&kIMtfMetaFile, file);
    CHECK_HR(SLOT(IMtfMetaFile, file, PushComment)(file, T(u"written by the client")), S_OK);
    CHECK_HR(SLOT(IMtfMetaFile, file, SetAttr)(file, T(u"Job.Name"), T(u"Daily")), S_OK);
    CHECK_HR(file->vtbl->SetAttr(file, T(u"Version"), T(u"1")), S_OK);
    CHECK_HR(file->vtbl->SetAttr(file, T(u"Old"), T(u"x")), S_OK);
    CHECK_HR(SLOT(IMtfMetaFile, file, DelAttr)(file, T(u"old")), S_OK); /* another name */
    CHECK_HR(file->vtbl->FindAttr(file, T(u"Old"), &value), S_OK);
    CHECK(TakenIs(&value, u"x"));
    CHECK_HR(file->vtbl->DelAttr(file, T(u"Old")), S_OK);
    CHECK_HR(SLOT(IMtfMetaFile, file, FindAttr)(file, T(u"Old"), &value), S_FALSE);
    CHECK(value == NULL);
    CHECK_HR(SLOT(IMtfMetaFile, file, GetExistingAttr)(file, T(u"JOB.Name"), &value), S_OK);
    CHECK(TakenIs(&value, u"Daily"));
    CHECK_ERROR(file->vtbl->GetExistingAttr(file, T(u"Old"), &value), E_FAIL, &IID_IMtfMetaFile,
                u"");
    CheckMetaFileTrees(file);
    CHECK_HR(SLOT(IMtfMetaFile, file, EnumAllAttrs)(file, &names), S_OK);
    CHECK(TakenListIs(&names, 2, kAll));
    CHECK_HR(SLOT(IMtfMetaFile, file, FlushChanges)(file), S_OK);
    CHECK_HR(SLOT(IMtfMetaFile, file, Close)(file), S_OK);
}

void CheckMetaFiles(IOibIdxLib* library) {
    IMtfMetaFile* file = NULL;
    VARIANT_BOOL exists = 5;
    BSTR value = NULL;
    CHECK_REFUSED(library->vtbl->CreateMetaFile(library, NULL, 0, &file));
    if (CHECK_HR(SLOT(IOibIdxLib, library, IsMetaFileExists)(library, InFolder("job.mtf"), &exists),
                 S_OK)) {
        CHECK(exists == 0);
    }
    if (!CHECK_HR(SLOT(IOibIdxLib, library, CreateMetaFile)(library, InFolder("job.mtf"), 2, &file),
                  S_OK)) {
        return;
    }
    CheckMetaFile(file);
    Release(file);
    CHECK_HR(library->vtbl->IsMetaFileExists(library, InFolder("job.mtf"), &exists), S_OK);
    CHECK(exists == -1);
    CHECK_HR(library->vtbl->CreateMetaFile(library, InFolder("job.mtf"), 1, &file), S_OK);
    CHECK_HR(file->vtbl->FindAttr(file, T(u"Version"), &value), S_OK);
    CHECK(TakenIs(&value, u"1"));
    Release(file);
    CHECK_ERROR(library->vtbl->CreateMetaFile(library, InFolder("job.mtf"), 3, &file), E_FAIL,
                &IID_IOibIdxLib, u"Unknown meta-file open mode: 3.");
}

/* ----- Backup sessions ----- */

static const GUID kWebId = {
    0x9b3c5a2e, 0x4f61, 0x4c2d, {0x8e, 0x0a, 0x1d, 0x2f, 0x3a, 0x4b, 0x5c, 0x6d}};
static const GUID kDbId = {
    0x0e8d7c6b, 0x5a49, 0x4382, {0x91, 0x70, 0x6f, 0x5e, 0x4d, 0x3c, 0x2b, 0x1a}};

static void CheckReferences(ICatOibRefsEnumerator* references) {
    int32_t count = 0;
    BSTR name = NULL, time = NULL;
    GUID id = IID_NULL;
    CheckObject(&kICatOibRefsEnumerator, references);
    CHECK_HR(SLOT(ICatOibRefsEnumerator, references, get_RefsCount)(references, &count), S_OK);
    CHECK(count == 2);
    CHECK_HR(SLOT(ICatOibRefsEnumerator, references, MoveToElem)(references, 1), S_OK);
    CHECK_HR(SLOT(ICatOibRefsEnumerator, references, get_VmName)(references, &name), S_OK);
    CHECK(TakenIs(&name, u"web01"));
    CHECK_HR(SLOT(ICatOibRefsEnumerator, references, get_BackupTimeUtc)(references, &time), S_OK);
    CHECK(TakenIs(&time, u"monday"));
    CHECK_HR(SLOT(ICatOibRefsEnumerator, references, get_UniqueId)(references, &id), S_OK);
    CHECK(memcmp(&id, &kWebId, sizeof(id)) == 0);
    CHECK_HR(SLOT(ICatOibRefsEnumerator, references, GetOibRef)(references, 0, &name, &time, &id),
             S_OK);
    CHECK(TakenIs(&name, u"db02") && TakenIs(&time, u"tuesday"));
    CHECK(memcmp(&id, &kDbId, sizeof(id)) == 0);
    CHECK_ERROR(
        references->vtbl->MoveToElem(references, -1), E_FAIL, &IID_ICatOibRefsEnumerator,
        u"The specified enumerator position (-1) exceeds length of OibReferences collection "
        u"(2).");
}

void CheckBackupSessions(IOibIdxLib* library) {
    IMtfBSessionMetaFile* session = NULL;
    ICatOibRefsEnumerator* references = NULL;
    int32_t count = 0;
    WriteTextFile("session.mtf",
                  u"oib1.VmName=web01\r\noib1.BackupTimeUtc=monday\r\n"
                  u"oib1.OibUID={9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}\r\n"
                  u"oib2.VmName=db02\r\noib2.BackupTimeUtc=tuesday\r\n"
                  u"oib2.OibUID={0e8d7c6b-5a49-4382-9170-6f5e4d3c2b1a}");
    CHECK_REFUSED(library->vtbl->CreateBSessionMetaFile(library, NULL, 0, &session));
    if (!CHECK_HR(SLOT(IOibIdxLib, library, CreateBSessionMetaFile)(
                      library, InFolder("session.mtf"), 1, &session),
                  S_OK)) {
        return;
    }
    CheckObject(&kIMtfBSessionMetaFile, session);
    CHECK_HR(SLOT(IMtfBSessionMetaFile, session, EnumOibsRefs)(session, &references), S_OK);
    CheckReferences(references);
    CHECK_HR(SLOT(IMtfBSessionMetaFile, session, DeleteOibRef)(session, kWebId), S_OK);
    CHECK_HR(references->vtbl->get_RefsCount(references, &count), S_OK);
    CHECK(count == 2); /* a snapshot */
    Release(references);
    CHECK_HR(SLOT(IMtfBSessionMetaFile, session, FlushChanges)(session), S_OK);
    CHECK_HR(SLOT(IMtfBSessionMetaFile, session, Close)(session), S_OK);
    Release(session);

    CHECK_HR(library->vtbl->CreateBSessionMetaFile(library, InFolder("session.mtf"), 0, &session),
             S_OK);
    CHECK_HR(session->vtbl->EnumOibsRefs(session, &references), S_OK);
    CHECK_HR(references->vtbl->get_RefsCount(references, &count), S_OK);
    CHECK(count == 1);
    Release(references);
    Release(session);
}

/* ----- Publications ----- */

static void CheckOrderingInfo(IMtfPublicationOrderingInfo* info) {
    BSTR local = NULL, utc = NULL;
    CheckObject(&kIMtfPublicationOrderingInfo, info);
    CHECK_HR(SLOT(IMtfPublicationOrderingInfo, info, get_PubLocalTime)(info, &local), S_OK);
    CHECK_HR(SLOT(IMtfPublicationOrderingInfo, info, get_PubUtcTime)(info, &utc), S_OK);
    CHECK(TakenIs(&local, u"noon") && TakenIs(&utc, u"eleven"));
    Release(info);
}

static void CheckGroups(IMtfAddBSessionCmdAccessor* commands) {
    int32_t groups = 0, oibs = 0, files = 0;
    CHECK_HR(
        SLOT(IMtfAddBSessionCmdAccessor, commands, GetRetargetedOibGroupsNum)(commands, 7, &groups),
        S_OK);
    CHECK_HR(SLOT(IMtfAddBSessionCmdAccessor, commands, GetOibsNumInRetargetedOibGroup)(commands, 7,
                                                                                        0, &oibs),
             S_OK);
    CHECK_HR(SLOT(IMtfAddBSessionCmdAccessor, commands, GetBackupFilesNumInRetargetedOibGroup)(
                 commands, 7, 0, &files),
             S_OK);
    CHECK(groups == 1 && oibs == 1 && files == 1);
    CHECK_ERROR(commands->vtbl->GetOibsNumInRetargetedOibGroup(commands, 7, 1, &oibs), E_FAIL,
                &IID_IMtfAddBSessionCmdAccessor,
                u"Out of the sparse array boundary: requested element '1', container contains '1' "
                u"elements.");
}

static void CheckCommands(IMtfAddBSessionCmdAccessor* commands) {
    BSTR a = NULL, b = NULL, c = NULL, d = NULL;
    GUID id = IID_NULL;
    CheckObject(&kIMtfAddBSessionCmdAccessor, commands);
    CheckGroups(commands);
    CHECK_HR(SLOT(IMtfAddBSessionCmdAccessor, commands, GetOibRef)(commands, 7, 0, 0, &a, &b, &id,
                                                                   &c, &d),
             S_OK);
    CHECK(TakenIs(&a, u"web01") && TakenIs(&b, u"monday") && TakenIs(&c, u"here"));
    CHECK(TakenIs(&d, u"any") && memcmp(&id, &kWebId, sizeof(id)) == 0);
    CHECK_HR(
        SLOT(IMtfAddBSessionCmdAccessor, commands, GetBackupFile)(commands, 7, 0, 0, &a, &b, &c),
        S_OK);
    CHECK(TakenIs(&a, u"srv") && TakenIs(&b, u"/a/b") && TakenIs(&c, u"sunday"));
    CHECK_HR(SLOT(IMtfAddBSessionCmdAccessor, commands, GetBSessionInfo)(commands, 7, &a, &b, &c),
             S_OK);
    CHECK(TakenIs(&a, u"Daily") && TakenIs(&b, u"main") && TakenIs(&c, u"friday"));
    Release(commands);
}

static void CheckPublication(IMtfPublicationMetaFileReader* reader) {
    IMtfPublicationOrderingInfo* info = NULL;
    IMtfAddBSessionCmdAccessor* commands = NULL;
    IMtfMetaFile* file = NULL;
    int32_t count = 0;
    BSTR type = NULL, job = NULL;
    CheckObject(&kIMtfPublicationMetaFileReader, reader);
    CHECK_HR(SLOT(IMtfPublicationMetaFileReader, reader, get_CmdCount)(reader, &count), S_OK);
    CHECK(count == 2);
    CHECK_HR(SLOT(IMtfPublicationMetaFileReader, reader, GetCmdType)(reader, 1, &type), S_OK);
    CHECK(TakenIs(&type, u"Other"));
    CHECK_HR(SLOT(IMtfPublicationMetaFileReader, reader, get_OrderingInfo)(reader, &info), S_OK);
    CHECK_HR(
        SLOT(IMtfPublicationMetaFileReader, reader, get_AddBSessionCmdAccessor)(reader, &commands),
        S_OK);
    CHECK_HR(SLOT(IMtfPublicationMetaFileReader, reader, get_MetaFile)(reader, &file), S_OK);
    Release(reader); /* what it handed out stays */
    CheckOrderingInfo(info);
    CheckCommands(commands);
    CHECK_HR(file->vtbl->GetExistingAttr(file, T(u"cmd.7.JobName"), &job), S_OK);
    CHECK(TakenIs(&job, u"Daily"));
    Release(file);
}

void CheckPublications(IOibIdxLib* library) {
    IMtfPublicationOrderingInfo* info = NULL;
    IMtfPublicationMetaFileReader* reader = NULL;
    WriteTextFile("publication.mtf",
                  u"Publication.LocalTime=noon\r\nPublication.UTCTime=eleven\r\n"
                  u"cmd.7.Type=AddBSession\r\ncmd.7.JobName=Daily\r\n"
                  u"cmd.7.BackupServer=main\r\ncmd.7.SessionDateUtc=friday\r\n"
                  u"cmd.7.grp.5.BackupFile.2.Server=srv\r\ncmd.7.grp.5.BackupFile.2.Path=/a/b\r\n"
                  u"cmd.7.grp.5.BackupFile.2.ModifyDateUtc=sunday\r\n"
                  u"cmd.7.grp.5.OIB.9.VmName=web01\r\ncmd.7.grp.5.OIB.9.BackupTimeUtc=monday\r\n"
                  u"cmd.7.grp.5.OIB.9.OibUID=9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d\r\n"
                  u"cmd.7.grp.5.OIB.9.Origin=here\r\ncmd.7.grp.5.OIB.9.Platform=any\r\n"
                  u"cmd.3.Type=Other");
    CHECK_REFUSED(library->vtbl->LoadPublication(library, T(u"x"), NULL));
    if (CHECK_HR(SLOT(IOibIdxLib, library, LoadPublicationOrderingInfo)(
                     library, InFolder("publication.mtf"), &info),
                 S_OK)) {
        CheckOrderingInfo(info);
        CHECK_HR(
            library->vtbl->LoadPublicationOrderingInfo(library, InFolder("publication.mtf"), NULL),
            E_POINTER);
    }
    if (CHECK_HR(SLOT(IOibIdxLib, library, LoadPublication)(library, InFolder("publication.mtf"),
                                                            &reader),
                 S_OK)) {
        CheckPublication(reader);
    }
}
