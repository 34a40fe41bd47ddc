// The COM class SSO2Ticket. Its operations convert their arguments, call the plain functions and pack what comes back.
#pragma once

#include "bindings/com/module.h"
#include "bindings/com/reference.h"

#include <quorvanti_com.h>

#include <atomic>

namespace quorvanti::com {

class VCTickets final : public ITicketValidator, public ISupportErrorInfo {
public:
    // As IClassFactory::CreateInstance; with an outer object only IUnknown can be asked for.
    static HRESULT create(IUnknown* outer, REFIID id, void** object) noexcept;

    VCTickets(const VCTickets&) = delete;
    VCTickets& operator=(const VCTickets&) = delete;

    STDMETHODIMP QueryInterface(REFIID id, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** information) override;
    STDMETHODIMP GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
    STDMETHODIMP Invoke(DISPID member, REFIID reserved, LCID locale, WORD kind, DISPPARAMS* arguments, VARIANT* result,
                        EXCEPINFO* exception, UINT* wrongArgument) override;

    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID id) override;

    STDMETHODIMP EvalLogonTicket(BSTR ticket, BSTR addressBook, BSTR password, VARIANT* userInfo) override;
    STDMETHODIMP EvalLogonTicket2(BSTR ticket, BSTR addressBook, BSTR password, BSTR* user, BSTR* client,
                                  BSTR* systemId, BSTR* certificate) override;
    STDMETHODIMP put_CryptLib(BSTR name) override;
    STDMETHODIMP ParseCertificate(BSTR certificate, VARIANT request, BSTR* information) override;
    STDMETHODIMP GetVersion(long* version) override;
    STDMETHODIMP EvalAssertionTicket(BSTR ticket, BSTR addressBook, BSTR password, BSTR systemId, BSTR client,
                                     VARIANT* userInfo) override;
    STDMETHODIMP CreateAssertionTicket(BSTR ownSystemId, BSTR ownClient, BSTR addressBook, BSTR password,
                                       BSTR recipientSystemId, BSTR recipientClient, BSTR user, BSTR language,
                                       BSTR portalUser, BSTR authScheme, BSTR* ticket) override;
    STDMETHODIMP LoadTicketKey(BSTR key, long index, long type) override;
    STDMETHODIMP SetProperty(BSTR name, BSTR value) override;
    STDMETHODIMP GetProperty(BSTR name, BSTR* value) override;

private:
    // The object's own identity: what holds it, whether or not it is part of another object.
    class Identity final : public IUnknown {
    public:
        explicit Identity(VCTickets& owner) : owner_(owner) {}
        STDMETHODIMP QueryInterface(REFIID id, void** object) override;
        STDMETHODIMP_(ULONG) AddRef() override;
        STDMETHODIMP_(ULONG) Release() override;

    private:
        VCTickets& owner_;
        std::atomic<ULONG> references_ = 1;
    };

    explicit VCTickets(IUnknown* outer) : identity_(*this), outer_(outer != nullptr ? outer : &identity_) {}
    ~VCTickets();

    // Read from the library's own resource on the first use: no registration is needed. Not counted for the caller.
    HRESULT typeInformation(ITypeInfo** information);

    ModuleUse use_;
    Identity identity_;
    IUnknown* const outer_;  // not counted: it holds this object
    std::atomic<ITypeInfo*> typeInformation_ = nullptr;
};

}  // namespace quorvanti::com
