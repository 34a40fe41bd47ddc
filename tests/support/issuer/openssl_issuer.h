// An issuing system that is nothing but the `openssl` command: makes a key pair and a self-signed certificate, key
// stores of every kind, and signs. Slow, and independent of everything written here. Throws when the command fails.
#pragma once

#include "tests/support/issuer/issuer.h"
#include "tests/support/issuer/ticket_builder.h"

#include <string>
#include <vector>

namespace quorvanti::test {

// Runs `openssl` with these arguments. Standard input is empty; what it prints goes into the exception.
void runOpenssl(const std::vector<std::string>& arguments);

class OpensslIssuer {
public:
    // All files are made in `directory`, under names that begin with `name`.
    OpensslIssuer(std::string directory, KeyKind kind, std::string name = "issuer");

    std::string keyFile() const { return base_ + ".key.pem"; }
    std::string certificatePemFile() const { return base_ + ".crt.pem"; }
    std::string certificateDerFile() const { return base_ + ".crt.der"; }
    std::string keyAndCertificatePemFile() const { return base_ + ".both.pem"; }
    std::string pkcs12File() const { return base_ + ".p12"; }
    // Of the PKCS#12 key store.
    static std::string password() { return "opensesame"; }

    // A detached PKCS#7 signature, DER. `openssl cms` makes it; for DSA with SHA-384 and SHA-512, which it does not
    // pack, `openssl dgst` signs and the frame around the signature is ours.
    Bytes sign(const Bytes& content, const SignOptions& options = {}) const;

private:
    void makeKeyAndCertificate(KeyKind kind, const std::string& name) const;
    void makeKeyStores() const;
    Bytes signByCms(const Bytes& content, const SignOptions& options) const;
    Bytes signByHand(const Bytes& content, const SignOptions& options) const;

    KeyKind kind_;
    std::string base_;
};

}  // namespace quorvanti::test
