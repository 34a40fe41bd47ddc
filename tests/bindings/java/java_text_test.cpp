#include "bindings/java/native/java_text.h"

#include "tests/bindings/java/fake_jni.h"

#include <gtest/gtest.h>

using namespace quorvanti;

namespace {

std::u16string charactersOf(std::string_view utf8) {
    const JavaCharacters characters = javaCharacters(utf8);
    return {characters.begin(), characters.end()};
}

TEST(JavaText, DecodesCharactersOfEveryLength) {
    EXPECT_EQ(charactersOf("A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), u"Aé€😀");
    EXPECT_EQ(charactersOf(""), u"");
    EXPECT_EQ(charactersOf("\xF4\x8F\xBF\xBF"), u"\xDBFF\xDFFF");
}

TEST(JavaText, TakesZeroAsOneByteAndAsTwo) {
    EXPECT_EQ(charactersOf(std::string_view("A\0B", 3)), std::u16string_view(u"A\0B", 3));
    EXPECT_EQ(charactersOf("A\xC0\x80"
                           "B"),
              std::u16string_view(u"A\0B", 3));
}

TEST(JavaText, TakesASupplementaryCharacterAsTwoSurrogates) {
    EXPECT_EQ(charactersOf("\xED\xA0\xBD\xED\xB8\x80"), u"😀");
}

TEST(JavaText, ReplacesEveryByteThatBelongsToNoCharacter) {
    EXPECT_EQ(charactersOf("\x80"), u"\xFFFD");
    EXPECT_EQ(charactersOf("\xFF"), u"\xFFFD");
    EXPECT_EQ(charactersOf("A\xE2\x82"), u"A\xFFFD\xFFFD");
    EXPECT_EQ(charactersOf("\xC3"
                           "A"),
              u"\xFFFD"
              u"A");
    EXPECT_EQ(charactersOf("\xC1\x81"), u"\xFFFD\xFFFD");                      // longer than need be
    EXPECT_EQ(charactersOf("\xE0\x80\x80"), u"\xFFFD\xFFFD\xFFFD");            // the same, also for zero
    EXPECT_EQ(charactersOf("\xF4\x90\x80\x80"), u"\xFFFD\xFFFD\xFFFD\xFFFD");  // behind the last character
    EXPECT_EQ(charactersOf("\xF8\x88\x80\x80\x80"), u"\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD");
}

TEST(JavaText, WritesModifiedUtf8) {
    EXPECT_EQ(modifiedUtf8(std::string_view("A\0\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", 11)),
              "A\xC0\x80\xC3\xA9\xE2\x82\xAC\xED\xA0\xBD\xED\xB8\x80");
    EXPECT_EQ(modifiedUtf8("A\xE2\x82"), "A\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(JavaText, GivesEveryJavaCharacterBackThatTheVirtualMachineHandsOut) {
    for (char32_t value = 0; value <= 0xFFFF; ++value) {
        const std::u16string character(1, static_cast<char16_t>(value));
        const std::string modified = test::modifiedUtf8Of(character);
        ASSERT_EQ(charactersOf(modified), character) << std::hex << static_cast<unsigned>(value);
        ASSERT_EQ(modifiedUtf8(modified), modified);
    }
}

}  // namespace
