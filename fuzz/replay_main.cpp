// Runs a target over its seeds, over random changes of them, and over the files of a folder:
//   TARGET FOLDER
// The folder may be missing. When a property does not hold, the program writes the input to the
// file TARGET.failed and ends.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>

#include "fuzz.h"

namespace {

constexpr std::size_t kChanges = 1500;  // of all seeds; at least kLeastChanges of each
constexpr std::size_t kLeastChanges = 10;

std::string current;  // the input that runs
std::string failedPath;

void Run(std::string input) {
    current = std::move(input);
    fuzz::Run(current);
}

void WriteFailed(int) {
    std::ofstream(failedPath, std::ios::binary) << current;
}

// One to three damaged bytes, a cut, or a repeated piece.
std::string Changed(std::string input, std::mt19937& random) {
    for (auto count = random() % 3 + 1; count > 0 && !input.empty(); --count) {
        const std::size_t at = random() % input.size();
        switch (random() % 8) {
            case 0:
                input.resize(at);
                break;
            case 1:
                input.insert(at, input.substr(random() % input.size(), random() % 64));
                break;
            case 2:
                input[at] = static_cast<char>(random());
                break;
            default:
                input[at] = static_cast<char>(input[at] ^ (1 << random() % 8));
        }
    }
    return input;
}

}  // namespace

int main(int argc, char** argv) {
    failedPath = std::filesystem::absolute(argv[0] + std::string(".failed")).string();
    std::signal(SIGABRT, WriteFailed);
    std::mt19937 random(20130115);
    std::size_t count = 0;
    const std::vector<std::string> seeds = fuzz::Seeds();
    for (const std::string& seed : seeds) {
        Run(seed);
        const std::size_t changes = std::max(kChanges / seeds.size(), kLeastChanges);
        for (std::size_t i = 0; i < changes; ++i) {
            Run(Changed(seed, random));
        }
        count += changes + 1;
    }
    fuzz::Require(argc == 2 && count != 0, "the program has a folder and seeds");
    if (std::filesystem::exists(argv[1])) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
            std::ifstream file(entry.path(), std::ios::binary);
            std::printf("%s\n", entry.path().c_str());
            std::fflush(stdout);
            Run({std::istreambuf_iterator<char>(file), {}});
            ++count;
        }
    }
    std::printf("%zu inputs\n", count);
    return 0;
}
