#include "sec/kavsecu/base64_blocks.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

namespace quorvanti {
namespace {

constexpr Base64Alphabet kAlphabets[] = {Base64Alphabet::standard, Base64Alphabet::url};

std::string charactersOf(Base64Alphabet alphabet) {
    return std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789") +
           (alphabet == Base64Alphabet::url ? "-_" : "+/");
}

// What the whole blocks in front of the first foreign character come to, six bits at a time.
std::string decodeSlowly(Base64Alphabet alphabet, std::string_view text, std::size_t room) {
    const std::string characters = charactersOf(alphabet);
    const std::size_t good = std::min(text.find_first_not_of(characters), text.size());
    const std::size_t blocks = std::min(good / kBase64BlockText, room / kBase64BlockBytes);
    std::string bytes;
    std::uint32_t bits = 0;
    int held = 0;
    for (const char c : text.substr(0, blocks * kBase64BlockText)) {
        bits = bits << 6 | static_cast<std::uint32_t>(characters.find(c));
        held += 6;
        if (held >= 8) {
            held -= 8;
            bytes += static_cast<char>(bits >> held);
        }
    }
    return bytes;
}

// The room is its own block, so that a byte too many is found by the sanitizers; the bytes behind the result stay.
void expectDecodedAsSlowly(Base64Alphabet alphabet, const std::string& text, std::size_t room) {
    const std::string expected = decodeSlowly(alphabet, text, room);
    const auto copy = std::make_unique<char[]>(text.size());
    text.copy(copy.get(), text.size());
    for (const Base64BlockDecoder& decoder : base64BlockDecoders()) {
        if (!decoder.usable) {
            continue;
        }
        const auto bytes = std::make_unique<std::uint8_t[]>(room);
        std::fill(bytes.get(), bytes.get() + room, std::uint8_t{0x7E});
        const std::size_t blocks = decoder.decode(alphabet, {copy.get(), text.size()}, {bytes.get(), room});
        ASSERT_EQ(blocks * kBase64BlockBytes, expected.size()) << decoder.name << ": " << text;
        const std::string all(bytes.get(), bytes.get() + room);
        ASSERT_EQ(all.substr(0, expected.size()), expected) << decoder.name << ": " << text;
        ASSERT_EQ(all.substr(expected.size()), std::string(room - expected.size(), '\x7E')) << decoder.name;
    }
}

TEST(Base64Blocks, OneWayAtLeastIsForEveryProcessor) {
    EXPECT_TRUE(base64BlockDecoders().back().usable);
}

TEST(Base64Blocks, EveryWayDecodesTheSame) {
    std::mt19937 random(4648);
    for (const Base64Alphabet alphabet : kAlphabets) {
        const std::string characters = charactersOf(alphabet);
        for (std::size_t length = 0; length < 150; ++length) {
            std::string text(length, 'A');
            for (char& c : text) {
                c = characters[random() % characters.size()];
            }
            expectDecodedAsSlowly(alphabet, text, length);
            expectDecodedAsSlowly(alphabet, text, length / 4 * 3);
            expectDecodedAsSlowly(alphabet, text, length / 2);
        }
    }
}

TEST(Base64Blocks, EveryWayStopsAtTheSameCharacters) {
    for (const Base64Alphabet alphabet : kAlphabets) {
        for (int c = 0; c < 256; ++c) {
            for (std::size_t place = 0; place < 40; ++place) {
                std::string text(40, 'q');
                text[place] = static_cast<char>(c);
                expectDecodedAsSlowly(alphabet, text, 30);
            }
        }
    }
}

TEST(Base64Blocks, DecodesInPlace) {
    for (const Base64BlockDecoder& decoder : base64BlockDecoders()) {
        if (!decoder.usable) {
            continue;
        }
        std::string text = "QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVphYmNkZWZnaGlqa2xtbm9wcXJzdHV2";
        auto* const bytes = reinterpret_cast<std::uint8_t*>(text.data());
        EXPECT_EQ(decoder.decode(Base64Alphabet::standard, std::string_view(text), {bytes, text.size()}), 4U);
        EXPECT_EQ(text.substr(0, 48), "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuv") << decoder.name;
    }
}

}  // namespace
}  // namespace quorvanti
