#include "base/dptrc/trace_line.h"

#include "base/dptrc/dptrace.h"
#include "base/dptrc/trace_format.h"
#include "base/dptrc/trace_watch.h"
#include "krn/thr/thr.h"
#include "krn/thr/thr_time.h"
#include "krn/time/clock.h"
#include "krn/time/local_time.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <string_view>

namespace quorvanti {
namespace {

constexpr char kUnit[] = "base/dptrc/dptrace";
constexpr int kMessageLine = 2871;
constexpr int kErrorLine = 3274;
constexpr char kErrorPrefix[] = "*** ERROR => ";
constexpr char kWarningPrefix[] = "*** WARNING => ";

constexpr std::size_t kFormatWidth = 1024;
constexpr std::size_t kBaseNameWidth = 12;
constexpr std::size_t kSuffixSize = sizeof " [123456789012 12345]\n";
constexpr std::uint32_t kStampAfterRequests = 40;

// All of it under the trace lock.
constinit char lineBuffer[8192] = {};
constinit std::size_t lineLength = 0;
constinit char location[32] = {};
constinit std::int64_t lastStampSecond = 0;
constinit std::uint32_t stampRequests = 0;

class ErrnoKeeper {
public:
    ErrnoKeeper() : value_(errno) {}
    ~ErrnoKeeper() { errno = value_; }
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

private:
    int value_;
};

void write(std::FILE* stream, std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stream);
}
void write(std::FILE* stream, const ThreadTag& tag) {
    write(stream, {tag.text, tag.length});
}

// At most one stamp a second, but every 40th request gets one even within the same second: deliberate, and what reads
// long traces of one second relies on it.
void stampIfDue(std::FILE* stream, const ThreadTag& tag) {
    ++stampRequests;
    const std::int64_t now = currentSeconds();
    if (stampRequests < kStampAfterRequests && now == lastStampSecond) {
        return;
    }
    lastStampSecond = now;
    if (traceState().level.load(std::memory_order_relaxed) == 1) {
        write(stream, "\n");
    }
    write(stream, tag);
    std::tm record{};
    char text[kThrAsctimeSize];
    if (continuousLocalTime(now, record) != nullptr && ThrAsctime(record, text) != nullptr) {
        std::fprintf(stream, "%.24s\n", text);
    } else {
        write(stream, "ERROR IN THRASCTIME\n");
    }
    std::fflush(stream);
    stampRequests = 0;
}

enum class Composed { whole, truncated, failed };

// Appends to the line buffer, leaving `spare` bytes of it free.
[[gnu::format(printf, 2, 0)]] Composed append(std::size_t spare, const char* format, std::va_list arguments) {
    const std::size_t room = sizeof lineBuffer - spare - lineLength;
    const int needed = std::vsnprintf(lineBuffer + lineLength, room, format, arguments);
    if (needed < 0) {
        return Composed::failed;
    }
    const bool fits = static_cast<std::size_t>(needed) < room;
    lineLength += fits ? static_cast<std::size_t>(needed) : room - 1;
    return fits ? Composed::whole : Composed::truncated;
}

// As it stands; false when it had to be cut.
bool append(std::string_view text) {
    const std::string_view cut = text.substr(0, sizeof lineBuffer - 1 - lineLength);
    cut.copy(lineBuffer + lineLength, cut.size());
    lineLength += cut.size();
    lineBuffer[lineLength] = '\0';
    return cut.size() == text.size();
}

void beginLine(const ThreadTag& tag) {
    lineLength = 0;
    append({tag.text, tag.length});
}

void reportFormatFailure(std::FILE* stream, int line) {
    std::fprintf(stream, "%svsnprintfU err, errno=%d [%s %d]\n", kErrorPrefix, errno, kUnit, line);
    std::fflush(stream);
}

void reportTruncation(std::FILE* stream) {
    std::fprintf(stream, "\n%sdata was truncated\n", kWarningPrefix);
}

// Every line behind the first gets a tag of its own. A newline at the very end, or before a last carriage return, ends
// the message; without one the next message continues the line.
void writeLines(std::FILE* stream, const ThreadTag& tag) {
    std::string_view rest(lineBuffer, lineLength);
    while (true) {
        const std::size_t newline = rest.find('\n');
        const std::string_view following =
            newline == std::string_view::npos ? std::string_view() : rest.substr(newline + 1);
        if (following.empty() || following == "\r") {
            write(stream, rest);
            return;
        }
        write(stream, rest.substr(0, newline + 1));
        write(stream, tag);
        rest = following;
    }
}

[[gnu::format(printf, 3, 0)]] void writePositioned(std::FILE* stream, const char* prefix, const char* format,
                                                   std::va_list arguments) {
    const ErrnoKeeper keeper;
    const TraceLock lock;
    std::FILE* const target = stream != nullptr ? stream : stderr;
    const ThreadTag tag = threadTag(ThrCurrentId());
    stampIfDue(target, tag);
    beginLine(tag);
    append(prefix);

    std::string_view text(format);
    if (text.size() > kFormatWidth) {
        write(target, "*** ERROR => Dptrc fmt string truncated\n");
        text = cutFormat(text, kFormatWidth);
    }
    if (text.ends_with('\n')) {
        text.remove_suffix(1);
    }
    char work[kFormatWidth + 1];
    work[text.copy(work, text.size())] = '\0';

    const Composed result = append(kSuffixSize, work, arguments);
    if (result == Composed::failed) {
        reportFormatFailure(target, kErrorLine);
        return;
    }
    const char* line = std::strlen(location) > kBaseNameWidth ? location + kBaseNameWidth : "";
    lineLength += static_cast<std::size_t>(
        std::snprintf(lineBuffer + lineLength, sizeof lineBuffer - lineLength, " [%-12.12s %.5s]\n", location, line));
    write(target, {lineBuffer, lineLength});
    if (result == Composed::truncated) {
        reportTruncation(target);
    }
    traceCheckWatchList(target, lineBuffer);
    std::fflush(target);
}

}  // namespace

