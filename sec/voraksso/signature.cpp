#include "sec/voraksso/signature.h"

#include <quorvanti/voraksso.h>

#include "base/dptrc/dptrace.h"
#include "sec/kavsecu/crypto_memory.h"
#include "sec/kavsecu/return_code_texts.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxsgn";

std::int32_t lengthOf(std::string_view text) {
    return static_cast<std::int32_t>(text.size());
}

std::string_view passwordText(const char* password) {
    return password != nullptr ? password : std::string_view();
}

void dumpBytes(const char* heading, std::span<const std::uint8_t> bytes) {
    if (traceEnabled(3)) {
        const TraceLock lock;
        TRACE(3, "%s", heading);
        DpTrcHexDump(bytes.data(), bytes.size());
    }
}

SsfSigRcpSsfInfo* firstSigner(const SsfSigRcpSsfInfoList* signers) {
    return signers != nullptr ? signers->first : nullptr;
}

// For "%.*s": a text that is missing is printed as an empty one.
struct Printed {
    Printed(const char* given, std::int32_t givenLength)
        : length(given != nullptr ? std::max(givenLength, 0) : 0), text(given != nullptr ? given : "") {}
    int length;
    const char* text;
};

// 0, or the code with which the dump ended.
std::int32_t dumpCertificateAttribute(SsfFunctionTable& table, const SsfSigRcpSsfInfo& signer) {
    auto* fromAsn1 = requireFunction(table, ssf::SsfCertfromASN1, kTraceUnit);
    auto* parse = requireFunction(table, ssf::SsfParseCertificate, kTraceUnit);
    auto* release = requireFunction(table, ssf::SsfFreeCertificate, kTraceUnit);
    if (fromAsn1 == nullptr || parse == nullptr || release == nullptr) {
        return VORAK_CRYPTO_FUNCTION_MISSING;
    }
    SsfCertificate* certificate = nullptr;
    if (fromAsn1(signer.certificate, signer.certificateLength, &certificate) != SSF_API_OK || certificate == nullptr) {
        TRACE_ERROR("Certificate couldn't be converted into internal structure.\n");
        return VORAK_NO_CERTIFICATE;
    }
    static constexpr std::string_view kAttribute = "ALL";
    CryptoText text(table);
    const std::int32_t code = parse(certificate, kAttribute.data(), lengthOf(kAttribute), text.data(), text.length());
    release(&certificate);
    if (code != SSF_API_OK || text.view().empty()) {
        TRACE_ERROR("Couldn't parse the attribute >>%s<< out of certificate.\n", kAttribute.data());
        return VORAK_NO_CERTIFICATE;
    }
    TRACE(2, "Certificate in SSO ticket:\n%.*s \n", lengthOf(text.view()), text.view().data());
    return VORAK_OK;
}

void dumpCertificate(SsfFunctionTable& table, const SsfSigRcpSsfInfo& signer) {
    if (traceEnabled(2)) {
        const std::int32_t code = dumpCertificateAttribute(table, signer);
        TRACE(2, "DumpCertAttribute return with rc=%d.\n", code);
    }
}

void dumpSigner(const SsfSigRcpSsfInfo& signer) {
    if (!traceEnabled(2)) {
        return;
    }
    const char* description = ssfCodeDescription(signer.result);
    const Printed id(signer.id, signer.idLength);
    const Printed info(signer.info, signer.infoLength);
    TRACE(2, " Signer   ID: %.*s \n", id.length, id.text);
    TRACE(2, " Signer  PWD: ****** with len %d \n", signer.passwordLength);
    TRACE(2, " Signer info: %.*s \n", info.length, info.text);
    TRACE(2, " Signer res.: %s \n", description != nullptr ? description : "unknown");
}

bool hasCertificate(const SsfSigRcpSsfInfo* signer) {
    return signer != nullptr && signer->certificate != nullptr && signer->certificateLength > 0;
}

