#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <cstdint>

namespace zorel::cli {

inline constexpr std::int64_t kMaxNumber = 2147483647;  // of the library's numbers

// Accepts whole numbers from `least` to `greatest`; the error names the value and the range.
CLI::Validator WholeNumber(std::int64_t least, std::int64_t greatest);

// Declares an option with a whole number in this range. `number` has the default value.
template <class Number>
CLI::Option* DeclareNumber(CLI::App& app, const char* names, Number& number, std::int64_t least,
                           std::int64_t greatest, const char* description) {
    return app.add_option(names, number, description)
        ->type_name("N")
        ->check(WholeNumber(least, greatest))
        ->capture_default_str();
}

}  // namespace zorel::cli
