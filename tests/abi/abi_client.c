/* A client that knows the published binary interface and nothing else: it loads the
 * module, calls every export and every slot, and leaves nothing behind.
 *
 * Usage: abi_client MODULE FOLDER
 * FOLDER holds catalogue/ with the volume C (browsing.c tells of what) and may be written to. */
#include <dirent.h>
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include "checks.h"

static int CountDescriptors(void) {
    int count = 0;
    DIR* folder = opendir("/proc/self/fd");
    if (folder == NULL) {
        return -1;
    }
    while (readdir(folder) != NULL) {
        ++count;
    }
    closedir(folder);
    return count;
}

static bool LoadExport(void* module, const char* name, void* function) {
    void* address = dlsym(module, name);
    if (address == NULL) {
        printf("the module does not export %s\n", name);
        return false;
    }
    memcpy(function, &address, sizeof(address));
    return true;
}

static bool LoadApi(void* module) {
    bool complete = true;
#define LOAD_EXPORT(result, name, ...) complete = LoadExport(module, #name, &api.name) && complete;
    FOR_EACH_EXPORT(LOAD_EXPORT)
    return complete;
}

static void CheckWorkOfLibrary(void) {
    IOibIdxLib* library = NULL;
    if (!CHECK_HR(api.CreateOibIdxLib(NULL, &IID_IOibIdxLib, (void**)&library), S_OK)) {
        return;
    }
    BSTR catalogue = InFolder("catalogue/C.dat");
    CheckObject(&kIOibIdxLib, library);
    CheckLibrary(library);
    CheckBrowser(library, catalogue);
    CheckLateBound(library, catalogue);
    CheckMetaFiles(library);
    CheckBackupSessions(library);
    CheckPublications(library);
    CheckTextSearch(library);
    CheckBinarySearch(library);
    CheckAllCalled();
    CHECK_HR(api.DllCanUnloadNow(), S_FALSE);
    Release(library);
}

int main(int argc, char** argv) {
    if (argc != 3) {
        puts("usage: abi_client MODULE FOLDER");
        return 2;
    }
    const int descriptors = CountDescriptors();
    void* module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (module == NULL) {
        puts(dlerror());
        return 1;
    }
    if (!LoadApi(module)) {
        return 1;
    }
    g_folder = argv[2];
    CheckAutomation();
    CheckServer();
    CheckWorkOfLibrary();
    FreeTemporaries();
    CHECK_HR(api.SetErrorInfo(0, NULL), S_OK);
    CHECK_HR(api.DllCanUnloadNow(), S_OK);
    CHECK(CountDescriptors() == descriptors && descriptors > 0);
    CHECK(dlclose(module) == 0);
    printf("%d checks failed\n", FailureCount());
    return FailureCount() == 0 ? 0 : 1;
}
