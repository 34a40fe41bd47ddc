// The crypto library's own words on its last error.
#include "tests/sec/kavsecu/loaded_table.h"
#include "tests/support/crypto_double/crypto_double.h"

#include <gtest/gtest.h>

#include <memory>

namespace quorvanti::test {
namespace {

struct LastError {
    LastError(SsfFunctionTable& table, std::int32_t code) {
        char* texts[2] = {};
        result = SsfGetLastErrorInfo(table, code, &hasInfo, &texts[0], &length1, &texts[1], &length2);
        text1.reset(texts[0]);
        text2.reset(texts[1]);
    }
    std::int32_t result = -1;
    std::int32_t hasInfo = -1;
    std::int32_t length1 = -1;
    std::int32_t length2 = -1;
    std::unique_ptr<char[]> text1;
    std::unique_ptr<char[]> text2;
};

class LastErrorInfo : public testing::Test {
protected:
    LastErrorInfo() {
        crypto_->errorHasInfo = 1;
        crypto_->errorText1 = "first";
        crypto_->errorText2 = "the second";
        loaded_.load(crypto_.path());
    }
    ~LastErrorInfo() override { EXPECT_TRUE(crypto_->outstanding.empty()); }

    CryptoDouble crypto_;
    LoadedTable loaded_;
};

TEST_F(LastErrorInfo, HandsOutCopiesOfBothTexts) {
    const LastError error(loaded_.table, 22);
    EXPECT_EQ(error.result, 0);
    EXPECT_EQ(error.hasInfo, 1);
    EXPECT_STREQ(error.text1.get(), "first");
    EXPECT_EQ(error.length1, 5);
    EXPECT_STREQ(error.text2.get(), "the second");
    EXPECT_EQ(error.length2, 10);
    EXPECT_EQ(crypto_.argument("SsfSecTKLastErrorInfo", "code"), "22");
    EXPECT_EQ(crypto_.calls("SsfDELSsfOctetstring"), 2);
}

TEST_F(LastErrorInfo, DoesNotAskAboutCodesThatSayAll) {
    for (std::int32_t code = -1; code <= 40; ++code) {
        const bool saysAll = (code >= 0 && code <= 4) || code == 6 || code == 10 || (code >= 16 && code <= 18);
        const int before = crypto_.calls("SsfSecTKLastErrorInfo");
        const LastError error(loaded_.table, code);
        EXPECT_EQ(error.result, 0);
        EXPECT_EQ(crypto_.calls("SsfSecTKLastErrorInfo") - before, saysAll ? 0 : 1) << code;
        EXPECT_EQ(error.text1 == nullptr, saysAll) << code;
        EXPECT_EQ(error.hasInfo, saysAll ? 0 : 1) << code;
    }
}

TEST_F(LastErrorInfo, ClearsItsOutputsFirst) {
    char kept[] = "kept";
    char* text1 = kept;
    char* text2 = kept;
    std::int32_t hasInfo = 1;
    std::int32_t length1 = 4;
    std::int32_t length2 = 4;
    EXPECT_EQ(SsfGetLastErrorInfo(loaded_.table, 16, &hasInfo, &text1, &length1, &text2, &length2), 0);
    EXPECT_EQ(text1, nullptr);
    EXPECT_EQ(text2, nullptr);
    EXPECT_EQ(hasInfo + length1 + length2, 0);
}

TEST_F(LastErrorInfo, CutsTextsAt4095Bytes) {
    for (const std::size_t length : {4095u, 4096u, 5000u}) {
        crypto_->errorText1 = std::string(length, 'x');
        const LastError error(loaded_.table, 5);
        EXPECT_EQ(error.length1, 4095) << length;
        EXPECT_EQ(std::string(error.text1.get()), std::string(4095, 'x'));
    }
    crypto_->errorText1 = std::string(4094, 'x');
    EXPECT_EQ(LastError(loaded_.table, 5).length1, 4094);
}

TEST_F(LastErrorInfo, WithoutInfoThereAreNoTexts) {
    crypto_->errorHasInfo = 0;
    const LastError error(loaded_.table, 5);
    EXPECT_EQ(error.result, 0);
    EXPECT_EQ(error.text1, nullptr);
    EXPECT_EQ(error.text2, nullptr);
    EXPECT_EQ(error.length1, 0);
    EXPECT_EQ(crypto_.calls("SsfDELSsfOctetstring"), 2);
}

TEST_F(LastErrorInfo, FailedQueryHandsOutNothingAndKeepsNothing) {
    crypto_->hooks.SsfSecTKLastErrorInfo = [this](std::int32_t, std::int32_t* hasInfo, char** text1,
                                                  std::int32_t* length1, char**, std::int32_t*) {
        *hasInfo = 1;
        *text1 = crypto_->handOut("left over");
        *length1 = 9;
        return 13;
    };
    const LastError error(loaded_.table, 5);
    EXPECT_EQ(error.result, 13);
    EXPECT_EQ(error.hasInfo, 0);
    EXPECT_EQ(error.text1, nullptr);
}

TEST_F(LastErrorInfo, EmptyTextsAreNotHandedOut) {
    crypto_->errorText1 = "";
    crypto_->errorText2.reset();
    const LastError error(loaded_.table, 5);
    EXPECT_EQ(error.hasInfo, 1);
    EXPECT_EQ(error.text1, nullptr);
    EXPECT_EQ(error.text2, nullptr);
}

TEST_F(LastErrorInfo, AsksOnlyForWhatIsWanted) {
    char* text2 = nullptr;
    std::int32_t length1 = 5;
    std::int32_t length2 = 0;
    crypto_->hooks.SsfSecTKLastErrorInfo = [this](std::int32_t, std::int32_t* hasInfo, char** first,
                                                  std::int32_t* firstLength, char** second,
                                                  std::int32_t* secondLength) {
        EXPECT_EQ(first, nullptr);
        EXPECT_EQ(firstLength, nullptr);
        *hasInfo = 1;
        *second = crypto_->handOut("only");
        *secondLength = 4;
        return 0;
    };
    EXPECT_EQ(SsfGetLastErrorInfo(loaded_.table, 5, nullptr, nullptr, &length1, &text2, &length2), 0);
    const std::unique_ptr<char[]> owned(text2);
    EXPECT_EQ(length1, 0);
    EXPECT_STREQ(text2, "only");
    EXPECT_EQ(length2, 4);
}

TEST_F(LastErrorInfo, FunctionThatBecameKnownLaterIsUsed) {
    loaded_.table.available[ssf::SsfSecTKLastErrorInfo.flag] = 0;
    loaded_.table.entryPoints[ssf::SsfSecTKLastErrorInfo.slot] = nullptr;
    const LastError error(loaded_.table, 5);
    EXPECT_EQ(error.result, 0);
    EXPECT_STREQ(error.text2.get(), "the second");
    EXPECT_TRUE(loaded_.table.has(ssf::SsfSecTKLastErrorInfo));
}

TEST_F(LastErrorInfo, ReleasedTableHasNone) {
    loaded_.release();
    const LastError error(loaded_.table, 5);
    EXPECT_EQ(error.result, 1);
    EXPECT_EQ(error.length1, 0);
    EXPECT_EQ(crypto_.calls("SsfSecTKLastErrorInfo"), 0);
}

TEST(LastErrorInfoSources, LibraryWithoutTheFunction) {
    const CryptoDouble crypto("double_no_error_info");
    LoadedTable loaded;
    loaded.load(crypto.path());
    EXPECT_EQ(LastError(loaded.table, 5).result, 1);
    EXPECT_EQ(LastError(loaded.table, 16).result, 0);
}

TEST(LastErrorInfoSources, LibraryThatTakesNothingBackIsNotAsked) {
    CryptoDouble crypto("double_no_octet_release");
    LoadedTable loaded;
    loaded.load(crypto.path());
    EXPECT_EQ(LastError(loaded.table, 5).result, 1);
    EXPECT_EQ(crypto.calls("SsfSecTKLastErrorInfo"), 0);
}

}  // namespace
}  // namespace quorvanti::test
