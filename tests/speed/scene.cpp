#include "tests/speed/scene.h"

#include <openssl/pem.h>
#include <openssl/pkcs12.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace quorvanti::speed {
namespace {

constexpr std::size_t signatureMark = 3;  // 0xFF and two bytes of length

std::string read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    require(file.good(), path.c_str());
    return {std::istreambuf_iterator<char>(file), {}};
}

Bytes decoded(const std::string& base64) {
    Bytes bytes(base64.size() / 4 * 3);
    require(EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(base64.data()),
                            static_cast<int>(base64.size())) == static_cast<int>(bytes.size()),
            "base64");
    for (std::size_t i = base64.size(); i-- > 0 && base64[i] == '=';) {
        bytes.pop_back();
    }
    return bytes;
}

std::string encoded(const Bytes& bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    text.resize(static_cast<std::size_t>(
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(), static_cast<int>(bytes.size()))));
    return text;
}

// The units end where their mark stands in the place of an id.
std::size_t contentLength(const Bytes& ticket) {
    std::size_t position = 5;
    while (position + 2 < ticket.size() && ticket[position] != 0xFF) {
        position += 3U + (std::size_t{ticket[position + 1]} << 8 | ticket[position + 2]);
    }
    require(position + signatureMark < ticket.size(), "ticket");
    return position;
}

X509Ptr certificateBelow(X509* authority, EVP_PKEY* authorityKey, EVP_PKEY* key, long serial) {
    X509Ptr certificate(X509_new());
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 86400);
    X509_NAME* subject = X509_get_subject_name(certificate.get());
    const std::string name = "issuer " + std::to_string(serial);
    X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>(name.c_str()), -1,
                               -1, 0);
    X509_set_issuer_name(certificate.get(), X509_get_subject_name(authority));
    X509_set_pubkey(certificate.get(), key);
    require(X509_sign(certificate.get(), authorityKey, EVP_sha256()) != 0, "certificate");
    return certificate;
}

Bytes signatureOver(const Bytes& content, X509* certificate, EVP_PKEY* key) {
    const Bio in(BIO_new_mem_buf(content.data(), static_cast<int>(content.size())));
    const Cms cms(CMS_sign(certificate, key, nullptr, in.get(), CMS_BINARY | CMS_DETACHED | CMS_NOSMIMECAP));
    const Bio out(BIO_new(BIO_s_mem()));
    require(cms != nullptr && i2d_CMS_bio(out.get(), cms.get()) == 1, "signature");
    return bytesOf(out.get());
}

}  // namespace

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "failed: %s\n", what);
        std::exit(1);
    }
}

Bytes bytesOf(BIO* bio) {
    unsigned char* data = nullptr;
    const long length = BIO_get_mem_data(bio, &data);
    return {data, data + length};
}

std::string dataFile(const std::string& name) {
    return std::string(QUORVANTI_SPEED_DATA) + "/" + name;
}

Digest sha256(const Bytes& bytes) {
    Digest digest;
    require(EVP_Digest(bytes.data(), bytes.size(), digest.data(), nullptr, EVP_sha256(), nullptr) == 1, "digest");
    return digest;
}

Key privateKey(const std::string& file) {
    const Bio bio(BIO_new_file(dataFile(file).c_str(), "r"));
    Key key(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr));
    require(key != nullptr, file.c_str());
    return key;
}

Key keyOf(const std::string& pkcs12, const char* password) {
    const Bio bio(BIO_new_file(pkcs12.c_str(), "rb"));
    PKCS12* read = d2i_PKCS12_bio(bio.get(), nullptr);
    EVP_PKEY* key = nullptr;
    X509* certificate = nullptr;
    require(PKCS12_parse(read, password, &key, &certificate, nullptr) == 1, pkcs12.c_str());
    X509_free(certificate);
    PKCS12_free(read);
    return Key(key);
}

X509Ptr certificateOf(const std::string& path) {
    const Bio bio(BIO_new_file(path.c_str(), "r"));
    X509Ptr certificate(PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr));
    require(certificate != nullptr, path.c_str());
    return certificate;
}

Ticket::Ticket(const std::string& name, const std::string& keyStoreName)
    : text(read(dataFile(name + ".ticket"))), keyStore(dataFile(keyStoreName)) {
    const Bytes ticket = decoded(text);
    const auto end = ticket.begin() + static_cast<std::ptrdiff_t>(contentLength(ticket));
    content.assign(ticket.begin(), end);
    signature.assign(end + signatureMark, ticket.end());
}

Ticket::Ticket(Bytes signedContent, Bytes cms, const std::string& keyStoreName)
    : keyStore(dataFile(keyStoreName)), content(std::move(signedContent)), signature(std::move(cms)) {
    Bytes ticket = content;
    ticket.insert(ticket.end(), {0xFF, static_cast<std::uint8_t>(signature.size() >> 8),
                                 static_cast<std::uint8_t>(signature.size())});
    ticket.insert(ticket.end(), signature.begin(), signature.end());
    text = encoded(ticket);
}

Bytes Ticket::bareSignature() const {
    const unsigned char* der = signature.data();
    const Cms cms(d2i_CMS_ContentInfo(nullptr, &der, static_cast<long>(signature.size())));
    require(cms != nullptr, "CMS");
    const ASN1_OCTET_STRING* value =
        CMS_SignerInfo_get0_signature(sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(cms.get()), 0));
    const unsigned char* data = ASN1_STRING_get0_data(value);
    return {data, data + ASN1_STRING_length(value)};
}

X509Ptr Ticket::certificate() const {
    return certificateOf(keyStore);
}

Key Ticket::key() const {
    return Key(X509_get_pubkey(certificate().get()));
}

std::vector<Ticket> chainedTickets(std::size_t count) {
    const Bytes content = Ticket("chained", "chained.pem").content;
    const X509Ptr authority = certificateOf(dataFile("chained.pem"));
    const Key authorityKey = privateKey("authority.key");
    const Key key = privateKey("chained.key");
    std::vector<Ticket> tickets;
    for (std::size_t i = 0; i < count; ++i) {
        const X509Ptr certificate =
            certificateBelow(authority.get(), authorityKey.get(), key.get(), static_cast<long>(1000 + i));
        tickets.emplace_back(content, signatureOver(content, certificate.get(), key.get()), "chained.pem");
    }
    return tickets;
}

}  // namespace quorvanti::speed
