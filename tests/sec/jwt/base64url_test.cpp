#include "sec/jwt/base64url.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

namespace quorvanti {
namespace {

std::optional<std::string> decode(std::string_view text) {
    const std::size_t room = base64UrlRoom(text.size());
    const auto bytes = std::make_unique<std::uint8_t[]>(room);  // its own block: writing behind it would be seen
    const auto length = decodeBase64Url(text, {bytes.get(), room});
    if (!length) {
        return std::nullopt;
    }
    return std::string(bytes.get(), bytes.get() + *length);
}

// An encoder in the obvious way: six bits at a time.
std::string encode(std::string_view bytes) {
    const std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::string text;
    const auto bit = [&](std::size_t at) { return at / 8 < bytes.size() && (bytes[at / 8] >> (7 - at % 8) & 1) != 0; };
    for (std::size_t at = 0; at < bytes.size() * 8; at += 6) {
        std::size_t value = 0;
        for (std::size_t next = at; next < at + 6; ++next) {
            value = value * 2 + (bit(next) ? 1 : 0);
        }
        text += alphabet[value];
    }
    return text;
}

TEST(Base64Url, DecodesThePublishedExamples) {
    // RFC 4648, section 10, without its padding.
    EXPECT_EQ(decode(""), "");
    EXPECT_EQ(decode("Zg"), "f");
    EXPECT_EQ(decode("Zm8"), "fo");
    EXPECT_EQ(decode("Zm9v"), "foo");
    EXPECT_EQ(decode("Zm9vYg"), "foob");
    EXPECT_EQ(decode("Zm9vYmE"), "fooba");
    EXPECT_EQ(decode("Zm9vYmFy"), "foobar");
    // RFC 7515, appendix C.
    EXPECT_EQ(decode("A-z_4ME"), "\x03\xec\xff\xe0\xc1");
}

TEST(Base64Url, DecodesWhatAnEncoderMakes) {
    std::mt19937 random(4648);
    for (std::size_t length = 0; length < 200; ++length) {
        std::string bytes(length, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random());
        }
        EXPECT_EQ(decode(encode(bytes)), bytes);
        EXPECT_EQ(base64UrlRoom(encode(bytes).size()), length);
    }
}

TEST(Base64Url, RefusesPaddingWhiteSpaceAndTheOtherAlphabet) {
    for (const char* text : {"Zg==", "Zm8=", "Zm9v\n", " Zm9v", "Zm 9v", "Zm9v ", "Zm9\tv", "+w", "/w", "ab+d", "ab/d",
                             "Zm9v.", "Zm9v=", "====", "Zg=", "Z\xc3\xa4"}) {
        EXPECT_EQ(decode(text), std::nullopt) << text;
    }
    EXPECT_EQ(decode(std::string_view("Zm9v\0AAA", 8)), std::nullopt);
}

TEST(Base64Url, RefusesASingleLastCharacter) {
    EXPECT_EQ(decode("Z"), std::nullopt);
    EXPECT_EQ(decode("Zm9vZ"), std::nullopt);
}

TEST(Base64Url, RefusesBitsLeftOver) {
    EXPECT_EQ(decode("Zh"), std::nullopt);
    EXPECT_EQ(decode("Zm9"), std::nullopt);
}

// Every text of up to three characters decodes exactly when an encoder makes it: one spelling for one value.
TEST(Base64Url, AgreesWithTheEncoderOnAllTextsOfUpToThreeBytes) {
    std::size_t accepted = 0;
    for (std::uint32_t number = 0; number < 1U << 24; ++number) {
        const std::string text{static_cast<char>(number), static_cast<char>(number >> 8),
                               static_cast<char>(number >> 16)};
        const std::string_view view = std::string_view(text).substr(0, number < 256 ? 1 : number < 65536 ? 2 : 3);
        std::uint8_t bytes[2];
        if (const auto length = decodeBase64Url(view, bytes)) {
            ++accepted;
            ASSERT_EQ(encode({reinterpret_cast<const char*>(bytes), *length}), view);
        }
    }
    EXPECT_EQ(accepted, 256U + 65536U);  // of one byte, and of two
}

TEST(Base64Url, ChecksEveryPlaceOfAGroup) {
    for (int byte = 0; byte < 256; ++byte) {
        const bool inAlphabet = std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_")
                                    .find(static_cast<char>(byte)) != std::string_view::npos;
        for (std::size_t place = 0; place < 8; ++place) {
            std::string text = "AAAAAAAA";
            text[place] = static_cast<char>(byte);
            EXPECT_EQ(decode(text).has_value(), inAlphabet) << byte << " at " << place;
        }
    }
}

TEST(Base64Url, NeverWritesBeyondItsRoom) {
    std::uint8_t bytes[2];
    EXPECT_EQ(decodeBase64Url("Zm9v", bytes), std::nullopt);
}

}  // namespace
}  // namespace quorvanti
