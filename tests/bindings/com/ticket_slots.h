// The interface of the COM class as a client knows it who has nothing but its documentation: identifiers, and
// operations by the place of their slots. Written by hand on purpose, beside what the library is made from.
#pragma once

#include <windows.h>

#include <oleauto.h>

namespace quorvanti::test {

inline constexpr IID kTicketValidator = {0x431AC60D, 0x7746, 0x11D4, {0xB2, 0xD5, 0x00, 0x50, 0xDA, 0xE0, 0x61, 0x9B}};
inline constexpr CLSID kSso2Ticket = {0x431AC60E, 0x7746, 0x11D4, {0xB2, 0xD5, 0x00, 0x50, 0xDA, 0xE0, 0x61, 0x9B}};

struct TicketSlots : public IDispatch {
    virtual HRESULT STDMETHODCALLTYPE slot1(BSTR ticket, BSTR addressBook, BSTR password, VARIANT* userInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE slot2(BSTR ticket, BSTR addressBook, BSTR password, BSTR* user, BSTR* client,
                                            BSTR* systemId, BSTR* certificate) = 0;
    virtual HRESULT STDMETHODCALLTYPE slot3(BSTR cryptoLibrary) = 0;
    virtual HRESULT STDMETHODCALLTYPE slot4(BSTR certificate, VARIANT request, BSTR* information) = 0;
    virtual HRESULT STDMETHODCALLTYPE slot5(long* version) = 0;
    virtual HRESULT STDMETHODCALLTYPE slot6(BSTR ticket, BSTR addressBook, BSTR password, BSTR systemId, BSTR client,
                                            VARIANT* userInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE slot7(BSTR ownSystemId, BSTR ownClient, BSTR addressBook, BSTR password,
                                            BSTR recipientSystemId, BSTR recipientClient, BSTR user, BSTR language,
                                            BSTR portalUser, BSTR authScheme, BSTR* ticket) = 0;
    virtual HRESULT STDMETHODCALLTYPE slot8(BSTR key, long index, long type) = 0;
    virtual HRESULT STDMETHODCALLTYPE slot9(BSTR name, BSTR value) = 0;
    virtual HRESULT STDMETHODCALLTYPE slot10(BSTR name, BSTR* value) = 0;
};

}  // namespace quorvanti::test
