// The system calls this when it loads and unloads the module. The runtime has initialised the
// module's static objects before.
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, void*);

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, void*) {
    return TRUE;
}
