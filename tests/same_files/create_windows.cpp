#include "same_files/write_files.h"

zorel::client::CComPtr<IOibIdxLib> NewLibrary() {
    zorel::client::Check(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
    return zorel::client::CreateLibrary();
}
