// The COM pointer that the library shares with its clients.
#pragma once

#include "ZorelClient.h"

namespace automation {

using zorel::client::CComPtr;

}  // namespace automation
