// The crypto library's version record and text.
#include "sec/kavsecu/library_version.h"

#include "tests/sec/kavsecu/loaded_table.h"
#include "tests/support/crypto_double/crypto_double.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>

namespace {
int allocationsToRefuse = 0;
}

// Texts are copied into memory that may be refused.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    if (allocationsToRefuse > 0) {
        --allocationsToRefuse;
        return nullptr;
    }
    return ::operator new[](size);
}

namespace quorvanti::test {
namespace {

struct VersionText {
    explicit VersionText(const SsfFunctionTable& table) {
        char* text = nullptr;
        result = SsfGetVersionText(table, &text, &length);
        hasText = text != nullptr;
        value = hasText ? text : "";
        delete[] text;
    }
    std::int32_t result = -1;
    std::int32_t length = -1;
    bool hasText = false;
    std::string value;
};

class LibraryVersion : public testing::Test {
protected:
    void load() { loaded_.load(crypto_.path()); }
    // From here on the library's record has no text, so that its function is asked.
    VersionText byFunction(const std::string& text) {
        crypto_->versionRecord = false;
        crypto_->versionText = text;
        load();
        const VersionText version(loaded_.table);
        EXPECT_TRUE(crypto_->outstanding.empty());
        return version;
    }

    CryptoDouble crypto_;
    LoadedTable loaded_;
};

TEST_F(LibraryVersion, TextOfTheRecordIsCopiedWhole) {
    crypto_->versionRecordText = "KAVSECULIB by SECUDE, Version 1.2.3 (never shortened)";
    load();
    const VersionText version(loaded_.table);
    EXPECT_EQ(version.result, 0);
    EXPECT_EQ(version.value, "KAVSECULIB by SECUDE, Version 1.2.3 (never shortened)");
    EXPECT_EQ(version.length, 53);
    EXPECT_EQ(crypto_.calls("SsfVersion"), 0);
}

TEST_F(LibraryVersion, RecordIsAskedForOnceUntilTheRelease) {
    load();
    EXPECT_TRUE(SsfGetVersionRecord(loaded_.table));
    EXPECT_TRUE(SsfGetVersionRecord(loaded_.table));
    EXPECT_EQ(crypto_.calls("kavcr_get_version"), 1);
    EXPECT_EQ(ssfInterfaceLevel(loaded_.table), 8);
    loaded_.release();
    EXPECT_FALSE(SsfGetVersionRecord(loaded_.table));
    EXPECT_EQ(ssfInterfaceLevel(loaded_.table), 0);
}

TEST_F(LibraryVersion, RecordsThatDoNotCount) {
    load();
    crypto_->versionRecordSize = 55;
    EXPECT_FALSE(SsfGetVersionRecord(loaded_.table));
    crypto_->versionRecordSize = 56;
    EXPECT_TRUE(SsfGetVersionRecord(loaded_.table));
    ssfForgetVersionRecord();
    crypto_->versionRecordText.reset();
    EXPECT_FALSE(SsfGetVersionRecord(loaded_.table));
    crypto_->versionRecordText = "text";
    crypto_->functions["kavcr_get_version"].result = 1;
    EXPECT_FALSE(SsfGetVersionRecord(loaded_.table));
    crypto_->functions["kavcr_get_version"].result = 0;
    crypto_->versionRecord = false;
    EXPECT_FALSE(SsfGetVersionRecord(loaded_.table));
}

TEST_F(LibraryVersion, EmptyTextOfTheRecordGivesWayToTheFunction) {
    crypto_->versionRecordText = "";
    load();
    EXPECT_EQ(VersionText(loaded_.table).value, "Crypto double 1.0 by SsfVersion");
}

TEST_F(LibraryVersion, MissingOutputsAreRefused) {
    load();
    char buffer[] = "kept";
    char* text = buffer;
    std::int32_t length = 5;
    EXPECT_EQ(SsfGetVersionText(loaded_.table, nullptr, &length), 17);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(SsfGetVersionText(loaded_.table, &text, nullptr), 17);
    EXPECT_EQ(text, nullptr);
}

TEST_F(LibraryVersion, EmptyTableHasNone) {
    const VersionText version(loaded_.table);
    EXPECT_EQ(version.result, 1);
    EXPECT_FALSE(version.hasText);
    EXPECT_EQ(version.length, 0);
}

TEST(LibraryVersionSources, LibraryWithoutAnySource) {
    const CryptoDouble crypto("double_no_version");
    LoadedTable loaded;
    loaded.load(crypto.path());
    EXPECT_EQ(VersionText(loaded.table).result, 1);
}

TEST(LibraryVersionSources, LibraryWithTheFunctionOnly) {
    CryptoDouble crypto("double_no_version_record");
    LoadedTable loaded;
    loaded.load(crypto.path());
    const VersionText version(loaded.table);
    EXPECT_EQ(version.result, 0);
    EXPECT_EQ(version.value, "Crypto double 1.0 by SsfVersion");
    EXPECT_TRUE(crypto->outstanding.empty());
}

TEST_F(LibraryVersion, LongTextOfTheKnownLibraryIsShortened) {
    const VersionText version = byFunction("KAVSECULIB of SECUDE, Version 1.2.3 (build)");
    EXPECT_EQ(version.result, 0);
    EXPECT_EQ(version.value, "KAVSECULIB Version 1.2.3");
    EXPECT_EQ(version.length, 24);
}

TEST_F(LibraryVersion, TextOf30CharactersIsNotShortened) {
    const VersionText version = byFunction("KAVSECULIB SECUDE Version 1 (b");
    EXPECT_EQ(version.length, 30);
    EXPECT_EQ(version.value, "KAVSECULIB SECUDE Version 1 (b");
}

TEST_F(LibraryVersion, TextOf31CharactersIsShortened) {
    EXPECT_EQ(byFunction("KAVSECULIB SECUDE Version 1 (bu").value, "KAVSECULIB Version 1");
}

TEST_F(LibraryVersion, ShorteningNeedsAllItsWords) {
    for (const char* const text : {
             "SECUDE of another product, Version 1.2.3 (build)",
             "KAVSECULIB of another maker, Version 1.2.3 (build)",
             "KAVSECULIB Version 1.2.3 (build) of SECUDE",
             "KAVSECULIB of SECUDE, version 1.2.3 (build)",
             "KAVSECULIB of SECUDE, Version 1.2.3(no-blank-behind-it)",
             "KAVSECULIB of SECUDE, Version  1.2.3 (two blanks)",
         }) {
        EXPECT_EQ(byFunction(text).value, text);
        loaded_.release();
    }
}

TEST_F(LibraryVersion, ShorteningMayMakeATextLonger) {
    EXPECT_EQ(byFunction("SECUDEVersion 12.3KAVSECULIB.45 ").value, "KAVSECULIB Version 12.3KAVSECULIB.45");
}

TEST_F(LibraryVersion, FailureOfTheFunctionIsItsResult) {
    crypto_->functions["SsfVersion"].result = 13;
    const VersionText version = byFunction("text");
    EXPECT_EQ(version.result, 13);
    EXPECT_FALSE(version.hasText);
}

TEST_F(LibraryVersion, TextHandedOutByAFailedFunctionGoesBack) {
    crypto_->hooks.SsfVersion = [this](char** text, std::int32_t* length) {
        *text = crypto_->handOut("text");
        *length = 4;
        return 13;
    };
    const VersionText version = byFunction("");
    EXPECT_EQ(version.result, 13);
    EXPECT_FALSE(version.hasText);
    EXPECT_EQ(crypto_.calls("SsfDELSsfOctetstring"), 1);
}

TEST_F(LibraryVersion, NegativeLengthIsAnEmptyText) {
    crypto_->hooks.SsfVersion = [this](char** text, std::int32_t* length) {
        *text = crypto_->handOut("text");
        *length = -4;
        return 0;
    };
    const VersionText version = byFunction("");
    EXPECT_EQ(version.result, 0);
    EXPECT_EQ(version.value, "");
    EXPECT_EQ(version.length, 0);
}

TEST_F(LibraryVersion, FunctionWithoutATextSucceedsWithout) {
    crypto_->versionRecord = false;
    crypto_->versionText.reset();
    load();
    const VersionText version(loaded_.table);
    EXPECT_EQ(version.result, 0);
    EXPECT_FALSE(version.hasText);
}

TEST_F(LibraryVersion, MemoryTooShortForTheRecordsTextTriesTheFunction) {
    load();
    allocationsToRefuse = 1;
    const VersionText version(loaded_.table);
    EXPECT_EQ(version.result, 0);
    EXPECT_EQ(version.value, "Crypto double 1.0 by SsfVersion");
}

TEST_F(LibraryVersion, MemoryTooShortForBothTexts) {
    load();
    allocationsToRefuse = 2;
    const VersionText version(loaded_.table);
    EXPECT_EQ(version.result, 4);
    EXPECT_FALSE(version.hasText);
    EXPECT_EQ(version.length, 0);
    EXPECT_TRUE(crypto_->outstanding.empty());
}

TEST(LibraryVersionSources, MemoryTooShortAndNoFunction) {
    const CryptoDouble crypto("double_no_version_text");
    LoadedTable loaded;
    loaded.load(crypto.path());
    allocationsToRefuse = 1;
    EXPECT_EQ(VersionText(loaded.table).result, 4);
}

}  // namespace
}  // namespace quorvanti::test
