// The function of the comparison program that differs between the systems.
#pragma once

#include "ZorelClient.h"

// Creates the library object; initializes COM first where the system needs it.
zorel::client::CComPtr<IOibIdxLib> NewLibrary();
