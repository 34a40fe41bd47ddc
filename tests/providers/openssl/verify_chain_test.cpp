// Signers that only the signature carries: they are believed when they chain to a trusted certificate, and each
// refused one differs from an accepted twin in one thing.
#include "tests/providers/openssl/verify_fixture.h"

namespace quorvanti::test {
namespace {

class VerifyChain : public Verify {
protected:
    using Extensions = std::vector<std::pair<const char*, const char*>>;

    static Octets authority(const Extensions& extensions = {{"basicConstraints", "critical,CA:TRUE"}}) {
        CertificateParts parts;
        parts.subject = "authority";
        parts.serial = 1;
        parts.extensions = extensions;
        return makeCertificate("authority", "authority", parts);
    }
    static CertificateParts below(const std::string& issuer, const std::string& subject, const Extensions& extensions) {
        CertificateParts parts;
        parts.subject = subject;
        parts.issuer = issuer;
        parts.serial = 2;
        parts.extensions = extensions;
        return parts;
    }
    static Octets signer(const Extensions& extensions = {}) {
        return makeCertificate("rsa", "authority", below("authority", "issuing system", extensions));
    }
};

TEST_F(VerifyChain, AcceptsASignerOfATrustedAuthorityNowAndAgain) {
    trust({authority()});
    expectAccepted(SignatureParts("rsa", signer()));
    const Octets certificate = signer();
    for (int i = 0; i < 40; ++i)
        expectAccepted(SignatureParts("rsa", certificate));
    const Answer answer = verify(SignatureParts("rsa", certificate).build(content_), content_);
    EXPECT_EQ(answer.id, "CN=issuing system");
    EXPECT_EQ(answer.certificate, certificate);
}

TEST_F(VerifyChain, RefusesASignerOfAnImitatedAuthority) {
    trust({authority()});
    const Octets forged = makeCertificate("rsa", "foreign", below("authority", "issuing system", {}));
    expectSignerRefused(SignatureParts("rsa", forged), SSF_API_UNKNOWN_SIGNER, "does not lead to a trusted one");
}

TEST_F(VerifyChain, RefusesAWrongSignatureOfAChainedSigner) {
    trust({authority()});
    const Octets certificate = signer();
    SignatureParts parts("foreign", certificate);
    expectSignerRefused(parts, SSF_API_SIGNER_NOT_OK, "not that of CN=issuing system");
    expectAccepted(SignatureParts("rsa", certificate));
    expectSignerRefused(parts, SSF_API_SIGNER_NOT_OK, "not that of CN=issuing system");
}

TEST_F(VerifyChain, AcceptsAnIntermediateAuthorityAndRefusesOneThatIsNone) {
    trust({authority()});
    const auto chainWith = [&](const Extensions& extensions) {
        const Octets middle = makeCertificate("ec", "authority", below("authority", "middle", extensions));
        const Octets leaf = makeCertificate("rsa", "ec", below("middle", "issuing system", {}));
        SignatureParts parts("rsa", leaf);
        parts.certificates = {leaf, middle};
        return parts;
    };
    const SignatureParts accepted = chainWith({{"basicConstraints", "critical,CA:TRUE"}});
    expectAccepted(accepted);
    SignatureParts alone = accepted;
    alone.certificates.pop_back();
    expectSignerRefused(alone, SSF_API_UNKNOWN_SIGNER, "does not lead to a trusted one");
    expectSignerRefused(chainWith({{"basicConstraints", "critical,CA:FALSE"}}), SSF_API_UNKNOWN_SIGNER, "CN=middle");
    expectSignerRefused(chainWith({}), SSF_API_UNKNOWN_SIGNER, "CN=middle");
    expectSignerRefused(chainWith({{"basicConstraints", "CA:TRUE"}, {"keyUsage", "digitalSignature"}}),
                        SSF_API_UNKNOWN_SIGNER, "CN=middle");
    expectAccepted(chainWith({{"basicConstraints", "CA:TRUE"}, {"keyUsage", "keyCertSign"}}));
    trust({authority({{"basicConstraints", "critical,CA:TRUE,pathlen:0"}})});
    expectSignerRefused(accepted, SSF_API_UNKNOWN_SIGNER, "path length");
    expectAccepted(SignatureParts("rsa", signer()));
}

TEST_F(VerifyChain, BelievesATrustedIntermediateWithoutItsRoot) {
    const Octets middle =
        makeCertificate("ec", "authority", below("authority", "middle", {{"basicConstraints", "critical,CA:TRUE"}}));
    trust({middle});
    expectAccepted(SignatureParts("rsa", makeCertificate("rsa", "ec", below("middle", "issuing system", {}))));
}

TEST_F(VerifyChain, RefusesWhatATrustedCertificateThatIsNoAuthorityIssued) {
    trust({authority({})});
    expectSignerRefused(SignatureParts("rsa", signer()), SSF_API_UNKNOWN_SIGNER, "CN=authority");
}

TEST_F(VerifyChain, ObeysTheExtensionsOfTheSigner) {
    trust({authority()});
    expectAccepted(SignatureParts("rsa", signer({{"keyUsage", "critical,digitalSignature"}})));
    expectSignerRefused(SignatureParts("rsa", signer({{"keyUsage", "critical,keyEncipherment"}})),
                        SSF_API_UNKNOWN_SIGNER, "by its key usage");
    expectAccepted(SignatureParts("rsa", signer({{"extendedKeyUsage", "emailProtection"}})));
    expectAccepted(SignatureParts("rsa", signer({{"extendedKeyUsage", "serverAuth,anyExtendedKeyUsage"}})));
    expectSignerRefused(SignatureParts("rsa", signer({{"extendedKeyUsage", "serverAuth"}})), SSF_API_UNKNOWN_SIGNER,
                        "extended key usage");
    expectAccepted(SignatureParts("rsa", signer({{"1.2.3.4", "DER:0500"}})));
    expectSignerRefused(SignatureParts("rsa", signer({{"1.2.3.4", "critical,DER:0500"}})), SSF_API_UNKNOWN_SIGNER,
                        "critical extension");
}

TEST_F(VerifyChain, ChecksTheValidityOfTheWholeChainAtEachUse) {
    CertificateParts shortLived = below("authority", "authority", {{"basicConstraints", "critical,CA:TRUE"}});
    shortLived.serial = 1;
    shortLived.notAfter = testTime + day;
    trust({makeCertificate("authority", "authority", shortLived)});
    const SignatureParts parts("rsa", signer());
    expectAccepted(parts);
    provider::setClock([] { return testTime + day + 1; });
    expectSignerRefused(parts, SSF_API_CERT_EXPIRED, "certificate of CN=authority expired on 2026-06-02 00:00:00Z");
    provider::setClock([] { return testTime - 181 * day; });
    expectSignerRefused(parts, SSF_API_CERT_EXPIRED, "is not valid before");
    provider::setClock(testClock);
    expectAccepted(parts);
}

TEST_F(VerifyChain, EndsWithTheValidityWhetherChainedBeforeOrNot) {
    trust({authority()});
    CertificateParts parts = below("authority", "issuing system", {});
    parts.notAfter = testTime;
    const SignatureParts signature("rsa", makeCertificate("rsa", "authority", parts));
    provider::setClock([] { return testTime - 1; });
    expectAccepted(signature);
    // Kept from a moment ago when the last moment comes.
    const Octets bytes = signature.build(content_);
    EXPECT_EQ(verifyWith(bytes, content_, store_).code, 0);
    provider::setClock(testClock);
    EXPECT_EQ(verifyWith(bytes, content_, store_).signerResult, SSF_API_CERT_EXPIRED);
    expectSignerRefused(signature, SSF_API_CERT_EXPIRED, "expired on 2026-06-01 00:00:00Z");
}

TEST_F(VerifyChain, RefusesCertificatesSignedWithMd5AndShortKeys) {
    CertificateParts issuer = below("authority", "authority", {{"basicConstraints", "critical,CA:TRUE"}});
    issuer.serial = 1;
    trust({makeCertificate("foreign", "foreign", issuer)});
    CertificateParts old = below("authority", "issuing system", {});
    old.digest = "MD5";
    expectSignerRefused(SignatureParts("rsa", makeCertificate("rsa", "foreign", old)), SSF_API_UNKNOWN_SIGNER,
                        "digest that is refused");
    old.digest = "SHA1";
    expectAccepted(SignatureParts("rsa", makeCertificate("rsa", "foreign", old)));
    expectSignerRefused(SignatureParts("rsa512", makeCertificate("rsa512", "foreign", old)), SSF_API_UNKNOWN_SIGNER,
                        "too short a key");
}

TEST_F(VerifyChain, RefusesACarriedCertificateThatIsNone) {
    trust({authority()});
    SignatureParts parts("rsa", signer());
    parts.certificates.push_back(der(0x30, Octets{}));
    expectSignerRefused(parts, SSF_API_SIGNER_NOT_OK, "not in strict DER");
}

}  // namespace
}  // namespace quorvanti::test
