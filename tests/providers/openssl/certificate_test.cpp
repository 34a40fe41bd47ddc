#include <map>
#include <sstream>

#include "tests/providers/openssl/provider_calls.h"
#include "tests/support/temporary_directory.h"

namespace quorvanti::test {
namespace {

constexpr const char* bundle = "/etc/ssl/certs/ca-certificates.crt";
constexpr std::string_view beginLine = "-----BEGIN CERTIFICATE-----\n";
constexpr std::string_view endLine = "-----END CERTIFICATE-----\n";

std::vector<std::string> pemBlocks(const std::string& text) {
    std::vector<std::string> blocks;
    for (std::size_t at = text.find(beginLine); at != std::string::npos; at = text.find(beginLine, at + 1)) {
        const std::size_t end = text.find(endLine, at);
        blocks.push_back(text.substr(at, end + endLine.size() - at));
    }
    return blocks;
}

// "name=value" lines, the name in front of the first equals sign.
std::map<std::string, std::string> fields(const std::string& output) {
    std::map<std::string, std::string> found;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);)
        found[line.substr(0, line.find('='))] = line.substr(line.find('=') + 1);
    return found;
}

std::string withoutColons(std::string text) {
    std::erase(text, ':');
    return text;
}

class CertificateTest : public ::testing::Test {
protected:
    // A self-signed certificate with the given subject.
    std::string makePem(const std::string& subject, const std::vector<std::string>& options = {}) {
        const std::string file = directory_.file("made.pem");
        std::vector<std::string> words{"req",    "-x509",    "-newkey",
                                       "ec",     "-pkeyopt", "ec_paramgen_curve:P-256",
                                       "-nodes", "-keyout",  directory_.file("made.key"),
                                       "-utf8",  "-subj",    subject,
                                       "-out",   file};
        words.insert(words.end(), options.begin(), options.end());
        opensslSays(words);
        return readText(file);
    }

    std::string opensslText(const std::string& pem, const std::vector<std::string>& what) {
        const std::string file = directory_.file("asked.pem");
        writeFile(file, pem);
        std::vector<std::string> words{"x509",     "-noout",   "-nameopt", "RFC2253,utf8,-esc_msb",
                                       "-dateopt", "iso_8601", "-in",      file};
        words.insert(words.end(), what.begin(), what.end());
        return opensslSays(words);
    }

    TemporaryDirectory directory_;
};

TEST_F(CertificateTest, EveryCertificateOfTheSystemReadsAsTheOpensslCommandReadsIt) {
    const auto blocks = pemBlocks(readFile(bundle));
    ASSERT_GT(blocks.size(), 100U);
    for (const std::string& pem : blocks) {
        const Certificate certificate = decodeCertificate(toBytes(pem));
        ASSERT_NE(certificate, nullptr) << pem;
        auto expected =
            fields(opensslText(pem, {"-subject", "-issuer", "-serial", "-dates", "-fingerprint", "-sha256"}));
        EXPECT_EQ(attribute(certificate.get(), "SUBJECT"), expected["subject"]);
        EXPECT_EQ(attribute(certificate.get(), "ISSUER"), expected["issuer"]);
        EXPECT_EQ(withoutColons(attribute(certificate.get(), "SERIAL")), expected["serial"]);
        EXPECT_EQ(attribute(certificate.get(), "VALIDITY"), expected["notBefore"] + " - " + expected["notAfter"]);
        EXPECT_EQ(attribute(certificate.get(), "FINGERPRINT"), expected["sha256 Fingerprint"]);
        for (const char* name : {"SERIALNO", "SUMMARY", "ALGID", "ALL"})
            EXPECT_FALSE(attribute(certificate.get(), name).empty()) << name;
    }
}

