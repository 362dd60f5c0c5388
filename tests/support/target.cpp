#include "support/target.h"

#if defined(_WIN32)
#include <windows.h>

#include <cstdlib>
#include <string_view>
#endif

namespace support {

#if defined(_WIN32)
bool OnWine() {
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

bool OnWineAsSuperuser() {
    const char* user = std::getenv("USERNAME");
    return OnWine() && user != nullptr && std::string_view(user) == "root";
}
#else
bool OnWine() {
    return false;
}

bool OnWineAsSuperuser() {
    return false;
}
#endif

}  // namespace support
