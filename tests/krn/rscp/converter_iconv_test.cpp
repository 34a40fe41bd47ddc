// The converter against the C library's iconv: every pair of the code pages that are built in, and three code pages
// from flat files that are written from iconv's own tables.
#include "tests/krn/rscp/converter_fixture.h"

#include <iconv.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <random>

namespace quorvanti::test {
namespace {

class Iconv {
public:
    Iconv(const std::string& from, const std::string& to) : handle_(iconv_open(to.c_str(), from.c_str())) {}
    ~Iconv() { iconv_close(handle_); }
    Iconv(const Iconv&) = delete;
    Iconv& operator=(const Iconv&) = delete;

    // None when iconv refuses the text.
    std::optional<std::string> operator()(std::string text) {
        std::string output(text.size() * 8 + 16, '\0');
        char* from = text.data();
        char* to = output.data();
        std::size_t left = text.size();
        std::size_t room = output.size();
        iconv(handle_, nullptr, nullptr, nullptr, nullptr);
        if (iconv(handle_, &from, &left, &to, &room) != 0 || left != 0) {
            return std::nullopt;
        }
        output.resize(output.size() - room);
        return output;
    }

private:
    iconv_t handle_;
};

struct CodePage {
    const char* number;
    const char* iconvName;
};
constexpr CodePage kCodePages[] = {
    {"1100", "ISO-8859-1"}, {"1101", "US-ASCII"}, {"1160", "CP1252"},   {"4100", "UCS-2BE"},
    {"4101", "UCS-2LE"},    {"4102", "UTF-16BE"}, {"4103", "UTF-16LE"}, {"4104", "UTF-32BE"},
    {"4105", "UTF-32LE"},   {"4110", "UTF-8"},    {"4120", "UTF-8"},
};

// Unicode characters without control codes, which some pairs refuse, and without surrogates.
std::u32string randomText(std::mt19937& random, char32_t limit) {
    std::u32string text(random() % 40, U'\0');
    for (char32_t& character : text) {
        do {
            const char32_t reach = random() % 2 != 0 ? 0x250 : limit;
            character = static_cast<char32_t>(random() % reach);
        } while (character < 0x20 || (character >= 0x7F && character < 0xA0) ||
                 (character >= 0xD800 && character < 0xE000));
    }
    return text;
}

std::string utf32le(const std::u32string& text) {
    std::string bytes;
    for (const char32_t character : text) {
        for (unsigned shift = 0; shift < 32; shift += 8) {
            bytes.push_back(static_cast<char>(character >> shift & 0xFF));
        }
    }
    return bytes;
}

// iconv takes tag characters for representable and writes nothing for them.
bool canWrite(Iconv& toCodePage, char32_t character) {
    const auto written = toCodePage(utf32le({character}));
    return written && !written->empty();
}

// The characters that the code page has.
std::u32string representable(const std::u32string& text, Iconv& toCodePage) {
    std::u32string kept;
    for (const char32_t character : text) {
        if (canWrite(toCodePage, character)) {
            kept.push_back(character);
        }
    }
    return kept;
}

// What iconv cannot write in the target becomes "#".
void comparePair(const CodePage& from, const CodePage& to, std::mt19937& random) {
    Iconv toSource("UTF-32LE", from.iconvName);
    Iconv toTarget("UTF-32LE", to.iconvName);
    rscpCObj_t object = activated(from.number, to.number);
    for (int round = 0; round < 60; ++round) {
        const std::u32string text = representable(randomText(random, round % 2 != 0 ? 0x10000 : 0x110000), toSource);
        std::u32string expected = text;
        if (std::string(from.number) != to.number) {
            for (char32_t& character : expected) {
                character = canWrite(toTarget, character) ? character : U'#';
            }
        }
        const auto input = toSource(utf32le(text));
        const auto output = toTarget(utf32le(expected));
        ASSERT_TRUE(input && output);
        const Converted converted = convert(object, *input);
        ASSERT_EQ(converted.code, 0) << from.number << "->" << to.number;
        ASSERT_EQ(converted.output, *output) << from.number << "->" << to.number;
        ASSERT_EQ(converted.consumed, input->size());
    }
}

TEST_F(ConverterTest, EveryPairAgreesWithIconv) {
    std::mt19937 random(20260101);
    for (const CodePage& from : kCodePages) {
        for (const CodePage& to : kCodePages) {
            comparePair(from, to, random);
        }
    }
}

// One row a byte value that iconv can convert.
std::string mappingText(const char* iconvName) {
    Iconv toUnicode(iconvName, "UTF-16BE");
    std::string text = std::string("# from iconv's table of ") + iconvName + "\n";
    for (unsigned byte = 0; byte < 256; ++byte) {
        const auto unit = toUnicode(std::string(1, static_cast<char>(byte)));
        char row[40];
        if (unit && unit->size() == 2) {
            std::snprintf(row, sizeof row, "0x%02X\t0x%02X%02X\t# CHARACTER\n", byte,
                          static_cast<unsigned char>((*unit)[0]), static_cast<unsigned char>((*unit)[1]));
        } else {
            std::snprintf(row, sizeof row, "0x%02X\t\t#UNDEFINED\n", byte);
        }
        text += row;
    }
    return text;
}

TEST_F(ConverterTest, CodePagesFromFlatFilesAgreeWithIconv) {
    constexpr CodePage kFlat[] = {{"1102", "ISO-8859-15"}, {"1513", "KOI8-R"}, {"0120", "IBM037"}};
    const TemporaryDirectory directory;
    setProfile("rscp/file/codepage", directory.file("S++++.CPA"));
    for (const CodePage& page : kFlat) {
        writeFile(directory.file(std::string("S") + page.number + ".CPA"), mappingText(page.iconvName));
    }
    std::mt19937 random(20260102);
    for (const CodePage& page : kFlat) {
        Iconv toUtf8(page.iconvName, "UTF-8");
        std::string all;
        for (unsigned byte = 0; byte < 256; ++byte) {
            all.push_back(static_cast<char>(byte));
        }
        EXPECT_EQ(convert(page.number, "4110", all).output, toUtf8(all));
        EXPECT_EQ(convert("4110", page.number, *toUtf8(all)).output, all);
        for (const CodePage& other : kCodePages) {
            comparePair(page, other, random);
            comparePair(other, page, random);
        }
        for (const CodePage& other : kFlat) {
            comparePair(page, other, random);
        }
    }
}

TEST_F(ConverterTest, EveryByteOfTheBuiltInCodePagesAgreesWithIconv) {
    for (const CodePage& page : {kCodePages[0], kCodePages[1], kCodePages[2]}) {
        Iconv toUtf8(page.iconvName, "UTF-8");
        for (unsigned byte = 0; byte < 256; ++byte) {
            const std::string text(1, static_cast<char>(byte));
            EXPECT_EQ(convert(page.number, "4110", text).output, toUtf8(text).value_or("#")) << page.number << byte;
        }
    }
}

}  // namespace
}  // namespace quorvanti::test
