#include "cli/command_line/number_option.h"

#include <charconv>
#include <string>

namespace zorel::cli {

CLI::Validator WholeNumber(std::int64_t least, std::int64_t greatest) {
    const auto check = [=](std::string& text) -> std::string {
        std::int64_t number = 0;
        const char* const end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data(), end, number);
        const bool isNumber = error == std::errc() && stop == end;
        if (isNumber && number >= least && number <= greatest) {
            return "";
        }
        return "'" + text + "' is not a whole number from " + std::to_string(least) + " to " +
               std::to_string(greatest);
    };
    return CLI::Validator(check, "", "whole number");
}

}  // namespace zorel::cli
