#include "providers/openssl/pkcs12_writer.h"

#include <openssl/objects.h>

#include <array>

namespace quorvanti::provider {
namespace {

constexpr int rounds = 10000;
constexpr int cipher = NID_aes_256_cbc;
constexpr int unencrypted = -1;

void freeBags(STACK_OF(PKCS12_SAFEBAG) * bags) {
    sk_PKCS12_SAFEBAG_pop_free(bags, PKCS12_SAFEBAG_free);
}
void freeSafes(STACK_OF(PKCS7) * safes) {
    sk_PKCS7_pop_free(safes, PKCS7_free);
}

// The toolkit's functions take the address of the stack, which they make or free as they see fit.
struct Stacks {
    STACK_OF(PKCS12_SAFEBAG) * certificates = nullptr;
    STACK_OF(PKCS12_SAFEBAG) * keys = nullptr;
    STACK_OF(PKCS7) * safes = sk_PKCS7_new_null();

    Stacks() = default;
    Stacks(const Stacks&) = delete;
    Stacks& operator=(const Stacks&) = delete;
    ~Stacks() {
        freeBags(certificates);
        freeBags(keys);
        freeSafes(safes);
    }
};

// What ties the key to its certificate.
struct LocalKeyId {
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned int length = 0;

    bool addTo(PKCS12_SAFEBAG* bag) {
        return bag != nullptr && PKCS12_add_localkeyid(bag, bytes.data(), static_cast<int>(length)) == 1;
    }
};

bool addOwn(Stacks& stacks, const Pkcs12Content& content, const SecretText& password) {
    LocalKeyId id;
    return X509_digest(content.own, EVP_sha1(), id.bytes.data(), &id.length) == 1 &&
           id.addTo(PKCS12_add_cert(&stacks.certificates, content.own)) &&
           id.addTo(PKCS12_add_key_ex(&stacks.keys, content.key, 0, rounds, cipher, password.c_str(), libraryContext(),
                                      nullptr));
}

bool addSafes(Stacks& stacks, const SecretText& password) {
    if (stacks.certificates != nullptr && PKCS12_add_safe_ex(&stacks.safes, stacks.certificates, cipher, rounds,
                                                             password.c_str(), libraryContext(), nullptr) != 1)
        return false;
    return stacks.keys == nullptr ||
           PKCS12_add_safe_ex(&stacks.safes, stacks.keys, unencrypted, 0, nullptr, libraryContext(), nullptr) == 1;
}

}  // namespace

std::vector<std::uint8_t> writePkcs12(const Pkcs12Content& content, const SecretText& password) {
    const RandomUseGuard randomUse;
    Stacks stacks;
    if (stacks.safes == nullptr || (content.key != nullptr && !addOwn(stacks, content, password)))
        return {};
    for (X509* certificate : content.others) {
        if (PKCS12_add_cert(&stacks.certificates, certificate) == nullptr)
            return {};
    }
    if (!addSafes(stacks, password))
        return {};
    const Pkcs12Ptr file(PKCS12_add_safes_ex(stacks.safes, NID_pkcs7_data, libraryContext(), nullptr));
    if (file == nullptr || PKCS12_set_mac(file.get(), password.c_str(), -1, nullptr, 0, rounds, EVP_sha256()) != 1)
        return {};
    unsigned char* bytes = nullptr;
    const int length = i2d_PKCS12(file.get(), &bytes);
    const OpensslBytes owner(bytes);
    return length > 0 ? std::vector<std::uint8_t>(bytes, bytes + length) : std::vector<std::uint8_t>();
}

}  // namespace quorvanti::provider
