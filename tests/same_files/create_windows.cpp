#include "same_files/write_files.h"

IOibIdxLib* CreateLibrary() {
    IOibIdxLib* library = nullptr;
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    ::CoCreateInstance(CLSID_COibIdxLib, nullptr, CLSCTX_INPROC_SERVER, IID_IOibIdxLib,
                       reinterpret_cast<void**>(&library));
    return library;
}
