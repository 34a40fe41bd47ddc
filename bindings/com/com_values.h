// What the COM face decides without the platform: result codes, requests, certificates as text.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorvanti::com {

// The HRESULTs of this library; the platform's own stand in its headers.
inline constexpr std::uint32_t kEngineFailure = 0x80040000;  // with a code of the engine in its low half
inline constexpr std::uint32_t kEvaluationFailure = 0x80040001;
inline constexpr std::uint32_t kEncodingFailure = 0x80040011;
inline constexpr std::uint32_t kConversionFailure = 0x80040016;

constexpr std::uint32_t resultOfEngine(std::int32_t code) {
    return kEngineFailure | (static_cast<std::uint32_t>(code) & 0xFFFF);
}

// The attribute of a certificate that was asked for; null for a number or a name that is none.
const char* certificateRequest(std::int64_t number);
// A name, or the number in digits.
const char* certificateRequest(std::string_view text);

// Why an attribute could not be read, by the return code of the engine and by whether the certificate itself was read.
std::string certificateFailure(const char* request, std::int32_t code, bool certificateReadable);

// Nothing when the encoding fails, as it does for no bytes.
std::optional<std::string> certificateText(std::span<const std::uint8_t> certificate);
// Of base64 text as people paste it, with line breaks.
std::vector<std::uint8_t> certificateBytes(std::string_view text);

}  // namespace quorvanti::com
