#include "same_files/write_files.h"

zorel::client::CComPtr<IOibIdxLib> NewLibrary() {
    return zorel::client::CreateLibrary();
}
