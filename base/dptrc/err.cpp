#include "base/dptrc/err.h"

#include "base/dptrc/dptrace.h"
#include "base/dptrc/release.h"
#include "base/dptrc/trace_format.h"
#include "krn/thr/static_lock.h"
#include "krn/thr/thr.h"
#include "krn/thr/thr_time.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "base/dptrc/err";
constexpr int kTooLargeLine = 900;
constexpr char kMarker[] = "*ERR*";
constexpr char kFormatVersion[] = "1";
constexpr std::string_view kHalves = "::::";     // between what comes of the text and what comes of the detail
constexpr std::string_view kArguments = ";;;;";  // between the arguments of one of them
constexpr std::size_t kTextWidth = 500;
constexpr std::size_t kRecordSize = 500;
constexpr std::size_t kFrameLength = 35;  // what the length rule adds for markers, version and terminators
constexpr std::size_t kNumberLength = 5;

struct ThreadErrorRecord {
    std::unique_ptr<char[]> packed;  // kRecordSize bytes, from the first error on
    std::size_t packedLength = 0;    // 0: no record
    std::int32_t counter = 0;
};

// In the order of the packed record, without its frame.
enum Field {
    kError,
    kReturnCode,
    kComponent,
    kReleaseField,
    kVersion,
    kModule,
    kLine,
    kDetail,
    kTime,
    kSystemCall,
    kErrno,
    kErrnoText,
    kCounter,
    kLocation,
    kTextNumber,
    kTextArguments,
    kDetailNumber,
    kDetailArguments,
    kFieldCount
};
using Fields = std::array<std::string_view, kFieldCount>;

// A record that is too large is traced in this order.
struct FieldLabel {
    const char* label;
    Field field;
};
// clang-format off
constexpr FieldLabel kLabels[] = {
    {"LOCATION",      kLocation},
    {"ERROR",         kError},
    {"TIME",          kTime},
    {"RELEASE",       kReleaseField},
    {"COMPONENT",     kComponent},
    {"VERSION",       kVersion},
    {"RC",            kReturnCode},
    {"MODULE",        kModule},
    {"LINE",          kLine},
    {"DETAIL",        kDetail},
    {"SYSTEM CALL",   kSystemCall},
    {"ERRNO",         kErrno},
    {"ERRNO TEXT",    kErrnoText},
    {"DESCR MSG NO",  kTextNumber},
    {"DESCR VARGS",   kTextArguments},
    {"DETAIL MSG NO", kDetailNumber},
    {"DETAIL VARGS",  kDetailArguments},
    {"COUNTER",       kCounter},
};
// clang-format on

void destroyRecord(void* record) {
    std::default_delete<ThreadErrorRecord>()(static_cast<ThreadErrorRecord*>(record));
}

constinit ThrKey recordKey = kThrNoKeyYet;
constinit StaticLock recordKeyLock;

ThreadErrorRecord* threadRecord(bool create) {
    ThrKey key = kThrNoKeyYet;
    {
        const std::lock_guard lock(recordKeyLock);
        if (recordKey == kThrNoKeyYet && (!create || ThrKeyCreate(recordKey, &destroyRecord) != kThrOk)) {
            return nullptr;
        }
        key = recordKey;
    }
    auto* const known = static_cast<ThreadErrorRecord*>(ThrKeyGet(key));
    if (known != nullptr || !create) {
        return known;
    }
    std::unique_ptr<ThreadErrorRecord> record(new (std::nothrow) ThreadErrorRecord);
    return record != nullptr && ThrKeySet(key, record.get()) ? record.release() : nullptr;
}

// A text of fixed capacity; what does not fit is left out.
template <std::size_t size>
class Text {
public:
    void append(std::string_view more) {
        const std::size_t copied = more.copy(text_ + length_, size - 1 - length_);
        length_ += copied;
        text_[length_] = '\0';
    }
    void format(const char* form, std::va_list arguments) {
        const int length = std::vsnprintf(text_, size, form, arguments);
        length_ = length < 0 ? 0 : std::min(static_cast<std::size_t>(length), size - 1);
        text_[length_] = '\0';
    }
    const char* text() const { return text_; }
    std::string_view view() const { return {text_, length_}; }

private:
    char text_[size] = {};
    std::size_t length_ = 0;
};
// Has room for the directives of two formats that hold nothing else, joined.
using Format = Text<2 * (kTextWidth + kTextWidth / 2 * kArguments.size()) + kHalves.size() + 1>;
using Formatted = Text<2000>;

struct Message {
    std::string_view number;
    std::string_view text;
};

Message splitNumber(std::string_view text) {
    if (text.size() >= kNumberLength + 2 && text.front() == '(' && text[kNumberLength + 1] == ')') {
        return {text.substr(1, kNumberLength), text.substr(kNumberLength + 2)};
    }
    return {"", text};
}

struct Halves {
    std::string_view first;
    std::string_view second;
};

Halves split(std::string_view text) {
    const std::size_t position = text.find(kHalves);
    if (position == std::string_view::npos) {
        return {text, ""};
    }
    return {text.substr(0, position), text.substr(position + kHalves.size())};
}