TEST_F(CertificateTest, TextsOfOneCertificateInFull) {
    const std::string pem = makePem("/C=DE/O=Issuer, \"Inc\"/CN=J\xC3\xB6rg", {"-set_serial", "0x01abff", "-sha384"});
    const Certificate certificate = decodeCertificate(toBytes(pem));
    ASSERT_NE(certificate, nullptr);
    const std::string name = "CN=J\xC3\xB6rg,O=Issuer\\, \\\"Inc\\\",C=DE";
    EXPECT_EQ(attribute(certificate.get(), "SUBJECT"), name);
    EXPECT_EQ(attribute(certificate.get(), "ISSUER"), name);
    EXPECT_EQ(attribute(certificate.get(), "SERIALNO"), "109567");
    EXPECT_EQ(attribute(certificate.get(), "SERIAL"), "01:AB:FF");
    EXPECT_EQ(attribute(certificate.get(), "ALGID"), "ecdsa-with-SHA384");
    const std::string validity = attribute(certificate.get(), "VALIDITY");
    EXPECT_EQ(attribute(certificate.get(), "SUMMARY"),
              "Subject : " + name + "\nIssuer  : " + name + "\nSerialNo: 109567\nValidity: " + validity);
    EXPECT_EQ(attribute(certificate.get(), "ALL"),
              "Subject    : " + name + "\nIssuer     : " + name +
                  "\nSerialNo   : 109567\nSerial     : 01:AB:FF\nValidity   : " + validity +
                  "\nFingerprint: " + attribute(certificate.get(), "FINGERPRINT") + "\nAlgId      : ecdsa-with-SHA384");
}

TEST_F(CertificateTest, SerialNumberZeroAndNegative) {
    const Certificate zero = decodeCertificate(toBytes(makePem("/CN=zero", {"-set_serial", "0"})));
    EXPECT_EQ(attribute(zero.get(), "SERIAL"), "00");
    EXPECT_EQ(attribute(zero.get(), "SERIALNO"), "0");
    const Certificate negative = decodeCertificate(toBytes(makePem("/CN=negative", {"-set_serial", "-300"})));
    EXPECT_EQ(attribute(negative.get(), "SERIAL"), "-01:2C");
    EXPECT_EQ(attribute(negative.get(), "SERIALNO"), "-300");
}

TEST_F(CertificateTest, AttributeNamesMatchWholeAndWithTrailingBlanks) {
    const Certificate certificate = decodeCertificate(toBytes(makePem("/CN=x")));
    EXPECT_EQ(attribute(certificate.get(), "SUBJECT  "), "CN=x");
    for (const std::string_view unknown : {"", "SUBJ", "SUBJECTS", "subject", " SUBJECT"}) {
        char* text = nullptr;
        std::int32_t length = 1;
        EXPECT_EQ(SsfParseCertificate(certificate.get(), unknown.data(), size32(unknown.size()), &text, &length),
                  SSF_API_INVALID_FUNCARGS)
            << unknown;
        EXPECT_EQ(text, nullptr);
        EXPECT_EQ(length, 0);
        EXPECT_NE(lastSentence(SSF_API_INVALID_FUNCARGS).find("FINGERPRINT"), std::string::npos);
    }
}

TEST_F(CertificateTest, DecodesDerPemAndBareBase64) {
    const std::string pem = makePem("/CN=forms");
    const Bytes der = derOf(decodeCertificate(toBytes(pem)).get());
    std::string base64 = pem.substr(beginLine.size(), pem.size() - beginLine.size() - endLine.size());
    std::string oneLine = base64;
    std::erase(oneLine, '\n');
    std::string carriageReturns = pem;
    for (std::size_t at = 0; (at = carriageReturns.find('\n', at)) != std::string::npos; at += 2)
        carriageReturns.replace(at, 1, "\r\n");
    const std::vector<Bytes> forms = {
        der,
        toBytes(pem),
        toBytes(base64),
        toBytes(oneLine),
        toBytes(carriageReturns),
        toBytes("Subject: something\n" + pem + "and more"),
        toBytes("-----BEGIN EC PARAMETERS-----\nAA==\n-----END EC PARAMETERS-----\n" + pem)};
    for (const Bytes& form : forms) {
        const Certificate certificate = decodeCertificate(form);
        ASSERT_NE(certificate, nullptr);
        EXPECT_EQ(derOf(certificate.get()), der);
    }
}

