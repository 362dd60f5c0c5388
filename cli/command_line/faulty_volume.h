#pragma once

#include <optional>
#include <string>

#include "ZorelClient.h"

namespace zorel::cli {

// The failure of the first volume of a catalogue that the library cannot search, with the data
// file as its subject. None when `path` names no list of volumes or every volume can be searched.
std::optional<client::CError> FindFaultyVolume(const std::string& path);

}  // namespace zorel::cli
