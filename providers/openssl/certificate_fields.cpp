#include "providers/openssl/certificate_fields.h"

#include <array>

namespace quorvanti::provider {
namespace {

constexpr std::array<std::uint8_t, 3> oidSubjectKeyIdentifier{0x55, 0x1d, 0x0e};

bool readExtensions(Bytes field, CertificateFields& fields) {
    Bytes extensions;
    if (!readOnly(field, tag::sequence, extensions))
        return false;
    DerReader reader(extensions);
    while (!reader.atEnd()) {
        Bytes extension;
        Bytes type;
        Bytes value;
        if (!reader.read(tag::sequence, extension))
            return false;
        DerReader parts(extension);
        if (!parts.read(tag::objectIdentifier, type) || (parts.nextIs(tag::boolean) && !parts.skip(tag::boolean)) ||
            !parts.read(tag::octetString, value) || !parts.atEnd())
            return false;
        if (sameBytes(type, oidSubjectKeyIdentifier) && !readOnly(value, tag::octetString, fields.subjectKeyIdentifier))
            return false;
    }
    return true;
}

bool skipOptional(DerReader& reader, std::uint8_t tag) {
    return !reader.nextIs(tag) || reader.skip(tag);
}

}  // namespace

bool readCertificateFields(Bytes der, CertificateFields& fields) {
    Bytes certificate;
    Bytes toBeSigned;
    if (!readOnly(der, tag::sequence, certificate))
        return false;
    DerReader whole(certificate);
    if (!whole.read(tag::sequence, toBeSigned) || !whole.skip(tag::sequence) || !whole.skip(tag::bitString) ||
        !whole.atEnd())
        return false;
    DerReader reader(toBeSigned);
    DerElement issuer;
    DerElement subject;
    // version, serial, signature, issuer, validity, subject, key, unique identifiers, extensions
    if (!skipOptional(reader, tag::constructed(0)) || !reader.read(tag::integer, fields.serial) ||
        !reader.skip(tag::sequence) || !reader.read(tag::sequence, issuer) || !reader.skip(tag::sequence) ||
        !reader.read(tag::sequence, subject) || !reader.skip(tag::sequence) ||
        !skipOptional(reader, tag::primitive(1)) || !skipOptional(reader, tag::primitive(2)))
        return false;
    fields.issuer = issuer.whole;
    fields.subject = subject.whole;
    if (reader.nextIs(tag::constructed(3))) {
        Bytes extensions;
        if (!reader.read(tag::constructed(3), extensions) || !readExtensions(extensions, fields))
            return false;
    }
    return reader.atEnd();
}

}  // namespace quorvanti::provider
