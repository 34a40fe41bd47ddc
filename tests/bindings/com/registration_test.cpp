// What regsvr32 writes into the registry and takes out again, key by key.
#include "tests/bindings/com/com_client.h"
#include "tests/bindings/com/registry_snapshot.h"

#include <sddl.h>

#include <filesystem>

using namespace quorvanti::test;

namespace {

const wchar_t kClass[] = L"{431ac60e-7746-11d4-b2d5-0050dae0619b}";

// Everything, below the classes of the machine or of the user. Written by hand, from the documentation.
RegistrySnapshot expectedKeys(const std::wstring& module) {
    const std::wstring classId = L"{431AC60E-7746-11D4-B2D5-0050DAE0619B}";
    const std::wstring typesId = L"{431AC601-7746-11D4-B2D5-0050DAE0619B}";
    const std::wstring applicationId = L"{431AC602-7746-11D4-B2D5-0050DAE0619B}";
    const std::wstring marshaler = L"{00020424-0000-0000-C000-000000000046}";
    const std::wstring object = L"\\clsid\\" + lowerCase(classId);
    const std::wstring types = L"\\typelib\\" + lowerCase(typesId);
    const std::wstring face = L"\\interface\\{431ac60d-7746-11d4-b2d5-0050dae0619b}";
    const std::wstring application = L"\\appid\\" + lowerCase(applicationId);
    return {
        {L"\\quorvanti.sso2ticket.1", L""},
        {L"\\quorvanti.sso2ticket.1@", L"SSO2Ticket Class"},
        {L"\\quorvanti.sso2ticket.1\\clsid", L""},
        {L"\\quorvanti.sso2ticket.1\\clsid@", classId},
        {L"\\quorvanti.sso2ticket", L""},
        {L"\\quorvanti.sso2ticket@", L"SSO2Ticket Class"},
        {L"\\quorvanti.sso2ticket\\clsid", L""},
        {L"\\quorvanti.sso2ticket\\clsid@", classId},
        {L"\\quorvanti.sso2ticket\\curver", L""},
        {L"\\quorvanti.sso2ticket\\curver@", L"QUORVANTI.SSO2Ticket.1"},
        {object, L""},
        {object + L"@", L"Tickets Class"},
        {object + L"@appid", applicationId},
        {object + L"\\progid", L""},
        {object + L"\\progid@", L"QUORVANTI.SSO2Ticket.1"},
        {object + L"\\versionindependentprogid", L""},
        {object + L"\\versionindependentprogid@", L"QUORVANTI.SSO2Ticket"},
        {object + L"\\programmable", L""},
        {object + L"\\inprocserver32", L""},
        {object + L"\\inprocserver32@", module},
        {object + L"\\inprocserver32@threadingmodel", L"Apartment"},
        {object + L"\\typelib", L""},
        {object + L"\\typelib@", typesId},
        {application, L""},
        {application + L"@", L"quorvanti"},
        {L"\\appid\\quorvanti.dll", L""},
        {L"\\appid\\quorvanti.dll@appid", applicationId},
        {types, L""},
        {types + L"\\1.0", L""},
        {types + L"\\1.0@", L"QUORVANTI 1.0 Type Library"},
        {types + L"\\1.0\\0", L""},
        {types + L"\\1.0\\0\\win64", L""},
        {types + L"\\1.0\\0\\win64@", module},
        {types + L"\\1.0\\flags", L""},
        {types + L"\\1.0\\helpdir", L""},
        {types + L"\\1.0\\helpdir@", module.substr(0, module.find_last_of(L'\\'))},
        {face, L""},
        {face + L"@", L"ITicketValidator"},
        {face + L"\\proxystubclsid32", L""},
        {face + L"\\proxystubclsid32@", marshaler},
        {face + L"\\typelib", L""},
        {face + L"\\typelib@", typesId},
        {face + L"\\typelib@version", L"1.0"},
    };
}

// What the platform adds of its own, and how it mirrors keys for programs of 32 bits, is its business.
RegistrySnapshot ours(RegistrySnapshot snapshot) {
    std::erase_if(snapshot, [](const auto& entry) {
        return entry.first.starts_with(L"\\wow6432node") || entry.first.ends_with(L"\\1.0\\flags@") ||
               entry.first.find(L"\\proxystubclsid@") != std::wstring::npos ||
               entry.first.ends_with(L"\\proxystubclsid");
    });
    return snapshot;
}

RegistrySnapshot machineClasses() {
    return snapshotOf(HKEY_LOCAL_MACHINE, L"Software\\Classes");
}

RegistrySnapshot userClasses() {
    return snapshotOf(HKEY_CURRENT_USER, L"Software\\Classes");
}

std::wstring libraryPath() {
    const HMODULE module = LoadLibraryA(QUORVANTI_DLL);
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(module, path, MAX_PATH);
    FreeLibrary(module);  // who loads it further on is to be seen
    return path;
}

DWORD regsvr32(const std::wstring& options, const std::wstring& module) {
    std::wstring line = L"regsvr32.exe /s " + options + L" \"" + module + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process) ==
        FALSE) {
        return GetLastError();
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code;
}

