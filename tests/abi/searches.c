/* Text data files made from the catalogue, and both searches. */
#include <dirent.h>
#include <math.h>
#include <stdio.h>
#include <string.h>

#include "checks.h"

static const double kModified = 41289.37855324074;

/* The text data file of the catalogue's one owner, relative to the working folder; null
 * unless there is exactly one. */
static const char* FindTextFile(void) {
    static char found[512];
    int count = 0;
    DIR* folder = opendir(InFolder8("texts"));
    if (!CHECK(folder != NULL)) {
        return NULL;
    }
    for (const struct dirent* entry = readdir(folder); entry != NULL; entry = readdir(folder)) {
        if (strncmp(entry->d_name, "vl.C.", 5) == 0 && strlen(entry->d_name) < 500) {
            strcpy(found, "texts/");
            strcat(found, entry->d_name);
            ++count;
        }
    }
    closedir(folder);
    return CHECK(count == 1) ? found : NULL;
}

/* The log that InitLogging asked for tells of the generation. */
static void CheckLog(void) {
    char text[1024] = "";
    FILE* log = fopen(InFolder8("logs/client.log"), "rb");
    if (CHECK(log != NULL)) {
        text[fread(text, 1, sizeof(text) - 1, log)] = 0;
        fclose(log);
    }
    CHECK(strstr(text, "Info             Generating text files from binaries.\r\n") != NULL);
    CHECK(strstr(text, "Generating text files from binaries.. Ok.\r\n") != NULL);
}

static void CheckResult(SearchResult* result, const char16_t* path, int64_t size) {
    CHECK(result->Size == size && fabs(result->ModifyTime - kModified) < 1e-9);
    CHECK(TakenIs(&result->FileFullName, path));
    api.SysFreeString(result->Owner);
}

void CheckTextSearch(IOibIdxLib* library) {
    const FILETIME time = {0, 30000000};
    SearchSpec criteria = {0};
    IOibTDFSearchTask* task = NULL;
    SearchResult result = {0};
    SAFEARRAY* lines = NULL;
    int32_t count = 0;
    CHECK_REFUSED(library->vtbl->FindInOibTDF2(library, T(u"x"), NULL, &task));
    CHECK_HR(SLOT(IOibIdxLib, library, GenerateOibTDFs)(library, InFolder("catalogue/summary.txt"),
                                                        InFolder("texts"), time, 100, 0, 3, 0,
                                                        T(u"._- ")),
             S_OK);
    CheckLog();
    const char* name = FindTextFile();
    if (name == NULL) {
        return;
    }
    BSTR file = InFolder(name);
    if (CHECK_HR(SLOT(IOibIdxLib, library, FindInOibTDF)(library, file, T(u"c:\\docs\\2019"),
                                                         T(u"*.txt"), &lines),
                 S_OK)) {
        static const char16_t* const kLine[] = {
            u"01/15/2013 09:05:07, 11, C:\\Docs\\2019\\old.txt"};
        CHECK(TakenListIs(&lines, 1, kLine));
    }
    criteria.rootPath = T(u"C:\\");
    criteria.FileNamePattern = T(u"*.jpg");
    criteria.UseSizeLimits = -1;
    criteria.SizeFrom = criteria.SizeTill = 13;
    if (!CHECK_HR(SLOT(IOibIdxLib, library, FindInOibTDF2)(library, file, &criteria, &task),
                  S_OK)) {
        return;
    }
    CheckObject(&kIOibTDFSearchTask, task);
    CHECK_HR(SLOT(IOibTDFSearchTask, task, get_ResultsCount)(task, &count), S_OK);
    CHECK(count == 1);
    CHECK_HR(SLOT(IOibTDFSearchTask, task, GetResult)(task, 0, &result), S_OK);
    CHECK(result.Owner == NULL);
    CheckResult(&result, u"C:\\Docs\\2019\\photo.jpg", 13);
    CHECK_ERROR(task->vtbl->GetResult(task, -1, &result), E_INVALIDARG, &IID_IOibTDFSearchTask,
                u"Index is out of bounds in CTextDataSearcher::GetResultRecord");
    Release(task);
}

void CheckBinarySearch(IOibIdxLib* library) {
    SearchSpec criteria = {0};
    IOibBDFSearchTask* task = NULL;
    SearchResult result = {0};
    int32_t count = 0;
    CHECK_REFUSED(library->vtbl->FindInOibBDF(library, NULL, &task));
    if (!CHECK_HR(SLOT(IOibIdxLib, library, FindInOibBDF)(library, InFolder("catalogue"), &task),
                  S_OK)) {
        return;
    }
    CheckObject(&kIOibBDFSearchTask, task);
    criteria.rootPath = T(u"c:\\DOCS");
    criteria.FileNamePattern = T(u"report");
    CHECK_HR(SLOT(IOibBDFSearchTask, task, Find)(task, &criteria), S_OK);
    CHECK_HR(task->vtbl->Find(task, &criteria), S_OK); /* adds to the results */
    CHECK_HR(SLOT(IOibBDFSearchTask, task, get_ResultsCount)(task, &count), S_OK);
    CHECK(count == 2);
    CHECK_HR(SLOT(IOibBDFSearchTask, task, GetResult)(task, 1, &result), S_OK);
    CHECK(api.SysStringLen(result.Owner) > 0);
    CheckResult(&result, u"C:\\Docs\\report.txt", 7);
    CHECK_REFUSED(task->vtbl->Find(task, NULL));
    CHECK_ERROR(task->vtbl->GetResult(task, 2, &result), E_INVALIDARG, &IID_IOibTDFSearchTask,
                u"Index is out of bounds in CBinDataSearcher::GetResultRecord");
    Release(task);
}
