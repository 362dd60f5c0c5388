// The system that the tests run on.
#pragma once

namespace support {

// For rows and checks that apply to one system only.
#if defined(_WIN32)
inline constexpr bool kOnWindows = true;
#else
inline constexpr bool kOnWindows = false;
#endif
inline constexpr bool kOnLinux = !kOnWindows;

// Cross-built tests run under Wine. These are for its known differences from Windows.
bool OnWine();
// Under Wine the superuser can change read-only files.
bool OnWineAsSuperuser();
// Under Wine a write changes the times that were set on an open file.
inline bool KeepsSetTimes() {
    return !OnWine();
}

}  // namespace support
