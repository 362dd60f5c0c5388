#include "fuzz.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>

#include "support/temp_folder.h"

namespace fuzz {

namespace {

const support::CTempFolder& Folder() {
    static const support::CTempFolder folder;
    return folder;
}

std::string ReadWhole(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    Require(file.good(), "a file can be read");
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

std::uint8_t CInput::Byte() {
    if (m_left.empty()) {
        return 0;
    }
    const auto byte = static_cast<std::uint8_t>(m_left.back());
    m_left.remove_suffix(1);
    return byte;
}

std::size_t CInput::Below(std::size_t end) {
    const std::size_t low = Byte();
    return (end <= 256 ? low : low + std::size_t{Byte()} * 256) % end;
}

std::int64_t CInput::Number() {
    constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
    constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t kLimits[] = {-1,    kMax,    kMin,       0x7FFFFFFF, 0x80000000,
                                        65536, 1 << 20, 0xFFFFFFFF, 0x100000000};
    const std::size_t choice = Byte();
    if (choice < 200) {
        return static_cast<std::int64_t>(choice);
    }
    if (choice - 200 < std::size(kLimits)) {
        return kLimits[choice - 200];
    }
    std::uint64_t number = 0;
    for (int i = 0; i < 8; ++i) {
        number = number << 8 | Byte();
    }
    return static_cast<std::int64_t>(number);
}

std::u16string CInput::Text(std::u16string_view alphabet, std::size_t longest) {
    std::u16string text(Below(longest + 1), u' ');
    for (char16_t& unit : text) {
        unit = Pick(alphabet);
    }
    return text;
}

std::string Seed(std::string_view content, const std::vector<std::uint8_t>& choices) {
    return std::string(content) + std::string(choices.rbegin(), choices.rend());
}

std::string RandomSeed(std::uint32_t seed, std::size_t count, std::vector<std::uint8_t> first,
                       unsigned end) {
    std::mt19937 random(seed);
    for (; count > 0; --count) {
        first.push_back(static_cast<std::uint8_t>(random() % end));
    }
    return Seed("", first);
}

void Require(bool holds, const char* property) {
    if (!holds) {
        static_cast<void>(std::fprintf(stderr, "property does not hold: %s\n", property));
        std::abort();
    }
}

bool Succeeds(HRESULT result) {
    const std::string description = zorel::client::TakeErrorInfo().description;
    Require(SUCCEEDED(result) || !description.empty(), "a failed call states its cause");
    Require(result != E_UNEXPECTED, "a failed call states its cause with its result");
    return SUCCEEDED(result);
}

IOibIdxLib& Library() {
    static const zorel::client::CComPtr<IOibIdxLib> library = zorel::client::CreateLibrary();
    return *library;
}

std::u16string PathOf(std::u16string_view name) {
    return name.empty() ? Folder().Path() : Folder().Path(name);
}

void WriteFile(std::u16string_view name, std::string_view bytes) {
    std::ofstream file(Folder().Native(name), std::ios::binary | std::ios::trunc);
    file << bytes;
    file.close();
    Require(file.good(), "the folder for temporary files can be written");
}

std::string ReadFile(std::u16string_view name) {
    return ReadWhole(Folder().Native(name));
}

void ClearFolder() {
    for (const auto& entry : std::filesystem::directory_iterator(Folder().Native())) {
        std::filesystem::remove_all(entry.path());
    }
}

std::string ReadSource(std::string_view path) {
    return ReadWhole(std::filesystem::path(ZOREL_SOURCE_DIR) / path);
}

}  // namespace fuzz
