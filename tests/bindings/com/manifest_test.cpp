// The class without a single key in the registry: through the manifest that is delivered.
#include "tests/bindings/com/com_client.h"
#include "tests/support/temporary_directory.h"

using namespace quorvanti::test;

namespace {

// What a program says that wants the class so.
constexpr char kProgramManifest[] = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">
  <assemblyIdentity type="win32" name="Program" version="1.0.0.0" processorArchitecture="amd64"/>
  <dependency>
    <dependentAssembly>
      <assemblyIdentity type="win32" name="QUORVANTI.SSO2Ticket" version="15.0.0.0" processorArchitecture="amd64"/>
    </dependentAssembly>
  </dependency>
</assembly>
)";

// The context that the loader makes of a program's manifest, for a scope.
class Context {
public:
    explicit Context(const std::wstring& manifest) {
        ACTCTXW description{};
        description.cbSize = sizeof description;
        description.lpSource = manifest.c_str();
        handle_ = CreateActCtxW(&description);
        EXPECT_NE(handle_, INVALID_HANDLE_VALUE) << GetLastError();
        EXPECT_NE(ActivateActCtx(handle_, &cookie_), FALSE);
    }
    ~Context() {
        DeactivateActCtx(0, cookie_);
        ReleaseActCtx(handle_);
    }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

private:
    HANDLE handle_ = INVALID_HANDLE_VALUE;
    ULONG_PTR cookie_ = 0;
};

class ComManifest : public testing::Test {
protected:
    ComManifest() {
        namespace fs = std::filesystem;
        fs::copy_file(QUORVANTI_DLL, directory_.path() / "quorvanti.dll");
        fs::copy_file(QUORVANTI_MANIFEST, directory_.path() / "QUORVANTI.SSO2Ticket.manifest");
        writeFile(directory_.file("program.manifest"), kProgramManifest);
    }

    const TemporaryDirectory directory_;
};

TEST_F(ComManifest, AProgramFindsTheClassByItsManifest) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    {
        const Context context((directory_.path() / "program.manifest").wstring());
        for (const wchar_t* const name : {L"QUORVANTI.SSO2Ticket", L"QUORVANTI.SSO2Ticket.1"}) {
            CLSID found{};
            ASSERT_EQ(CLSIDFromProgID(name, &found), S_OK);
            void* object = nullptr;
            ASSERT_EQ(CoCreateInstance(found, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, &object), S_OK);
            const Held<IDispatch> tickets(static_cast<IDispatch*>(object));
            VariantResult version;
            DISPPARAMS none{};
            EXPECT_EQ(tickets->Invoke(5, IID_NULL, 0, DISPATCH_METHOD, &none, version.place(), nullptr, nullptr), S_OK);
            EXPECT_EQ(version.value().lVal, 15);
            wchar_t path[MAX_PATH] = {};
            GetModuleFileNameW(GetModuleHandleW(L"quorvanti.dll"), path, MAX_PATH);
            EXPECT_EQ(std::filesystem::path(path), directory_.path() / "quorvanti.dll");
        }
    }
    CoUninitialize();
}

}  // namespace
