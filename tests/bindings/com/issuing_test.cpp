// CreateAssertionTicket, by its slot.
#include "tests/bindings/com/com_fixture.h"

#include <array>

using namespace quorvanti::test;

namespace {

using Arguments = std::array<std::wstring, 10>;

const Arguments kAll = {L"OWN", L"100", L"keys.pse", L"secret", L"EXT", L"200", L"JDOE", L"E", L"jdoe", L"basic"};

class ComIssuing : public ComTest {
protected:
    Outcome create(const Arguments& texts) {
        return outcomeOf(tickets_->slot7(Bstr(texts[0]), Bstr(texts[1]), Bstr(texts[2]), Bstr(texts[3]), Bstr(texts[4]),
                                         Bstr(texts[5]), Bstr(texts[6]), Bstr(texts[7]), Bstr(texts[8]), Bstr(texts[9]),
                                         ticket_.place()));
    }
    static Arguments with(std::size_t index, std::wstring_view text) {
        Arguments arguments = kAll;
        arguments[index] = text;
        return arguments;
    }
    // Whether what was signed last has this field.
    bool signedUnit(char id, std::string_view contents) {
        std::string unit{id, static_cast<char>(contents.size() >> 8), static_cast<char>(contents.size())};
        unit += contents;
        return crypto_.argument("SsfSign", "encoded").find(unit) != std::string::npos;
    }

    BstrResult ticket_;
};

TEST_F(ComIssuing, TheTenTextsArriveInTheirPlaces) {
    start();
    ASSERT_EQ(create(kAll), kSuccess);
    EXPECT_GT(ticket_.text().size(), 40U);
    EXPECT_EQ(ticket_.text().find(L'+'), std::wstring::npos);
    EXPECT_EQ(crypto_.argument("SsfNEWSigRcpSsfInfo", "profile"), "keys.pse");
    EXPECT_EQ(crypto_.argument("SsfNEWSigRcpSsfInfo", "password"), "secret");
    EXPECT_TRUE(signedUnit(0x03, "OWN"));
    EXPECT_TRUE(signedUnit(0x02, "100"));
    EXPECT_TRUE(signedUnit(0x10, "EXT"));
    EXPECT_TRUE(signedUnit(0x0F, "200"));
    EXPECT_TRUE(signedUnit(0x01, "JDOE"));
    EXPECT_TRUE(signedUnit(0x09, "E"));
    EXPECT_TRUE(signedUnit(0x20, "portal:jdoe"));
    EXPECT_TRUE(signedUnit(static_cast<char>(0x88), "basic"));
}

TEST_F(ComIssuing, WhatIsNotNeededMayBeEmpty) {
    start();
    Arguments arguments = kAll;
    arguments[7] = arguments[8] = arguments[9] = L"";
    EXPECT_EQ(create(arguments), kSuccess);
    EXPECT_FALSE(signedUnit(0x20, "portal:"));
    arguments[8] = L"jdoe";
    arguments[6] = L"";
    EXPECT_EQ(create(arguments), kSuccess);
}

TEST_F(ComIssuing, TheOwnIdentityIsRequired) {
    start();
    EXPECT_EQ(create(with(0, L"")), (Outcome{0x80070057, L"System ID is required for Assertion Tickets"}));
    EXPECT_EQ(create(with(1, L"")), (Outcome{0x80070057, L"System client is required for Assertion Tickets"}));
    EXPECT_TRUE(ticket_.null());
    EXPECT_EQ(crypto_.calls("SsfSign"), 0);
}

TEST_F(ComIssuing, AFailureTellsBothCodes) {
    EXPECT_EQ(create(kAll), (Outcome{0x80040009, L"Ticket creation failed. Return codes error=9 and ssf error=0"}));
    start();
    EXPECT_EQ(create(with(4, L"")),
              (Outcome{0x80040017, L"Ticket creation failed. Return codes error=23 and ssf error=0"}));
    Arguments nobody = with(6, L"");
    nobody[8] = L"";
    EXPECT_EQ(create(nobody), (Outcome{0x80040001, L"Ticket creation failed. Return codes error=1 and ssf error=0"}));
    crypto_->functions["SsfSign"].result = 22;
    EXPECT_EQ(create(kAll), (Outcome{0x80040009, L"Ticket creation failed. Return codes error=9 and ssf error=0"}));
    crypto_->signResult = DoubleSigner{.result = 25};
    EXPECT_EQ(create(kAll), (Outcome{0x80040009, L"Ticket creation failed. Return codes error=9 and ssf error=25"}));
    EXPECT_TRUE(ticket_.null());
}

TEST_F(ComIssuing, WhatDoesNotFitOrCannotBeConvertedIsRefused) {
    start();
    const Outcome conversion{0x80040016, L"Multibyte<->Wide char conversion impossible"};
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(create(with(i, std::wstring(128, L'x'))), conversion) << i;
    }
    for (std::size_t i = 0; i < 10; ++i) {
        EXPECT_EQ(create(with(i, std::wstring_view(L"x\0y", 3))), conversion) << i;
    }
    EXPECT_EQ(crypto_.calls("SsfSign"), 0);
}

// A portal user is longer than any field of 128 bytes; how long it may be the engine says.
TEST_F(ComIssuing, APortalUserMayBeLong) {
    start();
    EXPECT_EQ(create(with(8, std::wstring(249, L'p'))), kSuccess);
    EXPECT_TRUE(signedUnit(0x20, "portal:" + std::string(249, 'p')));
    EXPECT_EQ(create(with(8, std::wstring(257, L'p'))),
              (Outcome{0x80040001, L"Ticket creation failed. Return codes error=1 and ssf error=0"}));
}

TEST_F(ComIssuing, UsersAreUnicode) {
    start();
    EXPECT_EQ(create(with(6, L"J\x00FCrgen \xD83D\xDE00")), kSuccess);
    EXPECT_TRUE(signedUnit(0x01, "J\xC3\xBCrgen \xF0\x9F\x98\x80"));
}

TEST_F(ComIssuing, WithoutAPlaceForTheTicketNothingIsSigned) {
    start();
    const Bstr text = L"x";
    EXPECT_EQ(outcomeOf(tickets_->slot7(text, text, text, text, text, text, text, text, text, text, nullptr)).result,
              static_cast<std::uint32_t>(E_POINTER));
    EXPECT_EQ(crypto_.calls("SsfSign"), 0);
}

}  // namespace