std::string narrow(const RegistrySnapshot& snapshot) {
    std::string lines;
    for (const auto& [path, text] : snapshot) {
        lines += std::string(path.begin(), path.end()) + " = " + std::string(text.begin(), text.end()) + "\n";
    }
    return lines;
}

class ComRegistration : public testing::Test {
protected:
    void SetUp() override {
        // Whatever an earlier run that was broken off has left.
        regsvr32(L"/u", libraryPath());
        machineBefore_ = machineClasses();
        userBefore_ = userClasses();
        ASSERT_GT(machineBefore_.size(), 1000U);
        ASSERT_TRUE(machineBefore_.contains(L"\\clsid") && machineBefore_.contains(L"\\appid"));
        ASSERT_FALSE(machineBefore_.contains(L"\\quorvanti.sso2ticket"));
    }

    RegistrySnapshot machineBefore_;
    RegistrySnapshot userBefore_;
};

TEST_F(ComRegistration, WritesWhatIsDocumentedAndTakesAllOfItOutAgain) {
    const std::wstring module = libraryPath();
    for (int round = 0; round < 2; ++round) {  // what was registered can be registered over
        ASSERT_EQ(regsvr32(L"", module), 0U);
        const RegistrySnapshot after = machineClasses();
        EXPECT_EQ(narrow(ours(difference(after, machineBefore_))), narrow(expectedKeys(module)));
        EXPECT_EQ(narrow(difference(machineBefore_, after)), "");
        EXPECT_EQ(narrow(userClasses()), narrow(userBefore_));
    }
    for (int round = 0; round < 2; ++round) {  // what is gone can be taken out
        EXPECT_EQ(regsvr32(L"/u", module), 0U);
        const RegistrySnapshot gone = machineClasses();
        EXPECT_EQ(narrow(difference(gone, machineBefore_)), "");
        EXPECT_EQ(narrow(difference(machineBefore_, gone)), "");
    }
}

TEST_F(ComRegistration, TheNamesLeadToTheClassAndTheClassToTheLibrary) {
    ASSERT_EQ(regsvr32(L"", libraryPath()), 0U);
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    for (const wchar_t* const name : {L"QUORVANTI.SSO2Ticket", L"QUORVANTI.SSO2Ticket.1"}) {
        CLSID found{};
        ASSERT_EQ(CLSIDFromProgID(name, &found), S_OK);
        EXPECT_TRUE(IsEqualCLSID(found, kSso2Ticket));
        void* object = nullptr;
        ASSERT_EQ(CoCreateInstance(found, nullptr, CLSCTX_INPROC_SERVER, kTicketValidator, &object), S_OK);
        const Held<TicketSlots> tickets(static_cast<TicketSlots*>(object));
        long version = 0;
        EXPECT_EQ(tickets->slot5(&version), S_OK);
        EXPECT_EQ(version, 15);
    }
    CoUninitialize();
    EXPECT_EQ(regsvr32(L"/u", libraryPath()), 0U);
}

