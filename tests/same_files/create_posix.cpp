#include "same_files/write_files.h"

IOibIdxLib* CreateLibrary() {
    IOibIdxLib* library = nullptr;
    ::CreateOibIdxLib(nullptr, &IID_IOibIdxLib, reinterpret_cast<void**>(&library));
    return library;
}
