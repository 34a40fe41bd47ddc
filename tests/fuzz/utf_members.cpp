// Member against oracle. The first three bytes choose the member, the room and the substitute; the rest is the text.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "tests/krn/rscp/utf_oracle.h"

using namespace quorvanti;

namespace {

struct Seen {
    std::int32_t code;
    const char* message;
};
Seen seen;

std::int32_t see(std::int32_t errorClass, char, std::int32_t, const char*, std::int32_t, std::int32_t,
                 const char* message, const char*, const char*, std::int32_t, std::int32_t, std::int32_t) {
    seen = {errorClass, message};
    return errorClass;
}

utf_test::Outcome convert(UtfInstructions instructions, const utf_test::Member& member, const utf_test::Bytes& source,
                          std::size_t capacity, std::optional<std::uint32_t> substitute) {
    setUtfErrorHook(see);
    seen = {0, ""};
    utf_test::Bytes room(capacity);
    const std::uint8_t* from = source.data();
    const std::uint8_t* const fromEnd = from + source.size();
    std::uint8_t* to = room.data();
    utf_test::Outcome outcome;
    if (member.direction == utf_test::Direction::toUtf8) {
        outcome.code =
            utfEncoder(member.form, member.order, member.controls, instructions)(from, fromEnd, to, to + capacity);
    } else {
        const std::uint32_t unit = substitute.value_or(0);
        outcome.code = utfDecoder(member.form, member.order, member.controls, instructions)(
            from, fromEnd, to, to + capacity, substitute ? &unit : nullptr, &outcome.substituted);
    }
    outcome.message = seen.message;
    outcome.consumed = static_cast<std::size_t>(from - source.data());
    outcome.output.assign(room.data(), to);
    return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 3) {
        return 0;
    }
    const utf_test::Member& member = utf_test::kMembers[data[0] % utf_test::kMembers.size()];
    const std::size_t capacity = data[1];
    const auto substitute = data[2] == 0 ? std::nullopt : std::optional<std::uint32_t>(data[2]);
    const utf_test::Bytes source(data + 3, data + size);
    const utf_test::Outcome wanted = utf_test::expected(member, source, capacity, substitute);
    for (const UtfInstructions instructions : utf_test::availableInstructions()) {
        const utf_test::Outcome got = convert(instructions, member, source, capacity, substitute);
        if (got == wanted) {
            continue;
        }
        std::cerr << utf_test::nameOf(instructions) << ' ' << member.name << "\n     got " << got << "\nexpected "
                  << wanted << '\n';
        std::abort();
    }
    return 0;
}
