// The automation types and calls as the automation classes see them. The only header of
// the port that brings system headers along.
#pragma once

#include "ZorelOibIdxLib.h"

#if defined(_WIN32)
// windows.h turns these names into macros; the engines use them as function names.
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
#endif