ThreadTag threadTag(std::uint64_t id) {
    char number[24] = "???";
    if (id != kThrNoId) {
        std::snprintf(number, sizeof number, "%llu", static_cast<unsigned long long>(id));
    }
    ThreadTag tag{};
    tag.length = static_cast<std::size_t>(std::snprintf(tag.text, sizeof tag.text, "[Thr %2s] ", number));
    return tag;
}

void traceForgetStamp() {
    lastStampSecond = 0;
}

void DpTrcSetLocation(const char* sourcePath, int line) {
    std::string_view name(sourcePath);
    name.remove_prefix(name.find_last_of("/\\") + 1);
    const int width = static_cast<int>(std::min(name.size(), kBaseNameWidth));
    std::snprintf(location, sizeof location, "%-12.*s%d", width, name.data(), line);
}

void DpTrc(std::FILE* stream, const char* format, ...) {
    const ErrnoKeeper keeper;
    const TraceLock lock;
    std::FILE* const target = stream != nullptr ? stream : stderr;
    const ThreadTag tag = threadTag(ThrCurrentId());
    stampIfDue(target, tag);
    beginLine(tag);

    Composed result = Composed::whole;
    if (std::strchr(format, '%') == nullptr) {
        result = append(format) ? Composed::whole : Composed::truncated;
    } else {
        std::va_list arguments;
        va_start(arguments, format);
        result = append(0, format, arguments);
        va_end(arguments);
    }
    if (result == Composed::failed) {
        reportFormatFailure(target, kMessageLine);
        return;
    }
    writeLines(target, tag);
    if (result == Composed::truncated) {
        reportTruncation(target);
    }
    std::fflush(target);
    traceCheckWatchList(target, lineBuffer);
}

void DpTrcError(std::FILE* stream, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    writePositioned(stream, kErrorPrefix, format, arguments);
    va_end(arguments);
}

void DpTrcWarning(std::FILE* stream, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    writePositioned(stream, kWarningPrefix, format, arguments);
    va_end(arguments);
}

}  // namespace quorvanti
