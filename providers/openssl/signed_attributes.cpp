#include "providers/openssl/signed_attributes.h"

#include "providers/openssl/pkcs7_oids.h"

namespace quorvanti::provider {
namespace {

// One of the two attributes that must be there exactly once with one value.
struct Required {
    int found = 0;
    std::size_t values = 0;
    DerElement value;  // the first one
};

bool readAttribute(Bytes attribute, Bytes& type, Required& read) {
    DerReader reader(attribute);
    Bytes set;
    if (!reader.read(tag::objectIdentifier, type) || !reader.read(tag::set, set) || !reader.atEnd()) {
        return false;
    }
    DerReader values(set);
    Bytes previous;
    while (!values.atEnd()) {
        DerElement value;
        if (!values.read(value) || compareEncodings(previous, value.whole) > 0) {
            return false;
        }
        if (read.values++ == 0) {
            read.value = value;
        }
        previous = value.whole;
    }
    return read.values > 0;
}

void note(Required& required, const Required& read) {
    if (required.found++ == 0) {
        required.values = read.values;
        required.value = read.value;
    }
}

std::string_view contentTypeFault(const Required& contentType) {
    if (contentType.found == 0) {
        return "The signed attributes name no content type.";
    }
    if (contentType.found > 1 || contentType.values > 1) {
        return "The signed attributes name the content type more than once.";
    }
    if (contentType.value.tag != tag::objectIdentifier || !sameBytes(contentType.value.content, oidData)) {
        return "The signed attributes name another content type than data.";
    }
    return {};
}

std::string_view messageDigestFault(const Required& messageDigest) {
    if (messageDigest.found == 0) {
        return "The signed attributes have no message digest.";
    }
    if (messageDigest.found > 1 || messageDigest.values > 1) {
        return "The signed attributes have more than one message digest.";
    }
    if (messageDigest.value.tag != tag::octetString) {
        return "The message digest among the signed attributes is no octet string.";
    }
    return {};
}

}  // namespace

std::string_view readSignedAttributes(const DerElement& attributes, SignedData& result) {
    constexpr std::string_view unreadable = "The signed attributes of the signature are not in strict DER.";
    Required contentType;
    Required messageDigest;
    DerReader reader(attributes.content);
    Bytes previous;
    while (!reader.atEnd()) {
        DerElement attribute;
        Bytes type;
        Required read;
        if (!reader.read(tag::sequence, attribute) || !readAttribute(attribute.content, type, read)) {
            return unreadable;
        }
        if (compareEncodings(previous, attribute.whole) > 0) {
            return "The signed attributes of the signature are not in the order that DER asks for.";
        }
        previous = attribute.whole;
        if (sameBytes(type, oidContentType)) {
            note(contentType, read);
        } else if (sameBytes(type, oidMessageDigest)) {
            note(messageDigest, read);
        }
    }
    result.hasAttributes = true;
    result.attributes = attributes.whole;
    result.messageDigest = messageDigest.value.content;
    result.attributeFault = contentTypeFault(contentType);
    if (result.attributeFault.empty()) {
        result.attributeFault = messageDigestFault(messageDigest);
    }
    return {};
}

}  // namespace quorvanti::provider
