#include <openssl/err.h>

#include <cstring>
#include <thread>

#include "providers/openssl/hand_out.h"
#include "providers/openssl/last_error.h"
#include "providers/openssl/openssl_context.h"
#include "tests/providers/openssl/provider_calls.h"

namespace quorvanti::test {
namespace {

constexpr const char* fips = "FIPS_140_2_CRYPTO_KERNEL_ACTIVE";

TEST(Library, VersionRecordHasTheLayoutThatItsReadersExpect) {
    const void* record = nullptr;
    ASSERT_EQ(kavcr_get_version(&record), SSF_API_OK);
    const auto* bytes = static_cast<const char*>(record);
    std::int32_t level = 0;
    std::uint32_t size = 0;
    const char* text = nullptr;
    std::memcpy(&level, bytes, sizeof level);
    std::memcpy(&size, bytes + 40, sizeof size);
    std::memcpy(&text, bytes + 56, sizeof text);
    EXPECT_GT(level, 7);
    EXPECT_GE(size, 56U);
    EXPECT_EQ(std::string(text),
              std::string("kavcrypto 1.0.0 (OpenSSL ") + OpenSSL_version(OPENSSL_VERSION_STRING) + ")");

    char* version = nullptr;
    std::int32_t length = 0;
    ASSERT_EQ(SsfVersion(&version, &length), SSF_API_OK);
    EXPECT_EQ(takeText(version, length), text);
    EXPECT_EQ(version, nullptr);
    EXPECT_EQ(length, 0);
}

TEST(Library, FipsModeIsOffAndCannotBeSwitchedOn) {
    std::int32_t value = 7;
    EXPECT_EQ(kavcr_get_property_int(fips, &value), SSF_API_OK);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(kavcr_set_property_int(fips, 0), SSF_API_OK);
    EXPECT_EQ(kavcr_set_property_int(fips, 1), SSF_API_SECTK_FUNCTION_NOT_AVAIL);
    EXPECT_EQ(lastSentence(SSF_API_SECTK_FUNCTION_NOT_AVAIL),
              "The FIPS 140-2 mode cannot be switched on: this crypto library runs on OpenSSL's default provider.");
    EXPECT_EQ(kavcr_get_property_int("UNKNOWN", &value), SSF_API_SECTK_FUNCTION_NOT_AVAIL);
    EXPECT_EQ(kavcr_set_property_int("UNKNOWN", 0), SSF_API_SECTK_FUNCTION_NOT_AVAIL);
}

TEST(Library, NullArgumentsAreRefused) {
    std::int32_t value = 1;
    char* text = nullptr;
    EXPECT_EQ(kavcr_get_version(nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(kavcr_set_property_int(nullptr, 0), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(kavcr_get_property_int(nullptr, &value), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(kavcr_get_property_int(fips, nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfVersion(nullptr, &value), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfVersion(&text, nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfSecTKLastErrorInfo(5, nullptr, nullptr, nullptr, nullptr, nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfSecTKLastErrorInfo(5, &value, &text, nullptr, nullptr, nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfSecTKLastErrorInfo(5, &value, nullptr, nullptr, nullptr, &value), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfDELSsfOctetstring(nullptr, &value), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfDELSsfOctetstring(&text, nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfDELSsfOctetstring(&text, &value), SSF_API_OK);
}

TEST(Library, LastErrorAnswersForItsCodeOnItsThreadOnly) {
    EXPECT_EQ(lastSentence(SSF_API_UNKNOWN_SIGNER), "");
    provider::fail(SSF_API_UNKNOWN_SIGNER, "Nobody knows CN=x.");
    EXPECT_EQ(lastSentence(SSF_API_UNKNOWN_SIGNER), "Nobody knows CN=x.");
    EXPECT_EQ(lastSentence(-1), "Nobody knows CN=x.");
    EXPECT_EQ(lastSentence(SSF_API_CERT_EXPIRED), "");
    std::thread([] { EXPECT_EQ(lastSentence(SSF_API_UNKNOWN_SIGNER), ""); }).join();

    std::int32_t hasInfo = 0;
    char* name = nullptr;
    std::int32_t nameLength = 0;
    EXPECT_EQ(SsfSecTKLastErrorInfo(SSF_API_UNKNOWN_SIGNER, &hasInfo, &name, &nameLength, nullptr, nullptr),
              SSF_API_OK);
    EXPECT_EQ(hasInfo, 1);
    EXPECT_EQ(takeText(name, nameLength), "SSF_API_UNKNOWN_SIGNER");
}

TEST(Library, LongSentenceIsCutBetweenCharacters) {
    provider::fail(SSF_API_CERT_EXPIRED, std::string(1022, 'x') + "\xC3\xA4");
    EXPECT_EQ(lastSentence(SSF_API_CERT_EXPIRED), std::string(1022, 'x'));
}

TEST(Library, EncodeHandsOutTheContentAsItIs) {
    const Bytes content = {1, 0, 2};
    std::uint8_t* encoded = nullptr;
    std::int32_t length = 0;
    ASSERT_EQ(SsfEncode("PKCS7   ", 8, content.data(), 3, &encoded, &length), SSF_API_OK);
    EXPECT_EQ(encoded[length], 0);
    EXPECT_EQ(takeBytes(encoded, length), content);
    EXPECT_EQ(SsfEncode("PKCS7X", 5, content.data(), 3, &encoded, &length), SSF_API_OK);
    takeBytes(encoded, length);
    EXPECT_EQ(SsfEncode("PKCS7X", 6, content.data(), 3, &encoded, &length), SSF_API_INVALID_FORMAT);
    EXPECT_EQ(SsfEncode("PKCS7", 5, content.data(), 0, &encoded, &length), SSF_API_NODATA);
    EXPECT_EQ(SsfEncode(nullptr, 0, content.data(), 3, &encoded, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfEncode("PKCS7", 5, nullptr, 3, &encoded, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfEncode("PKCS7", 5, content.data(), -1, &encoded, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfEncode("PKCS7", 5, content.data(), 3, nullptr, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfEncode("PKCS7", 5, content.data(), 3, &encoded, nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(encoded, nullptr);
    EXPECT_EQ(length, 0);
}

TEST(Library, StartAndStopAreCountedAndRepeatable) {
    EXPECT_EQ(kavcr_done(), SSF_API_OK);
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(kavcr_init(), SSF_API_OK);
        EXPECT_EQ(kavcr_init(), SSF_API_OK);
        OSSL_LIB_CTX* context = provider::libraryContext();
        EXPECT_EQ(kavcr_done(), SSF_API_OK);
        EXPECT_EQ(provider::libraryContext(), context);
        EXPECT_EQ(kavcr_done(), SSF_API_OK);
        EXPECT_EQ(kavcr_done(), SSF_API_OK);
    }
}

TEST(Library, StopCallsWhatWasRegisteredOnce) {
    static int calls = 0;
    const auto release = [] { ++calls; };
    ASSERT_EQ(kavcr_init(), SSF_API_OK);
    provider::atLibraryStop(release);
    provider::atLibraryStop(release);
    kavcr_done();
    EXPECT_EQ(calls, 1);
    kavcr_init();
    kavcr_done();
    EXPECT_EQ(calls, 1);
}

TEST(Library, AnObjectOutsideKeepsTheContext) {
    ASSERT_EQ(kavcr_init(), SSF_API_OK);
    OSSL_LIB_CTX* context = provider::libraryContext();
    const provider::LiveObject object;
    kavcr_done();
    EXPECT_EQ(provider::libraryContext(), context);
}

TEST(Library, ErrorsOfTheHostStayAndOursGo) {
    SsfCertificate* certificate = nullptr;
    const std::uint8_t nonsense[] = {0x30, 0x03, 0x02, 0x01, 0x00};
    EXPECT_EQ(SsfCertfromASN1(nonsense, 5, &certificate), SSF_API_DECODE_FAILED);
    EXPECT_EQ(ERR_peek_error(), 0U);
    ERR_raise(ERR_LIB_USER, 1);
    ERR_raise(ERR_LIB_USER, 2);
    EXPECT_EQ(SsfCertfromASN1(nonsense, 5, &certificate), SSF_API_DECODE_FAILED);
    EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 1);
    EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 2);
    EXPECT_EQ(ERR_get_error(), 0U);
}

}  // namespace
}  // namespace quorvanti::test
