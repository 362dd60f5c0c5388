// The system calls this when the module comes and goes. The objects of the module have
// been made before it is called; had that failed, loading would have failed with it.
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, void*);

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, void*) {
    return TRUE;
}
