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

}  // namespace support
