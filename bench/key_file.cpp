// A separate file: GLib and the automation headers define the same names.
#include "key_file.h"

#include <glib.h>

#include <algorithm>
#include <limits>

#include "limits.h"

namespace bench {

double FastestKeyFileLoad(const std::string& path) {
    constexpr int kRounds = 3;
    double fastest = std::numeric_limits<double>::max();
    for (int round = 0; round < kRounds; ++round) {
        GKeyFile* keys = g_key_file_new();
        bool loaded = false;
        const double seconds = SecondsOf([&] {
            loaded = g_key_file_load_from_file(keys, path.c_str(), G_KEY_FILE_NONE, nullptr) != 0;
        });
        Check(loaded, "the key file loads");
        fastest = std::min(fastest, seconds);
        g_key_file_free(keys);
    }
    return fastest;
}

}  // namespace bench
