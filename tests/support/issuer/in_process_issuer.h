// An issuing system inside the test's own process, for tests that need many signatures quickly.
#pragma once

#include "tests/support/issuer/issuer.h"
#include "tests/support/issuer/ticket_builder.h"

#include <memory>
#include <string>
#include <string_view>

struct evp_pkey_st;
struct x509_st;

namespace quorvanti::test {

class InProcessIssuer {
public:
    // A fresh key pair with a self-signed certificate that is valid from an hour ago for ten years.
    explicit InProcessIssuer(KeyKind kind, const std::string& name = "issuer");

    std::string certificatePem() const;
    Bytes certificateDer() const;
    std::string keyPem() const;
    Bytes pkcs12(const std::string& password) const;

    // A detached PKCS#7 signature, DER.
    Bytes sign(const Bytes& content, const SignOptions& options = {}) const;

    // The whole of it: builds the ticket, signs it, gives its text.
    std::string ticket(const TicketBuilder& builder, const SignOptions& options = {}) const;

    evp_pkey_st* key() const { return key_.get(); }
    x509_st* certificate() const { return certificate_.get(); }

private:
    struct Release {
        void operator()(evp_pkey_st* key) const;
        void operator()(x509_st* certificate) const;
    };
    std::unique_ptr<evp_pkey_st, Release> key_;
    std::unique_ptr<x509_st, Release> certificate_;
};

}  // namespace quorvanti::test
