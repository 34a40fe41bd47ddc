// SsfVerifyEx: a bare RSA signature over some data, with a key that the caller brings along.
#include "providers/openssl/bare_keys.h"
#include "providers/openssl/boundary.h"
#include "providers/openssl/digest_names.h"
#include "providers/openssl/format.h"

namespace quorvanti::provider {
namespace {

constexpr int smallestRsaKey = 1024;
constexpr std::string_view bareFormat = "PKCS1-V1.5";
constexpr std::string_view noCertificateCheck = "<no_certificate_check>";
constexpr std::string_view certificateKey = "x509v3";
constexpr std::string_view rawKey = "RAWPUBKEY";

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
    const auto key =
        bareKey(call.keyType == certificateKey ? BareKeyForm::certificate : BareKeyForm::publicKey, call.key);
    if (key == nullptr)
        return fail(SSF_API_DECODE_FAILED, "The key is neither a certificate nor an RSA public key in DER or PEM.");
    if (key->type() != KeyType::rsa || key->bits() < smallestRsaKey)
        return fail(SSF_API_ALG_MISMATCH, "The key is not an RSA key of 1024 bits or more.");
    DigestValue value;
    if (!digestOf(digest, call.data, value))
        return fail(SSF_API_UNKNOWN_SECTK_ERROR, "OpenSSL could not hash the data.");
    if (!key->verify(digest, value.view(), call.signature))
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
