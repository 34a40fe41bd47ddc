#include <openssl/objects.h>
#include <openssl/pkcs12.h>

#include "providers/openssl/key_store_content.h"
#include "quorvanti/ssf.h"

namespace quorvanti::provider {
namespace {

constexpr int deepestNesting = 4;
constexpr std::string_view damaged = "is a damaged PKCS#12 file.";

void freeBags(STACK_OF(PKCS12_SAFEBAG) * bags) {
    sk_PKCS12_SAFEBAG_pop_free(bags, PKCS12_SAFEBAG_free);
}
void freeSafes(STACK_OF(PKCS7) * safes) {
    sk_PKCS7_pop_free(safes, PKCS7_free);
}
using BagsPtr = std::unique_ptr<STACK_OF(PKCS12_SAFEBAG), OpensslDeleter<freeBags>>;
using SafesPtr = std::unique_ptr<STACK_OF(PKCS7), OpensslDeleter<freeSafes>>;

struct Reading {
    std::string_view password;  // its data() may be null: no password, which differs from an empty one
    bool passwordProven = false;
    WorkBudget budget;
    KeyStoreContent& content;

    int passwordLength() const { return static_cast<int>(password.size()); }
};

// SafeBag { certBag, [0] CertBag { x509Certificate, [0] OCTET STRING } }. Read here because the toolkit would decode
// the certificate in the host's library context.
bool addCertificateBag(const PKCS12_SAFEBAG* bag, KeyStoreContent& content) {
    unsigned char* encoded = nullptr;
    const int length =
        ASN1_item_i2d(reinterpret_cast<const ASN1_VALUE*>(bag), &encoded, ASN1_ITEM_rptr(PKCS12_SAFEBAG));
    const OpensslBytes owner(encoded);
    if (length <= 0)
        return false;
    Bytes value;
    Bytes certificateBag;
    Bytes octets;
    Bytes certificate;
    if (!readOnly({encoded, static_cast<std::size_t>(length)}, tag::sequence, value))
        return false;
    DerReader outer(value);
    if (!outer.skip(tag::objectIdentifier) || !outer.read(tag::constructed(0), value) ||
        !readOnly(value, tag::sequence, certificateBag))
        return false;
    DerReader inner(certificateBag);
    return inner.skip(tag::objectIdentifier) && inner.read(tag::constructed(0), octets) && inner.atEnd() &&
           readOnly(octets, tag::octetString, certificate) && addCertificate(certificate, content);
}

ReadOutcome readBags(const STACK_OF(PKCS12_SAFEBAG) * bags, Reading& reading, int nesting);

ReadOutcome readBag(const PKCS12_SAFEBAG* bag, Reading& reading, int nesting) {
    switch (PKCS12_SAFEBAG_get_nid(bag)) {
        case NID_keyBag:
            if (!addPrivateKey(PKCS12_SAFEBAG_get0_p8inf(bag), reading.content))
                return unusableKeyStore("holds a private key that cannot be read.");
            return {};
        case NID_pkcs8ShroudedKeyBag:
            return readEncryptedKey(PKCS12_SAFEBAG_get0_pkcs8(bag), reading.password, reading.passwordProven,
                                    reading.budget, reading.content);
        case NID_certBag:
            if (PKCS12_SAFEBAG_get_bag_nid(bag) == NID_x509Certificate && !addCertificateBag(bag, reading.content))
                return unusableKeyStore("holds a certificate that cannot be read.");
            return {};
        case NID_crlBag:
            return unusableKeyStore("holds a revocation list, which is not supported.");
        case NID_safeContentsBag:
            return readBags(PKCS12_SAFEBAG_get0_safes(bag), reading, nesting + 1);
        default:
            return {};
    }
}

ReadOutcome readBags(const STACK_OF(PKCS12_SAFEBAG) * bags, Reading& reading, int nesting) {
    if (nesting > deepestNesting)
        return unusableKeyStore(std::string(damaged));
    for (int i = 0; i < sk_PKCS12_SAFEBAG_num(bags); ++i) {
        if (ReadOutcome outcome = readBag(sk_PKCS12_SAFEBAG_value(bags, i), reading, nesting); outcome.code != 0)
            return outcome;
    }
    return {};
}

ReadOutcome readEncryptedSafe(PKCS7* safe, Reading& reading) {
    if (safe->d.encrypted == nullptr || safe->d.encrypted->enc_data == nullptr)
        return unusableKeyStore(std::string(damaged));
    const PasswordScheme scheme = passwordScheme(safe->d.encrypted->enc_data->algorithm);
    if (ReadOutcome outcome = admit(scheme, reading.budget); outcome.code != 0)
        return outcome;
    reading.content.passwordUsed = true;
    const BagsPtr bags(PKCS12_unpack_p7encdata(safe, reading.password.data(), reading.passwordLength()));
    if (bags == nullptr)
        return reading.passwordProven ? unusableKeyStore(std::string(damaged)) : wrongPassword(reading.password);
    return readBags(bags.get(), reading, 0);
}

ReadOutcome readSafe(PKCS7* safe, Reading& reading) {
    switch (OBJ_obj2nid(safe->type)) {
        case NID_pkcs7_data: {
            const BagsPtr bags(PKCS12_unpack_p7data(safe));
            return bags != nullptr ? readBags(bags.get(), reading, 0) : unusableKeyStore(std::string(damaged));
        }
        case NID_pkcs7_encrypted:
            return readEncryptedSafe(safe, reading);
        default:
            return unusableKeyStore("is protected by a public key, which is not supported.");
    }
}

// Proves the password where the file has a checksum over its content.
ReadOutcome checkPassword(PKCS12* file, Reading& reading) {
    if (PKCS12_mac_present(file) != 1)
        return {};
    const X509_ALGOR* digestAlgorithm = nullptr;
    const ASN1_INTEGER* iterations = nullptr;
    PKCS12_get0_mac(nullptr, &digestAlgorithm, nullptr, &iterations, file);
    const ASN1_OBJECT* digest = nullptr;
    X509_ALGOR_get0(&digest, nullptr, nullptr, digestAlgorithm);
    PasswordScheme scheme;
    const char* name = OBJ_nid2sn(OBJ_obj2nid(digest));
    scheme.name = name != nullptr ? name : "unknown";
    scheme.available = EvpMdPtr(EVP_MD_fetch(libraryContext(), scheme.name.c_str(), nullptr)) != nullptr;
    scheme.work = 1;
    if (iterations != nullptr && ASN1_INTEGER_get_uint64(&scheme.work, iterations) != 1)
        return unusableKeyStore(std::string(damaged));
    if (ReadOutcome outcome = admit(scheme, reading.budget); outcome.code != 0)
        return outcome;
    reading.content.passwordUsed = true;
    // No password may have been written as none or as an empty text.
    if (reading.password.empty()) {
        reading.password = std::string_view();
        if (PKCS12_verify_mac(file, nullptr, 0) != 1)
            reading.password = "";
    }
    reading.passwordProven = PKCS12_verify_mac(file, reading.password.data(), reading.passwordLength()) == 1;
    return reading.passwordProven ? ReadOutcome{} : wrongPassword(reading.password);
}

}  // namespace

ReadOutcome readPkcs12KeyStore(Bytes image, std::string_view password, KeyStoreContent& content) {
    // Made first, so that the toolkit reads into an object that knows our context.
    PKCS12* made = PKCS12_init_ex(NID_pkcs7_data, libraryContext(), nullptr);
    const unsigned char* position = image.data();
    if (made == nullptr || d2i_PKCS12(&made, &position, static_cast<long>(image.size())) == nullptr) {
        PKCS12_free(made);
        return unusableKeyStore(std::string(damaged));
    }
    const Pkcs12Ptr file(made);
    if (position != image.data() + image.size())
        return unusableKeyStore(std::string(damaged));
    Reading reading{password, false, {}, content};
    if (ReadOutcome outcome = checkPassword(file.get(), reading); outcome.code != 0)
        return outcome;
    const SafesPtr safes(PKCS12_unpack_authsafes(file.get()));
    if (safes == nullptr)
        return unusableKeyStore(std::string(damaged));
    for (int i = 0; i < sk_PKCS7_num(safes.get()); ++i) {
        if (ReadOutcome outcome = readSafe(sk_PKCS7_value(safes.get(), i), reading); outcome.code != 0)
            return outcome;
    }
    return {};
}

}  // namespace quorvanti::provider
