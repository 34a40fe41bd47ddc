// Key stores from files and from memory.
#include "providers/openssl/key_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>

#include <atomic>
#include <functional>
#include <thread>

#include "providers/openssl/clock.h"
#include "providers/openssl/last_error.h"
#include "quorvanti/ssf.h"
#include "tests/providers/openssl/signed_data_builder.h"
#include "tests/support/temporary_directory.h"

namespace quorvanti::test {
namespace {

using namespace quorvanti::provider;
using ::testing::HasSubstr;
using Store = std::shared_ptr<const KeyStore>;

std::int64_t steadyTime = 0;

struct Pkcs12Options {
    int keyCipher = 0;
    int certificateCipher = 0;
    int rounds = 0;
    int macRounds = 0;
};

class KeyStores : public ::testing::Test {
protected:
    ~KeyStores() override { forgetKeyStores(); }

    void write(const std::string& content) const { writeFile(path_, content); }
    void write(const Octets& content) const { write(std::string(content.begin(), content.end())); }

    Octets pkcs12(const char* password, const Pkcs12Options& options = {}) const {
        const X509Ptr own = decode(certificate_);
        X509StackPtr others(sk_X509_new_null());
        sk_X509_push(others.get(), decode(other_).release());
        const Pkcs12Ptr file(PKCS12_create(password, "own", testKey("rsa"), own.get(), others.get(), options.keyCipher,
                                           options.certificateCipher, options.rounds, options.macRounds, 0));
        EXPECT_NE(file, nullptr);
        unsigned char* bytes = nullptr;
        const int length = i2d_PKCS12(file.get(), &bytes);
        const OpensslBytes owner(bytes);
        return {bytes, bytes + length};
    }

    static std::string encryptedPem(const char* password, bool traditional) {
        const BioPtr bio(BIO_new(BIO_s_mem()));
        const auto length = static_cast<int>(std::string_view(password).size());
        const auto* text = reinterpret_cast<const unsigned char*>(password);
        const int written = traditional
                                ? PEM_write_bio_PrivateKey_traditional(bio.get(), testKey("rsa"), EVP_aes_256_cbc(),
                                                                       text, length, nullptr, nullptr)
                                : PEM_write_bio_PKCS8PrivateKey(bio.get(), testKey("rsa"), EVP_aes_256_cbc(), password,
                                                                length, nullptr, nullptr);
        EXPECT_EQ(written, 1);
        char* data = nullptr;
        const long size = BIO_get_mem_data(bio.get(), &data);
        return {data, static_cast<std::size_t>(size)};
    }

    std::int32_t open(std::string_view password, Store& store) const { return openKeyStore(path_, password, store); }

    void expectOpens(std::string_view password, bool ownKey, std::size_t trusted) const {
        Store store;
        ASSERT_EQ(open(password, store), 0) << lastError().sentence;
        EXPECT_EQ(store->ownKey != nullptr, ownKey);
        EXPECT_EQ(store->own != nullptr, ownKey);
        EXPECT_EQ(store->trusted.size(), trusted);
    }
    void expectFails(std::string_view password, std::int32_t code, const std::string& sentence) const {
        Store store;
        EXPECT_EQ(open(password, store), code);
        EXPECT_EQ(store, nullptr);
        EXPECT_THAT(std::string(lastError().sentence), HasSubstr(sentence));
        EXPECT_THAT(std::string(lastError().sentence), HasSubstr(path_));
    }

    static X509Ptr decode(const Octets& certificate) {
        const unsigned char* position = certificate.data();
        return X509Ptr(d2i_X509(nullptr, &position, static_cast<long>(certificate.size())));
    }