TEST_F(ComRegistration, TheLibraryLeavesTheProcessWhenItIsUnusedAndComesBack) {
    ASSERT_EQ(regsvr32(L"", libraryPath()), 0U);
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    for (int round = 0; round < 10; ++round) {
        {
            void* object = nullptr;
            ASSERT_EQ(CoCreateInstance(kSso2Ticket, nullptr, CLSCTX_INPROC_SERVER, kTicketValidator, &object), S_OK);
            const Held<TicketSlots> tickets(static_cast<TicketSlots*>(object));
            BstrResult none;
            EXPECT_EQ(static_cast<std::uint32_t>(tickets->slot10(Bstr(L"KAV_COLOUR"), none.place())), 0x80040009U);
            CoFreeUnusedLibrariesEx(0, 0);
            long version = 0;
            EXPECT_EQ(tickets->slot5(&version), S_OK);
            EXPECT_NE(GetModuleHandleW(L"quorvanti.dll"), nullptr);
        }
        CoFreeUnusedLibrariesEx(0, 0);
        EXPECT_EQ(GetModuleHandleW(L"quorvanti.dll"), nullptr) << round;
    }
    CoUninitialize();
    EXPECT_EQ(regsvr32(L"/u", libraryPath()), 0U);
}

// An object for one apartment, wanted in another: the client gets a proxy, which automation makes from the type
// library.
TEST_F(ComRegistration, AClientOfTheMultithreadedApartmentIsGivenAProxy) {
    ASSERT_EQ(regsvr32(L"", libraryPath()), 0U);
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    {
        void* object = nullptr;
        ASSERT_EQ(CoCreateInstance(kSso2Ticket, nullptr, CLSCTX_INPROC_SERVER, kTicketValidator, &object), S_OK);
        const Held<TicketSlots> tickets(static_cast<TicketSlots*>(object));
        HMODULE code = nullptr;
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           **reinterpret_cast<const wchar_t***>(object), &code);
        EXPECT_NE(code, GetModuleHandleW(L"quorvanti.dll"));  // not the object itself
        long version = 0;
        EXPECT_EQ(tickets->slot5(&version), S_OK);
        EXPECT_EQ(version, 15);
        BstrResult names;
        EXPECT_EQ(tickets->slot10(Bstr(L""), names.place()), S_OK);
        EXPECT_NE(names.text().find(L"KAV_OWN_SYSID"), std::wstring::npos);
        BstrResult none;
        EXPECT_EQ(static_cast<std::uint32_t>(tickets->slot10(Bstr(L"KAV_COLOUR"), none.place())), 0x80040009U);
    }
    CoUninitialize();
    EXPECT_EQ(regsvr32(L"/u", libraryPath()), 0U);
}

TEST_F(ComRegistration, AnyPathOfTheLibraryIsWrittenAsItIs) {
    const std::filesystem::path directory =
        std::filesystem::temp_directory_path() / L"quorvanti it's f\x00FCll %APPID%";
    std::filesystem::create_directories(directory);
    const std::filesystem::path module = directory / L"quorvanti.dll";
    std::filesystem::copy_file(libraryPath(), module, std::filesystem::copy_options::overwrite_existing);
    ASSERT_EQ(regsvr32(L"", module.wstring()), 0U);
    EXPECT_EQ(narrow(ours(difference(machineClasses(), machineBefore_))), narrow(expectedKeys(module.wstring())));
    EXPECT_EQ(regsvr32(L"/u", module.wstring()), 0U);
    EXPECT_EQ(narrow(difference(machineClasses(), machineBefore_)), "");
    std::filesystem::remove_all(directory);
}

