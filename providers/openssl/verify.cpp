// SsfVerify: is this the signature of somebody trusted over this content?
#include "providers/openssl/boundary.h"
#include "providers/openssl/format.h"
#include "providers/openssl/signer_check.h"
#include "providers/openssl/signer_list.h"

namespace quorvanti::provider {
namespace {

// The entry carries what is known of the signer, whatever the verdict.
std::int32_t handOutVerdict(const SignerVerdict& verdict, SsfSigRcpSsfInfoList** signers) {
    const bool known = verdict.signer != nullptr;
    *signers = makeSignerList(known ? std::string_view(verdict.signer->subject) : std::string_view(),
                              known ? std::string_view(verdict.signer->info) : std::string_view(verdict.problem),
                              verdict.result, verdict.certificate);
    if (*signers == nullptr)
        return fail(SSF_API_NORESULTLISTMEMORY, "The crypto library ran out of memory for a list of signers.");
    return verdict.result == SSF_API_OK ? SSF_API_OK : fail(SSF_API_SIGNER_ERRORS, verdict.problem);
}

std::int32_t verifyDetached(Bytes signature, Bytes content, std::string_view profile, std::string_view password,
                            SsfSigRcpSsfInfoList** signers) {
    SignedData signedData;
    if (const std::string_view problem = readSignedData(signature, signedData); !problem.empty())
        return fail(SSF_API_DECODE_FAILED, problem);
    SignatureAlgorithms algorithms;
    if (const Refusal refusal = checkAlgorithms(signedData, algorithms); refusal.code != SSF_API_OK)
        return fail(refusal.code, refusal.sentence);
    std::shared_ptr<const KeyStore> store;
    if (const std::int32_t code = openKeyStore(profile, password, store); code != SSF_API_OK)
        return code;
    return handOutVerdict(checkSigner(signedData, algorithms, content, *store), signers);
}

}  // namespace
}  // namespace quorvanti::provider

using namespace quorvanti::provider;

int32_t SsfVerify(const char* format, int32_t formatLength, int32_t detached, const uint8_t* signature,
                  int32_t signatureLength, const uint8_t* encoded, int32_t encodedLength, const char* profile,
                  int32_t profileLength, const char* password, int32_t passwordLength, SsfSigRcpSsfInfoList** signers,
                  uint8_t** output, int32_t* outputLength) {
    if (signers != nullptr)
        *signers = nullptr;
    if (output != nullptr)
        *output = nullptr;
    if (outputLength != nullptr)
        *outputLength = 0;
    if (format == nullptr || formatLength < 0 || signature == nullptr || signatureLength < 0 || encoded == nullptr ||
        encodedLength < 0 || profile == nullptr || profileLength < 0 || !isRange(password, passwordLength) ||
        signers == nullptr || output == nullptr || outputLength == nullptr)
        return invalidArguments("SsfVerify");
    if (!isPkcs7(textOf(format, formatLength)))
        return fail(SSF_API_INVALID_FORMAT, "SsfVerify knows the format PKCS7 only.");
    if (detached != 1)
        return fail(SSF_API_INVALID_FUNCARGS, "SsfVerify checks signatures whose content is given separately only.");
    if (signatureLength == 0 || encodedLength == 0)
        return fail(SSF_API_NODATA, signatureLength == 0 ? "There is no signature to verify."
                                                         : "There is no content that could be signed.");
    return boundary([&] {
        return verifyDetached(bytesOf(signature, signatureLength), bytesOf(encoded, encodedLength),
                              textOf(profile, profileLength), textOf(password, passwordLength), signers);
    });
}
