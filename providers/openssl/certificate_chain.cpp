#include "providers/openssl/certificate_chain.h"

#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>

#include "providers/openssl/certificate.h"
#include "providers/openssl/direct_chain.h"
#include "providers/openssl/distinguished_name.h"
#include "providers/openssl/utc_time.h"
#include "quorvanti/ssf.h"

namespace quorvanti::provider {
namespace {

constexpr int longestChain = 8;  // intermediate certificates

ChainOutcome refuse(std::int32_t result, std::string problem) {
    return {nullptr, result, std::move(problem)};
}

ChainOutcome untrusted(X509* certificate, const std::string& why) {
    return refuse(SSF_API_UNKNOWN_SIGNER,
                  "The certificate of " + nameText(X509_get_subject_name(certificate)) + " " + why);
}

// The carried certificates; the signer's own, which is one of them, is decoded already.
X509StackPtr decodeAll(std::span<const Bytes> carried, const TrustedCertificate& signer) {
    X509StackPtr stack(sk_X509_new_null());
    for (const Bytes der : carried) {
        X509Ptr certificate;
        if (!sameBytes(der, signer.der))
            certificate = readCertificate(der);
        else if (X509_up_ref(signer.certificate.get()) == 1)
            certificate.reset(signer.certificate.get());
        if (stack == nullptr || certificate == nullptr || sk_X509_push(stack.get(), certificate.get()) == 0)
            return nullptr;
        certificate.release();
    }
    return stack;
}

// What the toolkit leaves open about a certificate in the chain: `position` 0 is the signer, `last` the anchor.
std::string problemInChain(X509* certificate, int position, int last) {
    constexpr std::array refusedDigests{NID_md2, NID_md4, NID_md5};
    EVP_PKEY* key = X509_get0_pubkey(certificate);
    if (key == nullptr || keyTooShort(key))
        return "has too short a key.";
    if (position > 0 && X509_check_ca(certificate) != 1)
        return "is not that of a CA, but issued another certificate.";
    if (position == 0 &&
        (X509_get_key_usage(certificate) & (X509v3_KU_DIGITAL_SIGNATURE | X509v3_KU_NON_REPUDIATION)) == 0)
        return "must not be used for signatures by its key usage.";
    if (position == last)
        return {};
    const std::uint32_t usage = X509_get_extended_key_usage(certificate);
    if ((usage & (XKU_SMIME | XKU_ANYEKU)) == 0)
        return "must not be used to sign messages by its extended key usage.";
    int digest = NID_undef;
    X509_get_signature_info(certificate, &digest, nullptr, nullptr, nullptr);
    if (std::ranges::find(refusedDigests, digest) != refusedDigests.end())
        return "is signed with a digest that is refused.";
    return {};
}

ChainOutcome explain(X509_STORE_CTX* context, X509* signer, const KeyStore& store) {
    const int error = X509_STORE_CTX_get_error(context);
    X509* certificate = X509_STORE_CTX_get_current_cert(context);
    if (certificate == nullptr)
        certificate = signer;
    const std::string subject = nameText(X509_get_subject_name(certificate));
    switch (error) {
        case X509_V_ERR_CERT_HAS_EXPIRED:
            return refuse(SSF_API_CERT_EXPIRED, "The certificate of " + subject + " expired on " +
                                                    utcText(secondsOf(X509_get0_notAfter(certificate)).value_or(0)) +
                                                    ".");
        case X509_V_ERR_CERT_NOT_YET_VALID:
            return refuse(SSF_API_CERT_EXPIRED, "The certificate of " + subject + " is not valid before " +
                                                    utcText(secondsOf(X509_get0_notBefore(certificate)).value_or(0)) +
                                                    ".");
        default:
            return refuse(SSF_API_UNKNOWN_SIGNER, "The certificate of " + subject +
                                                      " does not lead to a trusted one in key store " + store.profile +
                                                      ": " + X509_verify_cert_error_string(error) + ".");
    }
}

// The validity of a chain is what all its certificates have in common.
bool narrowValidity(TrustedCertificate& signer, STACK_OF(X509) * chain) {
    for (int i = 1; i < sk_X509_num(chain); ++i) {
        const auto notBefore = secondsOf(X509_get0_notBefore(sk_X509_value(chain, i)));
        const auto notAfter = secondsOf(X509_get0_notAfter(sk_X509_value(chain, i)));
        if (!notBefore || !notAfter)
            return false;
        signer.notBefore = std::max(signer.notBefore, *notBefore);
        signer.notAfter = std::min(signer.notAfter, *notAfter);
    }
    return true;
}

}  // namespace

ChainOutcome chainSigner(const KeyStore& store, Bytes signer, std::span<const Bytes> carried, std::int64_t time) {
    if (auto chained = chainDirectly(store, signer, carried, time); chained != nullptr)
        return {std::move(chained), SSF_API_OK, {}};
    return chainByToolkit(store, signer, carried, time);
}

ChainOutcome chainByToolkit(const KeyStore& store, Bytes signerDer, std::span<const Bytes> carried, std::int64_t time) {
    std::unique_ptr<TrustedCertificate> signer = prepareCertificate(signerDer);
    const X509StackPtr others = signer != nullptr ? decodeAll(carried, *signer) : nullptr;
    if (others == nullptr)
        return refuse(SSF_API_UNKNOWN_SIGNER, "A certificate in the signature cannot be read.");
    const X509StoreCtxPtr context(X509_STORE_CTX_new_ex(libraryContext(), nullptr));
    X509* certificate = signer->certificate.get();
    X509_STORE* anchors = store.anchors();
    if (context == nullptr || anchors == nullptr ||
        X509_STORE_CTX_init(context.get(), anchors, certificate, others.get()) != 1)
        throw std::bad_alloc();
    X509_VERIFY_PARAM* parameters = X509_STORE_CTX_get0_param(context.get());
    X509_VERIFY_PARAM_set_time(parameters, static_cast<time_t>(time));
    X509_VERIFY_PARAM_set_depth(parameters, longestChain);
    X509_VERIFY_PARAM_set_flags(parameters, X509_V_FLAG_PARTIAL_CHAIN | X509_V_FLAG_TRUSTED_FIRST);
    if (X509_verify_cert(context.get()) != 1)
        return explain(context.get(), certificate, store);

    STACK_OF(X509)* chain = X509_STORE_CTX_get0_chain(context.get());
    const int last = sk_X509_num(chain) - 1;
    for (int i = 0; i <= last; ++i) {
        const std::string problem = problemInChain(sk_X509_value(chain, i), i, last);
        if (!problem.empty())
            return untrusted(sk_X509_value(chain, i), problem);
    }
    if (!narrowValidity(*signer, chain))
        return untrusted(certificate, "has an issuer whose validity cannot be read.");
    return {std::move(signer), SSF_API_OK, {}};
}

}  // namespace quorvanti::provider
