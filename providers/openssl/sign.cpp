// SsfSign: who signs, with what, and what the signer's entry says afterwards.
#include "providers/openssl/boundary.h"
#include "providers/openssl/clock.h"
#include "providers/openssl/digest_names.h"
#include "providers/openssl/distinguished_name.h"
#include "providers/openssl/format.h"
#include "providers/openssl/hand_out.h"
#include "providers/openssl/signer_list.h"
#include "providers/openssl/signing.h"

namespace quorvanti::provider {
namespace {

constexpr std::string_view implicitIdentity = "<implicit>";
constexpr int smallestRsaKey = 1024;

// A key store that cannot be opened has one code for the call and another for the signer.
std::int32_t overallCode(std::int32_t signerCode) {
    switch (signerCode) {
        case SSF_API_UNKNOWN_PROFILE:
            return SSF_API_UNKNOWN_PAB;
        case SSF_API_INVALID_PASSWORD:
            return SSF_API_INVALID_PAB_PASSWORD;
        case SSF_API_INVALID_PROFILE:
        case SSF_API_NOMEMORY:
            return signerCode;
        default:
            return SSF_API_SIGNER_ERRORS;
    }
}

bool isIdentity(std::string_view id, const TrustedCertificate& own) {
    id = withoutTrailingBlanks(id);
    if (id == implicitIdentity || id == own.subject)
        return true;
    const X509NamePtr name = parseName(id);
    return name != nullptr && X509_NAME_entry_count(name.get()) > 0 &&
           X509_NAME_cmp(name.get(), X509_get_subject_name(own.certificate.get())) == 0;
}

// 0 when the key store's own identity is the one wanted and may sign now; else the signer's code, with its sentence.
std::int32_t checkIdentity(const KeyStore& store, std::string_view id, std::int64_t time) {
    const auto where = [&store] { return "The key store \"" + store.profile + "\" "; };
    if (store.ownKey == nullptr || store.own == nullptr)
        return fail(SSF_API_UNKNOWN_SIGNER, where() + "has no private key to sign with.");
    const TrustedCertificate& own = *store.own;
    if (!isIdentity(id, own))
        return fail(SSF_API_UNKNOWN_SIGNER,
                    where() + "belongs to " + own.subject + ", not to \"" + std::string(id) + "\".");
    if (time < own.notBefore || time > own.notAfter)
        return fail(SSF_API_CERT_EXPIRED, where() + "holds a certificate that is expired or not yet valid: " +
                                              own.subject + ", " + own.info + ".");
    const KeyType type = own.key->type();
    if (type == KeyType::other)
        return fail(SSF_API_INVALID_PROFILE, where() + "holds a key that is neither RSA nor DSA nor ECDSA.");
    if (type == KeyType::rsa && own.key->bits() < smallestRsaKey)
        return fail(SSF_API_INVALID_PROFILE, where() + "holds an RSA key of less than 1024 bits.");
    return SSF_API_OK;
}

// Signs as `signer` wants; the code is the signer's.
std::int32_t signAs(SsfSigRcpSsfInfo& signer, std::span<const std::uint8_t> content, SigningOptions options,
                    DerWriter& signature) {
    std::shared_ptr<const KeyStore> store;
    std::int32_t result = openKeyStore(textOf(signer.profile, signer.profileLength),
                                       textOf(signer.password, signer.passwordLength), store);
    if (result != SSF_API_OK)
        return result;
    options.time = now();
    result = checkIdentity(*store, textOf(signer.id, signer.idLength), options.time);
    if (result != SSF_API_OK)
        return result;
    signature = signContent(*store, content, options);
    if (signature.empty())
        return fail(SSF_API_SIGNER_NOT_OK, "OpenSSL could not sign with the key of " + store->own->subject + ".");
    if (!describeSigner(signer, store->own->subject, SSF_API_OK, store->own->der))
        return fail(SSF_API_NOMEMORY, "The crypto library ran out of memory.");
    return SSF_API_OK;
}

std::int32_t sign(SsfSigRcpSsfInfo& signer, std::span<const std::uint8_t> content, const SigningOptions& options,
                  std::uint8_t** signature, std::int32_t* signatureLength) {
    DerWriter made(0);
    signer.result = SSF_API_UNDEFINED_RESULT;
    const std::int32_t result = signAs(signer, content, options, made);
    if (result != SSF_API_OK) {
        const std::string sentence(lastError().sentence);
        describeSigner(signer, sentence, result, {});
        return fail(overallCode(result), sentence);
    }
    if (!handOut(made.written(), signature, signatureLength))
        return fail(SSF_API_NOMEMORY, "The crypto library ran out of memory.");
    return SSF_API_OK;
}

}  // namespace
}  // namespace quorvanti::provider

using namespace quorvanti::provider;

int32_t SsfSign(const char* format, int32_t formatLength, const char* hash, int32_t hashLength,
                int32_t includeCertificate, int32_t detached, const uint8_t* encoded, int32_t encodedLength,
                SsfSigRcpSsfInfoList* signers, uint8_t** signature, int32_t* signatureLength) {
    if (signature != nullptr)
        *signature = nullptr;
    if (signatureLength != nullptr)
        *signatureLength = 0;
    if (format == nullptr || formatLength < 0 || hash == nullptr || hashLength < 0 || encoded == nullptr ||
        encodedLength < 0 || signers == nullptr || signature == nullptr || signatureLength == nullptr)
        return invalidArguments("SsfSign");
    return boundary([&] {
        if (!isPkcs7(textOf(format, formatLength)))
            return fail(SSF_API_INVALID_FORMAT, "SsfSign knows the format PKCS7 only.");
        if (encodedLength == 0)
            return fail(SSF_API_NODATA, "SsfSign was given no data.");
        if (signers->first == nullptr || signers->first->next != nullptr)
            return fail(SSF_API_INVALID_FUNCARGS, "SsfSign signs for exactly one signer.");
        SigningOptions options{Digest::sha1, includeCertificate != 0, detached != 0, 0};
        const std::int32_t result = usableDigest(textOf(hash, hashLength), options.digest);
        if (result != SSF_API_OK) {
            signers->first->result = result;
            return result;
        }
        return sign(*signers->first, bytesOf(encoded, encodedLength), options, signature, signatureLength);
    });
}
