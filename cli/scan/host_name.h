#pragma once

#include <string>

namespace zorel::cli {

// The name of this machine; empty when it has none.
std::string HostName();

}  // namespace zorel::cli
