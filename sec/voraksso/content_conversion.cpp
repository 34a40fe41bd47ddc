#include "sec/voraksso/content_conversion.h"

#include <quorvanti/voraksso.h>

#include "base/dptrc/dptrace.h"
#include "krn/rscp/converter.h"
#include "sec/voraksso/state.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <numeric>
#include <vector>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";

void writeReport() {
    if (!traceEnabled(1)) {
        return;
    }
    rscpeReport([](void*, const char* line) { TRACE(1, "%s\n", line); }, nullptr);
}

struct ReadyConverter {
    rscpCObj_t object = rscpCObjTemplate;
    bool active = false;
    bool keepsPlainText = false;  // a text of nothing but printable ASCII comes out as it went in
};

constexpr std::uint8_t kFirstPrintable = 0x20;
constexpr std::uint8_t kLastPrintable = 0x7E;

bool isPlainText(std::span<const std::uint8_t> text) {
    return std::ranges::all_of(text, [](std::uint8_t c) { return c >= kFirstPrintable && c <= kLastPrintable; });
}

// Tried, not concluded: the pair itself tells what it does.
bool keepsPlainText(rscpCObj_t& object) {
    std::array<std::uint8_t, kLastPrintable - kFirstPrintable + 1> text;
    std::iota(text.begin(), text.end(), kFirstPrintable);
    std::array<std::uint8_t, 4 * text.size()> converted{};
    std::uint8_t* written = converted.data();
    const std::uint8_t* read = text.data();
    const std::int32_t code =
        rscpCConvert(&object, written, converted.data() + converted.size(), read, text.data() + text.size());
    return code == 0 && std::equal(converted.data(), written, text.begin(), text.end());
}

// Active converters by pair of code pages: a process meets few pairs, and activation costs more than a short text.
// Used under the conversion lock.
class ConverterCache {
public:
    // Null when activation failed; then `code` says why.
    ReadyConverter* find(std::string_view source, std::string_view target, std::int32_t& code) {
        code = 0;
        for (ReadyConverter& entry : entries_) {
            if (entry.active && sameText(entry.object.sourceCodePage, source) &&
                sameText(entry.object.targetCodePage, target)) {
                return &entry;
            }
        }
        ReadyConverter& entry = entries_[next_];
        next_ = (next_ + 1) % entries_.size();
        entry.active = false;
        rscpCStandardSettings(entry.object, source.data(), target.data());
        code = rscpCActivate(&entry.object, true, true);
        entry.active = code == 0;
        entry.keepsPlainText = entry.active && keepsPlainText(entry.object);
        return entry.active ? &entry : nullptr;
    }

private:
    static bool sameText(const char (&codePage)[4], std::string_view text) {
        return std::memcmp(codePage, text.data(), sizeof codePage) == 0;
    }

    std::array<ReadyConverter, 4> entries_;
    std::size_t next_ = 0;
};

ConverterCache& converterCache() {
    static ConverterCache cache;
    return cache;
}

}  // namespace

namespace {

// A converter that is ready for a pair of code pages, or the code with which the conversion fails. The caller holds the
// conversion lock for as long as it uses the converter.
std::int32_t prepareConverter(std::string_view source, std::string_view target, ReadyConverter*& converter) {
    std::int32_t code = 0;
    try {
        code = rscpCInit();
        if (code != 0) {
            TRACE_ERROR("Error in rscpCInit rc = %d", code);
            writeReport();
            return kConverterStartFailed;
        }
        converter = converterCache().find(source, target, code);
    } catch (const std::bad_alloc&) {  // names of files and what is read from them
        return kConverterNoMemory;
    }
    if (converter == nullptr) {
        TRACE_ERROR("Error in rscpCActivate rc = %d", code);
        writeReport();
        return kConverterActivationFailed;
    }
    return 0;
}

std::int32_t convertWith(ReadyConverter& converter, std::span<std::uint8_t> target,
                         std::span<const std::uint8_t> source, std::uint32_t* converted) {
    std::uint8_t* written = target.data();
    const std::uint8_t* read = source.data();
    const std::int32_t code =
        rscpCConvert(&converter.object, written, target.data() + target.size(), read, source.data() + source.size());
    if (code != 0) {
        TRACE_ERROR("Error in rscpCConvert rc = %d", code);
        writeReport();
        return kConversionFailed;
    }
    *converted = static_cast<std::uint32_t>(written - target.data());
    return 0;
}

// A null converter is prepared first, so that the next text of the same pair finds it.
std::int32_t convertNode(std::string_view source, std::string_view target, ReadyConverter*& converter,
                         ContentNode& node) {
    if (node.length == 0) {
        return VORAK_OK;
    }
    std::int32_t code = converter != nullptr ? 0 : prepareConverter(source, target, converter);
    if (code == 0 && converter->keepsPlainText && isPlainText(node.bytes())) {
        node.convertedLength = node.length;
        return VORAK_OK;
    }
    std::array<std::uint8_t, kUnitCapacity> original;
    const std::size_t length = std::min<std::size_t>(node.length, kUnitCapacity);
    std::memcpy(original.data(), node.contents, length);
    std::memset(node.contents, 0, sizeof node.contents);
    std::uint32_t converted = 0;
    if (code == 0) {
        code = convertWith(*converter, node.contents, std::span(original).first(length), &converted);
    }
    if (code != 0) {
        TRACE_ERROR("Couldn't convert ticket content. rc = %d", code);
        return VORAK_INVALID;
    }
    node.length = static_cast<std::uint16_t>(converted);
    node.convertedLength = node.length;
    return VORAK_OK;
}

}  // namespace

