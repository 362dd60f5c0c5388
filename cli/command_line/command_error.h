#pragma once

#include <stdexcept>

namespace zorel::cli {

// A failure of the client itself; the text begins with the file or argument that it is about.
class CCommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace zorel::cli
