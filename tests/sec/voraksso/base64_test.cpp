#include "sec/voraksso/base64.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace quorvanti {
namespace {

struct Decoded {
    std::int32_t code;
    std::string bytes;
};

Decoded decode(std::string_view text) {
    std::vector<std::uint8_t> output(text.size() + 1, 0x7E);
    std::uint32_t length = 0;
    const std::int32_t code = Decodeb64(text, output, &length);
    return {code, std::string(output.begin(), output.begin() + length)};
}

std::string encode(std::string_view bytes, std::size_t room = 64) {
    std::vector<std::uint8_t> buffer(bytes.begin(), bytes.end());
    buffer.resize(room);
    std::uint32_t length = 0;
    EXPECT_EQ(EncodeB64(buffer, static_cast<std::uint32_t>(bytes.size()), &length), 0);
    return {buffer.begin(), buffer.begin() + length};
}

// RFC 4648, section 10.
const std::pair<const char*, const char*> kVectors[] = {{"f", "Zg=="},         {"fo", "Zm8="},
                                                        {"foo", "Zm9v"},       {"foob", "Zm9vYg=="},
                                                        {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}};

TEST(Base64, DecodesAndEncodesThePublishedVectors) {
    for (const auto& [bytes, text] : kVectors) {
        EXPECT_EQ(decode(text).code, 0) << text;
        EXPECT_EQ(decode(text).bytes, bytes);
        EXPECT_EQ(encode(bytes), text);
    }
}

TEST(Base64, DecodesEveryCharacterOfTheAlphabet) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t i = 0; i < alphabet.size(); ++i) {
        const Decoded decoded = decode(std::string("AAA") + alphabet[i]);
        EXPECT_EQ(decoded.code, 0);
        EXPECT_EQ(static_cast<unsigned char>(decoded.bytes[2]), i);
    }
}

TEST(Base64, RefusesEveryCharacterOutsideTheAlphabetAtEveryPlace) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
    for (int c = 0; c < 256; ++c) {
        if (alphabet.find(static_cast<char>(c)) != std::string::npos) {
            continue;
        }
        for (std::size_t place = 0; place < 8; ++place) {
            std::string text = "AAAAAAAA";
            text[place] = static_cast<char>(c);
            EXPECT_EQ(decode(text).code, kBase64ForeignCharacter) << c << " at " << place;
        }
    }
}

TEST(Base64, ATextOfThreeCharactersIsTooShort) {
    EXPECT_EQ(DecodeB64len("AAA"), 0u);
    std::uint32_t length = 0;
    std::uint8_t output[4];
    EXPECT_EQ(Decodeb64("AAA", output, &length), kBase64TooShort);
}

TEST(Base64, NeedsAPlaceForTheLength) {
    std::uint8_t output[4];
    EXPECT_EQ(Decodeb64("AAAA", output, nullptr), kBase64NoLength);
}

TEST(Base64, TheLengthFollowsThePaddingRule) {
    EXPECT_EQ(DecodeB64len("AAAA"), 3u);
    EXPECT_EQ(DecodeB64len("AAA="), 2u);
    EXPECT_EQ(DecodeB64len("AA=="), 1u);
    EXPECT_EQ(DecodeB64len("AAAAA"), 4u);
    EXPECT_EQ(DecodeB64len("AAAAAA"), 5u);
    EXPECT_EQ(DecodeB64len("AAAAAAA"), 6u);
    EXPECT_EQ(DecodeB64len("AAAA=="), 3u);
    EXPECT_EQ(DecodeB64len("A=AA"), 3u);
}

TEST(Base64, BytesThatAnUnevenTextCountsButDoesNotFillAreZero) {
    EXPECT_EQ(decode("Zm9vY").bytes, std::string("foo\0", 4));
    EXPECT_EQ(decode("Zm9vYg").bytes, std::string("foob\0", 5));
    EXPECT_EQ(decode("Zm9vYmE").bytes, std::string("fooba\0", 6));
}

TEST(Base64, TheFirstPaddingEndsTheDecoding) {
    EXPECT_EQ(decode("Zg==Zm9v").code, 0);
    EXPECT_EQ(decode("Zg==Zm9v").bytes, std::string("f\0\0\0\0\0", 6));
    EXPECT_EQ(decode("Zg==\n\n\n\n").code, 0) << "what follows the padding is not looked at";
}