std::int32_t ConvertText(std::span<std::uint8_t> target, std::span<const std::uint8_t> source,
                         std::string_view targetCodePage, std::string_view sourceCodePage, std::uint32_t* converted) {
    *converted = 0;
    const ThrCSGuard lock(libraryState().conversionLock);
    ReadyConverter* converter = nullptr;
    const std::int32_t code = prepareConverter(sourceCodePage, targetCodePage, converter);
    return code != 0 ? code : convertWith(*converter, target, source, converted);
}

std::int32_t ConvertContentNode(std::string_view source, std::string_view target, ContentNode& node) {
    const ThrCSGuard lock(libraryState().conversionLock);
    ReadyConverter* converter = nullptr;
    return convertNode(source, target, converter, node);
}

std::int32_t ConvertContentList(std::string_view source, std::string_view target, ContentList& contents) {
    TRACE(2, "Convert ticket content from KAV_CODEPAGE >%4.4s< to >%4.4s< \n", source.data(), target.data());
    const ThrCSGuard lock(libraryState().conversionLock);
    ReadyConverter* converter = nullptr;
    for (ContentNode* node = contents.first(); node != nullptr; node = node->next) {
        const InfoUnit* unit = findInfoUnit(node->id);
        if (unit == nullptr || unit->kind != UnitKind::codePageText) {
            continue;
        }
        if (const std::int32_t code = convertNode(source, target, converter, *node); code != VORAK_OK) {
            TRACE(2, "Error in converting content %s \n", unit->name);
            TraceHexDump(node, sizeof *node);
            return code;
        }
    }
    return VORAK_OK;
}

std::int32_t NewUtf8ContentNode(std::unique_ptr<ContentNode>& node, std::span<const std::uint8_t> text,
                                std::uint32_t id, std::string_view sourceCodePage) {
    node.reset();
    // No code page needs more than six bytes of UTF-8 for one of its own.
    std::vector<std::uint8_t> utf8(6 * text.size() + 1);
    std::uint8_t* written = utf8.data();
    const std::uint8_t* read = text.data();
    std::int32_t code = 0;
    {
        const ThrCSGuard lock(libraryState().conversionLock);
        code = rscpCToUtf8(sourceCodePage.data(), written, utf8.data() + utf8.size() - 1, read, read + text.size());
    }
    if (code != 0) {
        TRACE_ERROR("Conversion of data to utf-8 failed, rc = %d.\n", code);
        return -1;
    }
    const std::size_t length =
        strnlen(reinterpret_cast<const char*>(utf8.data()), static_cast<std::size_t>(written - utf8.data()));
    code = NewContentNode(utf8.data(), length, id, node);
    if (code != VORAK_OK) {
        // The id is printed as a character: deliberate, operators search their traces for it.
        TRACE_ERROR("Couldn't create item %c, rc = %d.\n", static_cast<int>(id), code);
        return -1;
    }
    return 0;
}

void TraceHexDump(const void* data, std::size_t length) {
    DpTrcHexLines(data, length);
}

}  // namespace quorvanti
