#include "tests/tools/sso2ticket/tool.h"

using namespace quorvanti::test;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class Cert : public Tool {
protected:
    Cert() {
        const CommandResult made = openssl({"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256",
                                            "-nodes", "-days", "30", "-utf8", "-subj", "/C=DE/O=Acme/CN=J\xC3\xB6rg",
                                            "-set_serial", "4711", "-keyout", directory_.file("key"), "-out", pem_});
        EXPECT_EQ(made.exitCode, 0) << made.err;
        openssl({"x509", "-in", pem_, "-outform", "DER", "-out", der_});
    }
    std::string opensslSays(const std::string& option) const {
        return openssl({"x509", "-in", pem_, "-noout", option, "-sha256", "-nameopt", "RFC2253,-esc_msb"}).out;
    }

    const std::string pem_ = directory_.file("certificate.pem");
    const std::string der_ = directory_.file("certificate.der");
};

TEST_F(Cert, ShowsEveryAttribute) {
    const auto shown = json(tool({"cert", pem_, "--json"}))["certificates"];
    ASSERT_EQ(shown.size(), 1U);
    EXPECT_EQ(shown[0].size(), 9U);
    EXPECT_EQ("subject=" + std::string(shown[0]["SUBJECT"]) + "\n", opensslSays("-subject"));
    EXPECT_EQ("issuer=" + std::string(shown[0]["ISSUER"]) + "\n", opensslSays("-issuer"));
    EXPECT_EQ(shown[0]["SERIALNO"], "4711");
    EXPECT_EQ(shown[0]["SERIAL"], "12:67");
    EXPECT_EQ(shown[0]["ALGID"], "ecdsa-with-SHA256");
    EXPECT_THAT(opensslSays("-fingerprint"), HasSubstr(std::string(shown[0]["FINGERPRINT"])));
    EXPECT_THAT(std::string(shown[0]["ALL"]), HasSubstr("4711"));
    const CommandResult text = tool({"cert", pem_});
    EXPECT_THAT(text.out, StartsWith("SUBJECT                CN=J\xC3\xB6rg,O=Acme,C=DE\n"));
    EXPECT_THAT(text.out, HasSubstr("SERIALNO               4711\n"));
    EXPECT_THAT(text.out, HasSubstr("\nSUMMARY                "));
    EXPECT_EQ(text.err, "");
}

TEST_F(Cert, ReadsDerPemAndBareBase64) {
    const std::string expected = tool({"cert", pem_}).out;
    EXPECT_EQ(tool({"cert", der_}).out, expected);
    EXPECT_EQ(tool({"cert", "-"}, readFile(der_)).out, expected);
    const std::string bare = directory_.file("bare");
    openssl({"base64", "-in", der_, "-out", bare});
    EXPECT_EQ(tool({"cert", bare}).out, expected);
}

TEST_F(Cert, ReadsBytesFromStandardInputAsTheyAre) {
    const std::string der = directory_.file("line-ends.der");
    openssl({"x509", "-in", pem_, "-signkey", directory_.file("key"), "-set_serial", "0x0D0A1A0D0A0A1A", "-outform",
             "DER", "-out", der});
    EXPECT_EQ(tool({"cert", "-", "--attribute", "SERIAL"}, readFile(der)).out, "0D:0A:1A:0D:0A:0A:1A\n");
}

// On some systems options begin with a slash; names of files do on all that this runs on.
TEST_F(Cert, WhatBeginsWithASlashIsAFileAndNoOption) {
    expectTalk(tool({"cert", "/json"}), configuration, "the file /json does not exist");
    expectTalk(tool({"cert", "/help"}), configuration, "the file /help does not exist");
}

TEST_F(Cert, ShowsEveryCertificateOfAFile) {
    writeFile(directory_.file("two"), readFile(pem_) + readFile(pem_));
    EXPECT_EQ(json(tool({"cert", directory_.file("two"), "--json"}))["certificates"].size(), 2U);
}

TEST_F(Cert, ShowsOneAttributeAlone) {
    EXPECT_EQ(tool({"cert", pem_, "--attribute", "SERIALNO"}).out, "4711\n");
    EXPECT_EQ(json(tool({"cert", pem_, "--attribute", "SERIALNO", "--json"}))["certificates"][0].size(), 1U);
    expectTalk(tool({"cert", pem_, "--attribute", "SHOESIZE"}), rejected, "SHOESIZE cannot be read");
    expectTalk(tool({"cert", pem_, "--attribute", "SHOESIZE", "--json"}), rejected, "SHOESIZE cannot be read");
}

TEST_F(Cert, SaysWhatCannotBeRead) {
    writeFile(directory_.file("garbage"), "no certificate");
    expectTalk(tool({"cert", directory_.file("garbage")}), inputUnreadable, "holds no certificate");
    expectTalk(tool({"cert", directory_.file("missing")}), configuration, "does not exist");
    expectTalk(tool({"cert", "-"}, std::string((16U << 20U) + 1, 'A')), configuration, "is longer than 16 MiB");
    expectTalk(tool({"cert", pem_, "--crypto-library", "libnonexistent.so"}), cryptoUnavailable, "does not start");
    expectTalk(tool({"cert"}), usage, "file");
}

}  // namespace
