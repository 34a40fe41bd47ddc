// Puts certificates together byte by byte, right ones and others that the toolkit would never write, and chains them in
// both ways.
#pragma once

#include <memory>

#include "providers/openssl/key_store.h"
#include "tests/providers/openssl/signed_data_builder.h"

namespace quorvanti::test {

Octets name(const std::string& commonName, std::uint8_t stringTag = 0x0c);  // one CN
Octets utcTime(const std::string& text);
Octets generalizedTime(const std::string& text);
Octets publicKey(const std::string& key);  // SubjectPublicKeyInfo
Octets extension(const char* dotted, const Octets& value, bool critical = false);
Octets extensions(const std::vector<Octets>& list);  // whole [3] element

// The identifier of the key, as extensions name it.
Octets identifierOfKey(const std::string& key);

// A certificate for the key "ec", issued by the key "authority": every field a whole element.
struct LeafParts {
    Octets version = der(0xa0, number(2));
    Octets serial{0x02, 0x02, 0x12, 0x67};
    Octets algorithm = test::algorithm("1.2.840.10045.4.3.2", false);
    Octets issuer = name("authority");
    Octets validity = der(0x30, {utcTime("251203000000Z"), utcTime("261128000000Z")});
    Octets subject = name("issuing system");
    Octets key = publicKey("ec");
    Octets extensions;  // none
    Octets behind;      // the extensions

    Octets toBeSigned() const;
    Octets build() const;
};

// The certificate that "authority" makes of these bytes, whatever they are.
Octets certify(const Octets& toBeSigned, const Octets& algorithm = LeafParts().algorithm);

std::unique_ptr<provider::KeyStore> storeWith(const std::vector<Octets>& certificates);

// Whether the direct check takes the signer. It must not take what the toolkit refuses, and both must say the same of
// what both accept: else `difference` tells what differs.
bool chainsDirectly(const provider::KeyStore& store, const Octets& signer, const std::vector<Octets>& carried,
                    std::int64_t time, std::string& difference);

}  // namespace quorvanti::test
