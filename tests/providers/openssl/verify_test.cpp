// SsfVerify: what it accepts, and that everything that differs from it in one thing is refused for the right reason.
#include <algorithm>
#include <thread>

#include "tests/providers/openssl/verify_fixture.h"

namespace quorvanti::test {
namespace {

TEST_F(Verify, AcceptsEachKeyTypeAndDigestWithAndWithoutCertificateAndAttributes) {
    for (const char* key : {"rsa", "dsa", "ec"}) {
        const Octets certificate = makeCertificate(key, key);
        trust({certificate});
        for (const char* digest : {"SHA1", "SHA224", "SHA256", "SHA384", "SHA512"}) {
            for (const bool withCertificate : {false, true}) {
                for (const bool withAttributes : {false, true}) {
                    SCOPED_TRACE(std::string(key) + " " + digest);
                    SignatureParts parts(key, certificate, digest);
                    parts.withAttributes = withAttributes;
                    if (!withCertificate)
                        parts.certificates.clear();
                    expectAccepted(parts);
                }
            }
        }
    }
}

TEST_F(Verify, TellsWhoSigned) {
    trust({rsa_});
    const Answer answer = verify(accepted_.build(content_), content_);
    EXPECT_EQ(answer.code, 0);
    EXPECT_EQ(answer.id, "CN=issuing system");
    EXPECT_EQ(answer.certificate, rsa_);
}

TEST_F(Verify, FindsTheSignerByKeyIdentifier) {
    CertificateParts named;
    named.extensions = {{"subjectKeyIdentifier", "hash"}};
    const Octets certificate = makeCertificate("rsa", "rsa", named);
    trust({certificate});
    SignatureParts parts("rsa", certificate);
    parts.signer = keyIdentifier(certificate);
    parts.version = parts.signerVersion = 3;
    expectAccepted(parts);
    parts.certificates.clear();
    expectAccepted(parts);
}

TEST_F(Verify, RefusesVersionsThatDoNotFitTheSigner) {
    trust({rsa_});
    accepted_.version = 3;
    expectUndecodable(accepted_.build(content_), "versions");
    accepted_.version = 1;
    accepted_.signerVersion = 3;
    expectUndecodable(accepted_.build(content_), "versions");
    accepted_.version = accepted_.signerVersion = 2;
    expectUndecodable(accepted_.build(content_), "versions");
}

TEST_F(Verify, RefusesAForeignKeyThatImitatesIssuerAndSerialNumber) {
    trust({rsa_});
    expectAccepted(accepted_);
    SignatureParts imitation("foreign", makeCertificate("foreign", "foreign"));
    ASSERT_EQ(imitation.signer, accepted_.signer);
    expectSignerRefused(imitation, SSF_API_UNKNOWN_SIGNER, "another certificate with the name and number");
    imitation.certificates.clear();
    expectSignerRefused(imitation, SSF_API_SIGNER_NOT_OK, "not that of CN=issuing system");
    imitation.certificates = {rsa_};
    expectSignerRefused(imitation, SSF_API_SIGNER_NOT_OK, "not that of CN=issuing system");
}

TEST_F(Verify, RefusesAnotherContent) {
    trust({rsa_});
    const Octets other{'o', 't', 'h', 'e', 'r'};
    Answer answer = verify(accepted_.build(content_), other);
    EXPECT_EQ(answer.signerResult, SSF_API_SIGNER_NOT_OK);
    EXPECT_THAT(answer.sentence, HasSubstr("message digest differs"));
    accepted_.withAttributes = false;
    answer = verify(accepted_.build(content_), other);
    EXPECT_EQ(answer.signerResult, SSF_API_SIGNER_NOT_OK);
}

TEST_F(Verify, RefusesStrippedAttributes) {
    trust({rsa_});
    // The signature of one with attributes, presented as one without.
    const Octets attributes = join(accepted_.usualAttributes(content_));
    accepted_.withAttributes = false;
    const Octets stripped = accepted_.build(der(0x31, attributes));
    Answer answer = verify(stripped, content_);
    EXPECT_EQ(answer.code, SSF_API_SIGNER_ERRORS);
    EXPECT_EQ(answer.signerResult, SSF_API_SIGNER_NOT_OK);
    // With the attributes as content the arithmetic is right; the first byte gives them away.
    answer = verify(stripped, der(0x31, attributes));
    EXPECT_EQ(answer.code, SSF_API_SIGNER_ERRORS);
    EXPECT_EQ(answer.signerResult, SSF_API_SIGNER_NOT_OK);
    EXPECT_THAT(answer.sentence, HasSubstr("begins like signed attributes"));
    // Any other first byte is accepted in the same situation.
    EXPECT_EQ(verify(accepted_.build(content_), content_).code, 0);
}

TEST_F(Verify, AcceptsContentThatBeginsLikeAttributesWhenThereAreAttributes) {
    trust({rsa_});
    const Octets content = der(0x31, Octets{1, 2, 3});
    EXPECT_EQ(verify(accepted_.build(content), content).code, 0);
}

TEST_F(Verify, RefusesWrongMissingOrDoubledSignedAttributes) {
    trust({rsa_});
    const std::vector<Octets> usual = accepted_.usualAttributes(content_);
    const Octets& type = usual[0];
    const Octets& digest = usual[1];
    const Octets digestValue = der(0x04, digestOfBytes("SHA256", content_));
    const Octets otherDigest = der(0x04, digestOfBytes("SHA256", {1}));
    std::vector<Octets> bothDigests{digestValue, otherDigest};
    std::sort(bothDigests.begin(), bothDigests.end());
    std::vector<Octets> digestTwice{digest, attribute(oidMessageDigest, {otherDigest})};
    std::sort(digestTwice.begin(), digestTwice.end());
    const Octets otherType = attribute(oidContentType, {oid(oidSignedData)});
    struct Case {
        std::vector<Octets> attributes;
        const char* sentence;
    };
    const std::vector<Case> cases{
        {{type, attribute(oidMessageDigest, {otherDigest})}, "message digest differs"},
        {{type, attribute(oidMessageDigest, {der(0x04, digestOfBytes("SHA1", content_))})}, "message digest differs"},
        {{type}, "have no message digest"},
        {{type, digest, digest}, "more than one message digest"},
        {{type, digestTwice[0], digestTwice[1]}, "more than one message digest"},
        {{type, attribute(oidMessageDigest, bothDigests)}, "more than one message digest"},
        {{type, attribute(oidMessageDigest, {der(0x0c, digestOfBytes("SHA256", content_))})}, "no octet string"},
        {{digest}, "name no content type"},
        {{otherType, digest}, "another content type"},
        {{type, type, digest}, "content type more than once"},
        {{type, otherType, digest}, "content type more than once"},
        {{attribute(oidContentType, {oid(oidData), oid(oidSignedData)}), digest}, "content type more than once"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.sentence);
        std::vector<Octets> sorted = one.attributes;
        std::sort(sorted.begin(), sorted.end());
        accepted_.attributes = sorted;
        expectSignerRefused(accepted_, SSF_API_SIGNER_NOT_OK, one.sentence);
    }
    accepted_.attributes = std::vector<Octets>{};
    expectSignerRefused(accepted_, SSF_API_SIGNER_NOT_OK, "name no content type");
    accepted_.attributes = usual;
    expectAccepted(accepted_);
}

TEST_F(Verify, RefusesAttributesThatAreNotStrictDer) {
    trust({rsa_});
    std::vector<Octets> usual = accepted_.usualAttributes(content_);
    accepted_.attributes = std::vector<Octets>{usual[1], usual[0]};
    expectUndecodable(accepted_.build(content_), "not in the order");
    accepted_.attributes =
        std::vector<Octets>{der(0x30, {oid(oidSigningTime), der(0x31, Octets{})}), usual[0], usual[1]};
    expectUndecodable(accepted_.build(content_), "signed attributes of the signature are not in strict DER");
    accepted_.attributes = std::vector<Octets>{usual[0], usual[1], {0x00}};
    expectUndecodable(accepted_.build(content_), "signed attributes of the signature are not in strict DER");
}

TEST_F(Verify, RefusesEveryOtherShape) {
    trust({rsa_});
    expectAccepted(accepted_);
    const auto with = [&](auto change) {
        SignatureParts parts = accepted_;
        change(parts);
        return parts.build(content_);
    };
    expectUndecodable(with([](SignatureParts& parts) { parts.signers = 2; }), "more than one signer");
    expectUndecodable(with([](SignatureParts& parts) { parts.signers = 0; }), "has no signer");
    expectUndecodable(with([](SignatureParts& parts) {
                          parts.signers = 0;
                          parts.digestAlgorithms.clear();
                      }),
                      "has no signer");
    expectUndecodable(with([&](SignatureParts& parts) { parts.embedded = der(0xa0, der(0x04, content_)); }),
                      "carries content");
    expectUndecodable(with([](SignatureParts& parts) { parts.contentType = oid(oidSignedData); }),
                      "another content type than data");
    expectUndecodable(with([](SignatureParts& parts) { parts.outerType = oid(oidData); }), "no PKCS#7 SignedData");
    expectUndecodable(
        with([](SignatureParts& parts) { parts.behindSignature = der(0xa1, attribute(oidSigningTime, {number(1)})); }),
        "unsigned attributes");
    expectUndecodable(with([](SignatureParts& parts) { parts.behindCertificates = der(0xa1, Octets{}); }),
                      "revocation lists");
    expectUndecodable(with([](SignatureParts& parts) { parts.digestAlgorithms.clear(); }), "exactly one digest");
    expectUndecodable(
        with([](SignatureParts& parts) { parts.digestAlgorithms.push_back(parts.digestAlgorithms.front()); }),
        "exactly one digest");
    expectUndecodable(with([](SignatureParts& parts) {
                          parts.certificates.assign(33, Octets{0x30, 0x00});
                      }),
                      "more than 32 certificates");
    expectUndecodable(with([](SignatureParts& parts) { parts.certificates.push_back(der(0xa1, Octets{})); }),
                      "not X.509 certificates");
}

TEST_F(Verify, RefusesBytesBehindTheEnd) {
    trust({rsa_});
    Octets signature = accepted_.build(content_);
    signature.push_back(0);
    expectUndecodable(signature, "behind the end");
}

TEST_F(Verify, RefusesIndefiniteAndOverlongLengths) {
    trust({rsa_});
    const Octets whole = accepted_.build(content_);
    ASSERT_EQ(whole[1], 0x82);
    Octets indefinite(whole.begin() + 4, whole.end());
    indefinite.insert(indefinite.begin(), {0x30, 0x80});
    indefinite.insert(indefinite.end(), {0x00, 0x00});
    expectUndecodable(indefinite, "strict DER");
    Octets overlong(whole.begin() + 4, whole.end());
    overlong.insert(overlong.begin(), {0x30, 0x83, 0x00, whole[2], whole[3]});
    expectUndecodable(overlong, "strict DER");
}

TEST_F(Verify, RefusesEveryTruncation) {
    trust({rsa_});
    const Octets whole = accepted_.build(content_);
    for (std::size_t size = 1; size < whole.size(); ++size) {
        EXPECT_EQ(verify(Octets(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)), content_).code,
                  SSF_API_DECODE_FAILED);
    }
}

TEST_F(Verify, RefusesEveryFlippedBitWithoutEmbeddedCertificate) {
    for (const bool withAttributes : {false, true}) {
        const Octets certificate = makeCertificate("ec", "ec");
        trust({certificate});
        SignatureParts parts("ec", certificate);
        parts.certificates.clear();
        parts.withAttributes = withAttributes;
        Octets signature = parts.build(content_);
        ASSERT_EQ(verify(signature, content_).code, 0);
        for (std::size_t bit = 0; bit < signature.size() * 8; ++bit) {
            signature[bit / 8] ^= static_cast<std::uint8_t>(1U << (bit % 8));
            EXPECT_NE(verify(signature, content_).code, 0) << "bit " << bit;
            signature[bit / 8] ^= static_cast<std::uint8_t>(1U << (bit % 8));
        }
    }
}

TEST_F(Verify, RefusesCertificatesOutsideTheirValidity) {
    CertificateParts past;
    past.notAfter = testTime - 1;
    const Octets expired = makeCertificate("rsa", "rsa", past);
    trust({expired});
    expectSignerRefused(SignatureParts("rsa", expired), SSF_API_CERT_EXPIRED, "expired on 2026-05-31 23:59:59Z");
    CertificateParts future;
    future.notBefore = testTime + 1;
    const Octets early = makeCertificate("rsa", "rsa", future);
    trust({early});
    expectSignerRefused(SignatureParts("rsa", early), SSF_API_CERT_EXPIRED, "not valid before 2026-06-01 00:00:01Z");
    CertificateParts justNow;
    justNow.notBefore = justNow.notAfter = testTime;
    const Octets exact = makeCertificate("rsa", "rsa", justNow);
    trust({exact});
    expectAccepted(SignatureParts("rsa", exact));
}

TEST_F(Verify, ChecksTheValidityOfCachedCertificatesAtEachUse) {
    trust({rsa_});
    expectAccepted(accepted_);
    provider::setClock([] { return testTime + 181 * day; });
    expectSignerRefused(accepted_, SSF_API_CERT_EXPIRED, "expired");
    provider::setClock(testClock);
    expectAccepted(accepted_);
}

TEST_F(Verify, RefusesUnknownAndInsecureDigests) {
    trust({rsa_});
    const Answer md5 = verify(SignatureParts("rsa", rsa_, "MD5").build(content_), content_);
    EXPECT_EQ(md5.code, SSF_API_INSECURE_MDALG);
    EXPECT_THAT(md5.sentence, HasSubstr("MD5"));
    for (const char* old : {"1.2.840.113549.2.2", "1.2.840.113549.2.4"}) {
        SignatureParts parts = accepted_;
        parts.signerDigestAlgorithm = algorithm(old);
        parts.digestAlgorithms = {algorithm(old)};
        EXPECT_EQ(verify(parts.build(content_), content_).code, SSF_API_INSECURE_MDALG);
    }
    SignatureParts unknown = accepted_;
    unknown.signerDigestAlgorithm = algorithm("1.3.36.3.2.1");
    const Answer answer = verify(unknown.build(content_), content_);
    EXPECT_EQ(answer.code, SSF_API_INVALID_MDALG);
    EXPECT_THAT(answer.sentence, HasSubstr("1.3.36.3.2.1"));
}

TEST_F(Verify, RefusesAlgorithmsThatDisagree) {
    trust({rsa_});
    SignatureParts parts = accepted_;
    parts.digestAlgorithms = {algorithm("2.16.840.1.101.3.4.2.2")};
    expectUndecodable(parts.build(content_), "different digest algorithms");
    parts = accepted_;
    parts.signatureAlgorithm = algorithm("1.2.840.113549.1.1.12");
    expectUndecodable(parts.build(content_), "disagree");
    parts.signatureAlgorithm = algorithm("1.2.840.113549.1.1.11");
    expectAccepted(parts);
    parts.signatureAlgorithm = algorithm("1.2.840.10045.4.3.2", false);
    expectSignerRefused(parts, SSF_API_SIGNER_NOT_OK,
                        "key of type EC, but the key of CN=issuing system is of type RSA");
    parts.signatureAlgorithm = algorithm("1.2.840.113549.1.1.10");
    const Answer pss = verify(parts.build(content_), content_);
    EXPECT_EQ(pss.code, SSF_API_INVALID_MDALG);
    EXPECT_THAT(pss.sentence, HasSubstr("1.2.840.113549.1.1.10 is not supported"));
    parts.signatureAlgorithm = der(0x30, {oid("1.2.840.113549.1.1.1"), number(1)});
    expectUndecodable(parts.build(content_), "unexpected parameters");
}

TEST_F(Verify, RefusesShortKeys) {
    const Octets weak = makeCertificate("rsa512", "rsa512");
    trust({weak});
    expectSignerRefused(SignatureParts("rsa512", weak), SSF_API_SIGNER_NOT_OK, "has 512 bits; at least 1024");
}

TEST_F(Verify, NamesTheUnknownSigner) {
    CertificateParts other;
    other.subject = "somebody else";
    trust({makeCertificate("ec", "ec", other)});
    expectSignerRefused(accepted_, SSF_API_UNKNOWN_SIGNER, "CN=issuing system does not lead to a trusted one");
    EXPECT_EQ(verify(accepted_.build(content_), content_).certificate, rsa_);
    accepted_.certificates.clear();
    expectSignerRefused(accepted_, SSF_API_UNKNOWN_SIGNER, "serial number 12:67 issued by CN=issuing system");
}

TEST_F(Verify, NeedsACertificateInTheKeyStore) {
    writeFile(store_, keyPem("rsa"));
    expectSignerRefused(accepted_, SSF_API_NOCERTIFICATE, "holds no certificate");
}

TEST_F(Verify, AcceptsOneOfSeveralCertificatesWithTheSameNameAndNumber) {
    trust({makeCertificate("foreign", "foreign"), rsa_});
    expectAccepted(accepted_);
    accepted_.certificates.clear();
    expectAccepted(accepted_);
}

TEST_F(Verify, ChecksItsArguments) {
    trust({rsa_});
    const Octets signature = accepted_.build(content_);
    const auto signatureLength = static_cast<std::int32_t>(signature.size());
    const auto contentLength = static_cast<std::int32_t>(content_.size());
    const auto storeLength = static_cast<std::int32_t>(store_.size());
    SsfSigRcpSsfInfoList* signers = nullptr;
    std::uint8_t* output = nullptr;
    std::int32_t length = 0;
    const auto call = [&](const char* format, std::int32_t detached, const std::uint8_t* data, std::int32_t size,
                          std::int32_t profileLength) {
        return SsfVerify(format, 5, detached, data, size, content_.data(), contentLength, store_.c_str(), profileLength,
                         nullptr, 0, &signers, &output, &length);
    };
    EXPECT_EQ(call("PKCS7", 1, signature.data(), signatureLength, storeLength), 0);
    SsfDELSigRcpSsfInfoList(&signers);
    EXPECT_EQ(call("PKCS8", 1, signature.data(), signatureLength, storeLength), SSF_API_INVALID_FORMAT);
    EXPECT_EQ(call("PKCS7", 0, signature.data(), signatureLength, storeLength), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(call("PKCS7", 1, nullptr, 0, storeLength), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(call("PKCS7", 1, signature.data(), 0, storeLength), SSF_API_NODATA);
    EXPECT_EQ(call("PKCS7", 1, signature.data(), -1, storeLength), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(call("PKCS7", 1, signature.data(), signatureLength, 0), SSF_API_UNKNOWN_PROFILE);
    EXPECT_EQ(call(nullptr, 1, signature.data(), signatureLength, storeLength), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfVerify("PKCS7", 5, 1, signature.data(), signatureLength, content_.data(), contentLength,
                        store_.c_str(), storeLength, nullptr, 0, nullptr, &output, &length),
              SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(signers, nullptr);
}

TEST_F(Verify, ManyThreadsAtOnce) {
    trust({rsa_});
    const Octets signature = accepted_.build(content_);
    Octets wrong = signature;
    wrong.back() ^= 1;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                EXPECT_EQ(verify(signature, content_).code, 0);
                EXPECT_EQ(verify(wrong, content_).code, SSF_API_SIGNER_ERRORS);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
}  // namespace quorvanti::test
