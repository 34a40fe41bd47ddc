// The class as automation clients use it: by names, with whatever variants they have.
#include "tests/bindings/com/com_fixture.h"

using namespace quorvanti::test;
using testing::ElementsAre;

namespace {

class ComDispatch : public ComTest {
protected:
    DISPID idOf(const wchar_t* name) {
        std::wstring copy = name;
        LPOLESTR names[] = {copy.data()};
        DISPID id = DISPID_UNKNOWN;
        dispatch_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
        return id;
    }
    // Arguments in the order of the declaration; they belong to the caller.
    HRESULT invoke(const wchar_t* name, std::vector<VARIANT> arguments, WORD kind = DISPATCH_METHOD) {
        std::reverse(arguments.begin(), arguments.end());
        DISPID put = DISPID_PROPERTYPUT;
        DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
        if (kind == DISPATCH_PROPERTYPUT) {
            parameters.rgdispidNamedArgs = &put;
            parameters.cNamedArgs = 1;
        }
        VariantClear(result_.place());
        exception_ = {};
        return dispatch_->Invoke(idOf(name), IID_NULL, LOCALE_USER_DEFAULT, kind, &parameters, result_.place(),
                                 &exception_, nullptr);
    }
    std::wstring description() {
        const std::wstring text(exception_.bstrDescription, SysStringLen(exception_.bstrDescription));
        EXPECT_EQ(std::wstring_view(exception_.bstrSource, SysStringLen(exception_.bstrSource)),
                  L"QUORVANTI.SSO2Ticket");
        SysFreeString(exception_.bstrDescription);
        SysFreeString(exception_.bstrSource);
        SysFreeString(exception_.bstrHelpFile);
        return text;
    }
    const VARIANT& text(const std::string& ascii) {
        kept_.push_back(std::make_unique<VariantResult>(std::wstring(ascii.begin(), ascii.end()).c_str()));
        return *kept_.back()->place();
    }

    IDispatch* const dispatch_ = tickets_.get();
    VariantResult result_;
    EXCEPINFO exception_{};
    std::vector<std::unique_ptr<VariantResult>> kept_;
};

TEST_F(ComDispatch, EveryOperationHasItsNameAndNumber) {
    const wchar_t* const names[] = {
        L"EvalLogonTicket",     L"EvalLogonTicket2",      L"CryptLib",      L"ParseCertificate", L"GetVersion",
        L"EvalAssertionTicket", L"CreateAssertionTicket", L"LoadTicketKey", L"SetProperty",      L"GetProperty"};
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(idOf(names[i]), i + 1);
    }
    EXPECT_EQ(idOf(L"evallogonticket"), 1);  // names have no case
    EXPECT_EQ(idOf(L"Colour"), DISPID_UNKNOWN);
}

TEST_F(ComDispatch, OperationsAreCalledByName) {
    EXPECT_EQ(invoke(L"CryptLib", {text(crypto_.path())}, DISPATCH_PROPERTYPUT), S_OK);
    EXPECT_EQ(invoke(L"GetVersion", {}), S_OK);
    EXPECT_EQ(result_.type(), VT_I4);
    EXPECT_EQ(result_.value().lVal, 15);
    EXPECT_EQ(invoke(L"SetProperty", {text("KAV_OWN_CLIENT"), text("200")}), S_OK);
    EXPECT_EQ(invoke(L"GetProperty", {text("KAV_OWN_CLIENT")}), S_OK);
    EXPECT_EQ(std::wstring(result_.value().bstrVal), L"200");
    EXPECT_EQ(invoke(L"EvalLogonTicket", {text(logon()), text("keys.pse"), text("secret")}), S_OK);
    EXPECT_EQ(result_.texts().at(0), L"JDOE");
    const std::string assertion = signedTicket(TicketBuilder::assertion(std::time(nullptr), "DEV", "200"));
    // A number where a text is wanted, as scripts write it.
    EXPECT_EQ(invoke(L"EvalAssertionTicket",
                     {text(assertion), text("keys.pse"), text("secret"), text("DEV"), VariantResult(200).value()}),
              S_OK);
    EXPECT_EQ(result_.texts().size(), 7U);
    crypto_->certificateTexts["ISSUER"] = "CN=Issuer";
    EXPECT_EQ(invoke(L"ParseCertificate", {text("QUJDREU="), VariantResult(1).value()}), S_OK);
    EXPECT_EQ(std::wstring(result_.value().bstrVal), L"CN=Issuer");
    EXPECT_EQ(invoke(L"LoadTicketKey", {text("key"), VariantResult(0).value(), VariantResult(2).value()}), S_OK);
}

