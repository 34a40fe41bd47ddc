#include "bindings/com/registration.h"

#include "bindings/com/class_factory.h"
#include "bindings/com/module.h"
#include "bindings/com/reference.h"
#include "bindings/com/registrar_component.h"

#include <oleauto.h>
#include <quorvanti_com.h>

#include <memory>
#include <new>
#include <string>
#include <type_traits>

namespace quorvanti::com {
namespace {

constexpr UINT kApplicationScript = 101;
constexpr wchar_t kApplicationId[] = L"{431AC602-7746-11D4-B2D5-0050DAE0619B}";
constexpr WORD kMajorVersion = 1;
constexpr WORD kMinorVersion = 0;
constexpr SYSKIND kSystem = SYS_WIN64;

enum class Direction { in, out };

struct KeyClose {
    void operator()(HKEY key) const { RegCloseKey(key); }
};
using Key = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyClose>;

HRESULT opened(HKEY parent, const wchar_t* path, REGSAM access, Key& key) {
    HKEY handle = nullptr;
    const LSTATUS status = RegOpenKeyExW(parent, path, 0, access, &handle);
    key.reset(status == ERROR_SUCCESS ? handle : nullptr);
    return HRESULT_FROM_WIN32(static_cast<unsigned long>(status));
}

bool onlyForUser() {
    Key classes;
    return opened(HKEY_LOCAL_MACHINE, L"Software\\Classes", KEY_READ | KEY_WRITE, classes) == E_ACCESSDENIED;
}

// Where the classes of the machine cannot be written, those of the user take their place in this process meanwhile.
class UserClasses {
public:
    UserClasses() = default;
    ~UserClasses() {
        if (mapped_) {
            RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        }
    }
    UserClasses(const UserClasses&) = delete;
    UserClasses& operator=(const UserClasses&) = delete;

    HRESULT map() {
        HKEY handle = nullptr;
        LSTATUS status = RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Classes", 0, nullptr, REG_OPTION_NON_VOLATILE,
                                         KEY_READ | KEY_WRITE, nullptr, &handle, nullptr);
        if (status == ERROR_SUCCESS) {
            const Key classes(handle);
            status = RegOverridePredefKey(HKEY_CLASSES_ROOT, handle);
            mapped_ = status == ERROR_SUCCESS;
        }
        return HRESULT_FROM_WIN32(static_cast<unsigned long>(status));
    }

private:
    bool mapped_ = false;
};

struct LibraryFree {
    void operator()(HMODULE module) const { FreeLibrary(module); }
};
using Library = std::unique_ptr<std::remove_pointer_t<HMODULE>, LibraryFree>;

Library systemLibrary(const wchar_t* name) {
    return Library(LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
}

template <typename Function>
Function* find(const Library& library, const char* name) {
    return library == nullptr
               ? nullptr
               : reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library.get(), name)));
}

HRESULT newRegistrar(const Library& library, Reference<IRegistrar>& registrar) {
    auto* const getClassObject = find<decltype(DllGetClassObject)>(library, "DllGetClassObject");
    if (getClassObject == nullptr) {
        return HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);
    }
    void* object = nullptr;
    HRESULT result = getClassObject(CLSID_Registrar, IID_IClassFactory, &object);
    if (FAILED(result)) {
        return result;
    }
    const Reference<IClassFactory> factory(static_cast<IClassFactory*>(object));
    result = factory->CreateInstance(nullptr, IID_IRegistrar, &object);
    if (SUCCEEDED(result)) {
        registrar.reset(static_cast<IRegistrar*>(object));
    }
    return result;
}

// Inside a script texts stand between single quotation marks; one of their own is doubled.
std::wstring quotable(const std::wstring& text) {
    std::wstring doubled;
    for (const wchar_t character : text) {
        doubled.append(character == L'\'' ? 2 : 1, character);
    }
    return doubled;
}

class Scripts {
public:
    explicit Scripts(const std::wstring& module) : module_(module) {}

    HRESULT prepare() {
        HRESULT result = newRegistrar(library_, registrar_);
        if (SUCCEEDED(result)) {
            result = registrar_->AddReplacement(L"MODULE", quotable(module_).c_str());
        }
        if (SUCCEEDED(result)) {
            result = registrar_->AddReplacement(L"APPID", kApplicationId);
        }
        return result;
    }
    HRESULT run(UINT script, Direction direction) {
        return direction == Direction::in ? registrar_->ResourceRegister(module_.c_str(), script, L"REGISTRY")
                                          : registrar_->ResourceUnregister(module_.c_str(), script, L"REGISTRY");
    }
    HRESULT runAll(Direction direction) {
        HRESULT result = run(kApplicationScript, direction);
        for (const ClassEntry& entry : classTable()) {
            if (FAILED(result)) {
                break;
            }
            result = run(entry.registryScript, direction);
        }
        return result;
    }

private:
    const std::wstring& module_;
    Library library_ = systemLibrary(L"atl.dll");
    Reference<IRegistrar> registrar_;
};

HRESULT registerTypeLibrary(const std::wstring& module, bool forUser) {
    ITypeLib* loaded = nullptr;
    const HRESULT result = LoadTypeLibEx(module.c_str(), REGKIND_NONE, &loaded);
    if (FAILED(result)) {
        return result;
    }
    const Reference<ITypeLib> types(loaded);
    const Library automation = systemLibrary(L"oleaut32.dll");
    auto* const store =
        find<decltype(RegisterTypeLib)>(automation, forUser ? "RegisterTypeLibForUser" : "RegisterTypeLib");
    std::wstring path = module;
    std::wstring directory = module.substr(0, module.find_last_of(L"\\/"));
    return store == nullptr ? TYPE_E_REGISTRYACCESS : store(types.get(), path.data(), directory.data());
}

HRESULT unregisterTypeLibrary(bool forUser) {
    Key registered;
    if (FAILED(
            opened(HKEY_CLASSES_ROOT, L"TypeLib\\{431AC601-7746-11D4-B2D5-0050DAE0619B}\\1.0", KEY_READ, registered))) {
        return S_OK;  // as for keys that are not there any more
    }
    registered.reset();
    const Library automation = systemLibrary(L"oleaut32.dll");
    auto* const remove =
        find<decltype(UnRegisterTypeLib)>(automation, forUser ? "UnRegisterTypeLibForUser" : "UnRegisterTypeLib");
    return remove == nullptr ? TYPE_E_REGISTRYACCESS
                             : remove(LIBID_QUORVANTILib, kMajorVersion, kMinorVersion, LOCALE_NEUTRAL, kSystem);
}

HRESULT change(Direction direction) noexcept {
    try {
        const std::wstring module = modulePath();
        const bool forUser = onlyForUser();
        UserClasses classes;
        Scripts scripts(module);
        HRESULT result = forUser ? classes.map() : S_OK;
        if (SUCCEEDED(result)) {
            result = scripts.prepare();
        }
        if (SUCCEEDED(result)) {
            result = scripts.runAll(direction);
        }
        if (FAILED(result)) {
            return result;
        }
        return direction == Direction::in ? registerTypeLibrary(module, forUser) : unregisterTypeLibrary(forUser);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace

HRESULT registerServer() noexcept {
    return change(Direction::in);
}

HRESULT unregisterServer() noexcept {
    return change(Direction::out);
}

}  // namespace quorvanti::com
