// What is written comes back from the strict reader, whatever its length.
#include "providers/openssl/der_writer.h"

#include <gtest/gtest.h>

#include "providers/openssl/der_reader.h"

namespace quorvanti::provider {
namespace {

using Octets = std::vector<std::uint8_t>;

TEST(DerWriter, WritesFromTheEndToTheBeginning) {
    DerWriter writer(0);
    EXPECT_TRUE(writer.empty());
    const Octets last{7, 8};
    writer.putElement(tag::octetString, last);
    const std::size_t behind = writer.size();
    writer.put(5);
    writer.wrap(tag::integer, behind);
    writer.wrap(tag::sequence, 0);
    const Octets expected{0x30, 0x07, 0x02, 0x01, 0x05, 0x04, 0x02, 0x07, 0x08};
    EXPECT_EQ(Octets(writer.written().begin(), writer.written().end()), expected);
    EXPECT_EQ(writer.size(), expected.size());
}

TEST(DerWriter, WritesLengthsInTheirShortestForm) {
    for (const std::size_t length : {0U, 1U, 127U, 128U, 255U, 256U, 65535U, 65536U, 100000U}) {
        for (const std::size_t room : {std::size_t{0}, length, 2 * length + 64}) {
            DerWriter writer(room);
            const Octets content(length, 0xa5);
            writer.putElement(tag::octetString, content);
            Bytes read;
            ASSERT_TRUE(readOnly(writer.written(), tag::octetString, read)) << length;
            EXPECT_TRUE(sameBytes(read, content)) << length;
        }
    }
}

}  // namespace
}  // namespace quorvanti::provider
