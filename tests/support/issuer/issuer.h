// What the test issuers have in common.
#pragma once

#include <string>

namespace quorvanti::test {

enum class KeyKind { rsa, ec, dsa };  // RSA with 2048 bits, EC on P-256, DSA with 2048 bits

struct SignOptions {
    std::string hash = "sha256";
    bool withCertificate = true;  // carried in the signature
    bool withAttributes = true;   // signed attributes
};

inline const char* nameOf(KeyKind kind) {
    return kind == KeyKind::rsa ? "rsa" : kind == KeyKind::ec ? "ec" : "dsa";
}

}  // namespace quorvanti::test