ValidateResult explainRefusal(std::int32_t code, SsfFunctionTable& table, const SsfSigRcpSsfInfo* signer) {
    TRACE_ERROR("SsfVerify failed (see note 7700101).\n");
    SsfTraceReturnCode(" SsfVerify returned", code, &table);
    if (signer == nullptr) {
        TRACE_ERROR(" SsfVerify returned null for SignerList.\n");
        return combineCodes(VORAK_NO_SIGNER_LIST, code);
    }
    SsfTraceReturnCode(" SSF LIB returned", signer->result, nullptr);
    if (hasCertificate(signer)) {
        dumpCertificate(table, *signer);
    } else {
        dumpSigner(*signer);
    }
    return combineCodes(code, signer->result);
}

ValidateResult takeCertificate(const SsfSigRcpSsfInfo* signer, SignerCertificate& certificate) {
    if (!hasCertificate(signer)) {
        TRACE_ERROR("No certificate of the signer available.\n");
        return VORAK_NO_CERTIFICATE;
    }
    if (!certificate.assign({signer->certificate, static_cast<std::size_t>(signer->certificateLength)})) {
        TRACE_ERROR("No memory available for certificate.\n");
        return VORAK_NO_MEMORY;
    }
    dumpBytes("Certificate is: \n", certificate.bytes());
    return VORAK_OK;
}

}  // namespace

bool SignerCertificate::assign(std::span<const std::uint8_t> der) {
    larger_.reset(der.size() > kRoom ? new (std::nothrow) std::uint8_t[der.size()] : nullptr);
    if (der.size() > kRoom && larger_ == nullptr) {
        length_ = 0;
        return false;
    }
    length_ = static_cast<std::uint32_t>(der.size());
    std::memcpy(larger_ != nullptr ? larger_.get() : room_.data(), der.data(), der.size());
    return true;
}

ValidateResult combineCodes(std::int32_t code, std::int32_t ssfCode) {
    const bool fits = code > 0 && code <= 0xFFFF && ssfCode >= 0 && ssfCode <= 0xFFFF;
    const auto low = static_cast<std::uint32_t>(fits ? code : VORAK_CRYPTO_FAILED);
    const auto high = ssfCode >= 0 && ssfCode <= 0xFFFF ? static_cast<std::uint32_t>(ssfCode) : 0U;
    return static_cast<std::int32_t>(high << 16 | low);
}

ValidateResult ValidateTicket(std::span<const std::uint8_t> content, std::span<const std::uint8_t> signature,
                              SsfFunctionTable& table, const SignatureParameters& parameters,
                              SignerCertificate& certificate) {
    if (traceEnabled(3)) {
        const TraceLock lock;
        TRACE(3, "Argument Dump for ticket verification:\n");
        dumpBytes("Content byte stream:\n", content);
        dumpBytes("\nSignature byte stream:\n", signature);
    }
    auto* encode = requireFunction(table, ssf::SsfEncode, kTraceUnit);
    auto* verify = requireFunction(table, ssf::SsfVerify, kTraceUnit);
    if (encode == nullptr || verify == nullptr || !canReleaseCryptoMemory(table, kTraceUnit)) {
        return VORAK_CRYPTO_FUNCTION_MISSING;
    }
    CryptoOctets encoded(table);
    if (encode(parameters.format.data(), lengthOf(parameters.format), content.data(),
               static_cast<std::int32_t>(content.size()), encoded.data(), encoded.length()) != SSF_API_OK) {
        return VORAK_CRYPTO_FAILED;
    }
    dumpBytes("Encoded content byte stream:\n", encoded.bytes());

    const std::string_view password = passwordText(parameters.password);
    CryptoSignerList signers(table);
    CryptoOctets output(table);
    const std::int32_t code = verify(parameters.format.data(), lengthOf(parameters.format), 1, signature.data(),
                                     static_cast<std::int32_t>(signature.size()), *encoded.data(), *encoded.length(),
                                     parameters.profile.data(), lengthOf(parameters.profile), password.data(),
                                     lengthOf(password), signers.list(), output.data(), output.length());
    const SsfSigRcpSsfInfo* signer = firstSigner(*signers.list());
    if (code != SSF_API_OK) {
        return explainRefusal(code, table, signer);
    }
    TRACE(3, "Verify returns %d [%s %d]\n", code, kTraceUnit, __LINE__);
    return takeCertificate(signer, certificate);
}

