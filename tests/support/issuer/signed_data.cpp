#include "tests/support/issuer/signed_data.h"

namespace quorvanti::test {

namespace {

constexpr std::uint8_t integer = 0x02;
constexpr std::uint8_t octetString = 0x04;
constexpr std::uint8_t objectIdentifier = 0x06;
constexpr std::uint8_t sequence = 0x30;
constexpr std::uint8_t set = 0x31;
constexpr std::uint8_t context0 = 0xA0;

const Bytes data{0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x01};            // 1.2.840.113549.1.7.1
const Bytes signedDataType{0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x02};  // 1.2.840.113549.1.7.2
const Bytes contentType{0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x03};     // 1.2.840.113549.1.9.3
const Bytes messageDigest{0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x04};   // 1.2.840.113549.1.9.4

Bytes attribute(const Bytes& type, const Bytes& value) {
    return der(sequence, concatenated({der(objectIdentifier, type), der(set, value)}));
}

Bytes algorithm(const Bytes& identifier) {
    return der(sequence, der(objectIdentifier, identifier));
}

}  // namespace

Bytes concatenated(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Bytes der(std::uint8_t tag, const Bytes& contents) {
    Bytes element{tag};
    const std::size_t length = contents.size();
    if (length < 0x80) {
        element.push_back(static_cast<std::uint8_t>(length));
    } else if (length < 0x100) {
        element.insert(element.end(), {0x81, static_cast<std::uint8_t>(length)});
    } else {
        element.insert(element.end(),
                       {0x82, static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length)});
    }
    return concatenated({element, contents});
}

Bytes signedAttributes(const Bytes& hash) {
    return concatenated(
        {attribute(contentType, der(objectIdentifier, data)), attribute(messageDigest, der(octetString, hash))});
}

Bytes signedData(const SignedDataParts& parts) {
    const Bytes version{integer, 1, 1};
    const Bytes hash = algorithm(parts.hashIdentifier);
    const Bytes signer =
        der(sequence, concatenated({version, der(sequence, parts.issuerAndSerial), hash,
                                    parts.attributes.empty() ? Bytes{} : der(context0, parts.attributes),
                                    algorithm(parts.signatureIdentifier), der(octetString, parts.signature)}));
    const Bytes body =
        der(sequence,
            concatenated({version, der(set, hash), der(sequence, der(objectIdentifier, data)),
                          parts.certificate.empty() ? Bytes{} : der(context0, parts.certificate), der(set, signer)}));
    return der(sequence, concatenated({der(objectIdentifier, signedDataType), der(context0, body)}));
}

}  // namespace quorvanti::test
