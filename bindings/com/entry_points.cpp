// The four functions with which COM and its installers ask for the class.
#include "bindings/com/class_factory.h"
#include "bindings/com/module.h"
#include "bindings/com/registration.h"

#include <olectl.h>

using namespace quorvanti::com;

STDAPI DllGetClassObject(REFCLSID classId, REFIID id, LPVOID* object) {
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    for (const ClassEntry& entry : classTable()) {
        if (IsEqualCLSID(classId, *entry.id)) {
            return classObject(entry, id, object);
        }
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() {
    return moduleInUse() ? S_FALSE : S_OK;
}

STDAPI DllRegisterServer() {
    return registerServer();
}

STDAPI DllUnregisterServer() {
    return unregisterServer();
}
