// The entry points of libFuzzer. `TARGET --write-seeds FOLDER` writes the seeds.
#include <cstdlib>
#include <fstream>

#include "fuzz.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    if (*argc == 3 && std::string_view((*argv)[1]) == "--write-seeds") {
        int number = 0;
        for (const std::string& seed : fuzz::Seeds()) {
            std::ofstream file((*argv)[2] + ("/seed-" + std::to_string(number++)),
                               std::ios::binary);
            file << seed;
            file.close();
            fuzz::Require(file.good(), "the seeds can be written");
        }
        std::exit(0);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Run({reinterpret_cast<const char*>(data), size});
    return 0;
}
