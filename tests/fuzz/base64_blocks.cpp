// Any text, in both alphabets: every way to decode blocks stops at the same character and writes the same bytes, and
// nothing behind them.
#include "sec/kavsecu/base64_blocks.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

using namespace quorvanti;

namespace {

constexpr std::uint8_t kUntouched = 0x7E;

// The bytes in all the room, with those that were not written as they were before.
std::vector<std::uint8_t> decoded(const Base64BlockDecoder& decoder, Base64Alphabet alphabet, std::string_view text,
                                  std::size_t room) {
    std::vector<std::uint8_t> bytes(room, kUntouched);
    const std::size_t blocks = decoder.decode(alphabet, text, bytes);
    const std::size_t most = std::min(text.size() / kBase64BlockText, room / kBase64BlockBytes);
    const auto rest = bytes.begin() + static_cast<std::ptrdiff_t>(std::min(blocks, most) * kBase64BlockBytes);
    if (blocks > most || std::any_of(rest, bytes.end(), [](std::uint8_t byte) { return byte != kUntouched; })) {
        std::abort();
    }
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t room = text.size() * data[0] / 255;
    for (const Base64Alphabet alphabet : {Base64Alphabet::standard, Base64Alphabet::url}) {
        const std::vector<std::uint8_t> expected = decoded(base64BlockDecoders().back(), alphabet, text, room);
        for (const Base64BlockDecoder& decoder : base64BlockDecoders()) {
            if (decoder.usable && decoded(decoder, alphabet, text, room) != expected) {
                std::abort();
            }
        }
    }
    return 0;
}
