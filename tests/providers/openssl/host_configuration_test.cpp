// What a host has configured for its own OpenSSL, which it may share with the provider, does not reach the provider.
#include <openssl/evp.h>

#include "quorvanti/ssf_kavsecu.h"
#include "tests/providers/openssl/provider_calls.h"
#include "tests/providers/openssl/verify_fixture.h"

namespace quorvanti::test {
namespace {

class HostConfiguration : public Verify {
protected:
    ~HostConfiguration() override { EVP_default_properties_enable_fips(nullptr, 0); }

    // The host allows itself nothing but what is validated, and has nothing that is: from here on, whatever goes by way
    // of its context fails.
    static void forbidEverything() {
        ASSERT_EQ(EVP_default_properties_enable_fips(nullptr, 1), 1);
        const provider::ErrorQueueGuard guard;
        ASSERT_EQ(provider::EvpMdPtr(EVP_MD_fetch(nullptr, "SHA256", nullptr)), nullptr);
    }

    Octets sign(const std::string& profile, const std::string& password) const {
        SsfSigRcpSsfInfo* entry = nullptr;
        SsfSigRcpSsfInfoList* list = nullptr;
        std::uint8_t* signature = nullptr;
        std::int32_t length = 0;
        SsfNEWSigRcpSsfInfo("<implicit>", 10, profile.data(), size32(profile.size()), password.data(),
                            size32(password.size()), &entry);
        SsfINSSigRcpSsfInfo(entry, &list);
        EXPECT_EQ(
            SsfSign("PKCS7", 5, "SHA256", 6, 1, 1, content_.data(), size32(content_.size()), list, &signature, &length),
            SSF_API_OK)
            << lastSentence(-1);
        SsfDELSigRcpSsfInfoList(&list);
        return takeBytes(signature, length);
    }
};

TEST_F(HostConfiguration, LeavesVerificationAsItIs) {
    CertificateParts authority;
    authority.subject = "authority";
    authority.serial = 1;
    authority.extensions = {{"basicConstraints", "critical,CA:TRUE"}};
    CertificateParts middle = authority;
    middle.subject = "middle";
    middle.issuer = "authority";
    middle.serial = 2;
    CertificateParts leaf;
    leaf.issuer = "authority";
    CertificateParts farLeaf;
    farLeaf.issuer = "middle";
    SignatureParts direct("rsa", makeCertificate("rsa", "authority", leaf));
    SignatureParts far("rsa", makeCertificate("rsa", "ec", farLeaf));
    far.certificates.push_back(makeCertificate("ec", "authority", middle));
    trust({rsa_, makeCertificate("authority", "authority", authority)});
    const Octets signatures[] = {accepted_.build(content_), direct.build(content_), far.build(content_)};
    forbidEverything();
    for (const Octets& signature : signatures) {
        const Answer answer = verify(signature, content_);
        EXPECT_EQ(answer.code, 0) << answer.sentence;
    }
}

TEST_F(HostConfiguration, LeavesKeyStoresAndSigningAsTheyAre) {
    const std::string plain = directory_.file("plain.pem");
    const std::string pkcs12 = directory_.file("store.p12");
    const std::string locked = directory_.file("locked.pem");
    const std::string traditional = directory_.file("traditional.pem");
    writeFile(plain, keyPem("rsa") + pemOf(rsa_));
    opensslSays({"pkcs12", "-export", "-in", plain, "-passout", "pass:old", "-out", pkcs12});
    opensslSays({"pkcs8", "-topk8", "-in", plain, "-passout", "pass:old", "-out", locked});
    opensslSays({"rsa", "-in", plain, "-aes128", "-traditional", "-passout", "pass:old", "-out", traditional});
    for (const std::string& file : {locked, traditional})
        writeFile(file, readFile(file) + pemOf(rsa_));
    trust({rsa_});
    forbidEverything();
    for (const std::string& file : {pkcs12, locked, traditional})
        EXPECT_EQ(verifyWith(sign(file, "old"), content_, store_).code, 0) << file;

    const std::string made = directory_.file("made");
    SsfProfile* profile = nullptr;
    EXPECT_EQ(SsfCreateProfile(made.data(), size32(made.size()), nullptr, 0), SSF_API_OK) << lastSentence(-1);
    EXPECT_EQ(SsfOpenProfile(made.data(), size32(made.size()), nullptr, 0, &profile), SSF_API_OK) << lastSentence(-1);
    const Certificate certificate = decodeCertificate(rsa_);
    EXPECT_EQ(SsfPutCertificate(profile, certificate.get()), SSF_API_OK) << lastSentence(-1);
    EXPECT_EQ(SsfCloseProfile(&profile), SSF_API_OK);
    EXPECT_EQ(sec_chpin(pkcs12.data(), size32(pkcs12.size()), "old", 3, "new", 3), SSF_API_OK) << lastSentence(-1);
    EXPECT_EQ(verifyWith(sign(pkcs12, "new"), content_, made).code, 0);
}

TEST_F(HostConfiguration, LeavesCertificatesAndHashesAsTheyAre) {
    forbidEverything();
    const Certificate certificate = decodeCertificate(rsa_);
    EXPECT_THAT(attribute(certificate.get(), "ALL"), HasSubstr("Fingerprint: "));
    std::int32_t id = 0;
    ASSERT_EQ(crypt_hashAlgorithm_Name2Id("SHA256", 6, &id), SSF_API_OK);
    void* hash = nullptr;
    ASSERT_EQ(crypt_hash_create(id, &hash), SSF_API_OK);
    std::uint8_t value[64];
    std::int32_t length = sizeof value;
    EXPECT_EQ(crypt_hash_getValue(hash, value, &length), SSF_API_OK);
    crypt_hash_release(&hash);
    const Bytes longKey(200);  // is hashed itself
    void* mac = nullptr;
    ASSERT_EQ(crypt_keyedmac_create(id, longKey.data(), size32(longKey.size()), &mac), SSF_API_OK);
    length = sizeof value;
    EXPECT_EQ(crypt_keyedmac_getValue(mac, value, &length), SSF_API_OK);
    crypt_keyedmac_release(&mac);
}

}  // namespace
}  // namespace quorvanti::test
