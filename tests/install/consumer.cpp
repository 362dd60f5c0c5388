// A client that uses only installed files.
#include <ZorelClient.h>

#include <cstdio>

int main() {
    using namespace zorel::client;
    try {
        CComPtr<IOibDFBrowser> browser;
        Check(CreateLibrary()->BrowseOibDF(CString(u"/no/such/catalogue.dat"), browser.Put()));
        std::puts("a missing catalogue is not refused");
        return 1;
    } catch (const CError& error) {
        std::puts(error.what());
        return !error.Description().empty() && ::DllCanUnloadNow() == S_OK ? 0 : 1;
    }
}
