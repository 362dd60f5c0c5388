#pragma once

#include <string>

namespace bench {

// Seconds in which GLib loads a key file, the fastest of three.
double FastestKeyFileLoad(const std::string& path);

}  // namespace bench
