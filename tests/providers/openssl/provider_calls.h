// Calls of the crypto library that give their results as values and everything handed out back.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "quorvanti/ssf.h"
#include "tests/support/command.h"

namespace quorvanti::test {

using Bytes = std::vector<std::uint8_t>;

inline std::int32_t size32(std::size_t size) {
    return static_cast<std::int32_t>(size);
}

inline Bytes toBytes(std::string_view text) {
    return {text.begin(), text.end()};
}

inline Bytes takeBytes(std::uint8_t*& data, std::int32_t& length) {
    Bytes bytes(data, data + length);
    SsfDELSsfOctetstring(&data, &length);
    return bytes;
}

inline std::string takeText(char*& data, std::int32_t& length) {
    EXPECT_EQ(data == nullptr ? 'x' : data[length], '\0');
    std::string text(data == nullptr ? "" : data, static_cast<std::size_t>(length));
    SsfDELSsfOctetstring(&data, &length);
    return text;
}

struct FreeCertificate {
    void operator()(SsfCertificate* certificate) const { SsfFreeCertificate(&certificate); }
};
using Certificate = std::unique_ptr<SsfCertificate, FreeCertificate>;

// Any form: DER, PEM, base64.
inline Certificate decodeCertificate(const Bytes& content) {
    SsfCertificate* certificate = nullptr;
    kavsecu_decode_cert(content.data(), size32(content.size()), &certificate);
    return Certificate(certificate);
}

inline Bytes derOf(SsfCertificate* certificate) {
    std::uint8_t* data = nullptr;
    std::int32_t length = 0;
    EXPECT_EQ(SsfCerttoASN1(certificate, &data, &length), SSF_API_OK);
    return takeBytes(data, length);
}

inline std::string attribute(SsfCertificate* certificate, std::string_view name) {
    char* data = nullptr;
    std::int32_t length = 0;
    EXPECT_EQ(SsfParseCertificate(certificate, name.data(), size32(name.size()), &data, &length), SSF_API_OK) << name;
    return takeText(data, length);
}

// The library's sentence on the calling thread's last error; empty when it has nothing to say about the code.
inline std::string lastSentence(std::int32_t code) {
    std::int32_t hasInfo = 0;
    char* text = nullptr;
    std::int32_t length = 0;
    EXPECT_EQ(SsfSecTKLastErrorInfo(code, &hasInfo, nullptr, nullptr, &text, &length), SSF_API_OK);
    return hasInfo != 0 ? takeText(text, length) : std::string();
}

// What the openssl command prints, on either stream.
inline std::string opensslSays(std::vector<std::string> words) {
    words.insert(words.begin(), "openssl");
    const CommandResult result = runCommand(words);
    return result.out + result.err;
}

}  // namespace quorvanti::test
