// The members' blocks: wherever a character lies in them, and whatever stands there instead.
#include <gtest/gtest.h>

#include "tests/krn/rscp/utf_texts.h"

namespace quorvanti::utf_test {
namespace {

TEST(UtfBlocks, MixedTextsInEveryRoom) {
    compareMixedTexts();
}

TEST(UtfBlocks, EveryKindOfCharacterAtEveryPlace) {
    compareEveryPlace();
}

TEST(UtfBlocks, DamagedTexts) {
    compareDamagedTexts();
}

}  // namespace
}  // namespace quorvanti::utf_test
