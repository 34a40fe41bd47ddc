#include "providers/openssl/der_writer.h"

#include <openssl/objects.h>

#include <algorithm>

namespace quorvanti::provider {
namespace {

void appendLength(DerBytes& out, std::size_t length) {
    if (length < 0x80) {
        out.push_back(static_cast<std::uint8_t>(length));
        return;
    }
    unsigned octets = 1;
    while (octets < sizeof length && length >> (octets * 8U) != 0)
        ++octets;
    out.push_back(static_cast<std::uint8_t>(0x80U | octets));
    while (octets > 0)
        out.push_back(static_cast<std::uint8_t>(length >> (--octets * 8U)));
}

}  // namespace

DerBytes derElement(std::uint8_t tag, std::initializer_list<std::span<const std::uint8_t>> parts) {
    std::size_t length = 0;
    for (const auto part : parts)
        length += part.size();
    DerBytes out;
    out.reserve(length + 10);
    out.push_back(tag);
    appendLength(out, length);
    for (const auto part : parts)
        out.insert(out.end(), part.begin(), part.end());
    return out;
}

DerBytes derSetOf(std::uint8_t tag, std::vector<DerBytes> elements) {
    std::ranges::sort(elements, [](const DerBytes& left, const DerBytes& right) {
        return std::ranges::lexicographical_compare(left, right);
    });
    DerBytes contents;
    for (const DerBytes& element : elements)
        contents.insert(contents.end(), element.begin(), element.end());
    return derElement(tag, {contents});
}

DerBytes derObjectIdentifier(int nid) {
    const ASN1_OBJECT* object = OBJ_nid2obj(nid);
    return derElement(der::objectIdentifier, {std::span(OBJ_get0_data(object), OBJ_length(object))});
}

}  // namespace quorvanti::provider