TEST_F(ComDispatch, ResultsComeBackThroughReferences) {
    start();
    BSTR texts[4] = {};
    std::vector<VARIANT> arguments = {text(logon()), text("keys.pse"), text("secret")};
    for (BSTR& place : texts) {
        VARIANT reference{};
        reference.vt = VT_BSTR | VT_BYREF;
        reference.pbstrVal = &place;
        arguments.push_back(reference);
    }
    EXPECT_EQ(invoke(L"EvalLogonTicket2", arguments), S_OK);
    EXPECT_EQ(std::wstring(texts[0]), L"JDOE");
    EXPECT_EQ(std::wstring(texts[1]), L"100");
    EXPECT_EQ(std::wstring(texts[2]), L"PRD");
    EXPECT_EQ(std::wstring(texts[3]), L"Y2VydGlmaWNhdGUgb2YgdGhlIGRvdWJsZQ==");
    for (BSTR text : texts) {
        SysFreeString(text);
    }
}

TEST_F(ComDispatch, AFailureIsAnExceptionWithNumberTextAndSource) {
    EXPECT_EQ(invoke(L"EvalLogonTicket", {text(""), text(""), text("")}), DISP_E_EXCEPTION);
    EXPECT_EQ(static_cast<std::uint32_t>(exception_.scode), 0x80070057U);
    EXPECT_EQ(description(), L"Ticket buffer is empty");
    EXPECT_EQ(invoke(L"CryptLib", {text("nowhere.dll")}, DISPATCH_PROPERTYPUT), DISP_E_EXCEPTION);
    EXPECT_EQ(static_cast<std::uint32_t>(exception_.scode), 0x8004000EU);
    EXPECT_EQ(description(), L"Initialization failed with error code 14");
}

