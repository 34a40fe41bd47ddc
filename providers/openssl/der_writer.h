// Writes DER from the inside out: contents first, then the tag and length around them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <vector>

namespace quorvanti::provider {

using DerBytes = std::vector<std::uint8_t>;

namespace der {

inline constexpr std::uint8_t integer = 0x02;
inline constexpr std::uint8_t bitString = 0x03;
inline constexpr std::uint8_t octetString = 0x04;
inline constexpr std::uint8_t objectIdentifier = 0x06;
inline constexpr std::uint8_t utcTime = 0x17;
inline constexpr std::uint8_t generalizedTime = 0x18;
inline constexpr std::uint8_t sequence = 0x30;
inline constexpr std::uint8_t set = 0x31;
inline constexpr std::uint8_t context0 = 0xA0;

}  // namespace der

// One element whose contents are the parts, one behind the other.
DerBytes derElement(std::uint8_t tag, std::initializer_list<std::span<const std::uint8_t>> parts);

// A SET OF: the elements in the order that DER wants.
DerBytes derSetOf(std::uint8_t tag, std::vector<DerBytes> elements);

// An OBJECT IDENTIFIER by OpenSSL's number for it.
DerBytes derObjectIdentifier(int nid);

}  // namespace quorvanti::provider
