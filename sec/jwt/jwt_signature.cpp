#include "sec/jwt/jwt_signature.h"

#include "base/dptrc/dptrace.h"
#include "sec/jwt/public_key_form.h"
#include "sec/kavsecu/crypto_memory.h"

#include <quorvanti/voraksso.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <vector>

namespace quorvanti {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr char kTraceUnit[] = "sec/jwt/jwtxx";

std::int32_t lengthOf(Bytes bytes) {
    return static_cast<std::int32_t>(bytes.size());
}

Bytes bytesOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// --- HMAC -----------------------------------------------------------------------------------------------------

// How long it takes does not tell where the first difference is.
bool equalInConstantTime(Bytes one, Bytes other) {
    if (one.size() != other.size()) {
        return false;
    }
    volatile std::uint64_t difference = 0;
    for (std::size_t at = 0; at < one.size(); at += sizeof difference) {
        const std::size_t length = std::min(one.size() - at, sizeof difference);
        std::uint64_t left = 0;
        std::uint64_t right = 0;
        std::memcpy(&left, one.data() + at, length);
        std::memcpy(&right, other.data() + at, length);
        difference = difference | (left ^ right);
    }
    return difference == 0;
}

class KeyedMac {
public:
    explicit KeyedMac(const CryptFunctions& functions) : functions_(functions) {}
    ~KeyedMac() {
        if (mac_ != nullptr) {
            functions_.get(crypt::crypt_keyedmac_release)(&mac_);
        }
    }
    KeyedMac(const KeyedMac&) = delete;
    KeyedMac& operator=(const KeyedMac&) = delete;

    // Nothing when the crypto library cannot.
    Bytes of(Bytes data, std::string_view hash, Bytes key, std::span<std::uint8_t> room) {
        std::int32_t id = 0;
        std::int32_t length = lengthOf(room);
        const bool done =
            functions_.get(crypt::crypt_hashAlgorithm_Name2Id)(hash.data(), lengthOf(bytesOf(hash)), &id) == 0 &&
            functions_.get(crypt::crypt_keyedmac_create)(id, key.data(), lengthOf(key), &mac_) == 0 &&
            functions_.get(crypt::crypt_keyedmac_more)(mac_, data.data(), lengthOf(data)) == 0 &&
            functions_.get(crypt::crypt_keyedmac_getValue)(mac_, room.data(), &length) == 0;
        if (!done || length <= 0 || length > lengthOf(room)) {
            return {};
        }
        return room.first(static_cast<std::size_t>(length));
    }

private:
    const CryptFunctions& functions_;
    void* mac_ = nullptr;
};

std::int32_t verifyMac(const JwtSignature& signature, CryptFunctions& functions) {
    TRACE(3, "HMAC is not traced here.\n");
    if (isPublicKeyForm(signature.key)) {
        TRACE_ERROR("A public key or certificate is no HMAC key: everybody could sign with it.\n");
        return VORAK_MALFORMED;
    }
    if (!functions.resolve()) {
        return VORAK_MALFORMED;
    }
    std::array<std::uint8_t, 1024> room;
    KeyedMac mac(functions);
    const Bytes value = mac.of(bytesOf(signature.signedText), signature.algorithm.hash, signature.key, room);
    return !value.empty() && equalInConstantTime(value, signature.value) ? VORAK_OK : VORAK_MALFORMED;
}

// --- RSA ------------------------------------------------------------------------------------------------------

// A certificate in the crypto library's hands.
class Certificate {
public:
    explicit Certificate(const SsfFunctionTable& table) : release_(table.find(ssf::SsfFreeCertificate)) {}
    ~Certificate() {
        if (certificate_ != nullptr) {
            release_(&certificate_);
        }
    }
    Certificate(const Certificate&) = delete;
    Certificate& operator=(const Certificate&) = delete;

