#include "tools/sso2ticket/key_store_file.h"

#include "tools/sso2ticket/failure.h"
#include "tools/sso2ticket/private_file.h"

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/provider.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace quorvanti {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int iterations = 10000;  // key stores are read once and then kept in memory
constexpr std::string_view pemMark = "-----BEGIN ";

Failure failure(const std::string& name, const std::string& what) {
    return {ExitCode::configuration, "the key store " + name + " " + what};
}

struct WipedAtTheEnd {
    Bytes& bytes;
    ~WipedAtTheEnd() { OPENSSL_cleanse(bytes.data(), bytes.size()); }
};

Openssl<BIO> memory(const Bytes& content) {
    return Openssl<BIO>(BIO_new_mem_buf(content.data(), static_cast<int>(content.size())));
}

bool isPem(const Bytes& content) {
    const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
    return text.find(pemMark) != std::string_view::npos;
}

// --- PKCS#12 ---------------------------------------------------------------------------------------------------

bool passwordFits(PKCS12* store, const std::optional<Secret>& password) {
    if (PKCS12_mac_present(store) == 0) {
        return true;
    }
    if (password && !password->view().empty()) {
        return PKCS12_verify_mac(store, password->text(), -1) == 1;
    }
    return PKCS12_verify_mac(store, nullptr, 0) == 1 || PKCS12_verify_mac(store, "", 0) == 1;
}

bool unpack(PKCS12* store, const char* password, KeyStore& result) {
    EVP_PKEY* key = nullptr;
    X509* own = nullptr;
    STACK_OF(X509)* others = nullptr;
    if (PKCS12_parse(store, password, &key, &own, &others) != 1) {
        return false;
    }
    result.key.reset(key);
    result.own.reset(own);
    const CertificateList rest(others);
    while (rest != nullptr && sk_X509_num(rest.get()) > 0) {
        result.others.emplace_back(sk_X509_shift(rest.get()));
    }
    return true;
}

using Bags = std::unique_ptr<STACK_OF(PKCS12_SAFEBAG), OpensslRelease>;

Bags bagsOf(PKCS7* part, const char* password) {
    switch (OBJ_obj2nid(part->type)) {
        case NID_pkcs7_data:
            return Bags(PKCS12_unpack_p7data(part));
        case NID_pkcs7_encrypted: {
            Bags bags(PKCS12_unpack_p7encdata(part, password, -1));
            // There are two ways to encrypt without a password.
            return bags == nullptr && *password == '\0' ? Bags(PKCS12_unpack_p7encdata(part, nullptr, 0))
                                                        : std::move(bags);
        }
        default:
            return nullptr;
    }
}

// True for certificates and the first key: what unpacking takes.
bool onlyTaken(const STACK_OF(PKCS12_SAFEBAG) * bags, int& keys) {
    for (int i = 0; i < sk_PKCS12_SAFEBAG_num(bags); ++i) {
        const PKCS12_SAFEBAG* bag = sk_PKCS12_SAFEBAG_value(bags, i);
        const int type = PKCS12_SAFEBAG_get_nid(bag);
        const bool key = type == NID_keyBag || type == NID_pkcs8ShroudedKeyBag;
        keys += key ? 1 : 0;
        const bool nested = type == NID_safeContentsBag && onlyTaken(PKCS12_SAFEBAG_get0_safes(bag), keys);
        if (keys > 1 || !(key || nested || type == NID_certBag)) {
            return false;
        }
    }
    return true;
}

bool isComplete(PKCS12* store, const char* password) {
    const std::unique_ptr<STACK_OF(PKCS7), OpensslRelease> parts(PKCS12_unpack_authsafes(store));
    int keys = 0;
    for (int i = 0; i < sk_PKCS7_num(parts.get()); ++i) {
        const Bags bags = bagsOf(sk_PKCS7_value(parts.get(), i), password);
        if (bags == nullptr || !onlyTaken(bags.get(), keys)) {
            return false;
        }
    }
    return true;
}

// Old ciphers (RC2-40) are met in key stores of the field.
bool loadOldCiphers() {
    return OSSL_PROVIDER_try_load(nullptr, "legacy", 1) != nullptr &&
           OSSL_PROVIDER_try_load(nullptr, "default", 1) != nullptr;
}

KeyStore fromPkcs12(PKCS12* store, const std::string& name, const std::optional<Secret>& password) {
    if (!passwordFits(store, password)) {
        throw failure(name, password ? "does not open: the password is wrong" : "needs a password");
    }
    const char* text = password ? password->text() : "";
    KeyStore result;
    if (!unpack(store, text, result) && !(loadOldCiphers() && unpack(store, text, result))) {
        throw failure(name, "is encrypted with a cipher that cannot be read here");
    }
    result.complete = isComplete(store, text);
    return result;
}

// --- PEM -------------------------------------------------------------------------------------------------------

struct Asked {
    const std::optional<Secret>* password;
    bool needed = false;
};

int givePassword(char* buffer, int room, int /*writing*/, void* context) {
    auto& asked = *static_cast<Asked*>(context);
    asked.needed = true;
    if (!*asked.password || (*asked.password)->view().size() > static_cast<std::size_t>(room)) {
        return -1;
    }
    const std::string_view text = (*asked.password)->view();
    std::memcpy(buffer, text.data(), text.size());
    return static_cast<int>(text.size());
}

std::vector<Openssl<X509>> pemCertificates(const Bytes& content) {
    std::vector<Openssl<X509>> result;
    const Openssl<BIO> bio = memory(content);
    while (X509* certificate = PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr)) {
        result.emplace_back(certificate);
    }
    return result;
}

