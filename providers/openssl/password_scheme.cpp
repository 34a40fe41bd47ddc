// Password-based encryption in key stores: what it asks for, and private keys that it protects.
#include <openssl/objects.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>

#include <limits>

#include "providers/openssl/key_store_content.h"
#include "quorvanti/ssf.h"

namespace quorvanti::provider {
namespace {

constexpr std::uint64_t tooMuch = std::numeric_limits<std::uint64_t>::max();

using Pbes1Ptr = std::unique_ptr<PBEPARAM, OpensslDeleter<PBEPARAM_free>>;
using Pbes2Ptr = std::unique_ptr<PBE2PARAM, OpensslDeleter<PBE2PARAM_free>>;
using Pbkdf2Ptr = std::unique_ptr<PBKDF2PARAM, OpensslDeleter<PBKDF2PARAM_free>>;
using ScryptPtr = std::unique_ptr<SCRYPT_PARAMS, OpensslDeleter<SCRYPT_PARAMS_free>>;
using CipherPtr = std::unique_ptr<EVP_CIPHER, OpensslDeleter<EVP_CIPHER_free>>;
using Pkcs8Ptr = std::unique_ptr<PKCS8_PRIV_KEY_INFO, OpensslDeleter<PKCS8_PRIV_KEY_INFO_free>>;

int algorithmNid(const X509_ALGOR* algorithm, const void** parameters) {
    const ASN1_OBJECT* object = nullptr;
    int type = 0;
    X509_ALGOR_get0(&object, &type, parameters, algorithm);
    if (type != V_ASN1_SEQUENCE)
        *parameters = nullptr;
    return OBJ_obj2nid(object);
}

std::string algorithmName(const X509_ALGOR* algorithm) {
    const ASN1_OBJECT* object = nullptr;
    X509_ALGOR_get0(&object, nullptr, nullptr, algorithm);
    char text[128];
    return OBJ_obj2txt(text, sizeof text, object, 0) > 0 ? text : "unknown";
}

template <class Pointer>
Pointer unpack(const void* parameters, const ASN1_ITEM* item) {
    using Type = typename Pointer::element_type;
    const auto* packed = static_cast<const ASN1_STRING*>(parameters);
    return Pointer(packed != nullptr ? static_cast<Type*>(ASN1_item_unpack(packed, item)) : nullptr);
}

std::uint64_t number(const ASN1_INTEGER* value) {
    std::uint64_t result = 0;
    return value != nullptr && ASN1_INTEGER_get_uint64(&result, value) == 1 ? result : tooMuch;
}

std::uint64_t product(std::uint64_t left, std::uint64_t right) {
    return right != 0 && left > tooMuch / right ? tooMuch : left * right;
}

bool cipherAvailable(int nid) {
    const char* name = nid != NID_undef ? OBJ_nid2sn(nid) : nullptr;
    return name != nullptr && CipherPtr(EVP_CIPHER_fetch(libraryContext(), name, nullptr)) != nullptr;
}

bool digestAvailable(int nid) {
    const char* name = nid != NID_undef ? OBJ_nid2sn(nid) : nullptr;
    return name != nullptr && EvpMdPtr(EVP_MD_fetch(libraryContext(), name, nullptr)) != nullptr;
}

PasswordScheme pbes1(int nid, const void* parameters) {
    PasswordScheme scheme;
    int cipher = NID_undef;
    int digest = NID_undef;
    const auto read = unpack<Pbes1Ptr>(parameters, ASN1_ITEM_rptr(PBEPARAM));
    scheme.available = read != nullptr && EVP_PBE_find(EVP_PBE_TYPE_OUTER, nid, &cipher, &digest, nullptr) == 1 &&
                       cipherAvailable(cipher) && digestAvailable(digest);
    scheme.work = read != nullptr ? number(read->iter) : tooMuch;
    return scheme;
}

PasswordScheme pbes2(const void* parameters) {
    PasswordScheme scheme;
    const auto read = unpack<Pbes2Ptr>(parameters, ASN1_ITEM_rptr(PBE2PARAM));
    if (read == nullptr)
        return scheme;
    const void* ignored = nullptr;
    const void* derivation = nullptr;
    const bool cipher = cipherAvailable(algorithmNid(read->encryption, &ignored));
    scheme.name = algorithmName(read->encryption);
    const int function = algorithmNid(read->keyfunc, &derivation);
    if (function == NID_id_pbkdf2) {
        const auto pbkdf2 = unpack<Pbkdf2Ptr>(derivation, ASN1_ITEM_rptr(PBKDF2PARAM));
        scheme.available = cipher && pbkdf2 != nullptr;
        scheme.work = pbkdf2 != nullptr ? number(pbkdf2->iter) : tooMuch;
    } else if (function == NID_id_scrypt) {
        const auto scrypt = unpack<ScryptPtr>(derivation, ASN1_ITEM_rptr(SCRYPT_PARAMS));
        scheme.available = cipher && scrypt != nullptr;
        scheme.work = scrypt != nullptr
                          ? product(number(scrypt->costParameter),
                                    product(number(scrypt->blockSize), number(scrypt->parallelizationParameter)))
                          : tooMuch;
    } else {
        scheme.name = algorithmName(read->keyfunc);
    }
    return scheme;
}

}  // namespace

PasswordScheme passwordScheme(const X509_ALGOR* algorithm) {
    const void* parameters = nullptr;
    const int nid = algorithmNid(algorithm, &parameters);
    PasswordScheme scheme = nid == NID_pbes2 ? pbes2(parameters) : pbes1(nid, parameters);
    if (scheme.name.empty())
        scheme.name = algorithmName(algorithm);
    return scheme;
}

ReadOutcome admit(const PasswordScheme& scheme, WorkBudget& budget) {
    if (!scheme.available)
        return unusableKeyStore("is encrypted with " + scheme.name +
                                ", which cannot be read here; write it anew with AES-256.");
    if (!budget.spend(scheme.work))
        return unusableKeyStore("asks for more than " + std::to_string(WorkBudget::mostRounds) +
                                " rounds of key derivation; write it anew with fewer.");
    return {};
}

bool addPrivateKey(const PKCS8_PRIV_KEY_INFO* information, KeyStoreContent& content) {
    EvpPkeyPtr key(EVP_PKCS82PKEY_ex(information, libraryContext(), nullptr));
    if (key == nullptr)
        return false;
    content.privateKeys.push_back(std::move(key));
    return true;
}

ReadOutcome readEncryptedKey(const X509_SIG* encrypted, std::string_view password, bool passwordProven,
                             WorkBudget& budget, KeyStoreContent& content) {
    const X509_ALGOR* algorithm = nullptr;
    X509_SIG_get0(encrypted, &algorithm, nullptr);
    if (ReadOutcome outcome = admit(passwordScheme(algorithm), budget); outcome.code != 0)
        return outcome;
    content.passwordUsed = true;
    const Pkcs8Ptr information(
        PKCS8_decrypt_ex(encrypted, password.data(), static_cast<int>(password.size()), libraryContext(), nullptr));
    if (information == nullptr && !passwordProven)
        return wrongPassword(password);
    if (information == nullptr || !addPrivateKey(information.get(), content))
        return unusableKeyStore("holds a private key that cannot be read.");
    return {};
}

}  // namespace quorvanti::provider
