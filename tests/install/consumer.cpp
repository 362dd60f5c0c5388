// A client as others write one: it has nothing but what an installation gives.
#include <ZorelAutomation.h>
#include <ZorelOibIdxLib.h>
#include <ZorelText.h>

#include <cstdio>

int main() {
    IOibIdxLib* library = nullptr;
    if (FAILED(CreateOibIdxLib(nullptr, &IID_IOibIdxLib, reinterpret_cast<void**>(&library)))) {
        std::puts("the library object cannot be created");
        return 1;
    }
    BSTR missing = SysAllocString(zorel::ToUtf16("/no/such/catalogue.dat").c_str());
    IOibDFBrowser* browser = nullptr;
    const HRESULT opened = library->BrowseOibDF(missing, &browser);
    SysFreeString(missing);

    IErrorInfo* info = nullptr;
    BSTR description = nullptr;
    if (SUCCEEDED(opened) || GetErrorInfo(0, &info) != S_OK ||
        FAILED(info->GetDescription(&description)) || SysStringLen(description) == 0) {
        std::puts("a missing catalogue is not refused with a description");
        return 1;
    }
    std::puts(zorel::ToUtf8(description).c_str());
    SysFreeString(description);
    info->Release();
    library->Release();
    return DllCanUnloadNow() == S_OK ? 0 : 1;
}
