// A program that brings the library along: its manifest names the class, the registry does not.
#include <quorvanti/quorvanti_com.h>

#include <cstdio>

namespace {

int use(const CLSID& id) {
    ITicketValidator* tickets = nullptr;
    HRESULT result = CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(ITicketValidator),
                                      reinterpret_cast<void**>(&tickets));
    if (FAILED(result)) {
        std::printf("no object: 0x%08lX\n", static_cast<unsigned long>(result));
        return 1;
    }
    long version = 0;
    result = tickets->GetVersion(&version);
    tickets->Release();
    std::printf("version %ld\n", version);
    return FAILED(result) ? 1 : 0;
}

}  // namespace

int main() {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    CLSID id{};
    const HRESULT found = CLSIDFromProgID(L"QUORVANTI.SSO2Ticket", &id);
    int exit = 1;
    if (FAILED(found)) {
        std::printf("no class: 0x%08lX\n", static_cast<unsigned long>(found));
    } else {
        exit = use(id);
    }
    CoUninitialize();
    return exit;
}
