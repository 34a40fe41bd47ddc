#include <filesystem>

#include "quorvanti/ssf_kavsecu.h"
#include "tests/providers/openssl/provider_calls.h"
#include "tests/support/file_access.h"
#include "tests/support/issuer/openssl_issuer.h"
#include "tests/support/temporary_directory.h"

namespace quorvanti::test {
namespace {

const Bytes content = toBytes("2what is signed");

struct Signing {
    std::int32_t code = -1;
    std::int32_t signerResult = -1;
    Bytes signature;
};

struct SigningCall {
    std::string profile;
    std::string password = OpensslIssuer::password();
    std::string id = "<implicit>";
    std::string hash = "SHA256";
    bool certificate = true;
    bool detached = true;
};

Signing sign(const SigningCall& call) {
    SsfSigRcpSsfInfo* entry = nullptr;
    SsfSigRcpSsfInfoList* list = nullptr;
    SsfNEWSigRcpSsfInfo(call.id.data(), size32(call.id.size()), call.profile.data(), size32(call.profile.size()),
                        call.password.data(), size32(call.password.size()), &entry);
    SsfINSSigRcpSsfInfo(entry, &list);
    std::uint8_t* data = nullptr;
    std::int32_t length = 0;
    Signing result;
    result.code = SsfSign("PKCS7", 5, call.hash.data(), size32(call.hash.size()), call.certificate ? 1 : 0,
                          call.detached ? 1 : 0, content.data(), size32(content.size()), list, &data, &length);
    result.signerResult = entry->result;
    EXPECT_EQ(data != nullptr, result.code == SSF_API_OK);
    if (data != nullptr)
        result.signature = takeBytes(data, length);
    SsfDELSigRcpSsfInfoList(&list);
    return result;
}

class SigningTest : public ::testing::TestWithParam<KeyKind> {
protected:
    // What `openssl cms -verify` and our own SsfVerify say of a signature.
    void expectAccepted(const OpensslIssuer& issuer, const Signing& made, const std::string& what) {
        writeFile(directory_.file("signature"), std::string(made.signature.begin(), made.signature.end()));
        writeFile(directory_.file("content"), std::string(content.begin(), content.end()));
        const std::string said =
            opensslSays({"cms", "-verify", "-binary", "-inform", "DER", "-in", directory_.file("signature"), "-content",
                         directory_.file("content"), "-certfile", issuer.certificatePemFile(), "-CAfile",
                         issuer.certificatePemFile(), "-purpose", "any", "-out", directory_.file("verified")});
        EXPECT_NE(said.find("successful"), std::string::npos) << what << ": " << said;
        SsfSigRcpSsfInfoList* list = nullptr;
        std::uint8_t* output = nullptr;
        std::int32_t length = 0;
        const std::string profile = issuer.certificateDerFile();
        EXPECT_EQ(SsfVerify("PKCS7", 5, 1, made.signature.data(), size32(made.signature.size()), content.data(),
                            size32(content.size()), profile.data(), size32(profile.size()), nullptr, 0, &list, &output,
                            &length),
                  SSF_API_OK)
            << what << ": " << lastSentence(-1);
        SsfDELSigRcpSsfInfoList(&list);
        SsfDELSsfOctetstring(&output, &length);
    }

