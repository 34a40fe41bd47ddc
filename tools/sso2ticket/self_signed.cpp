#include "tools/sso2ticket/self_signed.h"

#include "tools/sso2ticket/failure.h"

#include <openssl/rand.h>

#include <array>
#include <utility>
#include <vector>

namespace quorvanti {

namespace {

constexpr int rsaBits = 3072;
constexpr long clockDifference = 3600;  // valid from an hour ago, for receivers whose clock is behind

[[noreturn]] void fail(const std::string& what) {
    throw Failure(ExitCode::configuration, what);
}

using Attribute = std::pair<std::string, std::string>;

std::string trimmed(const std::string& text) {
    const std::size_t from = text.find_first_not_of(' ');
    return from == std::string::npos ? "" : text.substr(from, text.find_last_not_of(' ') + 1 - from);
}

// "CN=..., O=...": a comma within a value is written "\,".
std::vector<Attribute> attributesOf(const std::string& subject) {
    std::vector<std::string> parts(1);
    for (std::size_t i = 0; i < subject.size(); ++i) {
        if (subject[i] == '\\' && i + 1 < subject.size()) {
            parts.back() += subject[++i];
        } else if (subject[i] == ',') {
            parts.emplace_back();
        } else {
            parts.back() += subject[i];
        }
    }
    std::vector<Attribute> result;
    for (const std::string& part : parts) {
        const std::size_t equals = part.find('=');
        if (equals == std::string::npos || trimmed(part.substr(equals + 1)).empty()) {
            fail("the subject is no distinguished name such as \"CN=system, O=company, C=DE\"");
        }
        result.emplace_back(trimmed(part.substr(0, equals)), trimmed(part.substr(equals + 1)));
    }
    return result;
}

// Written with the most specific part first, stored with it last (each part is put before those there are).
Openssl<X509_NAME> nameOf(const std::string& subject) {
    Openssl<X509_NAME> name(X509_NAME_new());
    for (const auto& [type, value] : attributesOf(subject)) {
        if (name == nullptr || X509_NAME_add_entry_by_txt(name.get(), type.c_str(), MBSTRING_UTF8,
                                                          reinterpret_cast<const unsigned char*>(value.data()),
                                                          static_cast<int>(value.size()), 0, 0) != 1) {
            fail(std::string("the subject has a part that cannot be used: ").append(type).append("=").append(value));
        }
    }
    return name;
}

Openssl<EVP_PKEY> newKey(const std::string& keyType) {
    Openssl<EVP_PKEY> key(keyType == "ec-p256" ? EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256")
                                               : EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", std::size_t{rsaBits}));
    if (key == nullptr) {
        fail("no key could be made");
    }
    return key;
}

bool setSerialNumber(X509* certificate) {
    std::array<unsigned char, 16> bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
        return false;
    }
    bytes[0] = static_cast<unsigned char>((bytes[0] & 0x7FU) | 0x40U);  // positive, and always as long
    const Openssl<BIGNUM> number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
    return number != nullptr && BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr;
}

bool addExtensions(X509* certificate) {
    // clang-format off
    static constexpr std::pair<int, const char*> extensions[] = {
        {NID_basic_constraints,      "critical,CA:FALSE"},
        {NID_key_usage,              "critical,digitalSignature"},
        {NID_subject_key_identifier, "hash"},
    };
    // clang-format on
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    for (const auto& [type, value] : extensions) {
        const Openssl<X509_EXTENSION> extension(X509V3_EXT_conf_nid(nullptr, &context, type, value));
        if (extension == nullptr || X509_add_ext(certificate, extension.get(), -1) != 1) {
            return false;
        }
    }
    return true;
}

}  // namespace

KeyStore selfSigned(const std::string& subject, const std::string& keyType, int days) {
    const Openssl<X509_NAME> name = nameOf(subject);
    KeyStore result;
    result.key = newKey(keyType);
    result.own.reset(X509_new());
    X509* certificate = result.own.get();
    const bool good = certificate != nullptr && X509_set_version(certificate, X509_VERSION_3) == 1 &&
                      setSerialNumber(certificate) && X509_set_subject_name(certificate, name.get()) == 1 &&
                      X509_set_issuer_name(certificate, name.get()) == 1 &&
                      X509_gmtime_adj(X509_getm_notBefore(certificate), -clockDifference) != nullptr &&
                      X509_time_adj_ex(X509_getm_notAfter(certificate), days, 0, nullptr) != nullptr &&
                      X509_set_pubkey(certificate, result.key.get()) == 1 && addExtensions(certificate) &&
                      X509_sign(certificate, result.key.get(), EVP_sha256()) > 0;
    if (!good) {
        fail("the certificate could not be made");
    }
    return result;
}

}  // namespace quorvanti
