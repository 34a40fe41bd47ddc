#include "krn/rscp/converter_options.h"

#include <initializer_list>
#include <iterator>

namespace quorvanti {
namespace {

const char* nameOf(std::int32_t value, std::int32_t first, std::initializer_list<const char*> names,
                   const char* invalid) {
    const std::int32_t index = value < first ? -1 : value - first;
    return index >= 0 && index < static_cast<std::int32_t>(names.size()) ? *std::next(names.begin(), index) : invalid;
}

}  // namespace

// The misspelt forms are deliberate: whoever reads the traces looks for them.
const char* rscpbrokenName(std::int32_t value) {
    return nameOf(value, 0, {".=stop_finally", "m=like_miss", "r=stop_restartable"}, "?illigal_rscpbroken");
}

const char* rscpfillName(std::int32_t value) {
    return nameOf(value, 0, {".=never", "0=nulls", "s=spaces", "t=and_trunc_spaces"}, "?illigal_rscpfill");
}

const char* useF1Name(std::int32_t value) {
    return nameOf(value, 1, {"n=not", "o=only", "e=enforce", "t=try", "c=customizable"}, "?illegal_useF1");
}

const char* dropName(std::int32_t value) {
    return nameOf(value, 0, {".=stop", "m=like_miss", "r=remove", "s=space"}, "?illegal_drop");
}

const char* rscpCtrlCodeCvName(std::int32_t value) {
    return nameOf(value, 0, {"i=illegal", "t=try"}, "?illegal_rscpCtrlCodeCv");
}

const char* rscpKAVOwnChCvName(std::int32_t value) {
    return nameOf(value, 0, {"i=ignore", "t=try"}, "?illegal_rscpKAVOwnChCv");
}

std::uint32_t rscpOptionWord(const rscpCObj_t& object) {
    std::uint32_t word = 0;
    for (const std::int32_t policy : {object.ownCharacterConversion, object.controlCodeConversion, object.useF1,
                                      object.fillPolicy, object.brokenPolicy, object.dropPolicy}) {
        word = word << 4 | (static_cast<std::uint32_t>(policy) & 0xF);
    }
    return word;
}

}  // namespace quorvanti
