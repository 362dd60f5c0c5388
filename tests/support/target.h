// What a test has to know about the system under it.
#pragma once

namespace support {

// Rows and checks that hold on one system only ask these, so that a test file stays one
// text for all systems.
#if defined(_WIN32)
inline constexpr bool kOnWindows = true;
#else
inline constexpr bool kOnWindows = false;
#endif
inline constexpr bool kOnLinux = !kOnWindows;

// Wine stands in for Windows where the tests are cross-built. What it is known to do
// otherwise asks these, and says what.
bool OnWine();
// Wine lets the superuser change what is read-only; Windows lets nobody.
bool OnWineAsSuperuser();
// Wine lets later writes move the times that were set on an open file.
inline bool KeepsSetTimes() {
    return !OnWine();
}

}  // namespace support
