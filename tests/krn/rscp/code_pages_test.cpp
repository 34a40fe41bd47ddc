#include "krn/rscp/code_pages.h"

#include "krn/rscp/code_page_sources.h"
#include "krn/rscp/flat_code_page.h"
#include "tests/krn/rscp/converter_fixture.h"

#include <filesystem>
#include <system_error>

namespace quorvanti::test {
namespace {

constexpr const char* kUnreadable = "Cannot read flat file with database table";

class FlatFileTest : public ConverterTest {
protected:
    FlatFileTest() { setProfile("rscp/file/codepage", directory_.file("S++++.CPA")); }
    void write(const std::string& codePage, const std::string& text) {
        writeFile(directory_.file("S" + codePage + ".CPA"), text);
    }
    static std::int32_t activate(const char* source, const char* target) {
        EXPECT_EQ(rscpCInit(), 0);
        rscpCObj_t object = makeObject(source, target);
        return rscpCActivate(&object, true, true);
    }

    TemporaryDirectory directory_;
};

TEST(CodePages, NumbersAreFourDigits) {
    EXPECT_EQ(codePageNumber("0000"), 0);
    EXPECT_EQ(codePageNumber("9999"), 9999);
    EXPECT_EQ(codePageNumber("0042"), 42);
    for (const char* other : {"    ", "11 0", "-100", "+100", "11\n0", "1\xB2\xB3\xB9"}) {
        EXPECT_FALSE(codePageNumber(other)) << other;
    }
}

TEST(CodePages, DescriptionsAreInOrderAndNameTheirBase) {
    const char* before = "    ";
    for (const CodePageDescription& description : codePageDescriptions()) {
        EXPECT_LT(std::string(before), description.number);
        EXPECT_TRUE(codePageNumber(description.number));
        EXPECT_TRUE(description.base[0] == ' ' || findCodePageDescription(description.base) != nullptr);
        EXPECT_EQ(findCodePageDescription(description.number), &description);
        before = description.number;
    }
    EXPECT_EQ(findCodePageDescription("9999"), nullptr);
}

TEST(CodePages, OnlySingleByteCodePagesAreBuiltInAsTables) {
    CharacterMap characters;
    EXPECT_TRUE(builtInCharacters("1100", characters));
    EXPECT_EQ(characters[0xFF], 0xFF);
    EXPECT_TRUE(builtInCharacters("1101", characters));
    EXPECT_EQ(characters[0x7F], 0x7F);
    EXPECT_EQ(characters[0x80], kNoCharacter);
    EXPECT_TRUE(builtInCharacters("1160", characters));
    EXPECT_EQ(characters[0x80], 0x20AC);
    EXPECT_EQ(characters[0xA0], 0xA0);
    for (const char* other : {"4110", "4000", "9999"}) {
        EXPECT_FALSE(builtInCharacters(other, characters)) << other;
    }
}

TEST_F(FlatFileTest, MappingTextBecomesACodePage) {
    write("2001",
          "#\tName: a code page\n#\n0x00\t0x0000\t# NULL\n0x41\t0x20AC\t# EURO SIGN\r\n0x42\t\t#UNDEFINED\n\n"
          "  0x43   0x0043\n0X23 0x0023\n0xff\t0x00fF#no blank\n0x44\t0x0041\x1A garbage behind the end");
    EXPECT_EQ(convert("2001", "4110", std::string("\0\x41\x43\xFF\x44", 5)).output,
              std::string("\0\xE2\x82\xAC\x43\xC3\xBF\x41", 8));
    EXPECT_EQ(convert("2001", "4110", "\x42").output, "#");
    EXPECT_EQ(convert("4110", "2001",
                      "\xE2\x82\xAC"
                      "AB")
                  .output,
              "\x41\x44#");
}

TEST_F(FlatFileTest, CodePageThatIsNotAsciiBelow128IsNotTakenForIt) {
    std::string swapped;
    for (unsigned byte = 0; byte < 256; ++byte) {
        char row[16];
        std::snprintf(row, sizeof row, "0x%02X 0x%04X\n", byte, 255 - byte);
        swapped += row;
    }
    write("2002", swapped);
    EXPECT_EQ(convert("2002", "4110", "\x9E\x9D\x9C-----------").output.substr(0, 3), "abc");
    EXPECT_EQ(convert("4110", "2002", "abc").output, "\x9E\x9D\x9C");
}

TEST_F(FlatFileTest, OfSeveralBytesForACharacterTheLowestIsWritten) {
    write("2003", "0x23 0x0023\n0x90 0x0041\n0x10 0x0041\n0xA0 0x0041\n");
    EXPECT_EQ(convert("4110", "2003", "A").output, "\x10");
    EXPECT_EQ(convert("2003", "1100", "\x90\x10\xA0").output, "AAA");
}

TEST_F(FlatFileTest, BrokenRowsAreRefused) {
    for (const char* row : {"41 0x0041", "0x41 0041", "0x4 0x0041", "0x041 0x0041", "0x8140 0x4E00", "0xG1 0x0041",
                            "0x41 0x41", "0x41 0x004G", "0x41 0x0041 0x0042", "0x41 0x0000041", "0x41,0x0041", "0x",
                            "0x41 0x", "x", "0x-1 0x0041", "0x41 0x-041"}) {
        write("2004", std::string("0x23 0x0023\n") + row + "\n");
        EXPECT_EQ(activate("2004", "4110"), RSCPEINVAL) << row;
        EXPECT_EQ(message(), kUnreadable) << row;
        EXPECT_THAT(detail(), testing::EndsWith("S2004.CPA&line 2&")) << row;
    }
    EXPECT_EQ(convert("1100", "4110", "\xFC").output, "\xC3\xBC");
    write("2004", "0x41 0x0041\n");
    EXPECT_EQ(convert("2004", "4110", "A").output, "A");
}

TEST_F(FlatFileTest, ByteValueThatOccursTwiceIsRefused) {
    write("2005", "0x41 0x0041\n0x41 0x0042\n");
    EXPECT_EQ(activate("2005", "4110"), RSCPEUNIQ);
    EXPECT_EQ(message(), "Too many rows in TCPSBUILD");
    write("2005", "0x41 0x0041\n0x41\n");
    EXPECT_EQ(activate("2005", "4110"), RSCPEUNIQ);
}

TEST_F(FlatFileTest, NumbersThatAreNoCharacterOfATableAreRefused) {
    for (const char* character : {"0xD800", "0xDFFF", "0xFFFF", "0x10000", "0x10FFFF", "0xFFFFFF"}) {
        write("2006", std::string("0x41 ") + character + "\n");
        EXPECT_EQ(activate("4110", "2006"), RSCPEINVAL) << character;
        EXPECT_EQ(message(), "character number out of range") << character;
    }
}

TEST_F(FlatFileTest, FileWithoutAnyCharacterIsRefused) {
    for (const char* text : {"", "# nothing\n", "0x41\n",
                             "\x1A"
                             "0x41 0x0041\n"}) {
        write("2007", text);
        EXPECT_EQ(activate("2007", "4110"), RSCPEODATA);
        EXPECT_EQ(message(), "F5 TCP00: cannot find any char code");
    }
}

TEST_F(FlatFileTest, UnreadableFileIsRefused) {
    std::filesystem::create_directory(directory_.file("S2008.CPA"));
    EXPECT_EQ(activate("2008", "4110"), RSCPEIO);
    EXPECT_EQ(message(), kUnreadable);
    EXPECT_GT(rscpeCurrent()->systemError, 0);
}

// As in a working directory that the process may not enter. Root may enter every one, but nobody gets through this
// link.
TEST_F(FlatFileTest, WhereNobodyCanLookNoFileIs) {
    std::error_code error;
    std::filesystem::create_directory_symlink("loop", directory_.file("loop"), error);
    if (error) {
        GTEST_SKIP() << "no symbolic links here";
    }
    setProfile("rscp/file/codepage", directory_.file("loop/S++++.CPA"));
    EXPECT_EQ(convert("1160", "4110", "\x80").output, "\xE2\x82\xAC");
    EXPECT_EQ(activate("2012", "4110"), RSCPENOOBJ);
}

TEST_F(FlatFileTest, FileOfUnlikelySizeIsRefused) {
    write("2009", std::string(65537, '\n'));
    EXPECT_EQ(activate("2009", "4110"), RSCPETOOLONG);
    EXPECT_EQ(message(), kUnreadable);
    write("2009", "0x41 0x0041" + std::string(65536 - 11, '\n'));
    EXPECT_EQ(activate("2009", "4110"), 0);
}

TEST_F(FlatFileTest, FilesComeBeforeTheBuiltInTables) {
    write("1160", "0x23 0x0023\n0x80 0x00A4\n");
    EXPECT_EQ(convert("1160", "1100", "\x80").output, "\xA4");
}

TEST_F(FlatFileTest, UnicodeCodePagesAreNeverReadFromFiles) {
    write("4110", "broken");
    write("4103", "broken");
    EXPECT_EQ(convert("4110", "4103", "a").output, std::string("a\0", 2));
}

TEST_F(FlatFileTest, PatternWithoutPlaceHolderIsRefused) {
    setProfile("rscp/file/codepage", "code.page");
    EXPECT_EQ(activate("1100", "4110"), RSCPEINVAL);
    EXPECT_EQ(message(), "KAVPARAM(rscp/file/codepage) lacks \"++++\"");
    EXPECT_EQ(detail(), "code.page&");
    EXPECT_EQ(activate("4110", "4103"), 0);
}

TEST_F(FlatFileTest, NamesAreBuiltFromFourDigitsOnly) {
    std::string name = "untouched";
    EXPECT_EQ(flatCodePageFileName("S++++.CPA", "1234", name), 0);
    EXPECT_EQ(name, "S1234.CPA");
    EXPECT_EQ(flatCodePageFileName("/x/++++", "0000", name), 0);
    EXPECT_EQ(name, "/x/0000");
    name = "untouched";
    for (const char* codePage : {"../a", "a/b/", "12 4", "\\..\\"}) {
        EXPECT_EQ(flatCodePageFileName("S++++.CPA", codePage, name), RSCPEINVAL);
        EXPECT_EQ(message(), "code page number consists of other than four digits");
        EXPECT_EQ(name, "untouched");
    }
}

TEST_F(ConverterTest, DefaultPatternIsReadFromTheWorkingDirectory) {
    const TemporaryDirectory directory;
    writeFile(directory.file("S2010.CPA"), "0x23 0x0023\n0x41 0x0042\n");
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(directory.path());
    EXPECT_EQ(convert("2010", "1100", "A").output, "B");
    std::filesystem::current_path(before);
}

TEST_F(ConverterTest, DatabaseIsNoSource) {
    CharacterMap characters;
    bool found = true;
    EXPECT_EQ(readCodePage(TableSource::database, "1100", characters, found), RSCPENOOBJ);
    EXPECT_EQ(message(), "cp shall be read from DB, but no DB interface compiled");
    EXPECT_FALSE(found);
}

TEST_F(ConverterTest, CodePageWithoutSourceIsMissing) {
    CharacterMap characters;
    EXPECT_EQ(readCodePage("9999", characters), RSCPENOOBJ);
    EXPECT_EQ(message(), "cp shall be read, but no source available");
    EXPECT_EQ(detail(), "9999");
}

}  // namespace
}  // namespace quorvanti::test
