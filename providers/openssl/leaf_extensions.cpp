#include "providers/openssl/leaf_extensions.h"

#include <array>

namespace quorvanti::provider {
namespace {

constexpr std::array<std::uint8_t, 4> oidAnyExtendedKeyUsage{0x55, 0x1d, 0x25, 0x00};
constexpr std::array<std::uint8_t, 8> oidEmailProtection{0x2b, 0x06, 0x01, 0x05, 0x05, 0x07, 0x03, 0x04};

constexpr std::uint8_t digitalSignature = 0x80;
constexpr std::uint8_t nonRepudiation = 0x40;

bool readBasicConstraints(Bytes value, Bytes& /*found*/) {
    Bytes constraints;
    return readOnly(value, tag::sequence, constraints) && constraints.empty();  // neither an authority nor a length
}

// One or two octets of named bits, of which the last one is set.
bool readKeyUsage(Bytes value, Bytes& /*found*/) {
    Bytes bits;
    if (!readOnly(value, tag::bitString, bits) || bits.size() < 2 || bits.size() > 3 || bits.front() > 7)
        return false;
    const unsigned unused = bits.front();
    const unsigned last = bits.back();
    if ((last >> unused & 1U) == 0 || (last & ((1U << unused) - 1)) != 0)
        return false;
    return (bits[1] & (digitalSignature | nonRepudiation)) != 0;
}

// No arc begins with padding, and the last one ends.
bool isObjectIdentifier(Bytes content) {
    bool arcBegins = true;
    for (const std::uint8_t byte : content) {
        if (arcBegins && byte == 0x80)
            return false;
        arcBegins = byte < 0x80;
    }
    return !content.empty() && arcBegins;
}

bool readExtendedKeyUsage(Bytes value, Bytes& /*found*/) {
    Bytes purposes;
    if (!readOnly(value, tag::sequence, purposes))
        return false;
    bool signsMessages = false;
    DerReader reader(purposes);
    while (!reader.atEnd()) {
        Bytes purpose;
        if (!reader.read(tag::objectIdentifier, purpose) || !isObjectIdentifier(purpose))
            return false;
        if (sameBytes(purpose, oidEmailProtection) || sameBytes(purpose, oidAnyExtendedKeyUsage))
            signsMessages = true;
    }
    return signsMessages;
}

bool readSubjectKeyIdentifier(Bytes value, Bytes& /*found*/) {
    Bytes identifier;
    return readOnly(value, tag::octetString, identifier) && !identifier.empty();
}

bool readAuthorityKeyIdentifier(Bytes value, Bytes& found) {
    Bytes fields;
    return readOnly(value, tag::sequence, fields) && readOnly(fields, tag::primitive(0), found) && !found.empty();
}

struct KnownExtension {
    std::array<std::uint8_t, 3> oid;
    bool mayBeCritical;
    bool (*read)(Bytes value, Bytes& authorityKeyIdentifier);
};

constexpr std::array knownExtensions{
    KnownExtension{{0x55, 0x1d, 0x13}, true, readBasicConstraints},
    KnownExtension{{0x55, 0x1d, 0x0f}, true, readKeyUsage},
    KnownExtension{{0x55, 0x1d, 0x25}, true, readExtendedKeyUsage},
    KnownExtension{{0x55, 0x1d, 0x0e}, false, readSubjectKeyIdentifier},
    KnownExtension{{0x55, 0x1d, 0x23}, false, readAuthorityKeyIdentifier},
};

struct Extension {
    Bytes type;
    bool critical = false;
    Bytes value;
};

bool readExtension(DerReader& reader, Extension& extension) {
    constexpr std::array<std::uint8_t, 1> yes{0xff};
    Bytes fields;
    if (!reader.read(tag::sequence, fields))
        return false;
    DerReader parts(fields);
    if (!parts.read(tag::objectIdentifier, extension.type))
        return false;
    if (parts.nextIs(tag::boolean)) {
        Bytes value;
        extension.critical = true;
        if (!parts.read(tag::boolean, value) || !sameBytes(value, yes))  // the default is not written
            return false;
    }
    return parts.read(tag::octetString, extension.value) && parts.atEnd();
}

}  // namespace

bool readLeafExtensions(Bytes field, Bytes& authorityKeyIdentifier) {
    Bytes extensions;
    if (!readOnly(field, tag::sequence, extensions) || extensions.empty())
        return false;
    std::array<bool, knownExtensions.size()> seen{};
    DerReader reader(extensions);
    while (!reader.atEnd()) {
        Extension extension;
        if (!readExtension(reader, extension))
            return false;
        std::size_t at = 0;
        while (at < knownExtensions.size() && !sameBytes(extension.type, knownExtensions[at].oid))
            ++at;
        if (at == knownExtensions.size() || seen[at] || (extension.critical && !knownExtensions[at].mayBeCritical) ||
            !knownExtensions[at].read(extension.value, authorityKeyIdentifier))
            return false;
        seen[at] = true;
    }
    return true;
}

}  // namespace quorvanti::provider
