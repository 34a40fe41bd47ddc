// Conversion character by character, through the tables of the cache and the Unicode forms.
#pragma once

#include "krn/rscp/converter_cache.h"

#include <cstdint>

namespace quorvanti {

inline constexpr const char* kConversionUnit = "krn/rscp/rscpc.c";

// One side of a conversion; a single-byte code page has a table.
struct ConversionSide {
    NlsKind kind;
    const SingleByteTable* table;
};

// The positions are moved past what was consumed and produced, also on error.
std::int32_t convertByTables(rscpCObj_t& object, const ConversionSide& input, const ConversionSide& output,
                             std::uint8_t*& destination, std::uint8_t* destinationEnd, const std::uint8_t*& source,
                             const std::uint8_t* sourceEnd);

// Fills the rest of the destination with whole characters.
void fillDestination(const ConversionSide& output, std::uint32_t character, std::uint8_t*& destination,
                     std::uint8_t* destinationEnd);
// Whether nothing but spaces is left.
bool onlySpacesLeft(const ConversionSide& input, const std::uint8_t* source, const std::uint8_t* sourceEnd);

}  // namespace quorvanti
