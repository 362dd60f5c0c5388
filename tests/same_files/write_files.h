// Where the program of the comparison gets the library from: one implementation a system.
#pragma once

#include <string_view>

#include "ZorelOibIdxLib.h"

// The library's object, made by the module itself; null when that fails.
IOibIdxLib* CreateLibrary();