// The conversion directives of a format, joined.
void appendDirectives(Format& result, std::string_view format) {
    bool first = true;
    std::size_t percent = format.find('%');
    while (percent != std::string_view::npos) {
        if (format.substr(percent).starts_with("%%")) {
            percent = format.find('%', percent + 2);
            continue;
        }
        const std::size_t last = format.find_first_of("dsouxXeEfgni", percent);
        if (last == std::string_view::npos) {
            return;
        }
        result.append(first ? "" : kArguments);
        result.append(format.substr(percent, last + 1 - percent));
        first = false;
        percent = format.find('%', last);
    }
}

struct Number {
    char text[16] = {};
    explicit Number(std::int32_t value) {
        if (value != 0) {
            std::snprintf(text, sizeof text, "%d", value);
        }
    }
};

struct TimeText {
    char text[kThrAsctimeSize] = {};
    std::string_view view;
    TimeText() {
        std::tm record{};
        if (ThrLocaltime(record) == nullptr) {
            view = "error in ThrLocaltime";
        } else if (ThrAsctime(record, text) == nullptr) {
            view = "error in ThrAsctime";
        } else {
            view = text;
            view.remove_suffix(view.ends_with('\n') ? 1 : 0);
        }
    }
    TimeText(const TimeText&) = delete;
    TimeText& operator=(const TimeText&) = delete;
};

void pack(ThreadErrorRecord& record, const Fields& fields) {
    std::size_t length = 0;
    const auto add = [&](std::string_view text) {
        length += text.copy(record.packed.get() + length, text.size());
        record.packed[length++] = '\0';
    };
    add(kMarker);
    add(kFormatVersion);
    for (const std::string_view field : fields) {
        add(field);
    }
    add(kMarker);
    record.packedLength = length;
}

void traceTooLarge(const Fields& fields) {
    if (!traceFileEnabled(1)) {
        return;
    }
    const auto print = [](std::string_view text) { return static_cast<int>(text.size()); };
    const TraceLock lock;
    TRACE_FILE_ERROR_AT(kTooLargeLine, "ErrISetSys: error info too large");
    TRACE_FILE(1, "%.*s\n", print(fields[kTime]), fields[kTime].data());
    for (const FieldLabel& entry : kLabels) {
        const std::string_view value = fields[entry.field];
        TRACE_FILE(1, "%-12.12s%.*s\n", entry.label, print(value), value.data());
    }
}

// Stores the fields that the caller knows, together with release, time and counter.
std::int32_t ErrISetSys(ThreadErrorRecord& record, Fields& fields) {
    if (record.packed == nullptr) {
        record.packed.reset(new (std::nothrow) char[kRecordSize]);
        if (record.packed == nullptr) {
            return kErrNoRecord;
        }
    }
    const Number counter(++record.counter);
    const TimeText time;
    fields[kReleaseField] = kRelease;
    fields[kCounter] = counter.text;
    fields[kTime] = time.view;

    // The rule counts more than is packed: deliberate, it decides what fits.
    std::size_t length = kFrameLength;
    for (const std::string_view field : fields) {
        length += field.size();
    }
    if (length <= kRecordSize) {
        pack(record, fields);
        return kErrStored;
    }
    record.packedLength = 0;
    traceTooLarge(fields);
    return kErrTooLarge;
}

}  // namespace

std::int32_t ErrSetInfo(const char* component, std::int32_t version, const char* module, std::int32_t line,
                        const char* text, std::int32_t returnCode, const char* detail, ...) {
    ThreadErrorRecord* const record = threadRecord(true);
    if (record == nullptr) {
        return kErrNoRecord;
    }
    const auto given = [](const char* value) { return std::string_view(value != nullptr ? value : ""); };
    const Message textMessage = splitNumber(cutFormat(given(text), kTextWidth));
    const Message detailMessage = splitNumber(cutFormat(given(detail), kTextWidth));

    Format directives;
    appendDirectives(directives, textMessage.text);
    directives.append(kHalves);
    appendDirectives(directives, detailMessage.text);
    Format messages;
    messages.append(textMessage.text);
    messages.append(kHalves);
    messages.append(detailMessage.text);

    Formatted argumentTexts;
    Formatted messageTexts;
    std::va_list arguments;
    va_start(arguments, detail);
    std::va_list again;
    va_copy(again, arguments);
    argumentTexts.format(directives.text(), arguments);
    messageTexts.format(messages.text(), again);
    va_end(again);
    va_end(arguments);
    const Halves argumentHalves = split(argumentTexts.view());
    const Halves messageHalves = split(messageTexts.view());

    const Number returnCodeText(returnCode);
    const Number versionText(version);
    const Number lineText(line);
    Fields fields;
    fields.fill("");
    fields[kError] = messageHalves.first;
    fields[kReturnCode] = returnCodeText.text;
    fields[kComponent] = given(component);
    fields[kVersion] = versionText.text;
    fields[kModule] = given(module);
    fields[kLine] = lineText.text;
    fields[kDetail] = messageHalves.second;
    fields[kTextNumber] = textMessage.number;
    fields[kDetailNumber] = detailMessage.number;
    fields[kTextArguments] = textMessage.number.empty() ? "" : argumentHalves.first;
    fields[kDetailArguments] = detailMessage.number.empty() ? "" : argumentHalves.second;
    return ErrISetSys(*record, fields);
}

std::string errPackedRecord() {
    const ThreadErrorRecord* const record = threadRecord(false);
    return record != nullptr && record->packedLength > 0 ? std::string(record->packed.get(), record->packedLength)
                                                         : std::string();
}

}  // namespace quorvanti
