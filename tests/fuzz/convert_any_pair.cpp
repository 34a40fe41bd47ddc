// rscpCConvert with any pair and any policies: it stays inside its buffers, and a text converted in pieces, each from
// where the one before stopped, becomes what it becomes in one go.
// Input: source code page, target code page, policies, size of the pieces, then the text.
#include "krn/rscp/converter.h"
#include "krn/rscp/converter_hooks.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <vector>

using namespace quorvanti;

namespace {

constexpr const char* kCodePages[] = {"1100", "1101", "1160", "4100", "4101", "4102",
                                      "4103", "4104", "4105", "4110", "4120"};
constexpr std::size_t kHeader = 4;
// No character needs more than this in any form.
constexpr std::size_t kSmallestPiece = 8;

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

struct Outcome {
    std::int32_t code;
    std::size_t consumed;
    std::vector<std::uint8_t> output;
};

Outcome convertPiece(rscpCObj_t object, const std::uint8_t* text, std::size_t length, std::size_t room) {
    std::vector<std::uint8_t> buffer(room);
    std::uint8_t* destination = buffer.data();
    const std::uint8_t* source = text;
    const std::int32_t code = rscpCConvert(&object, destination, buffer.data() + room, source, text + length);
    require(destination >= buffer.data() && destination <= buffer.data() + room);
    require(source >= text && source <= text + length);
    buffer.resize(static_cast<std::size_t>(destination - buffer.data()));
    return {code, static_cast<std::size_t>(source - text), buffer};
}

rscpCObj_t activate(const std::uint8_t* header) {
    rscpCObj_t object = rscpCObjTemplate;
    rscpCStandardSettings(object, kCodePages[header[0] % std::size(kCodePages)],
                          kCodePages[header[1] % std::size(kCodePages)]);
    object.dropPolicy = header[2] & 3;
    object.brokenPolicy = header[2] >> 2 & 3;
    object.controlCodeConversion = header[2] >> 4 & 1;
    require(rscpCInit() == 0);
    require(rscpCActivate(&object, true, true) == 0);
    return object;
}

void beQuiet() {
    static ConverterHooks hooks = defaultConverterHooks;
    hooks.logLine = [](const char*, int) {};
    setConverterHooks(&hooks);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < kHeader) {
        return 0;
    }
    beQuiet();
    const rscpCObj_t object = activate(data);
    const std::uint8_t* text = data + kHeader;
    const std::size_t length = size - kHeader;
    const Outcome whole = convertPiece(object, text, length, length * 6 + 8);
    require(whole.code != RSCPETOOLONG);
    require(whole.code != 0 || length - whole.consumed < 4);

    Outcome pieces{RSCPETOOLONG, 0, {}};
    while (pieces.code == RSCPETOOLONG) {
        const Outcome piece =
            convertPiece(object, text + pieces.consumed, length - pieces.consumed, kSmallestPiece + data[3] % 32);
        require(piece.code != RSCPETOOLONG || piece.consumed != 0);
        pieces.code = piece.code;
        pieces.consumed += piece.consumed;
        pieces.output.insert(pieces.output.end(), piece.output.begin(), piece.output.end());
    }
    require(pieces.code == whole.code && pieces.consumed == whole.consumed && pieces.output == whole.output);
    return 0;
}