    TemporaryDirectory directory_;
    std::string path_ = directory_.file("store");
    Octets certificate_ = makeCertificate("rsa", "rsa");
    Octets other_ = makeCertificate("ec", "ec");
};

TEST_F(KeyStores, TellsTheKindsByTheirContent) {
    write(certificate_);
    expectOpens("", false, 1);
    write(pemOf(certificate_) + pemOf(other_));
    expectOpens("", false, 2);
    write("some words before\n" + keyPem("rsa") + pemOf(other_) + pemOf(certificate_));
    expectOpens("", true, 2);
    write(pkcs12("secret"));
    expectOpens("secret", true, 2);
    Store store;
    ASSERT_EQ(open("secret", store), 0);
    EXPECT_EQ(store->own->der, certificate_);
}

TEST_F(KeyStores, ReadsEncryptedPemKeys) {
    for (const bool traditional : {false, true}) {
        write(encryptedPem("secret", traditional) + pemOf(certificate_));
        expectOpens("secret", true, 1);
        expectFails("Secret", SSF_API_INVALID_PASSWORD, "does not open with the password given");
        expectFails("", SSF_API_INVALID_PASSWORD, "needs a password, and none was given");
    }
}

TEST_F(KeyStores, ReadsPkcs12WithoutPasswordAndWithoutChecksum) {
    write(pkcs12(""));
    expectOpens("", true, 2);
    write(pkcs12(nullptr));
    expectOpens("", true, 2);
    write(pkcs12("secret", {0, 0, 0, -1}));
    expectOpens("secret", true, 2);
    expectFails("wrong", SSF_API_INVALID_PASSWORD, "does not open with the password given");
}

TEST_F(KeyStores, GivesFourDifferentAnswers) {
    expectFails("", SSF_API_UNKNOWN_PROFILE, "does not exist");
    write(pkcs12("secret"));
    expectFails("wrong", SSF_API_INVALID_PASSWORD, "does not open with the password given");
    expectFails("", SSF_API_INVALID_PASSWORD, "needs a password, and none was given");
    write("nothing of the kind");
    expectFails("", SSF_API_INVALID_PROFILE, "is neither PKCS#12 nor PEM nor a DER certificate");
    std::string unknownCipher = encryptedPem("secret", true);
    unknownCipher.replace(unknownCipher.find("AES-256-CBC"), 11, "XYZ-256-CBC");
    write(unknownCipher);
    expectFails("secret", SSF_API_INVALID_PROFILE, "is encrypted with XYZ-256-CBC, which cannot be read here");
}

TEST_F(KeyStores, RefusesWhatIsDamaged) {
    const Octets whole = pkcs12("secret");
    write(Octets(whole.begin(), whole.end() - 1));
    expectFails("secret", SSF_API_INVALID_PROFILE, "damaged PKCS#12");
    Octets longer = whole;
    longer.push_back(0);
    write(longer);
    expectFails("secret", SSF_API_INVALID_PROFILE, "damaged PKCS#12");
    write(Octets(certificate_.begin(), certificate_.end() - 1));
    expectFails("", SSF_API_INVALID_PROFILE, "certificate that cannot be read");
    const std::string pem = pemOf(certificate_);
    write(pem.substr(0, pem.size() / 2));
    expectFails("", SSF_API_INVALID_PROFILE, "damaged PEM block");
    write(keyPem("rsa") + keyPem("ec"));
    expectFails("", SSF_API_INVALID_PROFILE, "more than one private key");
    write("-----BEGIN X509 CRL-----\nAAAA\n-----END X509 CRL-----\n");
    expectFails("", SSF_API_INVALID_PROFILE, "block \"X509 CRL\", which is not supported");
    write(std::string());
    expectFails("", SSF_API_INVALID_PROFILE, "is neither");
}

TEST_F(KeyStores, RefusesDirectoriesAndUnnamedOnes) {
    path_ = directory_.path().string();
    expectFails("", SSF_API_INVALID_PROFILE, "is no regular file");
    Store store;
    EXPECT_EQ(openKeyStore("", "", store), SSF_API_UNKNOWN_PROFILE);
    EXPECT_EQ(lastError().sentence, "No key store is named.");
}

TEST_F(KeyStores, BoundsTheRoundsOfKeyDerivation) {
    write(pkcs12("secret", {0, 0, 2048, 4096}));
    expectOpens("secret", true, 2);
    const Octets marker{0x02, 0x02, 0x10, 0x00};
    Octets hostile = pkcs12("secret", {0, 0, 2048, 4096});
    ASSERT_TRUE(std::equal(marker.begin(), marker.end(), hostile.end() - 4));
    // Five million instead of 4096, one byte longer, and every length around it with it.
    hostile.resize(hostile.size() - 4);
    hostile.insert(hostile.end(), {0x02, 0x03, 0x4c, 0x4b, 0x40});
    ++hostile[3];
    for (std::size_t i = hostile.size() - 5; i-- > 0;) {
        if (hostile[i] == 0x30 && i + 2 + hostile[i + 1] == hostile.size() - 1) {
            ++hostile[i + 1];
            break;
        }
    }
    write(hostile);
    expectFails("secret", SSF_API_INVALID_PROFILE, "asks for more than 4000000 rounds");
}

TEST_F(KeyStores, ServesAnUnchangedFileFromTheCache) {
    write(pkcs12("secret"));
    Store first;
    Store second;
    ASSERT_EQ(open("secret", first), 0);
    ASSERT_EQ(open("secret", second), 0);
    EXPECT_EQ(first, second);
}

TEST_F(KeyStores, TrustsTheStampOfAFileThatIsNotFresh) {
    setClock([] { return std::int64_t{1} << 33; });  // far behind the file's own time
    setSteadyClock([] { return steadyTime += 10; });
    write(pkcs12("secret"));
    Store first;
    Store second;
    ASSERT_EQ(open("secret", first), 0);
    ASSERT_EQ(open("secret", second), 0);
    EXPECT_EQ(first, second);
    expectFails("secreT", SSF_API_INVALID_PASSWORD, "does not open");
    write(certificate_);
    expectOpens("", false, 1);
    setSteadyClock(nullptr);
    setClock(nullptr);
}

// A settled file whose cached state is a moment old.
class LookedAtKeyStores : public KeyStores {
protected:
    LookedAtKeyStores() {
        setClock([] { return std::int64_t{1} << 33; });  // far behind the file's own time
        setSteadyClock([] { return steadyTime; });
        write(certificate_);
        expectOpens("", false, 1);
    }
    ~LookedAtKeyStores() override {
        setSteadyClock(nullptr);
        setClock(nullptr);
    }
};

TEST_F(LookedAtKeyStores, AreNotLookedAtAgainForTenMilliseconds) {
    write(pemOf(certificate_) + pemOf(other_));
    steadyTime += 9;
    expectOpens("", false, 1);
    steadyTime += 1;
    expectOpens("", false, 2);
    std::filesystem::remove(path_);
    steadyTime += 9;
    expectOpens("", false, 2);
    steadyTime += 1;
    expectFails("", SSF_API_UNKNOWN_PROFILE, "does not exist");
}

// What adding a certificate to a PKCS#12 key store answers, when `meanwhile` happens to a file that was read before.
std::int32_t addAfter(const std::string& path, const std::function<void()>& meanwhile) {
    SsfProfile* profile = nullptr;
    EXPECT_EQ(SsfOpenProfile(path.data(), static_cast<int>(path.size()), "secret", 6, &profile), 0);
    meanwhile();
    const Octets added = makeCertificate("dsa", "dsa");
    SsfCertificate* certificate = nullptr;
    EXPECT_EQ(SsfCertfromASN1(added.data(), static_cast<int>(added.size()), &certificate), 0);
    const std::int32_t code = SsfPutCertificate(profile, certificate);
    SsfFreeCertificate(&certificate);
    SsfCloseProfile(&profile);
    return code;
}

TEST_F(LookedAtKeyStores, AreReadAnewAtOnceWhenTheyWereWrittenThroughTheLibrary) {
    write(pkcs12("secret"));
    forgetKeyStoreFile(path_);
    expectOpens("secret", true, 2);
    EXPECT_EQ(addAfter(path_, [] {}), 0);
    expectOpens("secret", true, 3);
}

TEST_F(LookedAtKeyStores, AreLookedAtBeforeTheLibraryWritesThem) {
    write(pkcs12("secret"));
    forgetKeyStoreFile(path_);
    expectOpens("secret", true, 2);
    EXPECT_EQ(addAfter(path_, [&] { std::filesystem::remove(path_); }), SSF_API_UNKNOWN_PROFILE);
}

TEST_F(KeyStores, NeverServesAWrongPasswordFromTheCache) {
    write(pkcs12("secret"));
    expectOpens("secret", true, 2);
    expectFails("secreT", SSF_API_INVALID_PASSWORD, "does not open");
    expectFails("", SSF_API_INVALID_PASSWORD, "none was given");
    expectOpens("secret", true, 2);
}

TEST_F(KeyStores, NoticesAChangedFileEvenOfTheSameSizeAndTime) {
    const Octets twin = makeCertificate("rsa", "rsa", [] {
        CertificateParts parts;
        parts.serial = 4712;
        return parts;
    }());
    ASSERT_EQ(twin.size(), certificate_.size());
    write(certificate_);
    Store store;
    ASSERT_EQ(open("", store), 0);
    const Store before = store;
    const auto time = std::filesystem::last_write_time(path_);
    write(twin);
    std::filesystem::last_write_time(path_, time);
    ASSERT_EQ(open("", store), 0);
    EXPECT_EQ(store->trusted[0]->der, twin);
    // Whoever still uses the old state keeps it whole.
    EXPECT_EQ(before->trusted[0]->der, certificate_);
}

TEST_F(KeyStores, ForgetsAFileThatIsGone) {
    write(certificate_);
    expectOpens("", false, 1);
    std::filesystem::remove(path_);
    expectFails("", SSF_API_UNKNOWN_PROFILE, "does not exist");
}

TEST_F(KeyStores, FindsCertificatesByIssuerAndSerialNumberAndByKeyIdentifier) {
    CertificateParts named;
    named.serial = 99;
    named.extensions = {{"subjectKeyIdentifier", "hash"}};
    const Octets third = makeCertificate("foreign", "foreign", named);
    write(pemOf(certificate_) + pemOf(other_) + pemOf(third));
    Store store;
    ASSERT_EQ(open("", store), 0);
    const TrustedCertificate& wanted = *store->trusted[2];
    ASSERT_EQ(store->find(wanted.issuer, wanted.serial).size(), 1U);
    EXPECT_EQ(store->find(wanted.issuer, wanted.serial)[0], &wanted);
    ASSERT_EQ(store->find(wanted.subjectKeyIdentifier).size(), 1U);
    EXPECT_EQ(store->find(wanted.subjectKeyIdentifier)[0], &wanted);
    EXPECT_EQ(store->find(store->trusted[0]->issuer, store->trusted[0]->serial).size(), 2U);
    EXPECT_TRUE(store->find(wanted.issuer, Octets{1}).empty());
}

TEST_F(KeyStores, LiveInMemoryToo) {
    path_ = "memory";
    EXPECT_FALSE(isMemoryKeyStore(path_));
    EXPECT_EQ(registerMemoryKeyStore(path_, {}), 0);
    EXPECT_TRUE(isMemoryKeyStore(path_));
    expectOpens("any", false, 0);
    EXPECT_EQ(addToMemoryKeyStore(path_, certificate_), 0);
    EXPECT_EQ(addToMemoryKeyStore(path_, Octets{1, 2}), SSF_API_INVALID_PROFILE);
    expectOpens("", false, 1);
    EXPECT_EQ(registerMemoryKeyStore(path_, pkcs12("secret")), 0);
    expectOpens("secret", true, 2);
    expectFails("wrong", SSF_API_INVALID_PASSWORD, "does not open");
    EXPECT_EQ(addToMemoryKeyStore(path_, makeCertificate("dsa", "dsa")), 0);
    expectOpens("secret", true, 3);
    EXPECT_EQ(registerMemoryKeyStore("other", Octets{1, 2, 3}), SSF_API_INVALID_PROFILE);
    EXPECT_TRUE(removeMemoryKeyStore(path_));
    EXPECT_FALSE(removeMemoryKeyStore(path_));
    EXPECT_EQ(addToMemoryKeyStore(path_, certificate_), SSF_API_UNKNOWN_PROFILE);
    expectFails("secret", SSF_API_UNKNOWN_PROFILE, "does not exist");
}

TEST_F(KeyStores, ManyThreadsWhileTheFileChanges) {
    write(pemOf(certificate_));
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            while (!stop.load()) {
                Store store;
                if (open("", store) == 0) {
                    EXPECT_EQ(store->trusted.size(), 1U);
                }
            }
        });
    }
    for (int i = 0; i < 20; ++i) {
        // A file is put in place whole, as an administrator should.
        writeFile(path_ + ".new", pemOf(i % 2 == 0 ? other_ : certificate_));
        std::error_code busy;
        do {
            std::filesystem::rename(path_ + ".new", path_,
                                    busy);  // some systems refuse it while the file is being read
        } while (busy);
    }
    stop.store(true);
    for (std::thread& thread : threads)
        thread.join();
    Store store;
    ASSERT_EQ(open("", store), 0);
    EXPECT_EQ(store->trusted[0]->der, certificate_);
}

}  // namespace
}  // namespace quorvanti::test
