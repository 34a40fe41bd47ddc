// SsfVerifyEx: a bare RSA signature over some data, with a key that the caller brings along.
#include <openssl/objects.h>

#include <array>

#include "providers/openssl/armor.h"
#include "providers/openssl/boundary.h"
#include "providers/openssl/certificate.h"
#include "providers/openssl/der_writer.h"
#include "providers/openssl/digest_names.h"
#include "providers/openssl/format.h"
#include "providers/openssl/verification_key.h"

namespace quorvanti::provider {
namespace {

constexpr int smallestRsaKey = 1024;
constexpr std::string_view bareFormat = "PKCS1-V1.5";
constexpr std::string_view noCertificateCheck = "<no_certificate_check>";
constexpr std::string_view certificateKey = "x509v3";
constexpr std::string_view rawKey = "RAWPUBKEY";

EvpPkeyPtr keyOfCertificate(std::span<const std::uint8_t> der) {
    const X509Ptr certificate = readCertificate(der);
    return EvpPkeyPtr(certificate != nullptr ? X509_get_pubkey(certificate.get()) : nullptr);
}

EvpPkeyPtr subjectPublicKey(std::span<const std::uint8_t> der) {
    const unsigned char* position = der.data();
    EvpPkeyPtr key(d2i_PUBKEY_ex(nullptr, &position, static_cast<long>(der.size()), libraryContext(), nullptr));
    return position == der.data() + der.size() ? std::move(key) : nullptr;
}

// SubjectPublicKeyInfo, else the bare RSAPublicKey, which is read inside the other: that way it comes into our context.
EvpPkeyPtr rawPublicKey(std::span<const std::uint8_t> bytes) {
    constexpr std::array<std::uint8_t, 2> null{0x05, 0x00};
    constexpr std::array<std::uint8_t, 1> noUnusedBits{0};
    if (EvpPkeyPtr key = subjectPublicKey(bytes); key != nullptr)
        return key;
    return subjectPublicKey(
        derElement(der::sequence, {derElement(der::sequence, {derObjectIdentifier(NID_rsaEncryption), null}),
                                   derElement(der::bitString, {noUnusedBits, bytes})}));
}

EvpPkeyPtr readKey(std::string_view type, std::span<const std::uint8_t> content) {
    if (type == certificateKey)
        return keyOfCertificate(withoutArmor(content, "CERTIFICATE"));
    return rawPublicKey(withoutArmor(content, "PUBLIC KEY"));
}

struct BareVerification {
    std::string_view format;
    std::string_view profile;
    std::string_view keyType;
    std::string_view hash;
    std::span<const std::uint8_t> data;
    std::span<const std::uint8_t> key;
    std::span<const std::uint8_t> signature;
};

std::int32_t verifyBare(const BareVerification& call) {
    if (withoutTrailingBlanks(call.format) != bareFormat)
        return fail(SSF_API_INVALID_FORMAT, "SsfVerifyEx knows the format PKCS1-V1.5 only.");
    // A certificate that should be believed first is a matter of SsfVerify; to ignore the wish would be dangerous.
    if (withoutTrailingBlanks(call.profile) != noCertificateCheck)
        return fail(SSF_API_SECTK_FUNCTION_NOT_AVAIL,
                    "SsfVerifyEx does not check certificates: the profile must be <no_certificate_check>.");
    if (call.keyType != certificateKey && call.keyType != rawKey)
        return fail(SSF_API_INVALID_FUNCARGS, "SsfVerifyEx knows the key types x509v3 and RAWPUBKEY.");
    if (call.data.empty() || call.signature.empty())
        return fail(SSF_API_NODATA, "SsfVerifyEx was given no data or no signature.");
    Digest digest = Digest::sha1;
    const std::int32_t result = usableDigest(call.hash, digest);
    if (result != SSF_API_OK)
        return result;
    EvpPkeyPtr read = readKey(call.keyType, call.key);
    if (read == nullptr)
        return fail(SSF_API_DECODE_FAILED, "The key is neither a certificate nor an RSA public key in DER or PEM.");
    const VerificationKey key(std::move(read));
    if (key.type() != KeyType::rsa || key.bits() < smallestRsaKey)
        return fail(SSF_API_ALG_MISMATCH, "The key is not an RSA key of 1024 bits or more.");
    DigestValue value;
    if (!digestOf(digest, call.data, value))
        return fail(SSF_API_UNKNOWN_SECTK_ERROR, "OpenSSL could not hash the data.");
    if (!key.verify(digest, value.view(), call.signature))
        return fail(SSF_API_SIGNER_ERRORS, "The signature is not that of this key over this data.");
    return SSF_API_OK;
}

}  // namespace
}  // namespace quorvanti::provider

using namespace quorvanti::provider;

int32_t SsfVerifyEx(const char* format, int32_t formatLength, const uint8_t* data, int32_t dataLength,
                    const char* profile, int32_t profileLength, const char* keyType, int32_t keyTypeLength,
                    const uint8_t* key, int32_t keyLength, const char* hash, int32_t hashLength,
                    const uint8_t* signature, int32_t signatureLength, SsfSigRcpSsfInfoList** signers, uint8_t** output,
                    int32_t* outputLength) {
    if (signers != nullptr)
        *signers = nullptr;
    if (output != nullptr)
        *output = nullptr;
    if (outputLength != nullptr)
        *outputLength = 0;
    if (format == nullptr || formatLength < 0 || data == nullptr || dataLength < 0 || profile == nullptr ||
        profileLength < 0 || keyType == nullptr || keyTypeLength < 0 || key == nullptr || keyLength < 0 ||
        hash == nullptr || hashLength < 0 || signature == nullptr || signatureLength < 0 || signers == nullptr ||
        output == nullptr || outputLength == nullptr)
        return invalidArguments("SsfVerifyEx");
    return boundary([&] {
        return verifyBare({textOf(format, formatLength), textOf(profile, profileLength), textOf(keyType, keyTypeLength),
                           textOf(hash, hashLength), bytesOf(data, dataLength), bytesOf(key, keyLength),
                           bytesOf(signature, signatureLength)});
    });
}
