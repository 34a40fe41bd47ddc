// The parser of flat code page files: what it accepts, written out in order, is accepted again and says the same.
#include "krn/rscp/flat_code_page.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

using namespace quorvanti;

namespace {

std::string writtenOut(const CharacterMap& characters) {
    std::string text;
    for (std::size_t byte = 0; byte < characters.size(); ++byte) {
        if (characters[byte] != kNoCharacter) {
            char row[32];
            std::snprintf(row, sizeof row, "0x%02X\t0x%04X\t# NAME\n", static_cast<unsigned>(byte),
                          static_cast<unsigned>(characters[byte]));
            text += row;
        }
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CharacterMap characters;
    if (parseFlatCodePage({reinterpret_cast<const char*>(data), size}, "fuzz", characters) != 0) {
        return 0;
    }
    CharacterMap again;
    if (parseFlatCodePage(writtenOut(characters), "again", again) != 0 || again != characters) {
        std::abort();
    }
    return 0;
}
