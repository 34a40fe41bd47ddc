#include "tests/providers/openssl/provider_calls.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/issuer/openssl_issuer.h"
#include "tests/support/issuer/token_signing.h"
#include "tests/support/temporary_directory.h"

#include <atomic>
#include <memory>
#include <thread>

namespace quorvanti::test {
namespace {

std::int32_t idOf(std::string_view name) {
    std::int32_t id = 0;
    crypt_hashAlgorithm_Name2Id(name.data(), size32(name.size()), &id);
    return id;
}

std::string hex(const Bytes& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text.push_back("0123456789abcdef"[byte >> 4U]);
        text.push_back("0123456789abcdef"[byte & 15U]);
    }
    return text;
}

using GetValue = std::int32_t (*)(void*, std::uint8_t*, std::int32_t*);

std::string valueOf(void* object, GetValue getValue) {
    Bytes value(64);
    std::int32_t length = size32(value.size());
    EXPECT_EQ(getValue(object, value.data(), &length), SSF_API_OK);
    value.resize(static_cast<std::size_t>(length));
    return hex(value);
}

constexpr const char* abcSha256 = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";   // FIPS 180-2
constexpr const char* jefeSha256 = "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843";  // RFC 4231, 2

TEST(Hash, NamesAndNumbers) {
    for (const std::string name : {"SHA1", "SHA224", "SHA256", "SHA384", "SHA512"}) {
        const char* back = nullptr;
        EXPECT_EQ(crypt_hashAlgorithm_Id2Name(idOf(name), &back), SSF_API_OK);
        EXPECT_EQ(back, name);
    }
    EXPECT_EQ(idOf("sha-256"), idOf("SHA256"));
    std::int32_t id = 1;
    EXPECT_EQ(crypt_hashAlgorithm_Name2Id("MD5", 3, &id), SSF_API_INSECURE_MDALG);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(crypt_hashAlgorithm_Name2Id("X", 1, &id), SSF_API_INVALID_MDALG);
    const char* name = "x";
    EXPECT_EQ(crypt_hashAlgorithm_Id2Name(99, &name), SSF_API_INVALID_MDALG);
    EXPECT_EQ(name, nullptr);
}

TEST(Hash, GoesOnAfterItsValueWasReadAndAfterATrip) {
    void* hash = nullptr;
    ASSERT_EQ(crypt_hash_create(idOf("SHA256"), &hash), SSF_API_OK);
    const Bytes abc = toBytes("abc");
    EXPECT_EQ(crypt_hash_more(hash, abc.data(), 1), SSF_API_OK);
    valueOf(hash, crypt_hash_getValue);
    std::uint8_t* blob = nullptr;
    std::int32_t length = 0;
    ASSERT_EQ(crypt_hash_exportToBlob(hash, &blob, &length), SSF_API_OK);
    void* other = nullptr;
    ASSERT_EQ(crypt_hash_import(blob, length, &other), SSF_API_OK);
    crypt_hash_release(&hash);
    EXPECT_EQ(crypt_hash_import(blob, 4, &hash), SSF_API_DECODE_FAILED);
    takeBytes(blob, length);
    crypt_hash_more(other, abc.data() + 1, 2);
    EXPECT_EQ(valueOf(other, crypt_hash_getValue), abcSha256);
    std::uint8_t small = 0;
    std::int32_t room = 1;
    EXPECT_EQ(crypt_hash_getValue(other, &small, &room), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(room, 32);
    const Bytes large((1U << 20U) + 1);
    crypt_hash_more(other, large.data(), size32(large.size()));
    EXPECT_EQ(crypt_hash_exportToBlob(other, &blob, &length), SSF_API_SECTK_FUNCTION_NOT_AVAIL);
    EXPECT_EQ(crypt_hash_release(&other), SSF_API_OK);
    EXPECT_EQ(other, nullptr);
}

TEST(Hash, DataThatMemoryWasTooShortForDoesNotCount) {
    const Bytes first(500, 'a');
    const Bytes second(500, 'b');
    void* hash = nullptr;
    void* expected = nullptr;
    for (void** object : {&hash, &expected}) {
        ASSERT_EQ(crypt_hash_create(idOf("SHA256"), object), SSF_API_OK);
        EXPECT_EQ(crypt_hash_more(*object, first.data(), size32(first.size())), SSF_API_OK);
    }
    {
        const AllocationFailure failure;
        EXPECT_EQ(crypt_hash_more(hash, second.data(), size32(second.size())), SSF_API_NOMEMORY);
    }
    for (void* object : {hash, expected})
        EXPECT_EQ(crypt_hash_more(object, second.data(), size32(second.size())), SSF_API_OK);
    EXPECT_EQ(valueOf(hash, crypt_hash_getValue), valueOf(expected, crypt_hash_getValue));
    crypt_hash_release(&hash);
    crypt_hash_release(&expected);
}

TEST(KeyedMac, PublishedVectorResetAndTrip) {
    const Bytes data = toBytes("what do ya want for nothing?");
    const Bytes key = toBytes("Jefe");
    void* mac = nullptr;
    ASSERT_EQ(crypt_keyedmac_create(idOf("SHA256"), key.data(), 4, &mac), SSF_API_OK);
    crypt_keyedmac_more(mac, data.data(), 5);
    std::uint8_t* blob = nullptr;
    std::int32_t length = 0;
    ASSERT_EQ(crypt_keyedmac_exportToBlob(mac, &blob, &length), SSF_API_OK);
    void* other = nullptr;
    ASSERT_EQ(crypt_keyedmac_import(blob, length, &other), SSF_API_OK);
    takeBytes(blob, length);
    crypt_keyedmac_more(other, data.data() + 5, size32(data.size()) - 5);
    EXPECT_EQ(valueOf(other, crypt_keyedmac_getValue), jefeSha256);
    EXPECT_EQ(crypt_keyedmac_reset(mac), SSF_API_OK);
    crypt_keyedmac_more(mac, data.data(), size32(data.size()));
    EXPECT_EQ(valueOf(mac, crypt_keyedmac_getValue), jefeSha256);
    crypt_keyedmac_release(&mac);
    crypt_keyedmac_release(&other);
    EXPECT_EQ(mac, nullptr);
}

TEST(HashArguments, NullArgumentsAreRefused) {
    void* none = nullptr;
    std::uint8_t byte = 0;
    std::uint8_t* blob = nullptr;
    std::int32_t length = 1;
    for (const std::int32_t code :
         {crypt_hashAlgorithm_Name2Id(nullptr, 0, &length), crypt_hashAlgorithm_Name2Id("SHA1", 4, nullptr),
          crypt_hashAlgorithm_Id2Name(1, nullptr), crypt_hash_create(4, nullptr), crypt_hash_more(nullptr, &byte, 1),
          crypt_hash_getValue(nullptr, &byte, &length), crypt_hash_release(nullptr),
          crypt_hash_import(nullptr, 1, &none), crypt_hash_exportToBlob(nullptr, &blob, &length),
          crypt_keyedmac_create(4, nullptr, 1, &none), crypt_keyedmac_create(4, &byte, 1, nullptr),
          crypt_keyedmac_more(nullptr, &byte, 1), crypt_keyedmac_getValue(nullptr, &byte, &length),
          crypt_keyedmac_reset(nullptr), crypt_keyedmac_release(nullptr), crypt_keyedmac_import(nullptr, 1, &none),
          crypt_keyedmac_exportToBlob(nullptr, &blob, &length)})
        EXPECT_EQ(code, SSF_API_INVALID_FUNCARGS);
}

class VerifyExTest : public ::testing::Test {
protected:
    std::int32_t verify(const Bytes& data, const Bytes& signature, std::string_view type, const std::string& key,
                        std::string_view profile = "<no_certificate_check>") {
        SsfSigRcpSsfInfoList* signers = nullptr;
        std::uint8_t* output = nullptr;
        std::int32_t length = 0;
        return SsfVerifyEx("PKCS1-V1.5", 10, data.data(), size32(data.size()), profile.data(), size32(profile.size()),
                           type.data(), size32(type.size()), reinterpret_cast<const std::uint8_t*>(key.data()),
                           size32(key.size()), "SHA256", 6, signature.data(), size32(signature.size()), &signers,
                           &output, &length);
    }

    TemporaryDirectory directory_;
};

TEST_F(VerifyExTest, EveryFormOfTheKeyVerifiesAndNothingElseDoes) {
    const OpensslIssuer issuer(directory_.path().string(), KeyKind::rsa);
    const std::string file = directory_.file("key");
    writeFile(directory_.file("data"), "header.payload");
    runOpenssl(
        {"dgst", "-sha256", "-sign", issuer.keyFile(), "-out", directory_.file("signature"), directory_.file("data")});
    const Bytes data = toBytes("header.payload");
    Bytes signature = toBytes(readFile(directory_.file("signature")));
    for (const char* form : {"DER", "PEM"}) {
        runOpenssl({"rsa", "-in", issuer.keyFile(), "-pubout", "-outform", form, "-out", file});
        EXPECT_EQ(verify(data, signature, "RAWPUBKEY", readFile(file)), SSF_API_OK) << form;
        runOpenssl({"rsa", "-in", issuer.keyFile(), "-RSAPublicKey_out", "-outform", form, "-out", file});
        EXPECT_EQ(verify(data, signature, "RAWPUBKEY", readFile(file)), SSF_API_OK) << form;
    }
    const std::string certificate = readFile(issuer.certificateDerFile());
    EXPECT_EQ(verify(data, signature, "x509v3", certificate), SSF_API_OK);
    EXPECT_EQ(verify(data, signature, "x509v3", readFile(issuer.certificatePemFile())), SSF_API_OK);
    EXPECT_EQ(verify(data, signature, "RAWPUBKEY", certificate), SSF_API_DECODE_FAILED);
    EXPECT_EQ(verify(data, signature, "other", certificate), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(verify(data, signature, "x509v3", certificate, "store"), SSF_API_SECTK_FUNCTION_NOT_AVAIL);
    EXPECT_EQ(verify(toBytes("header.payloae"), signature, "x509v3", certificate), SSF_API_SIGNER_ERRORS);
    signature[0] ^= 1;
    EXPECT_EQ(verify(data, signature, "x509v3", certificate), SSF_API_SIGNER_ERRORS);
}

// More keys than are kept, in turns; and a start anew.
TEST_F(VerifyExTest, ManyKeysTakeTurns) {
    constexpr std::size_t count = 17;
    const Bytes data = toBytes("header.payload");
    std::vector<std::unique_ptr<InProcessIssuer>> issuers;
    std::vector<Bytes> signatures;
    for (std::size_t i = 0; i < count; ++i) {
        issuers.push_back(std::make_unique<InProcessIssuer>(KeyKind::rsa));
        signatures.push_back(toBytes(signatureOf("header.payload", issuers[i]->key(), "RS256")));
    }
    kavcr_init();
    for (int round = 0; round < 3; ++round) {
        for (std::size_t i = 0; i < count; ++i) {
            const std::string key = issuers[i]->certificatePem();
            EXPECT_EQ(verify(data, signatures[i], "x509v3", key), SSF_API_OK);
            EXPECT_EQ(verify(data, signatures[(i + 1) % count], "x509v3", key), SSF_API_SIGNER_ERRORS);
            EXPECT_EQ(verify(data, signatures[i], "RAWPUBKEY", key), SSF_API_DECODE_FAILED);
        }
        if (round == 1) {
            kavcr_done();
            kavcr_init();
        }
    }
    kavcr_done();
}

TEST_F(VerifyExTest, ThreadsShareTheKeys) {
    const InProcessIssuer one(KeyKind::rsa);
    const InProcessIssuer other(KeyKind::rsa);
    const Bytes data = toBytes("header.payload");
    const Bytes signature = toBytes(signatureOf("header.payload", one.key(), "RS256"));
    const std::string right = one.certificatePem();
    const std::string wrong = other.certificatePem();
    std::atomic<int> unexpected = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int turn = 0; turn < 50; ++turn) {
                unexpected += verify(data, signature, "x509v3", right) != SSF_API_OK;
                unexpected += verify(data, signature, "x509v3", wrong) != SSF_API_SIGNER_ERRORS;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(unexpected, 0);
}

// Beyond what can be written down the input is digested as it comes.
TEST(KeyedMac, HasNoLongestInput) {
    const std::string key = "Jefe";
    std::string text(3 << 20, 'x');
    text[text.size() / 2] = 'y';
    for (const char* algorithm : {"HS256", "HS512"}) {
        void* mac = nullptr;
        ASSERT_EQ(crypt_keyedmac_create(idOf(std::string("SHA") + (algorithm + 2)),
                                        reinterpret_cast<const std::uint8_t*>(key.data()), size32(key.size()), &mac),
                  SSF_API_OK);
        std::size_t position = 0;
        for (const std::size_t piece :
             {std::size_t{1}, std::size_t{1} << 20, std::size_t{0}, std::size_t{12345}, text.size()}) {
            const std::size_t length = std::min(piece, text.size() - position);
            ASSERT_EQ(
                crypt_keyedmac_more(mac, reinterpret_cast<const std::uint8_t*>(text.data()) + position, size32(length)),
                SSF_API_OK);
            position += length;
            EXPECT_EQ(valueOf(mac, crypt_keyedmac_getValue),
                      hex(toBytes(macOf(std::string_view(text).substr(0, position), key, algorithm))));
        }
        std::uint8_t* blob = nullptr;
        std::int32_t length = 0;
        EXPECT_EQ(crypt_keyedmac_exportToBlob(mac, &blob, &length), SSF_API_SECTK_FUNCTION_NOT_AVAIL);
        EXPECT_EQ(crypt_keyedmac_reset(mac), SSF_API_OK);
        EXPECT_EQ(valueOf(mac, crypt_keyedmac_getValue), hex(toBytes(macOf("", key, algorithm))));
        EXPECT_EQ(crypt_keyedmac_exportToBlob(mac, &blob, &length), SSF_API_OK);
        takeBytes(blob, length);
        crypt_keyedmac_release(&mac);
    }
}

TEST(KeyedMac, TakesKeysOfEveryLength) {
    for (const char* algorithm : {"HS256", "HS384", "HS512"}) {
        for (const std::size_t size : {0U, 1U, 63U, 64U, 65U, 127U, 128U, 129U, 8191U}) {
            const std::string key(size, 'k');
            static constexpr std::uint8_t none = 0;
            void* mac = nullptr;
            ASSERT_EQ(crypt_keyedmac_create(idOf(std::string("SHA") + (algorithm + 2)),
                                            size == 0 ? &none : reinterpret_cast<const std::uint8_t*>(key.data()),
                                            size32(size), &mac),
                      SSF_API_OK);
            const Bytes data = toBytes("what do ya want for nothing?");
            crypt_keyedmac_more(mac, data.data(), 5);
            std::uint8_t* blob = nullptr;
            std::int32_t length = 0;
            ASSERT_EQ(crypt_keyedmac_exportToBlob(mac, &blob, &length), SSF_API_OK);
            void* other = nullptr;
            EXPECT_EQ(crypt_keyedmac_import(blob, length, &other), SSF_API_OK);
            takeBytes(blob, length);
            const std::string expected = hex(toBytes(macOf("what do ya want for nothing?", key, algorithm)));
            for (void* each : {mac, other}) {
                crypt_keyedmac_more(each, data.data() + 5, size32(data.size()) - 5);
                EXPECT_EQ(valueOf(each, crypt_keyedmac_getValue), expected) << algorithm << size;
            }
            crypt_keyedmac_release(&mac);
            crypt_keyedmac_release(&other);
        }
    }
}

}  // namespace
}  // namespace quorvanti::test
