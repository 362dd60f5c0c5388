/* A client that uses only the published binary interface: it loads the module, calls every
 * export and every slot, and checks that nothing remains allocated or open.
 *
 * Usage: abi_client MODULE FOLDER
 * FOLDER is the current folder; it contains catalogue/ (see session.c) and is writable. */
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
#define STORE_IID(name, id, first) g_iids[k##name] = ParseGuid(id);
    FOR_EACH_INTERFACE(STORE_IID)
    CheckAutomation();
    CheckServer();
    void* library = NULL;
    if (CHECK_OK(api.CreateOibIdxLib(NULL, IID(IOibIdxLib), &library))) {
        CheckSession(library);
        Release(library);
    }
    FreeTemporaries();
    CHECK_OK(api.SetErrorInfo(0, NULL));
    CHECK_OK(api.DllCanUnloadNow());
    CHECK(CountDescriptors() == descriptors && descriptors > 0);
    CHECK(dlclose(module) == 0);
    printf("%d checks failed\n", FailureCount());
    return FailureCount() == 0 ? 0 : 1;
}
