#include "bindings/com/class_factory.h"

#include "bindings/com/module.h"
#include "bindings/com/reference.h"
#include "bindings/com/vctickets.h"

#include <atomic>
#include <new>

namespace quorvanti::com {
namespace {

const ClassEntry kClasses[] = {
    {&CLSID_SSO2Ticket, 102, VCTickets::create},
};

class ClassFactory final : public IClassFactory {
public:
    explicit ClassFactory(CreateObject create) : create_(create) {}
    ClassFactory(const ClassFactory&) = delete;
    ClassFactory& operator=(const ClassFactory&) = delete;

    STDMETHODIMP QueryInterface(REFIID id, void** object) override {
        if (object == nullptr) {
            return E_POINTER;
        }
        const bool known = IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IClassFactory);
        *object = known ? this : nullptr;
        if (!known) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID id, void** object) override {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = nullptr;
        // Whoever makes an object part of another must hold its own identity, or lifetimes get mixed up.
        if (outer != nullptr && !IsEqualIID(id, IID_IUnknown)) {
            return CLASS_E_NOAGGREGATION;
        }
        return create_(outer, id, object);
    }
    STDMETHODIMP LockServer(BOOL lock) override {
        lockModule(lock != FALSE);
        return S_OK;
    }

private:
    ~ClassFactory() = default;

    ModuleUse use_;
    const CreateObject create_;
    std::atomic<ULONG> references_ = 1;
};

}  // namespace

std::span<const ClassEntry> classTable() {
    return kClasses;
}

HRESULT classObject(const ClassEntry& entry, REFIID id, void** object) noexcept {
    const Reference<IClassFactory> factory(new (std::nothrow) ClassFactory(entry.create));
    return factory == nullptr ? E_OUTOFMEMORY : factory->QueryInterface(id, object);
}

}  // namespace quorvanti::com