// One character at a time, as the rule reads.
Decoded decodeSlowly(std::string_view text) {
    const std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    Decoded decoded{0, {}};
    std::uint32_t bits = 0;
    int held = 0;
    for (const char c : text.substr(0, text.find('='))) {
        const std::size_t value = alphabet.find(c);
        if (value == std::string_view::npos) {
            decoded.code = kBase64ForeignCharacter;
            break;
        }
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        held += 6;
        if (held >= 8) {
            held -= 8;
            decoded.bytes += static_cast<char>(bits >> held);
        }
    }
    decoded.bytes.resize(DecodeB64len(text));
    return decoded;
}

// The room is just what is asked for, so that a byte too many is found by the sanitizers.
void expectDecodedAsSlowly(const std::string& text) {
    const Decoded expected = decodeSlowly(text);
    const auto room = std::make_unique<std::uint8_t[]>(expected.bytes.size());
    std::uint32_t length = 0;
    EXPECT_EQ(Decodeb64(text, {room.get(), expected.bytes.size()}, &length), expected.code) << text;
    EXPECT_EQ(std::string(room.get(), room.get() + length), expected.bytes) << text;
    std::string own = text;
    auto* bytes = reinterpret_cast<std::uint8_t*>(own.data());
    EXPECT_EQ(Decodeb64(std::string_view(own), {bytes, own.size()}, &length), expected.code) << text;
    EXPECT_EQ(own.substr(0, length), expected.bytes) << "in place: " << text;
}

TEST(Base64, DecodesBlocksAsItDecodesSingleCharacters) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t length = 4; length < 140; ++length) {
        std::string text;
        for (std::size_t i = 0; i < length; ++i) {
            text += alphabet[(i * 37 + length * 11) % alphabet.size()];
        }
        expectDecodedAsSlowly(text);
        text.back() = '=';
        expectDecodedAsSlowly(text);
        text[length - 2] = '=';
        expectDecodedAsSlowly(text);
    }
}

TEST(Base64, MeetsEveryCharacterAtEveryPlaceOfABlock) {
    for (int c = 0; c < 256; ++c) {
        for (std::size_t place = 0; place < 40; ++place) {
            std::string text(40, 'q');
            text[place] = static_cast<char>(c);
            expectDecodedAsSlowly(text);
        }
    }
}

TEST(Base64, DecodesInPlace) {
    std::string text = "Zm9vYmFy";
    std::uint32_t length = 0;
    auto* bytes = reinterpret_cast<std::uint8_t*>(text.data());
    EXPECT_EQ(Decodeb64(std::string_view(text), {bytes, text.size()}, &length), 0);
    EXPECT_EQ(text.substr(0, length), "foobar");
}

TEST(Base64, EncodingNeedsRoomForTheText) {
    std::uint8_t buffer[8] = {'f', 'o', 'o'};
    std::uint32_t length = 0;
    EXPECT_EQ(EncodeB64(std::span(buffer, 3), 3, &length), 1);
    EXPECT_EQ(EncodeB64(std::span(buffer, 8), 0, &length), 2);
    EXPECT_EQ(EncodeB64(std::span(buffer, 8), 9, &length), 2);
    EXPECT_EQ(EncodeB64(std::span(buffer, 8), 7, &length), kBase64NoRoom);
    EXPECT_EQ(EncodeB64(std::span(buffer, 4), 3, &length), 0);
    EXPECT_EQ(length, 4u);
}

TEST(Base64, EncodesInPlaceAtEveryLengthAndRoom) {
    for (std::size_t count = 1; count <= 48; ++count) {
        std::string bytes;
        for (std::size_t i = 0; i < count; ++i) {
            bytes += static_cast<char>(i * 37 + 11);
        }
        const std::size_t exact = (count + 2) / 3 * 4;
        for (std::size_t room = exact; room < exact + 5; ++room) {
            EXPECT_EQ(decode(encode(bytes, room)).bytes, bytes) << count << " in " << room;
        }
    }
}

}  // namespace
}  // namespace quorvanti
