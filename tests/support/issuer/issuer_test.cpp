// The issuers check each other: what the library call signs, the command verifies, and the other way round.
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/issuer/openssl_issuer.h"
#include "tests/support/temporary_directory.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

using namespace quorvanti::test;

namespace {

void opensslVerifies(const Bytes& content, const Bytes& signature, const std::string& certificateFile) {
    const TemporaryDirectory directory;
    writeFile(directory.file("content"), std::string(content.begin(), content.end()));
    writeFile(directory.file("signature"), std::string(signature.begin(), signature.end()));
    runOpenssl({"cms", "-verify", "-binary", "-inform", "DER", "-in", directory.file("signature"), "-content",
                directory.file("content"), "-certfile", certificateFile, "-CAfile", certificateFile, "-purpose", "any",
                "-out", directory.file("out")});
}

TEST(TicketBuilder, WritesTheDocumentedBytes) {
    const Bytes bytes = TicketBuilder().codePage("1100").user("ME").validityHours(258).signedBytes();
    const Bytes expected{2, '1', '1', '0', '0', 1, 0, 2, 'M', 'E', 5, 0, 4, 0, 0, 1, 2};
    EXPECT_EQ(bytes, expected);
    const Bytes ticket = decodedTicket(bytes, Bytes(300, 7));
    EXPECT_EQ(ticket.size(), bytes.size() + 3 + 300);
    EXPECT_EQ(ticket[bytes.size()], 0xFF);
    EXPECT_EQ(ticket[bytes.size() + 1], 1);
    EXPECT_EQ(ticket[bytes.size() + 2], 44);
}

TEST(TicketBuilder, WritesTheCreationTimeInUtc) {
    EXPECT_EQ(TicketBuilder::timeDigits(0), "197001010000");
    EXPECT_EQ(TicketBuilder::timeDigits(1709210100), "202402291235");
}

// RFC 4648, section 10.
TEST(TicketBuilder, EncodesThePublishedBase64Vectors) {
    EXPECT_EQ(base64({}), "");
    EXPECT_EQ(base64(bytesOf("f")), "Zg==");
    EXPECT_EQ(base64(bytesOf("fo")), "Zm8=");
    EXPECT_EQ(base64(bytesOf("foo")), "Zm9v");
    EXPECT_EQ(base64(bytesOf("foob")), "Zm9vYg==");
    EXPECT_EQ(base64(bytesOf("fooba")), "Zm9vYmE=");
    EXPECT_EQ(base64(bytesOf("foobar")), "Zm9vYmFy");
}

// `openssl cms -verify` does not know these pairs of algorithms either; its parser reads the frame all the same.
TEST(SignedData, PacksDsaWithLongHashes) {
    const TemporaryDirectory directory;
    const OpensslIssuer issuer(directory.path().string(), KeyKind::dsa);
    for (const char* hash : {"sha384", "sha512"}) {
        const Bytes signature = issuer.sign(bytesOf("signed"), {hash, true, true});
        writeFile(directory.file("signature"), std::string(signature.begin(), signature.end()));
        runOpenssl({"cms", "-cmsout", "-print", "-inform", "DER", "-in", directory.file("signature"), "-out",
                    directory.file("print")});
        EXPECT_NE(readFile(directory.file("print")).find("dsa_with_SHA" + std::string(hash + 3)), std::string::npos);
        EXPECT_LT(issuer.sign(bytesOf("signed"), {hash, false, false}).size() + 700, signature.size());
    }
}

class Issuers : public testing::TestWithParam<KeyKind> {};

TEST_P(Issuers, SignaturesMadeInTheProcessVerifyWithTheCommand) {
    const TemporaryDirectory directory;
    const InProcessIssuer issuer(GetParam());
    writeFile(directory.file("certificate"), issuer.certificatePem());
    const Bytes content = bytesOf("signed");
    for (const bool certificate : {true, false}) {
        for (const bool attributes : {true, false}) {
            opensslVerifies(content, issuer.sign(content, {"sha256", certificate, attributes}),
                            directory.file("certificate"));
        }
    }
    EXPECT_THROW(opensslVerifies(bytesOf("Signed"), issuer.sign(content), directory.file("certificate")),
                 std::runtime_error);
}

TEST_P(Issuers, TheCommandMakesKeyStoresAndDetachedSignatures) {
    const TemporaryDirectory directory;
    const OpensslIssuer issuer(directory.path().string(), GetParam());
    const Bytes content = bytesOf("signed");
    const Bytes with = issuer.sign(content, {"sha256", true, true});
    const Bytes without = issuer.sign(content, {"sha1", false, false});
    opensslVerifies(content, with, issuer.certificatePemFile());
    opensslVerifies(content, without, issuer.certificatePemFile());
    EXPECT_GT(with.size(), without.size() + readFile(issuer.certificateDerFile()).size());
    runOpenssl({"pkcs12", "-in", issuer.pkcs12File(), "-passin", "pass:" + OpensslIssuer::password(), "-noout"});
    EXPECT_NE(readFile(issuer.keyAndCertificatePemFile()).find("PRIVATE KEY"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Kinds, Issuers, testing::Values(KeyKind::rsa, KeyKind::ec, KeyKind::dsa),
                         [](const auto& kind) { return std::string(nameOf(kind.param)); });

TEST(OpensslCommand, ReportsWhatItPrintedWhenItFails) {
    try {
        runOpenssl({"x509", "-in", "/nonexistent"});
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("nonexistent"), std::string::npos);
    }
}

}  // namespace
