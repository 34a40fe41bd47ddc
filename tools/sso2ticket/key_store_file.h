// A key store: an own key with its certificate, and the certificates that are trusted.
#pragma once

#include "tools/sso2ticket/certificate_info.h"
#include "tools/sso2ticket/secret.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvanti {

enum class KeyStoreFormat { pkcs12, pem, der };

struct KeyStore {
    KeyStoreFormat format = KeyStoreFormat::pkcs12;
    Openssl<EVP_PKEY> key;              // null: a key store that only verifies
    Openssl<X509> own;                  // the key's certificate
    std::vector<Openssl<X509>> others;  // trusted beside it
    bool complete = true;               // a PKCS#12 file may hold more: further keys, other secrets
};

const char* formatName(KeyStoreFormat format);

// Throws Failure with a sentence of its own for a missing file, a wrong or missing password, a cipher that cannot be
// read here and a file that is no key store.
KeyStore readKeyStore(const std::string& name, const std::optional<Secret>& password);

// PKCS#12 with AES-256 and SHA-256. The password is not empty. Throws Failure.
std::vector<std::uint8_t> pkcs12Of(const KeyStore& store, const Secret& password);

// The certificates in a DER, PEM or bare base64 file; private keys in it are passed over. Throws Failure (input
// unreadable) when there is none.
std::vector<Openssl<X509>> certificatesIn(const std::vector<std::uint8_t>& content, const std::string& name);

}  // namespace quorvanti
