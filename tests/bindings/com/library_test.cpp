// CryptLib, ParseCertificate, GetVersion, LoadTicketKey, SetProperty and GetProperty, by their slots.
#include "tests/bindings/com/com_fixture.h"

using namespace quorvanti::test;

namespace {

const Outcome kConversion{0x80040016, L"Multibyte<->Wide char conversion impossible"};
const Outcome kUnknownRequest{0x80070057, L"Unknown certificate information requested."};

class ComLibraryTest : public ComTest {
protected:
    Outcome init(const Bstr& library) { return outcomeOf(tickets_->slot3(library)); }
    Outcome parse(const Bstr& certificate, const VariantResult& request) {
        return outcomeOf(tickets_->slot4(certificate, request.value(), text_.place()));
    }
    Outcome load(const Bstr& key, long type) { return outcomeOf(tickets_->slot8(key, 0, type)); }
    Outcome set(const Bstr& name, const Bstr& value) { return outcomeOf(tickets_->slot9(name, value)); }
    Outcome get(const Bstr& name) { return outcomeOf(tickets_->slot10(name, text_.place())); }

    BstrResult text_;
};

TEST_F(ComLibraryTest, CryptLibStartsTheEngine) {
    EXPECT_EQ(init(crypto_.path()), kSuccess);
    EXPECT_EQ(init(crypto_.path()), kSuccess);
    EXPECT_EQ(crypto_.calls("kavcr_init"), 1);
}

TEST_F(ComLibraryTest, ALibraryThatCannotBeLoadedIsToldInTextAndNumber) {
    EXPECT_EQ(init(L"nowhere.dll"), (Outcome{0x8004000E, L"Initialization failed with error code 14"}));
    EXPECT_EQ(init(crypto_.path()), kSuccess);
}

TEST_F(ComLibraryTest, WithoutANameThePropertyAndThenTheDefaultNamesAreTried) {
    ASSERT_EQ(set(L"SSF_LIB", L"nowhere.dll"), kSuccess);
    EXPECT_EQ(init(nullptr), (Outcome{0x8004000E, L"Initialization failed with error code 14"}));
    ASSERT_EQ(set(L"SSF_LIB", crypto_.path()), kSuccess);
    EXPECT_EQ(init(L""), kSuccess);
    EXPECT_EQ(crypto_.calls("kavcr_init"), 1);
}

TEST_F(ComLibraryTest, TheNameOfALibraryHas1024Bytes) {
    EXPECT_EQ(init(std::wstring(1023, L'x')).result, 0x8004000EU);
    EXPECT_EQ(init(std::wstring(1024, L'x')), kConversion);
    EXPECT_EQ(init(std::wstring_view(L"a\0b", 3)), kConversion);
}

TEST_F(ComLibraryTest, TheVersionIsThatOfTheInterface) {
    long version = 0;
    EXPECT_EQ(outcomeOf(tickets_->slot5(&version)), kSuccess);
    EXPECT_EQ(version, 15);
    EXPECT_EQ(outcomeOf(tickets_->slot5(nullptr)).result, static_cast<std::uint32_t>(E_POINTER));
}

TEST_F(ComLibraryTest, AnAttributeIsAskedForByNumberOrByName) {
    start();
    const char* const names[] = {"SUBJECT",  "ISSUER",      "SERIALNO", "SUMMARY", "SERIAL",
                                 "VALIDITY", "FINGERPRINT", "ALGID",    "ALL"};
    for (int number = 0; number < 9; ++number) {
        const std::string expected = std::string("text of ") + names[number];
        crypto_->certificateTexts[names[number]] = expected;
        const std::wstring wide(expected.begin(), expected.end());
        const std::wstring name = wide.substr(std::string_view("text of ").size());
        const std::wstring digit = std::to_wstring(number);
        const VariantResult requests[] = {VariantResult(number), VariantResult(name.c_str()),
                                          VariantResult(digit.c_str())};
        for (const VariantResult& request : requests) {
            BstrResult text;
            EXPECT_EQ(outcomeOf(tickets_->slot4(Bstr(L"QUJDREU="), request.value(), text.place())), kSuccess);
            EXPECT_EQ(text.text(), wide);
        }
    }
    EXPECT_EQ(crypto_.argument("SsfCertfromASN1", "der"), "ABCDE");
}

TEST_F(ComLibraryTest, AScriptsVariableIsLookedThrough) {
    start();
    crypto_->certificateTexts["ISSUER"] = "CN=\xC3\x84rger";
    VariantResult number(1);
    VARIANT reference{};
    reference.vt = VT_VARIANT | VT_BYREF;
    reference.pvarVal = number.place();
    EXPECT_EQ(outcomeOf(tickets_->slot4(Bstr(L"QUJDREU="), reference, text_.place())), kSuccess);
    EXPECT_EQ(text_.text(), L"CN=\x00C4rger");
    VARIANT real{};
    real.vt = VT_R8;
    real.dblVal = 1.0;
    BstrResult again;
    EXPECT_EQ(outcomeOf(tickets_->slot4(Bstr(L"QUJDREU="), real, again.place())), kSuccess);
    EXPECT_EQ(again.text(), text_.text());
}

TEST_F(ComLibraryTest, AnUnknownRequestIsRefusedBeforeTheCertificateIsLookedAt) {
    start();
    const Bstr certificate = L"QUJDREU=";
    EXPECT_EQ(parse(certificate, VariantResult(9)), kUnknownRequest);
    EXPECT_EQ(parse(certificate, VariantResult(-1)), kUnknownRequest);
    EXPECT_EQ(parse(certificate, VariantResult(L"COLOUR")), kUnknownRequest);
    EXPECT_EQ(parse(certificate, VariantResult(L"")), kUnknownRequest);
    EXPECT_EQ(parse(certificate, VariantResult()), kUnknownRequest);
    EXPECT_TRUE(text_.null());
    EXPECT_EQ(crypto_.calls("SsfCertfromASN1"), 0);
}

TEST_F(ComLibraryTest, ACertificateThatCannotBeReadIsTold) {
    const VariantResult subject(0);
    const wchar_t unreadable[] = L"BLOB couldn't be converted into certificate structure.";
    EXPECT_EQ(parse(L"QUJDREU=", subject), (Outcome{0x80040009, L"Parsing of certificate failed with error=9"}));
    start();
    EXPECT_EQ(parse(nullptr, subject), (Outcome{0x80070057, unreadable}));
    EXPECT_EQ(parse(L"", subject), (Outcome{0x80070057, unreadable}));
    EXPECT_EQ(crypto_.calls("SsfCertfromASN1"), 0);
    crypto_->functions["SsfCertfromASN1"].result = 17;
    EXPECT_EQ(parse(L"QUJDREU=", subject), (Outcome{0x80040011, unreadable}));
    EXPECT_EQ(parse(L"?", subject), (Outcome{0x80040011, unreadable}));
}

TEST_F(ComLibraryTest, ANameThatCannotBeFlattenedIsToldFromACertificateThatCannotBeRead) {
    start();
    crypto_->certificateTexts["SERIALNO"] = "1";
    EXPECT_EQ(parse(L"QUJDREU=", VariantResult(0)),
              (Outcome{0x80040011, L"Couldn't convert ASN.1 structure into flat name."}));
    EXPECT_EQ(parse(L"QUJDREU=", VariantResult(8)),
              (Outcome{0x80040011, L"Unknown certificate information requested."}));
}

TEST_F(ComLibraryTest, AnAttributeThatIsNoTextIsNotHandedOut) {
    start();
    crypto_->certificateTexts["SUBJECT"] = "CN=\xFF";
    EXPECT_EQ(parse(L"QUJDREU=", VariantResult(0)), kConversion);
    EXPECT_TRUE(text_.null());
    EXPECT_EQ(outcomeOf(tickets_->slot4(Bstr(L"QUJDREU="), VariantResult(0).value(), nullptr)).result,
              static_cast<std::uint32_t>(E_POINTER));
}

TEST_F(ComLibraryTest, AKeyIsLoadedWithItsType) {
    start();
    EXPECT_EQ(load(L"key store", 0), kSuccess);
    EXPECT_EQ(crypto_.calls("kav_load_memory_PSE"), 1);
    EXPECT_EQ(load(L"certificate", 1), kSuccess);
    // A raw key may be of any characters.
    EXPECT_EQ(load(std::wstring_view(L"a\0b", 3), 2), kSuccess);
    EXPECT_EQ(load(std::wstring(8191, L'k'), 2), kSuccess);
}

TEST_F(ComLibraryTest, AKeyThatIsMissingOrOfNoTypeIsRefused) {
    EXPECT_EQ(load(L"key", 2), (Outcome{0x80040009, L"Loading of ticket key failed with error=9"}));
    start();
    EXPECT_EQ(load(nullptr, 2), (Outcome{0x80070057, L"No key provided"}));
    EXPECT_EQ(load(L"", 2), (Outcome{0x80070057, L"No key provided"}));
    EXPECT_EQ(load(L"key", 5), (Outcome{0x80040009, L"Loading of ticket key failed with error=9"}));
    crypto_->functions["kavsecu_decode_cert"].result = 1;
    EXPECT_EQ(load(L"certificate", 1), (Outcome{0x8004000E, L"Loading of ticket key failed with error=14"}));
}

TEST_F(ComLibraryTest, PropertiesAreSetAndReadBack) {
    EXPECT_EQ(set(L"KAV_OWN_SYSID", L"DEV"), kSuccess);
    EXPECT_EQ(get(L"KAV_OWN_SYSID"), kSuccess);
    EXPECT_EQ(text_.text(), L"DEV");
}

TEST_F(ComLibraryTest, AnEmptyValueRestoresTheDefault) {
    for (const Bstr& nothing : {Bstr(nullptr), Bstr(L"")}) {
        ASSERT_EQ(set(L"KAV_OWN_SYSID", L"DEV"), kSuccess);
        EXPECT_EQ(set(L"KAV_OWN_SYSID", nothing), kSuccess);
        BstrResult value;
        EXPECT_EQ(outcomeOf(tickets_->slot10(Bstr(L"KAV_OWN_SYSID"), value.place())), kSuccess);
        EXPECT_EQ(value.text(), L"SYS");
    }
}

TEST_F(ComLibraryTest, WithoutANameTheListOfNamesIsRead) {
    EXPECT_EQ(get(nullptr), kSuccess);
    EXPECT_NE(text_.text().find(L"KAV_OWN_SYSID"), std::wstring::npos);
}

TEST_F(ComLibraryTest, AnUnknownPropertyFails) {
    EXPECT_EQ(set(L"KAV_COLOUR", L"1"), (Outcome{0x80040009, L"Set property failed with error=9"}));
    EXPECT_EQ(set(nullptr, L"1"), (Outcome{0x80040009, L"Set property failed with error=9"}));
    EXPECT_EQ(get(L"KAV_COLOUR"), (Outcome{0x80040009, L"Get property failed"}));
    EXPECT_TRUE(text_.null());
    EXPECT_EQ(get(L"KAV_EXT_TRC"), (Outcome{0x80040009, L"Get property failed"}));
    EXPECT_EQ(outcomeOf(tickets_->slot10(Bstr(L"KAV_OWN_SYSID"), nullptr)).result,
              static_cast<std::uint32_t>(E_POINTER));
    EXPECT_EQ(set(std::wstring_view(L"KAV_OWN_SYSID\0", 14), L"1"), kConversion);
    EXPECT_EQ(set(L"KAV_OWN_SYSID", std::wstring_view(L"A\0B", 3)), kConversion);
    EXPECT_EQ(get(std::wstring_view(L"KAV_OWN_SYSID\0", 14)), kConversion);
}

}  // namespace