TEST_F(CertificateTest, RefusesWhatIsNoCertificate) {
    const std::string pem = makePem("/CN=bad");
    const Bytes der = derOf(decodeCertificate(toBytes(pem)).get());
    Bytes longer = der;
    longer.push_back(0);
    const Bytes shorter(der.begin(), der.end() - 1);
    std::string damaged = pem;
    damaged[beginLine.size() + 10] = '!';
    std::string noEnd = pem.substr(0, pem.size() - endLine.size());
    for (const Bytes& wrong :
         {Bytes{}, Bytes{0x30}, longer, shorter, toBytes(damaged), toBytes(noEnd), toBytes("MII"), toBytes("hello")}) {
        std::uint8_t none = 0;
        auto* certificate = reinterpret_cast<SsfCertificate*>(&none);
        const std::uint8_t* data = wrong.empty() ? &none : wrong.data();
        EXPECT_EQ(kavsecu_decode_cert(data, size32(wrong.size()), &certificate), SSF_API_DECODE_FAILED);
        EXPECT_EQ(certificate, nullptr);
        EXPECT_EQ(SsfCertfromASN1(data, size32(wrong.size()), &certificate), SSF_API_DECODE_FAILED);
        EXPECT_EQ(certificate, nullptr);
    }
    SsfCertificate* certificate = nullptr;
    EXPECT_EQ(SsfCertfromASN1(reinterpret_cast<const std::uint8_t*>(pem.data()), size32(pem.size()), &certificate),
              SSF_API_DECODE_FAILED);
    EXPECT_EQ(lastSentence(SSF_API_DECODE_FAILED), "The bytes are not a certificate in DER form.");
}

TEST_F(CertificateTest, RefusesIndefiniteLengths) {
    const Bytes der = derOf(decodeCertificate(toBytes(makePem("/CN=ber"))).get());
    ASSERT_EQ(der[1], 0x82);
    Bytes ber = {0x30, 0x80};
    ber.insert(ber.end(), der.begin() + 4, der.end());
    ber.insert(ber.end(), {0, 0});
    SsfCertificate* certificate = nullptr;
    EXPECT_EQ(SsfCertfromASN1(ber.data(), size32(ber.size()), &certificate), SSF_API_DECODE_FAILED);
}

TEST_F(CertificateTest, NullArgumentsAreRefused) {
    const Certificate certificate = decodeCertificate(toBytes(makePem("/CN=x")));
    const std::uint8_t byte = 0x30;
    SsfCertificate* made = nullptr;
    std::uint8_t* data = nullptr;
    char* text = nullptr;
    std::int32_t length = 0;
    EXPECT_EQ(SsfCertfromASN1(nullptr, 1, &made), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfCertfromASN1(&byte, -1, &made), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfCertfromASN1(&byte, 1, nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(kavsecu_decode_cert(nullptr, 1, &made), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(kavsecu_decode_cert(&byte, -1, &made), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(kavsecu_decode_cert(&byte, 1, nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfCerttoASN1(nullptr, &data, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfCerttoASN1(certificate.get(), nullptr, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfCerttoASN1(certificate.get(), &data, nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfParseCertificate(nullptr, "ALL", 3, &text, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfParseCertificate(certificate.get(), nullptr, 0, &text, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfParseCertificate(certificate.get(), "ALL", -1, &text, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfParseCertificate(certificate.get(), "ALL", 3, nullptr, &length), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfParseCertificate(certificate.get(), "ALL", 3, &text, nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfFreeCertificate(nullptr), SSF_API_INVALID_FUNCARGS);
    EXPECT_EQ(SsfFreeCertificate(&made), SSF_API_OK);
}

}  // namespace
}  // namespace quorvanti::test
