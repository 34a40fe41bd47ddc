#include "krn/rscp/converter.h"

#include "krn/rscp/conversion_methods.h"
#include "krn/rscp/converter_activation.h"
#include "krn/rscp/converter_error.h"
#include "krn/rscp/converter_init.h"
#include "krn/rscp/converter_state.h"
#include "krn/rscp/table_conversion.h"
#include "krn/rscp/utf_converters.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace quorvanti {
namespace {

constexpr std::ptrdiff_t kOverlapLimit = 512;
constexpr int kPreparationAttempts = 16;

// Positions of one conversion, moved while it runs.
struct Range {
    std::uint8_t*& destination;
    std::uint8_t* destinationEnd;
    const std::uint8_t*& source;
    const std::uint8_t* sourceEnd;

    std::size_t room() const { return static_cast<std::size_t>(destinationEnd - destination); }
    std::size_t left() const { return static_cast<std::size_t>(sourceEnd - source); }
};

std::size_t unitWidth(NlsKind kind) {
    switch (kind) {
        case NlsKind::NLS_UCS_2h:
        case NlsKind::NLS_UCS_2l:
        case NlsKind::NLS_UTF_16h:
        case NlsKind::NLS_UTF_16l:
            return 2;
        case NlsKind::NLS_UCS_4h:
        case NlsKind::NLS_UCS_4l:
            return 4;
        default:
            return 1;
    }
}

NlsKind inputKind(const rscpCObj_t& object) {
    return static_cast<NlsKind>(object.inputKind);
}
NlsKind outputKind(const rscpCObj_t& object) {
    return static_cast<NlsKind>(object.outputKind);
}

ConversionSide inputSide(const rscpCObj_t& object) {
    return {inputKind(object), static_cast<const SingleByteTable*>(object.inputTable)};
}
ConversionSide outputSide(const rscpCObj_t& object) {
    return {outputKind(object), static_cast<const SingleByteTable*>(object.outputTable)};
}

std::int32_t sourceExhausted(std::int32_t line) {
    return rscpeFail(RSCPEUNIQ, kConversionUnit, 141, line, "source exhausted within a char");
}

// How many of `limit` bytes end at the end of a character; there is a byte behind them.
std::size_t wholeCharacters(NlsKind kind, const std::uint8_t* text, std::size_t limit) {
    limit -= limit % unitWidth(kind);
    switch (kind) {
        case NlsKind::NLS_UTF_8: {
            std::size_t whole = limit;
            while (whole > 0 && limit - whole < 5 && (text[whole] & 0xC0) == 0x80) {
                --whole;
            }
            return (text[whole] & 0xC0) == 0x80 ? limit : whole;
        }
        case NlsKind::NLS_UTF_16h:
            return limit >= 2 && (text[limit - 2] & 0xFC) == 0xD8 ? limit - 2 : limit;
        case NlsKind::NLS_UTF_16l:
            return limit >= 2 && (text[limit - 1] & 0xFC) == 0xD8 ? limit - 2 : limit;
        default:
            return limit;
    }
}

std::int32_t copyDirect(NlsKind kind, const Range& range) {
    const bool fits = range.left() <= range.room();
    const std::size_t length = fits ? range.left() : wholeCharacters(kind, range.source, range.room());
    if (length != 0) {
        std::memmove(range.destination, range.source, length);
    }
    range.destination += length;
    range.source += length;
    return fits ? 0 : rscpeFail(RSCPETOOLONG, kConversionUnit, 142, __LINE__, "char code longer than output buffer");
}

template <std::size_t Width>
std::int32_t swapUnits(const Range& range) {
    while (range.left() >= Width) {
        if (range.room() < Width) {
            return rscpeFail(RSCPETOOLONG, kConversionUnit, 143, __LINE__, "char code longer than output buffer");
        }
        std::array<std::uint8_t, Width> unit;
        std::reverse_copy(range.source, range.source + Width, unit.begin());
        std::copy(unit.begin(), unit.end(), range.destination);
        range.source += Width;
        range.destination += Width;
    }
    return Width == 2 && range.left() != 0 ? sourceExhausted(__LINE__) : 0;
}

struct UtfMethod {
    bool decodes;
    WideForm form;
    ByteOrder order;
};
// In the order of the methods from U2_to_U8 on.
constexpr UtfMethod kUtfMethods[] = {
    {false, WideForm::ucs2, ByteOrder::native},  {false, WideForm::ucs2, ByteOrder::swapped},
    {true, WideForm::ucs2, ByteOrder::native},   {true, WideForm::ucs2, ByteOrder::swapped},
    {false, WideForm::ucs4, ByteOrder::native},  {false, WideForm::ucs4, ByteOrder::swapped},
    {true, WideForm::ucs4, ByteOrder::native},   {true, WideForm::ucs4, ByteOrder::swapped},
    {false, WideForm::utf16, ByteOrder::native}, {false, WideForm::utf16, ByteOrder::swapped},
    {true, WideForm::utf16, ByteOrder::native},  {true, WideForm::utf16, ByteOrder::swapped},
};

std::int32_t decodeUtf8(rscpCObj_t& object, const UtfMethod& method, ControlCodes controls, const Range& range) {
    // The decoders look at the start of a unit only.
    const std::size_t rest = range.room() % unitWidth(outputKind(object));
    const bool replaces = object.brokenPolicy == kBrokenLikeMiss &&
                          (object.dropPolicy == kDropLikeMiss || object.dropPolicy == kDropSpace);
    const std::uint16_t narrow = object.dropPolicy == kDropSpace ? std::uint16_t{' '} : object.substitution;
    const std::uint32_t wide = narrow;
    const void* substitute = &narrow;
    if (method.form == WideForm::ucs4) {
        substitute = &wide;
    }
    const UtfDecoder decoder = utfDecoder(method.form, method.order, controls);
    return decoder(range.source, range.sourceEnd, range.destination, range.destinationEnd - rest,
                   replaces ? substitute : nullptr, &object.substituted);
}

std::int32_t encodeUtf8(const rscpCObj_t& object, const UtfMethod& method, ControlCodes controls, const Range& range) {
    // Half a unit at the end is no unit. The bytes that a UCS-4 source has too many are ignored.
    const std::size_t rest = range.left() % unitWidth(inputKind(object));
    const UtfEncoder encoder = utfEncoder(method.form, method.order, controls);
    const std::int32_t code = encoder(range.source, range.sourceEnd - rest, range.destination, range.destinationEnd);
    return code == 0 && rest != 0 && method.form != WideForm::ucs4 ? sourceExhausted(__LINE__) : code;
}

std::int32_t convertUtf(rscpCObj_t& object, const Range& range) {
    const auto& method = kUtfMethods[object.method - static_cast<std::int32_t>(Method::U2_to_U8)];
    const ControlCodes controls = object.controlCodeConversion == 1 ? ControlCodes::allowed : ControlCodes::refused;
    return method.decodes ? decodeUtf8(object, method, controls, range) : encodeUtf8(object, method, controls, range);
}

std::int32_t convertTables(rscpCObj_t& object, Range range) {
    refreshObject(object);
    range.sourceEnd -= unitWidth(inputKind(object)) == 4 ? range.left() % 4 : 0;
    for (int attempt = 0; attempt < kPreparationAttempts; ++attempt) {
        {
            const ConverterCache::ReadAccess access(converterCache());
            if (object.cacheGeneration == converterCache().generation()) {
                return convertByTables(object, inputSide(object), outputSide(object), range.destination,
                                       range.destinationEnd, range.source, range.sourceEnd);
            }
        }
        if (const std::int32_t code = prepareTables(object)) {
            return code;
        }
    }
    return rscpeFail(RSCPEBUSY, kConversionUnit, 144, __LINE__, "CCC is reorganized all the time");
}

std::int32_t dispatch(rscpCObj_t& object, const Range& range) {
    if (!conversionAllowed()) {
        return rscpeFail(RSCPENOCONV, kConversionUnit, 149, __LINE__, "CCC not proper initialized");
    }
    switch (static_cast<Method>(object.method)) {
        case Method::direct:
            return copyDirect(inputKind(object), range);
        case Method::U2_swap:
            return swapUnits<2>(range);
        case Method::U4_swap:
            return swapUnits<4>(range);
        default:
            break;
    }
    const bool utf = object.method >= static_cast<std::int32_t>(Method::U2_to_U8) &&
                     object.method <= static_cast<std::int32_t>(Method::U8_to_U6sw);
    return utf ? convertUtf(object, range) : convertTables(object, range);
}

std::int32_t fill(rscpCObj_t& object, std::int32_t code, const Range& range) {
    const ConverterCache::ReadAccess access(converterCache());
    if (object.cacheGeneration != converterCache().generation()) {
        return code;  // the tables went away meanwhile
    }
    if (code == RSCPETOOLONG && object.fillPolicy == kFillAndTruncateSpaces &&
        onlySpacesLeft(inputSide(object), range.source, range.sourceEnd)) {
        range.source = range.sourceEnd;
        rscpeReset();
        code = 0;
    }
    if (code == 0) {
        fillDestination(outputSide(object), object.fillPolicy == kFillNulls ? 0 : ' ', range.destination,
                        range.destinationEnd);
    }
    return code;
}

std::int32_t convert(rscpCObj_t& object, const Range& range) {
    const std::int32_t code = dispatch(object, range);
    return object.fillPolicy >= kFillNulls && object.fillPolicy <= kFillAndTruncateSpaces ? fill(object, code, range)
                                                                                          : code;
}

std::int32_t convertInPlace(rscpCObj_t& object, const Range& range) {
    if (range.sourceEnd - range.source > kOverlapLimit) {
        char detail[64];
        std::snprintf(detail, sizeof detail, "rscpCConvert&%p&==&%p&", static_cast<const void*>(range.destination),
                      static_cast<const void*>(range.source));
        return rscpeFail(RSCPEINVAL, kConversionUnit, 145, __LINE__, "overlapping buffers", detail);
    }
    converterTrace("rscpc.c/140/(%d): overlapping buffers at %p .", __LINE__, static_cast<const void*>(range.source));
    std::array<std::uint8_t, kOverlapLimit> copy;
    const std::uint8_t* position = copy.data();
    const std::uint8_t* end = std::copy(range.source, range.sourceEnd, copy.data());
    const std::int32_t code = convert(object, {range.destination, range.destinationEnd, position, end});
    range.source += position - copy.data();
    return code;
}

bool activatedFor(const rscpCObj_t& object) {
    return object.activated == 1 && object.method > static_cast<std::int32_t>(Method::deactivated) &&
           object.method < kMethodCount;
}

std::int32_t convertOnce(const char* sourceCodePage, const char* targetCodePage, const Range& range) {
    char standard[4];
    converterHooks().defaultCodePage(standard);
    rscpCObj_t object = rscpCObjTemplate;
    rscpCStandardSettings(object, sourceCodePage != nullptr ? sourceCodePage : standard,
                          targetCodePage != nullptr ? targetCodePage : standard);
    if (const std::int32_t code = rscpCInit()) {
        return code;
    }
    if (const std::int32_t code = rscpCActivate(&object, true, true)) {
        return code;
    }
    return rscpCConvert(&object, range.destination, range.destinationEnd, range.source, range.sourceEnd);
}

constexpr const char* kUtf8 = "4110";

}  // namespace

