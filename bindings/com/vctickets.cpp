// The object as COM sees it: identity, aggregation, IDispatch, ISupportErrorInfo.
#include "bindings/com/vctickets.h"

#include <new>

namespace quorvanti::com {
namespace {

HRESULT loadTypeInformation(Reference<ITypeInfo>& information) noexcept {
    try {
        ITypeLib* library = nullptr;
        HRESULT result = LoadTypeLibEx(modulePath().c_str(), REGKIND_NONE, &library);
        if (FAILED(result)) {
            return result;
        }
        const Reference<ITypeLib> loaded(library);
        ITypeInfo* found = nullptr;
        result = loaded->GetTypeInfoOfGuid(IID_ITicketValidator, &found);
        if (SUCCEEDED(result)) {
            information.reset(found);
        }
        return result;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace

HRESULT VCTickets::create(IUnknown* outer, REFIID id, void** object) noexcept {
    auto* const created = new (std::nothrow) VCTickets(outer);
    if (created == nullptr) {
        return E_OUTOFMEMORY;
    }
    const Reference<IUnknown> own(&created->identity_);
    return own->QueryInterface(id, object);
}

VCTickets::~VCTickets() {
    if (ITypeInfo* const information = typeInformation_.load()) {
        information->Release();
    }
}

HRESULT VCTickets::Identity::QueryInterface(REFIID id, void** object) {
    if (object == nullptr) {
        return E_POINTER;
    }
    IUnknown* found = nullptr;
    if (IsEqualIID(id, IID_IUnknown)) {
        found = this;
    } else if (IsEqualIID(id, IID_ITicketValidator) || IsEqualIID(id, IID_IDispatch)) {
        found = static_cast<ITicketValidator*>(&owner_);
    } else if (IsEqualIID(id, IID_ISupportErrorInfo)) {
        found = static_cast<ISupportErrorInfo*>(&owner_);
    }
    *object = found;
    if (found == nullptr) {
        return E_NOINTERFACE;
    }
    found->AddRef();
    return S_OK;
}

ULONG VCTickets::Identity::AddRef() {
    return ++references_;
}

ULONG VCTickets::Identity::Release() {
    const ULONG left = --references_;
    if (left == 0) {
        delete &owner_;
    }
    return left;
}

HRESULT VCTickets::QueryInterface(REFIID id, void** object) {
    return outer_->QueryInterface(id, object);
}

ULONG VCTickets::AddRef() {
    return outer_->AddRef();
}

ULONG VCTickets::Release() {
    return outer_->Release();
}

HRESULT VCTickets::typeInformation(ITypeInfo** information) {
    *information = typeInformation_;
    if (*information != nullptr) {
        return S_OK;
    }
    Reference<ITypeInfo> loaded;
    const HRESULT result = loadTypeInformation(loaded);
    // A client that breaks the apartment's rules may be here twice: the first one's stays.
    if (SUCCEEDED(result) && typeInformation_.compare_exchange_strong(*information, loaded.get())) {
        *information = loaded.release();
    }
    return result;
}

HRESULT VCTickets::GetTypeInfoCount(UINT* count) {
    if (count == nullptr) {
        return E_POINTER;
    }
    *count = 1;
    return S_OK;
}

HRESULT VCTickets::GetTypeInfo(UINT index, LCID, ITypeInfo** information) {
    if (information == nullptr) {
        return E_POINTER;
    }
    *information = nullptr;
    if (index != 0) {
        return DISP_E_BADINDEX;
    }
    const HRESULT result = typeInformation(information);
    if (SUCCEEDED(result)) {
        (*information)->AddRef();
    }
    return result;
}

HRESULT VCTickets::GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
    if (!IsEqualIID(reserved, IID_NULL)) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    ITypeInfo* information = nullptr;
    const HRESULT result = typeInformation(&information);
    return FAILED(result) ? result : information->GetIDsOfNames(names, count, ids);
}

HRESULT VCTickets::Invoke(DISPID member, REFIID reserved, LCID, WORD kind, DISPPARAMS* arguments, VARIANT* result,
                          EXCEPINFO* exception, UINT* wrongArgument) {
    if (!IsEqualIID(reserved, IID_NULL)) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    ITypeInfo* information = nullptr;
    const HRESULT loaded = typeInformation(&information);
    return FAILED(loaded) ? loaded
                          : information->Invoke(static_cast<ITicketValidator*>(this), member, kind, arguments, result,
                                                exception, wrongArgument);
}

HRESULT VCTickets::InterfaceSupportsErrorInfo(REFIID id) {
    return IsEqualIID(id, IID_ITicketValidator) ? S_OK : S_FALSE;
}

}  // namespace quorvanti::com
