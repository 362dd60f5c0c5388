// Initializes COM for the main thread before the program starts.
#include <objbase.h>

[[maybe_unused]] static const HRESULT g_initialized =
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