std::int32_t rscpCConvert(rscpCObj_t* object, std::uint8_t*& destination, std::uint8_t* destinationEnd,
                          const std::uint8_t*& source, const std::uint8_t* sourceEnd) {
    if (object == nullptr) {
        return rscpeFail(RSCPEINVAL, kConversionUnit, 146, __LINE__, "missing converter object address");
    }
    if (!activatedFor(*object)) {
        return rscpeFail(RSCPENOCONV, kConversionUnit, 147, __LINE__, "missing char code param");
    }
    if (source > sourceEnd || destination > destinationEnd) {
        return rscpeFail(RSCPEINVAL, kConversionUnit, 148, __LINE__, "end of buffer before its start");
    }
    const Range range{destination, destinationEnd, source, sourceEnd};
    return destination == source ? convertInPlace(*object, range) : convert(*object, range);
}

std::int32_t rscpCToUtf8(const char* codePage, std::uint8_t*& destination, std::uint8_t* destinationEnd,
                         const std::uint8_t*& source, const std::uint8_t* sourceEnd) {
    return convertOnce(codePage, kUtf8, {destination, destinationEnd, source, sourceEnd});
}

std::int32_t rscpCFromUtf8(const char* codePage, std::uint8_t*& destination, std::uint8_t* destinationEnd,
                           const std::uint8_t*& source, const std::uint8_t* sourceEnd) {
    return convertOnce(kUtf8, codePage, {destination, destinationEnd, source, sourceEnd});
}

}  // namespace quorvanti
