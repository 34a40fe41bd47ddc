#include "tests/krn/rscp/utf_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <iomanip>
#include <iterator>
#include <stdexcept>

namespace quorvanti::utf_test {
namespace {

constexpr auto kFrom = Direction::fromUtf8;
constexpr auto kTo = Direction::toUtf8;
constexpr auto kUcs2 = WideForm::ucs2;
constexpr auto kUtf16 = WideForm::utf16;
constexpr auto kUcs4 = WideForm::ucs4;
constexpr auto kNative = ByteOrder::native;
constexpr auto kSwapped = ByteOrder::swapped;
constexpr auto kAllowed = ControlCodes::allowed;
constexpr auto kRefused = ControlCodes::refused;

thread_local std::optional<Report> report;

std::int32_t record(std::int32_t errorClass, char kind, std::int32_t value, const char* module, std::int32_t site,
                    std::int32_t line, const char* message, const char* number, const char* detail,
                    std::int32_t detailLength, std::int32_t reserved1, std::int32_t reserved2) {
    const bool trailingZero =
        number == nullptr && detail == nullptr && detailLength == 0 && reserved1 == 0 && reserved2 == 0;
    report = Report{errorClass, kind, value, module, site, line, message, trailingZero};
    return errorClass;
}

// A block with one byte in front, so that its contents are unaligned, and guards on both sides of the room.
class GuardedRoom {
public:
    explicit GuardedRoom(std::size_t capacity) : block_(1 + 2 * kGuard + capacity, kFill), capacity_(capacity) {}

    std::uint8_t* begin() { return block_.data() + 1 + kGuard; }
    std::uint8_t* end() { return begin() + capacity_; }

    bool untouchedBut(std::size_t written) {
        const auto untouched = [](std::uint8_t byte) { return byte == kFill; };
        return std::all_of(block_.data(), begin(), untouched) &&
               std::all_of(begin() + written, block_.data() + block_.size(), untouched);
    }

private:
    static constexpr std::size_t kGuard = 16;
    static constexpr std::uint8_t kFill = 0xA5;
    Bytes block_;
    std::size_t capacity_;
};

std::int32_t call(UtfInstructions instructions, const Member& member, const std::uint8_t*& source,
                  const std::uint8_t* sourceEnd, std::uint8_t*& destination, std::uint8_t* destinationEnd,
                  std::optional<std::uint32_t> substitute, std::uint32_t* substituted) {
    if (member.direction == kTo) {
        return utfEncoder(member.form, member.order, member.controls, instructions)(source, sourceEnd, destination,
                                                                                    destinationEnd);
    }
    const UtfDecoder decoder = utfDecoder(member.form, member.order, member.controls, instructions);
    if (!substitute) {
        return decoder(source, sourceEnd, destination, destinationEnd, nullptr, substituted);
    }
    const std::uint32_t unit32 = *substitute;
    const auto unit16 = static_cast<std::uint16_t>(unit32);
    const void* unit = unitSize(member.form) == 2 ? static_cast<const void*>(&unit16) : &unit32;
    return decoder(source, sourceEnd, destination, destinationEnd, unit, substituted);
}

}  // namespace

// clang-format off
const std::array<Member, 24> kMembers = {{
    {kFrom, kUcs4,  kSwapped, kAllowed, "U8_to_U4sw", "rscpu84w"},
    {kFrom, kUcs4,  kSwapped, kRefused, "U8_to_U4sw", "rscpu84w"},
    {kTo,   kUcs4,  kSwapped, kAllowed, "U4sw_to_U8", "rscpu84w"},
    {kTo,   kUcs4,  kSwapped, kRefused, "U4sw_to_U8", "rscpu84w"},
    {kTo,   kUtf16, kSwapped, kAllowed, "U6sw_to_U8", "rscpu86w"},
    {kTo,   kUtf16, kSwapped, kRefused, "U6sw_to_U8", "rscpu86w"},
    {kFrom, kUtf16, kSwapped, kAllowed, "U8_to_U6sw", "rscpu86w"},
    {kFrom, kUtf16, kSwapped, kRefused, "U8_to_U6sw", "rscpu86w"},
    {kTo,   kUcs2,  kNative,  kAllowed, "U2_to_U8",   "rscpu82r"},
    {kTo,   kUcs2,  kNative,  kRefused, "U2_to_U8",   "rscpu82r"},
    {kFrom, kUcs2,  kNative,  kAllowed, "U8_to_U2",   "rscpu82r"},
    {kFrom, kUcs2,  kNative,  kRefused, "U8_to_U2",   "rscpu82r"},
    {kTo,   kUtf16, kNative,  kAllowed, "U6_to_U8",   "rscpu86r"},
    {kTo,   kUtf16, kNative,  kRefused, "U6_to_U8",   "rscpu86r"},
    {kFrom, kUtf16, kNative,  kAllowed, "U8_to_U6",   "rscpu86r"},
    {kFrom, kUtf16, kNative,  kRefused, "U8_to_U6",   "rscpu86r"},
    {kTo,   kUcs4,  kNative,  kAllowed, "U4_to_U8",   "rscpu84r"},
    {kTo,   kUcs4,  kNative,  kRefused, "U4_to_U8",   "rscpu84r"},
    {kFrom, kUcs4,  kNative,  kAllowed, "U8_to_U4",   "rscpu84r"},
    {kFrom, kUcs4,  kNative,  kRefused, "U8_to_U4",   "rscpu84r"},
    {kTo,   kUcs2,  kSwapped, kAllowed, "U2sw_to_U8", "rscpu82w"},
    {kTo,   kUcs2,  kSwapped, kRefused, "U2sw_to_U8", "rscpu82w"},
    {kFrom, kUcs2,  kSwapped, kAllowed, "U8_to_U2sw", "rscpu82w"},
    {kFrom, kUcs2,  kSwapped, kRefused, "U8_to_U2sw", "rscpu82w"},
}};
// clang-format on

const Member& member(std::string_view name, ControlCodes controls) {
    for (const Member& row : kMembers) {
        if (row.name == name && row.controls == controls) {
            return row;
        }
    }
    throw std::invalid_argument("no such member");
}

std::size_t unitSize(WideForm form) {
    return form == WideForm::ucs4 ? 4 : 2;
}

Bytes wideBytes(const Member& member, std::initializer_list<std::uint32_t> units) {
    const bool bigEndian = (std::endian::native == std::endian::big) == (member.order == ByteOrder::native);
    Bytes bytes;
    for (const std::uint32_t unit : units) {
        for (std::size_t i = 0; i < unitSize(member.form); ++i) {
            const std::size_t place = bigEndian ? unitSize(member.form) - 1 - i : i;
            bytes.push_back(static_cast<std::uint8_t>(unit >> (8 * place)));
        }
    }
    return bytes;
}

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    stream << outcome.code << " \"" << outcome.message << "\" consumed " << outcome.consumed << " substituted "
           << outcome.substituted << " output" << std::hex << std::setfill('0');
    for (const std::uint8_t byte : outcome.output) {
        stream << ' ' << std::setw(2) << static_cast<unsigned>(byte);
    }
    return stream << std::dec;
}

