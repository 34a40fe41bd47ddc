// The members as they are built for a machine without vector instructions.
#include <gtest/gtest.h>

#include "krn/rscp/utf_steps.h"
#include "tests/krn/rscp/utf_texts.h"

namespace quorvanti::utf_test {
namespace {

TEST(UtfPortable, HasNoBlocks) {
    const std::uint8_t text[16] = {};
    std::uint8_t room[64] = {};
    const BlockStep step = BlockDecoder<WideForm::ucs2, ByteOrder::native, ControlCodes::allowed>::decode(
        text, text, text + 16, room, room + 64);
    EXPECT_EQ(step.consumed, 0) << "this program has to be built without vectors";
}

TEST(UtfPortable, MixedTextsInEveryRoom) {
    compareMixedTexts();
}

TEST(UtfPortable, EveryKindOfCharacterAtEveryPlace) {
    compareEveryPlace();
}

TEST(UtfPortable, DamagedTexts) {
    compareDamagedTexts();
}

}  // namespace
}  // namespace quorvanti::utf_test