    TemporaryDirectory directory_;
};

TEST_P(SigningTest, OthersAndWeAcceptEverySignature) {
    const OpensslIssuer issuer(directory_.path().string(), GetParam());
    for (const char* hash : {"SHA1", "SHA256", "SHA-256", "sha384", "SHA512"}) {
        for (const bool withCertificate : {false, true}) {
            const Signing made =
                sign({issuer.pkcs12File(), OpensslIssuer::password(), "<implicit>", hash, withCertificate});
            ASSERT_EQ(made.code, SSF_API_OK) << hash << lastSentence(-1);
            EXPECT_EQ(made.signerResult, SSF_API_OK);
            expectAccepted(issuer, made, hash);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Keys, SigningTest, ::testing::Values(KeyKind::rsa, KeyKind::ec, KeyKind::dsa),
                         [](const auto& kind) { return nameOf(kind.param); });

class SignRefusalTest : public SigningTest {
protected:
    OpensslIssuer issuer_{directory_.path().string(), KeyKind::ec};
};

TEST_F(SignRefusalTest, SignerIsImplicitOrNamedBySubject) {
    const Bytes pem = toBytes(readFile(issuer_.certificatePemFile()));
    const std::string subject = attribute(decodeCertificate(pem).get(), "SUBJECT");
    EXPECT_EQ(sign({issuer_.pkcs12File(), OpensslIssuer::password(), subject}).code, SSF_API_OK);
    const Signing other = sign({issuer_.pkcs12File(), OpensslIssuer::password(), "CN=somebody else"});
    EXPECT_EQ(other.code, SSF_API_SIGNER_ERRORS);
    EXPECT_EQ(other.signerResult, SSF_API_UNKNOWN_SIGNER);
    EXPECT_NE(lastSentence(SSF_API_SIGNER_ERRORS).find("not to \"CN=somebody else\""), std::string::npos);
}

TEST_F(SignRefusalTest, EachFailureHasItsCodes) {
    Signing made = sign({directory_.file("nowhere")});
    EXPECT_EQ(made.code, SSF_API_UNKNOWN_PAB);
    EXPECT_EQ(made.signerResult, SSF_API_UNKNOWN_PROFILE);
    made = sign({issuer_.pkcs12File(), "wrong"});
    EXPECT_EQ(made.code, SSF_API_INVALID_PAB_PASSWORD);
    EXPECT_EQ(made.signerResult, SSF_API_INVALID_PASSWORD);
    made = sign({issuer_.certificateDerFile()});
    EXPECT_EQ(made.code, SSF_API_SIGNER_ERRORS);
    EXPECT_EQ(made.signerResult, SSF_API_UNKNOWN_SIGNER);
    EXPECT_NE(lastSentence(SSF_API_SIGNER_ERRORS).find("no private key"), std::string::npos);
    for (const char* refused : {"MD2", "MD4", "MD5"})
        EXPECT_EQ(sign({issuer_.pkcs12File(), OpensslIssuer::password(), "<implicit>", refused}).code,
                  SSF_API_INSECURE_MDALG);
    EXPECT_EQ(sign({issuer_.pkcs12File(), OpensslIssuer::password(), "<implicit>", "SHA3"}).code,
              SSF_API_INVALID_MDALG);
}

TEST_F(SignRefusalTest, MemoryKeyStoreSignsAndIsGoneWhenDeleted) {
    char* name = nullptr;
    ASSERT_EQ(kav_create_memory_PSE(&name), SSF_API_OK);
    const std::string kept = name;
    const std::string image = readFile(issuer_.pkcs12File());
    ASSERT_EQ(kav_load_memory_PSE(name, reinterpret_cast<const std::uint8_t*>(image.data()), size32(image.size())),
              SSF_API_OK);
    const Signing made = sign({name});
    EXPECT_EQ(made.code, SSF_API_OK) << lastSentence(-1);
    expectAccepted(issuer_, made, "memory");
    const std::uint8_t nonsense = 1;
    EXPECT_EQ(kav_load_memory_PSE(name, &nonsense, 1), SSF_API_INVALID_PROFILE);
    EXPECT_EQ(kav_delete_memory_PSE(name), SSF_API_OK);
    EXPECT_EQ(kav_delete_memory_PSE(kept.c_str()), SSF_API_UNKNOWN_PROFILE);
    EXPECT_EQ(kav_load_memory_PSE(kept.c_str(), &nonsense, 1), SSF_API_UNKNOWN_PROFILE);
    EXPECT_EQ(sign({kept}).code, SSF_API_UNKNOWN_PAB);
    EXPECT_EQ(kav_create_memory_PSE(nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(kav_load_memory_PSE(nullptr, &nonsense, 1), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(kav_load_memory_PSE("x", nullptr, 1), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(kav_delete_memory_PSE(nullptr), SSF_API_INVALID_FUNCARGS);
}

TEST_F(SignRefusalTest, CertificateInAMemoryKeyStoreIsTrusted) {
    const Signing made = sign({issuer_.pkcs12File()});
    char* name = nullptr;
    SsfProfile* profile = nullptr;
    ASSERT_EQ(kav_create_memory_PSE(&name), SSF_API_OK);
    const std::int32_t length = size32(std::string_view(name).size());
    ASSERT_EQ(SsfCreateProfile(name, length, nullptr, 0), SSF_API_OK) << lastSentence(-1);
    ASSERT_EQ(SsfOpenProfile(name, length, nullptr, 0, &profile), SSF_API_OK) << lastSentence(-1);
    const Certificate certificate = decodeCertificate(toBytes(readFile(issuer_.certificatePemFile())));
    EXPECT_EQ(SsfPutCertificate(profile, certificate.get()), SSF_API_OK);
    EXPECT_EQ(SsfCloseProfile(&profile), SSF_API_OK);
    EXPECT_EQ(profile, nullptr);
    SsfSigRcpSsfInfoList* list = nullptr;
    std::uint8_t* output = nullptr;
    std::int32_t outputLength = 0;
    EXPECT_EQ(SsfVerify("PKCS7", 5, 1, made.signature.data(), size32(made.signature.size()), content.data(),
                        size32(content.size()), name, length, nullptr, 0, &list, &output, &outputLength),
              SSF_API_OK);
    SsfDELSigRcpSsfInfoList(&list);
    kav_delete_memory_PSE(name);
}

TEST_F(SignRefusalTest, FileKeyStoreIsMadeFilledAndReadByOpenssl) {
    const std::string file = directory_.file("new.p12");
    const std::int32_t length = size32(file.size());
    ASSERT_EQ(SsfCreateProfile(file.data(), length, "first", 5), SSF_API_OK) << lastSentence(-1);
    EXPECT_EQ(SsfCreateProfile(file.data(), length, "first", 5), SSF_API_INVALID_PROFILE);
    SsfProfile* profile = nullptr;
    EXPECT_EQ(SsfOpenProfile(file.data(), length, "wrong", 5, &profile), SSF_API_INVALID_PASSWORD);
    ASSERT_EQ(SsfOpenProfile(file.data(), length, "first", 5, &profile), SSF_API_OK) << lastSentence(-1);
    const Certificate certificate = decodeCertificate(toBytes(readFile(issuer_.certificatePemFile())));
    EXPECT_EQ(SsfPutCertificate(profile, certificate.get()), SSF_API_OK) << lastSentence(-1);
    EXPECT_EQ(SsfPutCertificate(profile, certificate.get()), SSF_API_OK);
    sec_close(&profile);
    const std::string listed = opensslSays({"pkcs12", "-in", file, "-passin", "pass:first", "-nokeys"});
    EXPECT_EQ(listed.find("-----BEGIN CERTIFICATE-----"), listed.rfind("-----BEGIN CERTIFICATE-----"));
    EXPECT_NE(listed.find("-----BEGIN CERTIFICATE-----"), std::string::npos) << listed;
    EXPECT_TRUE(onlyForTheOwner(file).value_or(true));
}

TEST_F(SignRefusalTest, ChangedPasswordOpensAndTheOldOneDoesNot) {
    const std::string file = issuer_.pkcs12File();
    const std::string before = OpensslIssuer::password();
    const std::int32_t length = size32(file.size());
    EXPECT_EQ(sec_chpin(file.data(), length, "wrong", 5, "new", 3), SSF_API_INVALID_PASSWORD);
    ASSERT_EQ(sec_chpin(file.data(), length, before.data(), size32(before.size()), "new", 3), SSF_API_OK)
        << lastSentence(-1);
    EXPECT_EQ(kav_seclogin(file.data(), length, before.data(), size32(before.size())), SSF_API_INVALID_PASSWORD);
    EXPECT_EQ(kav_seclogin(file.data(), length, "new", 3), SSF_API_OK);
    EXPECT_EQ(sign({file, "new"}).code, SSF_API_OK);
    const std::string shown = opensslSays({"pkcs12", "-in", file, "-passin", "pass:new", "-nodes"});
    EXPECT_NE(shown.find("PRIVATE KEY"), std::string::npos) << shown;
    std::int32_t needsPassword = 0;
    EXPECT_EQ(kav_secin(file.data(), length, &needsPassword), SSF_API_OK);
    EXPECT_EQ(needsPassword, 1);
    const std::string der = issuer_.certificateDerFile();
    EXPECT_EQ(kav_secin(der.data(), size32(der.size()), &needsPassword), SSF_API_OK);
    EXPECT_EQ(needsPassword, 0);
    EXPECT_EQ(kav_secin("/nowhere", 8, &needsPassword), SSF_API_UNKNOWN_PROFILE);
    EXPECT_EQ(sec_chpin(der.data(), size32(der.size()), "", 0, "new", 3), SSF_API_SECTK_FUNCTION_NOT_AVAIL);
    EXPECT_EQ(sec_chpin(file.data(), length, "new", 3, "a\0b", 3), SSF_API_INVALID_FUNCARGS);
}

TEST_F(SignRefusalTest, AFileThatCannotBeReplacedStaysAsItWas) {
    // The file that is to take its place needs a longer name.
    const std::string file = directory_.file(std::string(250, 'n'));
    std::error_code error;
    if (!std::filesystem::copy_file(issuer_.pkcs12File(), file, error) || sign({file}).code != SSF_API_OK)
        GTEST_SKIP() << "this system takes no name of that length here";
    const std::string before = readFile(file);
    const std::string password = OpensslIssuer::password();
    EXPECT_EQ(sec_chpin(file.data(), size32(file.size()), password.data(), size32(password.size()), "new", 3),
              SSF_API_PROFILE_LOCKED);
    EXPECT_NE(lastSentence(SSF_API_PROFILE_LOCKED).find("could not be replaced"), std::string::npos);
    EXPECT_EQ(readFile(file), before);
    EXPECT_EQ(sign({file}).code, SSF_API_OK);
}

TEST(SigningArguments, NullArgumentsAreRefused) {
    SsfSigRcpSsfInfoList empty{};
    std::uint8_t* out = nullptr;
    std::int32_t length = 0;
    const std::uint8_t* data = content.data();
    EXPECT_EQ(SsfSign(nullptr, 5, "SHA1", 4, 0, 1, data, 1, &empty, &out, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfSign("PKCS7", 5, nullptr, 4, 0, 1, data, 1, &empty, &out, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfSign("PKCS7", 5, "SHA1", 4, 0, 1, nullptr, 1, &empty, &out, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfSign("PKCS7", 5, "SHA1", 4, 0, 1, data, 1, nullptr, &out, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfSign("PKCS7", 5, "SHA1", 4, 0, 1, data, 1, &empty, nullptr, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfSign("PKCS7", 5, "SHA1", 4, 0, 1, data, 1, &empty, &out, nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfSign("PKCS7", 5, "SHA1", 4, 0, 1, data, 1, &empty, &out, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfSign("PKCS1", 5, "SHA1", 4, 0, 1, data, 1, &empty, &out, &length), SSF_API_INVALID_FORMAT);
    EXPECT_EQ(SsfSign("PKCS7", 5, "SHA1", 4, 0, 1, data, 0, &empty, &out, &length), SSF_API_NODATA);
    SsfProfile* profile = nullptr;
    EXPECT_EQ(SsfCreateProfile(nullptr, 1, "", 0), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfOpenProfile(nullptr, 1, "", 0, &profile), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfOpenProfile("x", 1, "", 0, nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfPutCertificate(nullptr, nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfCloseProfile(nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(kav_secin(nullptr, 1, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(kav_seclogin(nullptr, 1, "", 0), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(sec_chpin(nullptr, 1, "", 0, "", 0), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(sec_open("x", 1, nullptr, 1, &profile), SSF_API_INVALID_FUNCARGS);
}

TEST(KavsecuNames, NamesGoThereAndBack) {
    for (const std::string text : {"CN=x,O=a\\, b,C=DE", "CN=a+OU=b,C=DE", "CN=J\xC3\xB6rg", "DC=x,DC=y", ""}) {
        SsfDName* name = nullptr;
        char* printed = nullptr;
        std::int32_t length = 0;
        ASSERT_EQ(aux_Name2DName(text.data(), size32(text.size()), &name), SSF_API_OK) << text;
        ASSERT_EQ(aux_sprint_DName(name, &printed, &length), SSF_API_OK);
        EXPECT_EQ(std::string(printed, static_cast<std::size_t>(length)), text);
        EXPECT_EQ(aux_free_String(&printed), SSF_API_OK);
        EXPECT_EQ(aux_free_DName(&name), SSF_API_OK);
        EXPECT_EQ(printed, nullptr);
        EXPECT_EQ(name, nullptr);
    }
    for (const std::string text : {"x", "CN=", "=x", "NOSUCHTYPE=x", "CN=x,", "CN=\"x", "CN=x\\", "CN=<", "CN=#0"}) {
        SsfDName* name = nullptr;
        EXPECT_EQ(aux_Name2DName(text.data(), size32(text.size()), &name), SSF_API_BAD_NAME) << text;
        EXPECT_EQ(name, nullptr);
    }
}

TEST(KavsecuNames, ObjectsSayWhatTheyAre) {
    const TemporaryDirectory directory;
    const OpensslIssuer issuer(directory.path().string(), KeyKind::rsa);
    const auto parse = [](const std::string& object) {
        char* text = nullptr;
        std::int32_t length = 0;
        const auto code = kavsecu_parseobject(reinterpret_cast<const std::uint8_t*>(object.data()),
                                              size32(object.size()), &text, &length);
        const std::string result = code == SSF_API_OK ? std::string(text) : "code " + std::to_string(code);
        aux_free_String(&text);
        return result;
    };
    EXPECT_EQ(parse(readFile(issuer.certificateDerFile())).substr(0, 12), "Certificate\n");
    EXPECT_EQ(parse(readFile(issuer.certificatePemFile())).substr(0, 12), "Certificate\n");
    EXPECT_EQ(parse(readFile(issuer.keyFile())), "Private key\nRSA, 2048 bits");
    EXPECT_EQ(parse(readFile(issuer.pkcs12File())), "PKCS#12 key store\nProtected by a password");
    const Bytes signature = issuer.sign(content, {});
    EXPECT_EQ(parse(std::string(signature.begin(), signature.end())).substr(0, 7), "PKCS#7\n");
    EXPECT_EQ(parse("nonsense"), "code 12");
    EXPECT_EQ(kavsecu_parseobject(nullptr, 1, nullptr, nullptr), SSF_API_INVALID_FUNCARGS);
}

}  // namespace
}  // namespace quorvanti::test
