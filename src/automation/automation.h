// The automation types and functions. On Windows this includes system headers, which define
// some of the engines' function names as macros.
#pragma once

#include "ZorelOibIdxLib.h"

#undef CopyFile
#undef CreateProcess
#undef DeleteFile
#undef GetModuleFileName
#undef MoveFile
#undef GetMessage
#undef GetTempFileName
#undef RemoveDirectory
#undef CreateFile
#undef FindFirstFile
#undef FindNextFile
#undef max
#undef min
