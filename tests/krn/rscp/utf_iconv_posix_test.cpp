// The members against glibc's iconv, where both define a result: all Unicode scalar values in every form and order.
#include <gtest/gtest.h>
#include <iconv.h>

#include <bit>
#include <string>

#include "tests/krn/rscp/utf_support.h"

namespace quorvanti::utf_test {
namespace {

Bytes throughIconv(const std::string& to, const std::string& from, const Bytes& source) {
    const iconv_t descriptor = iconv_open(to.c_str(), from.c_str());
    Bytes room(source.size() * 4 + 16);
    char* input = const_cast<char*>(reinterpret_cast<const char*>(source.data()));
    char* output = reinterpret_cast<char*>(room.data());
    std::size_t inputLeft = source.size();
    std::size_t outputLeft = room.size();
    EXPECT_EQ(iconv(descriptor, &input, &inputLeft, &output, &outputLeft), 0U) << from << " to " << to;
    iconv_close(descriptor);
    room.resize(room.size() - outputLeft);
    return room;
}

std::string iconvName(const Member& member) {
    const bool high = (member.order == ByteOrder::native) == (std::endian::native == std::endian::big);
    const char* const form = member.form == WideForm::ucs2    ? "UCS-2"
                             : member.form == WideForm::utf16 ? "UTF-16"
                                                              : "UCS-4";
    return std::string(form) + (high ? "BE" : "LE");
}

// All scalar values that the form has and, in refusing members, that are no control codes.
Bytes allScalarValues(const Member& member) {
    const bool refusing = member.controls == ControlCodes::refused;
    const Member& ucs4 = utf_test::member("U4_to_U8");
    Bytes wide;
    for (std::uint32_t value = 0; value < (member.form == WideForm::ucs2 ? 0x10000U : 0x110000U); ++value) {
        const bool control = value < 0x20 || (value >= 0x7F && value < 0xA0);
        if ((value < 0xD800 || value > 0xDFFF) && !(refusing && control)) {
            const Bytes unit = wideBytes(ucs4, {value});
            wide.insert(wide.end(), unit.begin(), unit.end());
        }
    }
    return throughIconv("UTF-8", iconvName(ucs4), wide);
}

TEST(UtfAgainstIconv, AllScalarValuesInBothDirections) {
    for (const Member& row : kMembers) {
        const Bytes utf8 = allScalarValues(row);
        const Bytes wide = throughIconv(iconvName(row), "UTF-8", utf8);
        const bool toUtf8 = row.direction == Direction::toUtf8;
        const Bytes& source = toUtf8 ? wide : utf8;
        const Bytes& target = toUtf8 ? utf8 : wide;
        const Outcome outcome = run(row, source, target.size());
        EXPECT_EQ(outcome.code, 0) << row.name << " " << outcome.message;
        EXPECT_EQ(outcome.consumed, source.size()) << row.name;
        EXPECT_TRUE(outcome.output == target) << row.name;
    }
}

}  // namespace
}  // namespace quorvanti::utf_test