const std::vector<UtfInstructions>& availableInstructions() {
    static const std::vector<UtfInstructions> all = [] {
        std::vector<UtfInstructions> found;
        std::copy_if(std::begin(kAllUtfInstructions), std::end(kAllUtfInstructions), std::back_inserter(found),
                     available);
        return found;
    }();
    return all;
}

const char* nameOf(UtfInstructions instructions) {
    switch (instructions) {
        case UtfInstructions::portable:
            return "portable";
        case UtfInstructions::sse2:
            return "SSE2";
        case UtfInstructions::avx512:
            break;
    }
    return "AVX-512";
}

Outcome run(UtfInstructions instructions, const Member& member, const Bytes& source, std::size_t capacity,
            std::optional<std::uint32_t> substitute) {
    setUtfErrorHook(record);
    report.reset();
    Bytes unaligned(1 + source.size());
    std::copy(source.begin(), source.end(), unaligned.begin() + 1);
    const std::uint8_t* const from = unaligned.data() + 1;
    GuardedRoom room(capacity);
    const std::uint8_t* position = from;
    std::uint8_t* written = room.begin();
    Outcome outcome;
    outcome.code = call(instructions, member, position, from + source.size(), written, room.end(), substitute,
                        &outcome.substituted);
    outcome.message = report ? report->message : "";
    outcome.consumed = static_cast<std::size_t>(position - from);
    outcome.output.assign(room.begin(), written);
    EXPECT_TRUE(room.untouchedBut(outcome.output.size()))
        << nameOf(instructions) << ' ' << member.name << ": " << outcome;
    return outcome;
}

Outcome run(const Member& member, const Bytes& source, std::size_t capacity, std::optional<std::uint32_t> substitute) {
    const Outcome portable = run(UtfInstructions::portable, member, source, capacity, substitute);
    for (const UtfInstructions instructions : availableInstructions()) {
        EXPECT_EQ(run(instructions, member, source, capacity, substitute), portable)
            << nameOf(instructions) << ' ' << member.name;
    }
    return portable;
}

const std::optional<Report>& lastReport() {
    return report;
}

}  // namespace quorvanti::utf_test