// Bare base64, lines of any length, as PEM.
Bytes armored(const Bytes& content) {
    static constexpr std::size_t line = 64;
    std::string text = "-----BEGIN CERTIFICATE-----";
    std::size_t written = 0;
    for (const std::uint8_t byte : content) {
        if (byte != ' ' && byte != '\t' && byte != '\r' && byte != '\n') {
            text += written++ % line == 0 ? "\n" : "";
            text += static_cast<char>(byte);
        }
    }
    text += "\n-----END CERTIFICATE-----\n";
    return {text.begin(), text.end()};
}

bool hasPrivateKey(const Bytes& content) {
    const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
    return text.find("PRIVATE KEY-----") != std::string_view::npos;
}

KeyStore fromPem(const Bytes& content, const std::string& name, const std::optional<Secret>& password) {
    KeyStore result;
    result.format = KeyStoreFormat::pem;
    result.others = pemCertificates(content);
    if (hasPrivateKey(content)) {
        Asked asked{&password};
        result.key.reset(PEM_read_bio_PrivateKey(memory(content).get(), nullptr, givePassword, &asked));
        if (result.key == nullptr) {
            throw failure(name, !asked.needed ? "has a private key that cannot be read"
                                : password    ? "does not open: the password is wrong"
                                              : "needs a password");
        }
        const auto own =
            std::find_if(result.others.begin(), result.others.end(), [&](const Openssl<X509>& certificate) {
                return X509_check_private_key(certificate.get(), result.key.get()) == 1;
            });
        if (own != result.others.end()) {
            result.own = std::move(*own);
            result.others.erase(own);
        }
    }
    if (result.key == nullptr && result.others.empty()) {
        throw failure(name, "holds neither a key nor a certificate");
    }
    return result;
}

}  // namespace

const char* formatName(KeyStoreFormat format) {
    switch (format) {
        case KeyStoreFormat::pkcs12:
            return "PKCS#12";
        case KeyStoreFormat::pem:
            return "PEM";
        case KeyStoreFormat::der:
            break;
    }
    return "DER";
}

KeyStore readKeyStore(const std::string& name, const std::optional<Secret>& password) {
    Bytes content = readWholeFile(name);
    const WipedAtTheEnd wiped{content};  // PEM may hold a private key as it is
    ERR_clear_error();
    if (isPem(content)) {
        return fromPem(content, name, password);
    }
    const unsigned char* position = content.data();
    const auto length = static_cast<long>(content.size());
    if (const Openssl<PKCS12> store(d2i_PKCS12(nullptr, &position, length)); store != nullptr) {
        return fromPkcs12(store.get(), name, password);
    }
    KeyStore result;
    result.format = KeyStoreFormat::der;
    if (Openssl<X509> certificate = parseCertificate(content)) {
        result.others.push_back(std::move(certificate));
        return result;
    }
    throw failure(name, "is no key store: neither PKCS#12 nor PEM nor a DER certificate");
}

std::vector<std::uint8_t> pkcs12Of(const KeyStore& store, const Secret& password) {
    const CertificateList others(sk_X509_new_null());
    for (const Openssl<X509>& certificate : store.others) {
        if (X509_up_ref(certificate.get()) == 1) {
            sk_X509_push(others.get(), certificate.get());
        }
    }
    const Openssl<PKCS12> result(PKCS12_create(password.text(), nullptr, store.key.get(), store.own.get(), others.get(),
                                               NID_aes_256_cbc, NID_aes_256_cbc, iterations, iterations, 0));
    unsigned char* bytes = nullptr;
    const int length = result != nullptr ? i2d_PKCS12(result.get(), &bytes) : -1;
    const Openssl<unsigned char> release(bytes);
    if (length <= 0) {
        throw Failure(ExitCode::configuration, "the key store cannot be written as PKCS#12");
    }
    return {bytes, bytes + length};
}

std::vector<Openssl<X509>> certificatesIn(const std::vector<std::uint8_t>& content, const std::string& name) {
    std::vector<Openssl<X509>> result;
    if (isPem(content)) {
        result = pemCertificates(content);
    } else if (Openssl<X509> certificate = parseCertificate(content)) {
        result.push_back(std::move(certificate));
    } else {
        result = pemCertificates(armored(content));
    }
    ERR_clear_error();
    if (result.empty()) {
        throw Failure(ExitCode::inputUnreadable, name + " holds no certificate");
    }
    return result;
}

}  // namespace quorvanti
