// Failures as the client reports them.
#pragma once

#include <exception>
#include <string>

namespace zorel::cli {

struct Failure {
    std::string text;      // what failed, on which file and why, in plain words
    std::string detail;    // the library's own text with the HRESULT; empty when there is none
    bool isKnown = false;  // whether `text` says all that a user needs
};

inline constexpr const char* kNotEnoughMemory = "not enough memory";

// For a failure that the library reports for a catalogue, `text` names the data file at fault.
Failure Explain(const std::exception& error);

// Writes the text to standard error; after it the detail with --verbose, and always for a failure
// that is not known.
void PrintFailure(const std::exception& error);

// For the option --verbose.
void SetVerbose(bool isVerbose);

}  // namespace zorel::cli