TEST_F(ComDispatch, WrongCallsAreRefusedByAutomation) {
    EXPECT_EQ(invoke(L"EvalLogonTicket", {text("AAAA")}), DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(invoke(L"CryptLib", {}, DISPATCH_PROPERTYGET), DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(invoke(L"Colour", {}), DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(invoke(L"LoadTicketKey", {text("key"), text("first"), VariantResult(2).value()}), DISP_E_TYPEMISMATCH);
    DISPPARAMS none{};
    EXPECT_EQ(dispatch_->Invoke(5, kTicketValidator, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
              DISP_E_UNKNOWNINTERFACE);
    LPOLESTR name[] = {nullptr};
    DISPID id = 0;
    EXPECT_EQ(dispatch_->GetIDsOfNames(kTicketValidator, name, 1, 0, &id), DISP_E_UNKNOWNINTERFACE);
}

TEST_F(ComDispatch, TheTypeInformationDescribesTheInterface) {
    UINT count = 0;
    EXPECT_EQ(dispatch_->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1U);
    ITypeInfo* handed = nullptr;
    EXPECT_EQ(dispatch_->GetTypeInfo(1, 0, &handed), DISP_E_BADINDEX);
    EXPECT_EQ(handed, nullptr);
    ASSERT_EQ(dispatch_->GetTypeInfo(0, 0, &handed), S_OK);
    const Held<ITypeInfo> information(handed);
    BstrResult name;
    BstrResult help;
    ASSERT_EQ(information->GetDocumentation(MEMBERID_NIL, name.place(), help.place(), nullptr, nullptr), S_OK);
    EXPECT_EQ(name.text(), L"ITicketValidator");
    EXPECT_EQ(help.text(), L"ITicketValidator Interface");
    EXPECT_EQ(dispatch_->GetTypeInfoCount(nullptr), E_POINTER);
    EXPECT_EQ(dispatch_->GetTypeInfo(0, 0, nullptr), E_POINTER);
}

// One member of the type library: its help text and the names of its parameters.
struct Member {
    DISPID id;
    INVOKEKIND kind;
    const wchar_t* help;
    std::vector<std::wstring> names;
};

TEST_F(ComDispatch, TheTypeLibraryNamesEveryOperationAndItsParametersInTheOrderOfTheSlots) {
    ITypeInfo* handed = nullptr;
    ASSERT_EQ(dispatch_->GetTypeInfo(0, 0, &handed), S_OK);
    const Held<ITypeInfo> information(handed);
    const Member members[] = {
        {1, INVOKE_FUNC, L"method EvalLogonTicket", {L"EvalLogonTicket", L"ticket", L"AddrBook", L"Password"}},
        {2,
         INVOKE_FUNC,
         L"method EvalLogonTicket2",
         {L"EvalLogonTicket2", L"ticket", L"AddrBook", L"Password", L"user", L"client", L"sysid", L"certificate"}},
        {3, INVOKE_PROPERTYPUT, L"property CryptLib", {L"CryptLib"}},
        {4, INVOKE_FUNC, L"method ParseCertificate", {L"ParseCertificate", L"certificate", L"req_info"}},
        {5, INVOKE_FUNC, L"method GetVersion", {L"GetVersion"}},
        {6,
         INVOKE_FUNC,
         L"method EvalAssertionTicket",
         {L"EvalAssertionTicket", L"ticket", L"AddrBook", L"Password", L"sysid", L"SysClient"}},
        {7,
         INVOKE_FUNC,
         L"method CreateAssertionTicket",
         {L"CreateAssertionTicket", L"MySysId", L"MySysClient", L"AddrBook", L"Password", L"ExtSysId", L"ExtSysClient",
          L"user", L"Langu", L"PortalId", L"AuthSchema"}},
        {8, INVOKE_FUNC, L"method LoadTicketKey", {L"LoadTicketKey", L"key", L"key_index", L"key_type"}},
        {9, INVOKE_FUNC, L"method SetProperty", {L"SetProperty", L"param", L"value"}},
        {10, INVOKE_FUNC, L"method GetProperty", {L"GetProperty", L"param"}},
    };
    // The view with slots of a dual interface.
    HREFTYPE reference = 0;
    ASSERT_EQ(information->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
    ASSERT_EQ(information->GetRefTypeInfo(reference, &handed), S_OK);
    const Held<ITypeInfo> slots(handed);
    UINT index = 0;
    for (const Member& member : members) {
        FUNCDESC* function = nullptr;
        ASSERT_EQ(slots->GetFuncDesc(index, &function), S_OK);
        EXPECT_EQ(function->memid, member.id);
        EXPECT_EQ(function->invkind, member.kind);
        EXPECT_EQ(function->oVft, static_cast<SHORT>((7 + index) * sizeof(void*)));
        slots->ReleaseFuncDesc(function);
        BstrResult help;
        EXPECT_EQ(slots->GetDocumentation(member.id, nullptr, help.place(), nullptr, nullptr), S_OK);
        EXPECT_EQ(help.text(), member.help);
        BSTR names[12] = {};
        UINT count = 0;
        EXPECT_EQ(information->GetNames(member.id, names, 12, &count), S_OK);
        std::vector<std::wstring> found;
        for (UINT i = 0; i < count; ++i) {
            found.emplace_back(names[i], SysStringLen(names[i]));
            SysFreeString(names[i]);
        }
        EXPECT_EQ(found, member.names);
        ++index;
    }
    FUNCDESC* beyond = nullptr;
    EXPECT_TRUE(FAILED(slots->GetFuncDesc(index, &beyond)));
}

TEST_F(ComDispatch, TheTypeLibraryHasItsNameAndClass) {
    ITypeInfo* handed = nullptr;
    ASSERT_EQ(dispatch_->GetTypeInfo(0, 0, &handed), S_OK);
    const Held<ITypeInfo> information(handed);
    ITypeLib* contained = nullptr;
    UINT index = 0;
    ASSERT_EQ(information->GetContainingTypeLib(&contained, &index), S_OK);
    const Held<ITypeLib> library(contained);
    BstrResult help;
    EXPECT_EQ(library->GetDocumentation(-1, nullptr, help.place(), nullptr, nullptr), S_OK);
    EXPECT_EQ(help.text(), L"QUORVANTI 1.0 Type Library");
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->wMajorVerNum, 1);
    EXPECT_EQ(attributes->wMinorVerNum, 0);
    EXPECT_EQ(attributes->lcid, 0U);
    wchar_t id[40];
    StringFromGUID2(attributes->guid, id, 40);
    EXPECT_STREQ(id, L"{431AC601-7746-11D4-B2D5-0050DAE0619B}");
    library->ReleaseTLibAttr(attributes);
    ASSERT_EQ(library->GetTypeInfoOfGuid(kSso2Ticket, &handed), S_OK);
    const Held<ITypeInfo> coclass(handed);
    BstrResult name;
    BstrResult classHelp;
    EXPECT_EQ(coclass->GetDocumentation(MEMBERID_NIL, name.place(), classHelp.place(), nullptr, nullptr), S_OK);
    EXPECT_EQ(name.text(), L"SSO2Ticket");
    EXPECT_EQ(classHelp.text(), L"SSO2Ticket Class");
}

}  // namespace
