// Every certificate that the system trusts, through the public function: each of the nine attributes is what the
// openssl command prints of it.
#include "tests/interop/evaluation.h"
#include "tests/support/command.h"
#include "tests/support/temporary_directory.h"

#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <algorithm>
#include <map>
#include <memory>
#include <sstream>

using namespace quorvanti::test;

namespace {

constexpr const char* bundle = "/etc/ssl/certs/ca-certificates.crt";

// Each as PEM, and as the DER in it.
std::vector<std::pair<std::string, Bytes>> certificatesOfTheSystem() {
    constexpr std::string_view begin = "-----BEGIN CERTIFICATE-----\n";
    constexpr std::string_view end = "-----END CERTIFICATE-----\n";
    std::vector<std::pair<std::string, Bytes>> result;
    const std::string text = readFile(bundle);
    for (std::size_t at = text.find(begin); at != std::string::npos; at = text.find(begin, at + 1)) {
        const std::string pem = text.substr(at, text.find(end, at) + end.size() - at);
        const std::unique_ptr<BIO, decltype(&BIO_free_all)> bio(
            BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), BIO_free_all);
        char* name = nullptr;
        char* header = nullptr;
        unsigned char* data = nullptr;
        long length = 0;
        EXPECT_EQ(PEM_read_bio(bio.get(), &name, &header, &data, &length), 1);
        result.emplace_back(pem, Bytes(data, data + length));
        OPENSSL_free(name);
        OPENSSL_free(header);
        OPENSSL_free(data);
    }
    return result;
}

// "name=value" lines, and the first "Signature Algorithm: value".
std::map<std::string, std::string> opensslSays(const std::string& pem) {
    const CommandResult result =
        runCommand({"openssl", "x509", "-noout", "-nameopt", "RFC2253,utf8,-esc_msb", "-dateopt", "iso_8601",
                    "-subject", "-issuer", "-serial", "-dates", "-fingerprint", "-sha256", "-text"},
                   pem);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    std::map<std::string, std::string> said;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) {
        const std::string algorithm = "    Signature Algorithm: ";
        if (const std::size_t at = line.find(algorithm); at != std::string::npos) {
            said.emplace("algorithm", line.substr(at + algorithm.size()));
        } else if (line.find(' ') != 0) {
            said.emplace(line.substr(0, line.find('=')), line.substr(line.find('=') + 1));
        }
    }
    return said;
}

std::string attribute(const Bytes& der, const char* name) {
    Bytes out(65536);
    auto length = static_cast<std::int32_t>(out.size());
    EXPECT_EQ(VorakParseCertificate(der.data(), static_cast<std::uint32_t>(der.size()), name, out.data(), &length),
              VORAK_OK)
        << name;
    return {out.begin(), out.begin() + length};
}

std::string decimal(const std::string& hex) {
    BIGNUM* number = nullptr;
    BN_hex2bn(&number, hex.c_str());
    char* text = BN_bn2dec(number);
    const std::string result = text;
    OPENSSL_free(text);
    BN_free(number);
    return result;
}

std::string octets(const std::string& hex) {
    std::string result;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        result += (i > 0 ? ":" : "") + hex.substr(i, 2);
    }
    return result;
}

TEST(Certificates, EveryOneOfTheSystemReadsInEachAttributeAsOpensslReadsIt) {
    const Library library;
    ASSERT_EQ(library.startCode(), VORAK_OK);
    const auto certificates = certificatesOfTheSystem();
    ASSERT_GT(certificates.size(), 100U);
    for (const auto& [pem, der] : certificates) {
        auto said = opensslSays(pem);
        SCOPED_TRACE(said["subject"]);
        const std::string validity = said["notBefore"] + " - " + said["notAfter"];
        const std::string fingerprint = said["sha256 Fingerprint"];
        const std::string number = decimal(said["serial"]);
        const std::string serial = octets(said["serial"]);
        EXPECT_EQ(attribute(der, "SUBJECT"), said["subject"]);
        EXPECT_EQ(attribute(der, "ISSUER"), said["issuer"]);
        EXPECT_EQ(attribute(der, "SERIALNO"), number);
        EXPECT_EQ(attribute(der, "SERIAL"), serial);
        EXPECT_EQ(attribute(der, "VALIDITY"), validity);
        EXPECT_EQ(attribute(der, "FINGERPRINT"), fingerprint);
        EXPECT_EQ(attribute(der, "ALGID"), said["algorithm"]);
        EXPECT_EQ(attribute(der, "SUMMARY"), "Subject : " + said["subject"] + "\nIssuer  : " + said["issuer"] +
                                                 "\nSerialNo: " + number + "\nValidity: " + validity);
        EXPECT_EQ(attribute(der, "ALL"), "Subject    : " + said["subject"] + "\nIssuer     : " + said["issuer"] +
                                             "\nSerialNo   : " + number + "\nSerial     : " + serial +
                                             "\nValidity   : " + validity + "\nFingerprint: " + fingerprint +
                                             "\nAlgId      : " + said["algorithm"]);
    }
}

}  // namespace