namespace {

// The list with the one entry to sign with; the entry goes back when no list takes it over.
ValidateResult makeSigners(SsfFunctionTable& table, const SigningParameters& parameters, CryptoSignerList& signers) {
    const std::string_view password = passwordText(parameters.password);
    SsfSigRcpSsfInfo* entry = nullptr;
    std::int32_t code = table.find(ssf::SsfNEWSigRcpSsfInfo)(parameters.signerId.data(), lengthOf(parameters.signerId),
                                                             parameters.profile.data(), lengthOf(parameters.profile),
                                                             password.data(), lengthOf(password), &entry);
    if (code != SSF_API_OK) {
        TRACE_ERROR("NEWSignerInfo failed.\n");
        return combineCodes(VORAK_CRYPTO_FAILED, code);
    }
    code = table.find(ssf::SsfINSSigRcpSsfInfo)(entry, signers.list());
    if (code != SSF_API_OK) {
        TRACE_ERROR("INSSignerInfo failed.\n");
        table.find(ssf::SsfDELSigRcpSsfInfo)(&entry);
        return combineCodes(VORAK_CRYPTO_FAILED, code);
    }
    return VORAK_OK;
}

ValidateResult explainSigningFailure(std::int32_t code, SsfFunctionTable& table, const SsfSigRcpSsfInfo* signer) {
    TRACE_ERROR("SsfSign failed (see note 7700101).\n");
    SsfTraceReturnCode(" SsfSign returned", code, &table);
    if (signer == nullptr) {
        TRACE_ERROR(" SsfSign returned null for SignerList.\n");
        return VORAK_INVALID;
    }
    SsfTraceReturnCode(" SSF LIB returned", signer->result, nullptr);
    dumpSigner(*signer);
    return combineCodes(VORAK_INVALID, signer->result);
}

}  // namespace

ValidateResult SignTicket(std::span<const std::uint8_t> content, SsfFunctionTable& table,
                          const SigningParameters& parameters, std::uint8_t** signature,
                          std::int32_t* signatureLength) {
    *signature = nullptr;
    *signatureLength = 0;
    auto* encode = requireFunction(table, ssf::SsfEncode, kTraceUnit);
    auto* sign = requireFunction(table, ssf::SsfSign, kTraceUnit);
    if (encode == nullptr || sign == nullptr ||
        requireFunction(table, ssf::SsfNEWSigRcpSsfInfo, kTraceUnit) == nullptr ||
        requireFunction(table, ssf::SsfINSSigRcpSsfInfo, kTraceUnit) == nullptr ||
        requireFunction(table, ssf::SsfDELSigRcpSsfInfo, kTraceUnit) == nullptr ||
        !canReleaseCryptoMemory(table, kTraceUnit)) {
        return VORAK_CRYPTO_FUNCTION_MISSING;
    }
    CryptoSignerList signers(table);
    if (const ValidateResult result = makeSigners(table, parameters, signers); result != VORAK_OK) {
        return result;
    }
    CryptoOctets encoded(table);
    std::int32_t code = encode(parameters.format.data(), lengthOf(parameters.format), content.data(),
                               static_cast<std::int32_t>(content.size()), encoded.data(), encoded.length());
    if (code != SSF_API_OK) {
        TRACE_ERROR("Encode failed.\n");
        return combineCodes(VORAK_CRYPTO_FAILED, code);
    }
    code = sign(parameters.format.data(), lengthOf(parameters.format), parameters.hashAlgorithm.data(),
                lengthOf(parameters.hashAlgorithm), parameters.includeCertificate ? 1 : 0, 1, *encoded.data(),
                *encoded.length(), *signers.list(), signature, signatureLength);
    if (code == SSF_API_OK && *signature != nullptr && *signatureLength > 0) {
        return VORAK_OK;
    }
    const ValidateResult result =
        code != SSF_API_OK ? explainSigningFailure(code, table, firstSigner(*signers.list())) : VORAK_CRYPTO_FAILED;
    if (*signature != nullptr) {
        table.find(ssf::SsfDELSsfOctetstring)(signature, signatureLength);
    }
    return result;
}

}  // namespace quorvanti
