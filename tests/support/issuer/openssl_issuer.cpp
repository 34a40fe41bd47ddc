#include "tests/support/issuer/openssl_issuer.h"

#include "tests/support/command.h"
#include "tests/support/issuer/signed_data.h"
#include "tests/support/temporary_directory.h"

#include <openssl/x509.h>

#include <memory>
#include <stdexcept>

namespace quorvanti::test {

void runOpenssl(const std::vector<std::string>& arguments) {
    std::vector<std::string> words{"openssl"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    if (const CommandResult result = runCommand(words); result.exitCode != 0) {
        throw std::runtime_error("openssl " + arguments.front() + " failed: " + result.err);
    }
}

namespace {

// What `openssl dgst` answers for these bytes.
Bytes digest(const Bytes& content, std::vector<std::string> arguments) {
    const TemporaryDirectory directory;
    writeFile(directory.file("in"), std::string(content.begin(), content.end()));
    arguments.insert(arguments.begin(), "dgst");
    arguments.insert(arguments.end(), {"-out", directory.file("out"), directory.file("in")});
    runOpenssl(arguments);
    return bytesOf(readFile(directory.file("out")));
}

template <typename Structure, typename Encode>
Bytes encoded(Structure* structure, Encode encode) {
    Bytes bytes(static_cast<std::size_t>(encode(structure, nullptr)));
    unsigned char* position = bytes.data();
    encode(structure, &position);
    return bytes;
}

Bytes issuerAndSerialOf(const Bytes& certificate) {
    const unsigned char* position = certificate.data();
    const std::unique_ptr<X509, void (*)(X509*)> parsed(
        d2i_X509(nullptr, &position, static_cast<long>(certificate.size())), X509_free);
    return concatenated({encoded(X509_get_issuer_name(parsed.get()), i2d_X509_NAME),
                         encoded(X509_get_serialNumber(parsed.get()), i2d_ASN1_INTEGER)});
}

}  // namespace

OpensslIssuer::OpensslIssuer(std::string directory, KeyKind kind, std::string name)
    : kind_(kind), base_(std::move(directory) + "/" + name) {
    makeKeyAndCertificate(kind, name);
    makeKeyStores();
}

void OpensslIssuer::makeKeyAndCertificate(KeyKind kind, const std::string& name) const {
    const std::string parameters = base_ + ".params.pem";
    switch (kind) {
        case KeyKind::rsa:
        case KeyKind::rsa3072:
            runOpenssl({"genpkey", "-algorithm", "RSA", "-pkeyopt",
                        kind == KeyKind::rsa ? "rsa_keygen_bits:2048" : "rsa_keygen_bits:3072", "-out", keyFile()});
            break;
        case KeyKind::ec:
            runOpenssl({"genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256", "-out", keyFile()});
            break;
        case KeyKind::dsa:
            runOpenssl({"genpkey", "-genparam", "-algorithm", "DSA", "-pkeyopt", "dsa_paramgen_bits:2048", "-out",
                        parameters});
            runOpenssl({"genpkey", "-paramfile", parameters, "-out", keyFile()});
            break;
    }
    runOpenssl({"req", "-x509", "-new", "-key", keyFile(), "-out", certificatePemFile(), "-days", "3650", "-sha256",
                "-subj", "/C=DE/O=Example/CN=" + name});
}

void OpensslIssuer::makeKeyStores() const {
    runOpenssl({"x509", "-in", certificatePemFile(), "-outform", "DER", "-out", certificateDerFile()});
    writeFile(keyAndCertificatePemFile(), readFile(keyFile()) + readFile(certificatePemFile()));
    runOpenssl({"pkcs12", "-export", "-inkey", keyFile(), "-in", certificatePemFile(), "-passout", "pass:" + password(),
                "-out", pkcs12File()});
}

Bytes OpensslIssuer::sign(const Bytes& content, const SignOptions& options) const {
    const bool packed = kind_ != KeyKind::dsa || options.hash == "sha1" || options.hash == "sha256";
    return packed ? signByCms(content, options) : signByHand(content, options);
}

Bytes OpensslIssuer::signByCms(const Bytes& content, const SignOptions& options) const {
    const TemporaryDirectory directory;
    const std::string in = directory.file("content");
    const std::string out = directory.file("signature");
    writeFile(in, std::string(content.begin(), content.end()));
    std::vector<std::string> arguments{
        "cms", "-sign",      "-binary", "-outform",           "DER",    "-in",    in, "-out", out,
        "-md", options.hash, "-signer", certificatePemFile(), "-inkey", keyFile()};
    if (!options.withCertificate) {
        arguments.emplace_back("-nocerts");
    }
    if (!options.withAttributes) {
        arguments.emplace_back("-noattr");
    }
    runOpenssl(arguments);
    return bytesOf(readFile(out));
}

Bytes OpensslIssuer::signByHand(const Bytes& content, const SignOptions& options) const {
    const std::uint8_t last = options.hash == "sha384" ? 2 : 3;
    const Bytes certificate = bytesOf(readFile(certificateDerFile()));
    SignedDataParts parts;
    parts.issuerAndSerial = issuerAndSerialOf(certificate);
    parts.hashIdentifier = {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, last};  // 2.16.840.1.101.3.4.2
    parts.signatureIdentifier = {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x03, static_cast<std::uint8_t>(last + 1)};
    if (options.withCertificate) {
        parts.certificate = certificate;
    }
    if (options.withAttributes) {
        parts.attributes = signedAttributes(digest(content, {"-" + options.hash, "-binary"}));
    }
    const Bytes toBeSigned = options.withAttributes ? der(0x31, parts.attributes) : content;
    parts.signature = digest(toBeSigned, {"-" + options.hash, "-sign", keyFile()});
    return signedData(parts);
}

}  // namespace quorvanti::test