// A registry in which the classes of the machine cannot be written, in the place of the real one.
class UserOnly {
public:
    UserOnly() {
        RegDeleteTreeW(HKEY_CURRENT_USER, kPlace);
        const HKEY machine = create(L"Software\\QuorvantiTest\\Machine");
        const HKEY user = create(L"Software\\QuorvantiTest\\User");
        const HKEY classes = create(L"Software\\QuorvantiTest\\Machine\\Software\\Classes");
        PSECURITY_DESCRIPTOR onlyReading = nullptr;
        ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:P(A;;KR;;;WD)", SDDL_REVISION_1, &onlyReading,
                                                             nullptr);
        EXPECT_EQ(RegSetKeySecurity(classes, DACL_SECURITY_INFORMATION, onlyReading), ERROR_SUCCESS);
        LocalFree(onlyReading);
        EXPECT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine), ERROR_SUCCESS);
        EXPECT_EQ(RegOverridePredefKey(HKEY_CURRENT_USER, user), ERROR_SUCCESS);
        RegCloseKey(classes);
        RegCloseKey(user);
        RegCloseKey(machine);
    }
    ~UserOnly() {
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegDeleteTreeW(HKEY_CURRENT_USER, kPlace);
    }
    UserOnly(const UserOnly&) = delete;
    UserOnly& operator=(const UserOnly&) = delete;

private:
    static constexpr wchar_t kPlace[] = L"Software\\QuorvantiTest";

    static HKEY create(const wchar_t* path) {
        HKEY key = nullptr;
        EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
                  ERROR_SUCCESS);
        return key;
    }
};

TEST_F(ComRegistration, WhoMayNotWriteForTheMachineRegistersForHimself) {
    const ComLibrary library;
    const std::wstring module = libraryPath();
    {
        const UserOnly userOnly;
        ASSERT_EQ(machineClasses().size(), 0U);
        ASSERT_EQ(library.find<HRESULT STDAPICALLTYPE()>("DllRegisterServer")(), S_OK);
        RegistrySnapshot expected = expectedKeys(module);
        expected[L"\\appid"];
        expected[L"\\clsid"];
        expected[L"\\interface"];
        expected[L"\\typelib"];
        EXPECT_EQ(narrow(ours(userClasses())), narrow(expected));
        EXPECT_EQ(machineClasses().size(), 0U);
        ASSERT_EQ(library.find<HRESULT STDAPICALLTYPE()>("DllUnregisterServer")(), S_OK);
        const RegistrySnapshot left = userClasses();
        EXPECT_FALSE(left.contains(L"\\quorvanti.sso2ticket"));
        EXPECT_FALSE(left.contains(std::wstring(L"\\clsid\\") + kClass));
        EXPECT_TRUE(left.contains(L"\\clsid"));
        EXPECT_TRUE(left.contains(L"\\appid"));
    }
    EXPECT_EQ(narrow(difference(machineClasses(), machineBefore_)), "");
    EXPECT_EQ(narrow(difference(userClasses(), userBefore_)), "");
}

TEST_F(ComRegistration, TheLibraryCarriesScriptsTextAndTypes) {
    const HMODULE module = LoadLibraryA(QUORVANTI_DLL);
    EXPECT_NE(FindResourceW(module, MAKEINTRESOURCEW(101), L"REGISTRY"), nullptr);
    EXPECT_NE(FindResourceW(module, MAKEINTRESOURCEW(102), L"REGISTRY"), nullptr);
    EXPECT_NE(FindResourceW(module, MAKEINTRESOURCEW(1), L"TYPELIB"), nullptr);
    wchar_t text[32] = {};
    EXPECT_EQ(LoadStringW(module, 7, text, 32), 9);
    EXPECT_STREQ(text, L"quorvanti");
}

}  // namespace
