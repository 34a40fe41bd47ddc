// The test cases of RFC 4231 (HMAC with SHA-2), section 4.2 to 4.8.
#include "tests/providers/openssl/provider_calls.h"

#include <array>
#include <numeric>
#include <span>

namespace quorvanti::test {
namespace {

struct Vector {
    int number;
    std::string key;
    std::string data;
    std::array<const char*, 4> values;  // SHA-224, SHA-256, SHA-384, SHA-512
};

std::string bytes(std::size_t count, int byte) {
    return std::string(count, static_cast<char>(byte));
}

std::string text(const char* characters) {
    return characters;
}

std::string oneToTwentyFive() {
    std::string all(25, '\0');
    std::iota(all.begin(), all.end(), '\1');
    return all;
}

// Case 5 gives the first 128 bits only.
std::vector<Vector> vectors() {
    return {
        {1,
         bytes(20, 0x0b),
         text("Hi There"),
         {"896fb1128abbdf196832107cd49df33f47b4b1169912ba4f53684b22",
          "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7",
          "afd03944d84895626b0825f4ab46907f15f9dadbe4101ec682aa034c7cebc59cfaea9ea9076ede7f4af152e8b2fa9cb6",
          "87aa7cdea5ef619d4ff0b4241a1d6cb02379f4e2ce4ec2787ad0b30545e17cdedaa833b7d6b8a702038b274eaea3f4e4be9d914eeb61"
          "f1702e696c203a126854"}},
        {2,
         text("Jefe"),
         text("what do ya want for nothing?"),
         {"a30e01098bc6dbbf45690f3a7e9e6d0f8bbea2a39e6148008fd05e44",
          "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843",
          "af45d2e376484031617f78d2b58a6b1b9c7ef464f5a01b47e42ec3736322445e8e2240ca5e69e2c78b3239ecfab21649",
          "164b7a7bfcf819e2e395fbe73b56e0a387bd64222e831fd610270cd7ea2505549758bf75c05a994a6d034f65f8f0e6fdcaeab1a34d4a"
          "6b4b636e070a38bce737"}},
        {3,
         bytes(20, 0xaa),
         bytes(50, 0xdd),
         {"7fb3cb3588c6c1f6ffa9694d7d6ad2649365b0c1f65d69d1ec8333ea",
          "773ea91e36800e46854db8ebd09181a72959098b3ef8c122d9635514ced565fe",
          "88062608d3e6ad8a0aa2ace014c8a86f0aa635d947ac9febe83ef4e55966144b2a5ab39dc13814b94e3ab6e101a34f27",
          "fa73b0089d56a284efb0f0756c890be9b1b5dbdd8ee81a3655f83e33b2279d39bf3e848279a722c806b485a47e67c807b946a337bee8"
          "942674278859e13292fb"}},
        {4,
         oneToTwentyFive(),
         bytes(50, 0xcd),
         {"6c11506874013cac6a2abc1bb382627cec6a90d86efc012de7afec5a",
          "82558a389a443c0ea4cc819899f2083a85f0faa3e578f8077a2e3ff46729665b",
          "3e8a69b7783c25851933ab6290af6ca77a9981480850009cc5577c6e1f573b4e6801dd23c4a7d679ccf8a386c674cffb",
          "b0ba465637458c6990e5a8c5f61d4af7e576d97ff94b872de76f8050361ee3dba91ca5c11aa25eb4d679275cc5788063a5f19741120c"
          "4f2de2adebeb10a298dd"}},
        {5,
         bytes(20, 0x0c),
         text("Test With Truncation"),
         {"0e2aea68a90c8d37c988bcdb9fca6fa8", "a3b6167473100ee06e0c796c2955552b", "3abf34c3503b2a23a46efc619baef897",
          "415fad6271580a531d4179bc891d87a6"}},
        {6,
         bytes(131, 0xaa),
         text("Test Using Larger Than Block-Size Key - Hash Key First"),
         {"95e9a0db962095adaebe9b2d6f0dbce2d499f112f2d2b7273fa6870e",
          "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54",
          "4ece084485813e9088d2c63a041bc5b44f9ef1012a2b588f3cd11f05033ac4c60c2ef6ab4030fe8296248df163f44952",
          "80b24263c7c1a3ebb71493c1dd7be8b49b46d1f41b4aeec1121b013783f8f3526b56d037e05f2598bd0fd2215d6a1e5295e64f73f63f"
          "0aec8b915a985d786598"}},
        {7,
         bytes(131, 0xaa),
         text("This is a test using a larger than block-size key and a larger than block-size data. The key needs to "
              "be hashed before being used by the HMAC algorithm."),
         {"3a854166ac5d9f023f54d517d0b39dbd946770db9c2b95c9f6f565d1",
          "9b09ffa71b942fcb27635fbcd5b0e944bfdc63644f0713938a7f51535c3a35e2",
          "6617178e941f020d351e2f254e8fd32c602420feb0b8fb9adccebb82461e99c5a678cc31e799176d3860e6110c46523e",
          "e37b6a775dc87dbaa4dfa9f96e5e3ffddebd71f8867289865df5a32d20cdc944b6022cac3c4982b10d5eeb55c3e4de15134676fb6de0"
          "446065c97440fa8c6a58"}},
    };
}

std::string hex(std::span<const std::uint8_t> from) {
    std::string result;
    for (const std::uint8_t byte : from) {
        result += "0123456789abcdef"[byte >> 4U];
        result += "0123456789abcdef"[byte & 15U];
    }
    return result;
}

const std::uint8_t* dataOf(const std::string& from) {
    return reinterpret_cast<const std::uint8_t*>(from.data());
}

std::int32_t idOf(std::string_view name) {
    std::int32_t id = 0;
    EXPECT_EQ(crypt_hashAlgorithm_Name2Id(name.data(), size32(name.size()), &id), SSF_API_OK);
    return id;
}

std::string valueOf(void* mac) {
    std::array<std::uint8_t, 64> value{};
    std::int32_t length = size32(value.size());
    EXPECT_EQ(crypt_keyedmac_getValue(mac, value.data(), &length), SSF_API_OK);
    return hex(std::span(value).first(static_cast<std::size_t>(length)));
}

// In one piece, in two, again after a reset, and by a second one at the same time.
TEST(KeyedMacVectors, AreThoseOfTheRfc) {
    const std::array<const char*, 4> hashes{"SHA224", "SHA256", "SHA384", "SHA512"};
    for (const Vector& vector : vectors()) {
        for (std::size_t at = 0; at < hashes.size(); ++at) {
            SCOPED_TRACE(std::string(hashes[at]) + " " + std::to_string(vector.number));
            const std::string expected = vector.values[at];
            const std::uint8_t* const data = dataOf(vector.data);
            const std::int32_t length = size32(vector.data.size());
            const std::int32_t id = idOf(hashes[at]);
            void* mac = nullptr;
            void* second = nullptr;
            ASSERT_EQ(crypt_keyedmac_create(id, dataOf(vector.key), size32(vector.key.size()), &mac), SSF_API_OK);
            EXPECT_EQ(crypt_keyedmac_more(mac, data, length), SSF_API_OK);
            ASSERT_EQ(crypt_keyedmac_create(id, dataOf(vector.key), size32(vector.key.size()), &second), SSF_API_OK);
            EXPECT_EQ(crypt_keyedmac_more(second, data, 3), SSF_API_OK);
            EXPECT_EQ(valueOf(mac).substr(0, expected.size()), expected);
            EXPECT_EQ(valueOf(mac).substr(0, expected.size()), expected) << "reading it twice";
            EXPECT_EQ(crypt_keyedmac_more(second, data + 3, length - 3), SSF_API_OK);
            EXPECT_EQ(valueOf(second).substr(0, expected.size()), expected);
            EXPECT_EQ(crypt_keyedmac_reset(mac), SSF_API_OK);
            EXPECT_NE(valueOf(mac).substr(0, expected.size()), expected);
            EXPECT_EQ(crypt_keyedmac_more(mac, data, length), SSF_API_OK);
            EXPECT_EQ(valueOf(mac).substr(0, expected.size()), expected);
            crypt_keyedmac_release(&mac);
            crypt_keyedmac_release(&second);
        }
    }
}

}  // namespace
}  // namespace quorvanti::test
