// What counts as strict DER.
#include "providers/openssl/der_reader.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace quorvanti::provider {
namespace {

using Octets = std::vector<std::uint8_t>;

// The length of the content of the one element that `input` is, -1 when it is none. In memory of just its size, so that
// the sanitizers find a byte too many that is read.
int contentLength(const Octets& input) {
    const auto memory = std::make_unique<std::uint8_t[]>(input.size());
    std::copy(input.begin(), input.end(), memory.get());
    const Bytes bytes(memory.get(), input.size());
    DerReader whole(bytes);
    DerElement element;
    Bytes content;
    const bool read = whole.read(element);
    EXPECT_EQ(whole.atEnd(), read ? element.whole.size() == bytes.size() : bytes.empty());
    if (!input.empty()) {
        DerReader expecting(bytes);
        EXPECT_EQ(expecting.read(input[0], content), read) << "both ways to read agree";
        EXPECT_EQ(expecting.skip(static_cast<std::uint8_t>(input[0] ^ 0x20)), false);
    }
    if (!read)
        return -1;
    EXPECT_EQ(element.tag, input[0]);
    EXPECT_EQ(element.whole.data(), memory.get());
    EXPECT_EQ(element.content.data() + element.content.size(), element.whole.data() + element.whole.size());
    EXPECT_EQ(content.data(), element.content.data());
    EXPECT_EQ(content.size(), element.content.size());
    return static_cast<int>(element.content.size());
}

Octets withContent(Octets head, std::size_t length) {
    head.resize(head.size() + length, 0x55);
    return head;
}

TEST(DerReader, ReadsEveryLengthInItsShortestForm) {
    EXPECT_EQ(contentLength({0x04, 0x00}), 0);
    EXPECT_EQ(contentLength(withContent({0x04, 0x7f}, 127)), 127);
    EXPECT_EQ(contentLength(withContent({0x04, 0x81, 0x80}, 128)), 128);
    EXPECT_EQ(contentLength(withContent({0x30, 0x82, 0x01, 0x00}, 256)), 256);
    EXPECT_EQ(contentLength(withContent({0x30, 0x83, 0x01, 0x00, 0x00}, 65536)), 65536);
    EXPECT_EQ(contentLength(withContent({0xa0, 0x84, 0x01, 0x00, 0x00, 0x00}, 16777216)), 16777216);
}

TEST(DerReader, RefusesLongerFormsThanNeeded) {
    EXPECT_EQ(contentLength(withContent({0x04, 0x81, 0x7f}, 127)), -1);
    EXPECT_EQ(contentLength(withContent({0x04, 0x82, 0x00, 0x80}, 128)), -1);
    EXPECT_EQ(contentLength(withContent({0x04, 0x84, 0x00, 0x00, 0x01, 0x00}, 256)), -1);
    EXPECT_EQ(contentLength(withContent({0x04, 0x85, 0x00, 0x00, 0x00, 0x01, 0x00}, 256)), -1);
    EXPECT_EQ(contentLength(withContent({0x04, 0x85, 0x01, 0x00, 0x00, 0x00, 0x00}, 256)), -1);
}

TEST(DerReader, RefusesIndefiniteLengthsAndLongTags) {
    EXPECT_EQ(contentLength({0x30, 0x80, 0x00, 0x00}), -1);
    EXPECT_EQ(contentLength({0x30, 0xff, 0x00, 0x00}), -1);
    EXPECT_EQ(contentLength({0x1f, 0x01, 0x00}), -1);
    EXPECT_EQ(contentLength({0xbf, 0x01, 0x00}), -1);
}

TEST(DerReader, RefusesWhatEndsTooEarly) {
    EXPECT_EQ(contentLength({}), -1);
    EXPECT_EQ(contentLength({0x04}), -1);
    EXPECT_EQ(contentLength({0x04, 0x01}), -1);
    EXPECT_EQ(contentLength({0x04, 0x81}), -1);
    EXPECT_EQ(contentLength({0x04, 0x82, 0x01}), -1);
    EXPECT_EQ(contentLength(withContent({0x04, 0x81, 0x80}, 127)), -1);
    EXPECT_EQ(contentLength({0x04, 0x84, 0xff, 0xff, 0xff, 0xff}), -1);
}

TEST(DerReader, LeavesWhatFollowsForTheNextRead) {
    const Octets input{0x02, 0x01, 0x05, 0x04, 0x02, 0x01, 0x02};
    DerReader reader(input);
    Bytes content;
    EXPECT_FALSE(reader.read(tag::octetString, content));
    EXPECT_TRUE(reader.read(tag::integer, content));
    EXPECT_EQ(content.size(), 1U);
    EXPECT_TRUE(reader.nextIs(tag::octetString));
    EXPECT_TRUE(reader.skip(tag::octetString));
    EXPECT_TRUE(reader.atEnd());
    EXPECT_FALSE(readOnly(input, tag::integer, content)) << "something follows";
}

}  // namespace
}  // namespace quorvanti::provider
