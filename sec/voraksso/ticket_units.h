// The units of a ticket where they are: references into its decoded bytes, as the ticket handles keep them.
#pragma once

#include <quorvanti/voraksso.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace quorvanti {

inline constexpr std::size_t kUnitsOffset = 5;  // behind version and code page

// Walks over the units of a ticket's decoded bytes.
class UnitReader {
public:
    explicit UnitReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    // False at the end of the bytes, for a unit that is cut and at the signature; `atSignature` tells.
    bool next(TicketUnit& unit);
    bool atSignature() const { return atSignature_; }

private:
    bool readBlock(std::span<const std::uint8_t>& contents);

    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = kUnitsOffset;
    bool atSignature_ = false;
};

// What the signature is over: everything before its unit. 0 with a line when nothing is left.
std::size_t signedLengthOf(std::size_t decodedLength, std::size_t signatureLength);

}  // namespace quorvanti
