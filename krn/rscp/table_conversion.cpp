#include "krn/rscp/table_conversion.h"

#include "krn/rscp/character_forms.h"
#include "krn/rscp/converter_error.h"

#include <utility>

namespace quorvanti {
namespace {

// Calls back with the form of a side.
template <typename Callback>
auto withForm(const ConversionSide& side, Callback&& callback) {
    switch (side.kind) {
        case NlsKind::NLS_UCS_2h:
        case NlsKind::NLS_UTF_16h:
            return callback(Wide16Form{true, side.kind == NlsKind::NLS_UTF_16h});
        case NlsKind::NLS_UCS_2l:
        case NlsKind::NLS_UTF_16l:
            return callback(Wide16Form{false, side.kind == NlsKind::NLS_UTF_16l});
        case NlsKind::NLS_UCS_4h:
            return callback(Wide32Form{true});
        case NlsKind::NLS_UCS_4l:
            return callback(Wide32Form{false});
        case NlsKind::NLS_UTF_8:
            return callback(Utf8Form{});
        default:
            return callback(SingleByteForm{*side.table});
    }
}

// Copies US-ASCII as long as it lasts and fits.
void copyAscii(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
               std::uint8_t* destinationEnd) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080;
    std::uint64_t eight = 0;
    while (sourceEnd - source >= 8 && destinationEnd - destination >= 8) {
        std::memcpy(&eight, source, sizeof eight);
        if ((eight & kHighBits) != 0) {
            break;
        }
        std::memcpy(destination, &eight, sizeof eight);
        source += 8;
        destination += 8;
    }
    while (source != sourceEnd && destination != destinationEnd && *source < 0x80) {
        *destination++ = *source++;
    }
}

std::int32_t tooLong(std::int32_t site, std::int32_t line) {
    return rscpeFail(RSCPETOOLONG, kConversionUnit, site, line, "char code longer than output buffer");
}

// What the object's policies put in the place of a character that cannot be converted.
template <typename Writer>
std::int32_t replaceCharacter(rscpCObj_t& object, const FoundCharacter& character, const Writer& writer,
                              std::uint8_t*& destination, std::uint8_t* destinationEnd) {
    if (character.found == Found::broken && object.brokenPolicy != kBrokenLikeMiss) {
        return rscpeFail(RSCPENOCONV, kConversionUnit, 150, __LINE__, character.message);
    }
    if (object.dropPolicy == kDropRemove) {
        ++object.removed;
        return 0;
    }
    Put put = Put::missing;
    if (object.dropPolicy == kDropSpace) {
        put = writer.put(' ', destination, destinationEnd);
    } else if (object.dropPolicy == kDropLikeMiss) {
        put = writer.put(object.substitution, destination, destinationEnd);
        if (put == Put::missing) {
            put = writer.put('#', destination, destinationEnd);
        }
    }
    if (put == Put::missing) {
        return rscpeFail(RSCPENOCONV, kConversionUnit, 151, __LINE__, "character not convertable");
    }
    if (put == Put::full) {
        return tooLong(152, __LINE__);
    }
    ++object.substituted;
    return 0;
}

template <typename Reader, typename Writer>
std::int32_t convertForm(rscpCObj_t& object, const Reader& reader, const Writer& writer, std::uint8_t*& destination,
                         std::uint8_t* destinationEnd, const std::uint8_t*& source, const std::uint8_t* sourceEnd) {
    std::int32_t code = 0;
    const std::uint8_t* from = source;
    std::uint8_t* to = destination;
    while (code == 0) {
        if constexpr (Reader::kBytes && Writer::kBytes) {
            if (reader.ascii() && writer.ascii()) {
                copyAscii(from, sourceEnd, to, destinationEnd);
            }
        }
        if (from == sourceEnd) {
            break;
        }
        const FoundCharacter character = reader.next(from, sourceEnd);
        if (character.found == Found::exhausted) {
            code = rscpeFail(RSCPEUNIQ, kConversionUnit, 153, __LINE__, character.message);
            break;
        }
        const Put put =
            character.found == Found::character ? writer.put(character.value, to, destinationEnd) : Put::missing;
        if (put == Put::full) {
            code = tooLong(154, __LINE__);
        } else if (put == Put::missing) {
            code = replaceCharacter(object, character, writer, to, destinationEnd);
        }
        if (code == 0) {
            from += character.length;
        }
    }
    source = from;
    destination = to;
    return code;
}

}  // namespace

std::int32_t convertByTables(rscpCObj_t& object, const ConversionSide& input, const ConversionSide& output,
                             std::uint8_t*& destination, std::uint8_t* destinationEnd, const std::uint8_t*& source,
                             const std::uint8_t* sourceEnd) {
    return withForm(input, [&](const auto& reader) {
        return withForm(output, [&](const auto& writer) {
            return convertForm(object, reader, writer, destination, destinationEnd, source, sourceEnd);
        });
    });
}

void fillDestination(const ConversionSide& output, std::uint32_t character, std::uint8_t*& destination,
                     std::uint8_t* destinationEnd) {
    withForm(output, [&](const auto& writer) {
        while (writer.put(character, destination, destinationEnd) == Put::done) {
        }
    });
}

bool onlySpacesLeft(const ConversionSide& input, const std::uint8_t* source, const std::uint8_t* sourceEnd) {
    return withForm(input, [&](const auto& reader) {
        while (source != sourceEnd) {
            const FoundCharacter character = reader.next(source, sourceEnd);
            if (character.found != Found::character || character.value != ' ') {
                return false;
            }
            source += character.length;
        }
        return true;
    });
}

}  // namespace quorvanti
