// What the fuzz targets share. A target is a source that defines Run and Seeds; it is linked
// with libFuzzer, or with a program that replays stored inputs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "ZorelClient.h"

namespace fuzz {

// Defined by the target. Run aborts when a property does not hold; it has no state that lasts
// from one input to the next.
void Run(std::string_view input);
// Inputs to start from.
std::vector<std::string> Seeds();

// ----- Reading an input -------------------------------------------------------------

// Reads choices from the end of an input, so that the content of a file can be its begin. When
// nothing is left every choice is 0.
class CInput {
public:
    explicit CInput(std::string_view bytes) : m_left(bytes) {}

    bool IsEmpty() const { return m_left.empty(); }
    std::string_view Rest() const { return m_left; }

    std::uint8_t Byte();
    // 0 to `end` - 1; `end` is at most 65536.
    std::size_t Below(std::size_t end);
    bool Flag() { return Below(2) == 1; }
    // Small numbers, limits of the types, and any other number.
    std::int64_t Number();
    // Up to `longest` characters of the alphabet.
    std::u16string Text(std::u16string_view alphabet, std::size_t longest);
    // An element of a list that is not empty.
    template <class List>
    decltype(auto) Pick(List&& list) {
        return list[Below(std::size(list))];
    }

private:
    std::string_view m_left;
};

// A seed: content of a file, then choices in the order in which they are read.
std::string Seed(std::string_view content, const std::vector<std::uint8_t>& choices = {});
// `first` and `count` random choices below `end`, without content.
std::string RandomSeed(std::uint32_t seed, std::size_t count, std::vector<std::uint8_t> first = {},
                       unsigned end = 256);

// ----- Checks ---------------------------------------------------------------------------

// Prints the property and aborts if it does not hold.
void Require(bool holds, const char* property);
// Whether the call succeeded. A failed call must state its cause, which is not a fault of the
// module.
bool Succeeds(HRESULT result);
inline void RequireSuccess(HRESULT result, const char* property) {
    Require(Succeeds(result), property);
}

// ----- The module and its files ---------------------------------------------------------

IOibIdxLib& Library();

// An entry of the folder of this process, or the folder for the empty name. The folder is empty
// at the start of the process, and deleted at its end.
std::u16string PathOf(std::u16string_view name);
void WriteFile(std::u16string_view name, std::string_view bytes);
std::string ReadFile(std::u16string_view name);
void ClearFolder();
// The content of a file of the source tree.
std::string ReadSource(std::string_view path);

}  // namespace fuzz
