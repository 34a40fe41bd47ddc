// What the test issuers have in common.
#pragma once

#include <string>

namespace quorvanti::test {

// RSA with 2048 and 3072 bits, EC on P-256, DSA with 2048 bits.
enum class KeyKind { rsa, rsa3072, ec, dsa };

struct SignOptions {
    std::string hash = "sha256";
    bool withCertificate = true;  // carried in the signature
    bool withAttributes = true;   // signed attributes
};

inline const char* nameOf(KeyKind kind) {
    switch (kind) {
        case KeyKind::rsa:
            return "rsa";
        case KeyKind::rsa3072:
            return "rsa3072";
        case KeyKind::ec:
            return "ec";
        default:
            return "dsa";
    }
}

}  // namespace quorvanti::test
