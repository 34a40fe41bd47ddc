// Checks and makes the PKCS#7 signature of a ticket through the crypto library. The caller holds the crypto lock.
#pragma once

#include "sec/kavsecu/function_table.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace quorvanti {

// This library's code in the low half, the crypto library's in the high half. A failure never looks like success: a
// code that does not fit its half is reported as 14 in the low one.
using ValidateResult = std::int32_t;
ValidateResult combineCodes(std::int32_t code, std::int32_t ssfCode);

// The certificate of the signer, DER. What fits stands in the object itself: that is nearly every one.
class SignerCertificate {
public:
    static constexpr std::size_t kRoom = 2048;

    // False when there is no memory for one that does not fit.
    bool assign(std::span<const std::uint8_t> der);
    std::span<const std::uint8_t> bytes() const { return {larger_ != nullptr ? larger_.get() : room_.data(), length_}; }
    std::uint32_t length() const { return length_; }

private:
    std::array<std::uint8_t, kRoom> room_;
    std::unique_ptr<std::uint8_t[]> larger_;
    std::uint32_t length_ = 0;
};

// What the crypto library's functions are called with. Texts come without trailing blanks; the password as it is.
struct SignatureParameters {
    std::string_view format;
    std::string_view profile;
    const char* password = nullptr;  // may be null
};

// 0 with the signer's certificate; 11 out of memory; 13 a function is missing; 14 the content could not be encoded; 17
// the signer has no certificate; 20 (low half) no signer named; else the crypto library's code and the signer's.
ValidateResult ValidateTicket(std::span<const std::uint8_t> content, std::span<const std::uint8_t> signature,
                              SsfFunctionTable& table, const SignatureParameters& parameters,
                              SignerCertificate& certificate);

struct SigningParameters : SignatureParameters {
    std::string_view hashAlgorithm;
    std::string_view signerId;
    bool includeCertificate = false;
};

// 0 with the signature, which belongs to the crypto library and goes back through SsfDELSsfOctetstring.
ValidateResult SignTicket(std::span<const std::uint8_t> content, SsfFunctionTable& table,
                          const SigningParameters& parameters, std::uint8_t** signature, std::int32_t* signatureLength);

}  // namespace quorvanti
