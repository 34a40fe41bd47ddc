// What the crypto library is told about one signature: the parameters of signing and verifying.
#pragma once

#include "sec/kavsecu/function_table.h"
#include "sec/voraksso/text.h"

#include <cstdint>
#include <cstring>
#include <string_view>

namespace quorvanti {

// A text of fixed width, filled up with zero bytes; trailing blanks do not count.
template <std::size_t Width>
struct FixedText {
    FixedText() { characters[0] = '\0'; }

    char characters[Width];

    // A text that is too long is cut.
    void assign(std::string_view text) {
        const std::size_t length = text.size() < Width ? text.size() : Width;
        std::memset(characters, 0, Width);
        std::memcpy(characters, text.data(), length);
    }
    std::string_view view() const { return withoutTrailingBlanks({characters, strnlen(characters, Width)}); }
};

struct InContext {
    SsfFunctionTable* cryptoTable = nullptr;
    FixedText<20> Format;
    FixedText<20> hashAlgorithm;
    FixedText<132> signingProfile;
    FixedText<255> signerId;
    FixedText<132> pzcsProName;  // key store to verify against
    FixedText<10> libraryMarker;
    const char* password = nullptr;  // of the key store; never traced
    std::uint8_t includeCertificate = 0;
};

inline constexpr std::string_view kTicketFormat = "PKCS7";

}  // namespace quorvanti
