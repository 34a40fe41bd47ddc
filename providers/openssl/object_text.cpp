#include "providers/openssl/object_text.h"

#include <openssl/pkcs7.h>

#include <algorithm>

#include "providers/openssl/armor.h"
#include "providers/openssl/certificate_text.h"
#include "providers/openssl/distinguished_name.h"
#include "providers/openssl/openssl_context.h"

namespace quorvanti::provider {
namespace {

using Text = std::optional<std::string>;
using Bytes = std::span<const std::uint8_t>;
using CrlPtr = std::unique_ptr<X509_CRL, OpensslDeleter<X509_CRL_free>>;
using Pkcs7Ptr = std::unique_ptr<PKCS7, OpensslDeleter<PKCS7_free>>;
using EncryptedKeyPtr = std::unique_ptr<X509_SIG, OpensslDeleter<X509_SIG_free>>;

// The object that the bytes are, all of them.
template <class Pointer, class Decode>
Pointer whole(Decode decode, Bytes der) {
    const unsigned char* position = der.data();
    Pointer object(decode(nullptr, &position, static_cast<long>(der.size())));
    return position == der.data() + der.size() ? std::move(object) : nullptr;
}

std::string keyText(const EVP_PKEY* key) {
    const char* type = EVP_PKEY_get0_type_name(key);
    return std::string(type != nullptr ? type : "unknown") + ", " + std::to_string(EVP_PKEY_get_bits(key)) + " bits";
}

Text certificate(Bytes der) {
    const auto read = makeCertificate(der);
    const auto all = read != nullptr ? findCertificateAttribute("ALL")->read(*read) : std::nullopt;
    return all ? Text("Certificate\n" + *all) : std::nullopt;
}

Text publicKey(Bytes der) {
    const unsigned char* position = der.data();
    const EvpPkeyPtr key(d2i_PUBKEY_ex(nullptr, &position, static_cast<long>(der.size()), libraryContext(), nullptr));
    return key != nullptr && position == der.data() + der.size() ? Text("Public key\n" + keyText(key.get()))
                                                                 : std::nullopt;
}

Text privateKey(Bytes der) {
    const unsigned char* position = der.data();
    const EvpPkeyPtr key(
        d2i_AutoPrivateKey_ex(nullptr, &position, static_cast<long>(der.size()), libraryContext(), nullptr));
    return key != nullptr ? Text("Private key\n" + keyText(key.get())) : std::nullopt;
}

Text encryptedKey(Bytes der) {
    const auto key = whole<EncryptedKeyPtr>(d2i_X509_SIG, der);
    return key != nullptr ? Text("Private key, encrypted") : std::nullopt;
}

Text revocationList(Bytes der) {
    const auto list = whole<CrlPtr>(d2i_X509_CRL, der);
    if (list == nullptr)
        return std::nullopt;
    const auto updated = timeText(X509_CRL_get0_lastUpdate(list.get()));
    return "Certificate revocation list\nIssuer: " + nameText(X509_CRL_get_issuer(list.get())) +
           "\nUpdated: " + updated.value_or("unknown") + "\nRevoked certificates: " +
           std::to_string(std::max(0, sk_X509_REVOKED_num(X509_CRL_get_REVOKED(list.get()))));
}

Text pkcs7(Bytes der) {
    const auto structure = whole<Pkcs7Ptr>(d2i_PKCS7, der);
    if (structure == nullptr)
        return std::nullopt;
    std::string text = std::string("PKCS#7\nContent: ") + OBJ_nid2ln(OBJ_obj2nid(structure->type));
    if (!PKCS7_type_is_signed(structure.get()) || structure->d.sign == nullptr)
        return text;
    const STACK_OF(PKCS7_SIGNER_INFO)* signers = structure->d.sign->signer_info;
    for (int i = 0; i < sk_PKCS7_SIGNER_INFO_num(signers); ++i) {
        const PKCS7_ISSUER_AND_SERIAL* signer = sk_PKCS7_SIGNER_INFO_value(signers, i)->issuer_and_serial;
        text +=
            "\nSigner: serial " + decimalText(signer->serial).value_or("unknown") + " of " + nameText(signer->issuer);
    }
    const STACK_OF(X509)* certificates = structure->d.sign->cert;
    for (int i = 0; i < sk_X509_num(certificates); ++i)
        text += "\nCertificate: " + nameText(X509_get_subject_name(sk_X509_value(certificates, i)));
    return text;
}

Text keyStore(Bytes der) {
    const auto store = whole<Pkcs12Ptr>(d2i_PKCS12, der);
    if (store == nullptr)
        return std::nullopt;
    return PKCS12_mac_present(store.get()) ? "PKCS#12 key store\nProtected by a password"
                                           : "PKCS#12 key store\nWithout integrity protection";
}

// The bytes may be those of a private key.
struct Wiped {
    std::vector<std::uint8_t> bytes;

    ~Wiped() { OPENSSL_cleanse(bytes.data(), bytes.size()); }
};

struct Kind {
    const char* pemLabel;
    Text (*read)(Bytes der);
};

// In the order in which unlabelled content is tried.
// clang-format off
constexpr Kind kinds[] = {
    { "CERTIFICATE",           certificate    },
    { "PUBLIC KEY",            publicKey      },
    { "ENCRYPTED PRIVATE KEY", encryptedKey   },
    { "PRIVATE KEY",           privateKey     },
    { "CRL",                   revocationList },
    { "PKCS7",                 pkcs7          },
    { "PKCS12",                keyStore       },
};
// clang-format on

}  // namespace

std::optional<std::string> objectText(std::span<const std::uint8_t> content) {
    ErrorQueueGuard guard;
    for (const Kind& kind : kinds) {
        if (pemLabel(content, kind.pemLabel).empty())
            continue;
        const Wiped der{withoutArmor(content, kind.pemLabel)};
        return kind.read(der.bytes);
    }
    const Wiped plain{withoutArmor(content, "-")};
    const Bytes der = plain.bytes;
    for (const Kind& kind : kinds) {
        if (der.empty())
            break;
        Text text = kind.read(der);
        guard.settle();
        if (text)
            return text;
    }
    return std::nullopt;
}

}  // namespace quorvanti::provider
