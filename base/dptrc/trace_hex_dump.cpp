#include "base/dptrc/dptrace.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace quorvanti {
namespace {

constexpr std::size_t kBytesPerLine = 16;
constexpr char kDigits[] = "0123456789abcdef";

void dumpLine(std::FILE* stream, std::size_t offset, std::span<const unsigned char> bytes) {
    char offsetText[9];
    char hex[50];
    char text[kBytesPerLine + 1];
    std::snprintf(offsetText, sizeof offsetText, "%08X", static_cast<unsigned>(offset));
    std::memset(hex, ' ', sizeof hex - 1);
    std::memset(text, ' ', sizeof text - 1);
    hex[sizeof hex - 1] = '\0';
    text[sizeof text - 1] = '\0';
    for (std::size_t index = 0; index < std::min(bytes.size(), kBytesPerLine); ++index) {
        const unsigned char byte = bytes[index];
        char* const place = hex + 3 * index + (index >= kBytesPerLine / 2 ? 1 : 0);
        place[0] = kDigits[byte >> 4];
        place[1] = kDigits[byte & 15];
        text[index] = byte >= 0x20 && byte <= 0x7E ? static_cast<char>(byte) : '.';
    }
    DpTrc(stream, "%s  %s %s\n", offsetText, hex, text);
}

void dump(const void* data, std::size_t length, bool closingLine) {
    if (!traceEnabled(3)) {
        return;
    }
    const TraceLock lock;
    std::FILE* const stream = traceState().stream.load();
    if (stream == nullptr) {
        return;
    }
    const std::span bytes(static_cast<const unsigned char*>(data), length);
    for (std::size_t offset = 0; offset < length; offset += kBytesPerLine) {
        dumpLine(stream, offset, bytes.subspan(offset, std::min(kBytesPerLine, length - offset)));
    }
    if (closingLine && length % kBytesPerLine == 0) {
        dumpLine(stream, length, {});
    }
}

}  // namespace

// The line that is not full is written even when it is empty: deliberate, its offset tells the length.
void DpTrcHexDump(const void* data, std::size_t length) {
    dump(data, length, true);
}

void DpTrcHexLines(const void* data, std::size_t length) {
    dump(data, length, false);
}

}  // namespace quorvanti