    SsfCertificate** address() { return &certificate_; }
    SsfCertificate* get() const { return certificate_; }

private:
    decltype(::SsfFreeCertificate)* release_;
    SsfCertificate* certificate_ = nullptr;
};

// True when the key is a certificate; then `der` holds its DER form.
bool readCertificate(Bytes key, const SsfFunctionTable& table, CryptoOctets& der) {
    if (!table.has(ssf::SsfCertfromASN1) || !table.has(ssf::SsfCerttoASN1) || !table.has(ssf::SsfFreeCertificate) ||
        !table.has(ssf::SsfDELSsfOctetstring)) {
        return false;
    }
    Certificate certificate(table);
    if (table.find(ssf::SsfCertfromASN1)(key.data(), lengthOf(key), certificate.address()) != 0 ||
        certificate.get() == nullptr) {
        return false;
    }
    return table.find(ssf::SsfCerttoASN1)(certificate.get(), der.data(), der.length()) == 0 && !der.bytes().empty();
}

bool readCertificateInAnyForm(Bytes key, const SsfFunctionTable& table, CryptoOctets& der) {
    if (readCertificate(key, table, der)) {
        return true;
    }
    const std::vector<std::uint8_t> ofText = certificateOfText(key);
    return !ofText.empty() && readCertificate(ofText, table, der);
}

std::int32_t verifyWith(std::string_view keyType, Bytes key, const JwtSignature& signature,
                        const SsfFunctionTable& table) {
    constexpr std::string_view format = "PKCS1-V1.5";
    constexpr std::string_view profile = "<no_certificate_check>";
    auto* const verify = requireFunction(table, ssf::SsfVerifyEx, kTraceUnit);
    if (verify == nullptr || requireFunction(table, ssf::SsfDELSsfOctetstring, kTraceUnit) == nullptr) {
        return VORAK_CRYPTO_FUNCTION_MISSING;
    }
    CryptoSignerList signers(table);
    CryptoOctets output(table);
    const auto textLength = [](std::string_view text) { return lengthOf(bytesOf(text)); };
    return verify(format.data(), textLength(format), bytesOf(signature.signedText).data(),
                  textLength(signature.signedText), profile.data(), textLength(profile), keyType.data(),
                  textLength(keyType), key.data(), lengthOf(key), signature.algorithm.hash.data(),
                  textLength(signature.algorithm.hash), signature.value.data(), lengthOf(signature.value),
                  signers.list(), output.data(), output.length());
}

// With an empty certificate the key is a public key.
std::int32_t verifyAs(Bytes certificate, const JwtSignature& signature, const SsfFunctionTable& table) {
    const Bytes key = signature.key;
    const auto* const text = reinterpret_cast<const char*>(key.data());
    if (!certificate.empty()) {
        TRACE(3, "X509 cert. is the following: >>>%*.*s<<<.\n", lengthOf(key), lengthOf(key), text);
        return verifyWith("x509v3", certificate, signature, table);
    }
    TRACE(3, "Public Key is the following: >>>%*.*s<<<.\n", lengthOf(key), lengthOf(key), text);
    return verifyWith("RAWPUBKEY", key, signature, table);
}

std::int32_t verifyRsa(const JwtSignature& signature, const SsfFunctionTable& table, KnownKeys& knownKeys) {
    if (const KnownKeys::Key* const known = knownKeys.find(signature.key)) {
        return verifyAs(known->certificate, signature, table);
    }
    CryptoOctets der(table);
    const Bytes certificate = readCertificateInAnyForm(signature.key, table, der) ? der.bytes() : Bytes();
    const std::int32_t code = verifyAs(certificate, signature, table);
    if (code == VORAK_OK) {
        knownKeys.add(signature.key, certificate);
    }
    return code;
}

bool fitsLength(std::size_t size) {
    return size <= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
}

}  // namespace

std::int32_t verifyJwtSignature(const JwtSignature& signature, const SsfFunctionTable& table, CryptFunctions& functions,
                                KnownKeys& knownKeys) {
    // Neither an empty key nor an empty signature is worth a question to the crypto library.
    if (signature.key.empty() || signature.value.empty() || !fitsLength(signature.key.size())) {
        return VORAK_MALFORMED;
    }
    return signature.algorithm.scheme == JwtScheme::hmac ? verifyMac(signature, functions)
                                                         : verifyRsa(signature, table, knownKeys);
}

}  // namespace quorvanti
