#include "krn/rscp/converter_error.h"

#include "krn/rscp/converter_hooks.h"
#include "krn/thr/thr.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <system_error>

namespace quorvanti {
namespace {

// clang-format off
constexpr RscpErrorCode kErrorCodes[] = {
    // code        flag message name             text
    {RSCPEINTERN,   1,   "001",  "RSCPEINTERN",   "Some other internal error"},
    {RSCPEIO,       1,   "004",  "RSCPEIO",       "Some I/O error."},
    {RSCPEINVAL,    1,   "005",  "RSCPEINVAL",    "Invalid arguments"},
    {RSCPETOOLONG,  0,   "006",  "RSCPETOOLONG",  "The data was longer than the buffer."},
    {RSCPECALL,     1,   "007",  "RSCPECALL",     "Illegal mixture of procedure calls."},
    {RSCPENOOBJ,    0,   "008",  "RSCPENOOBJ",    "No such object"},
    {RSCPEBUSY,     0,   "009",  "RSCPEBUSY",     "Object is busy or locked"},
    {RSCPEUNIQ,     0,   "010",  "RSCPEUNIQ",     "Selects more than one object"},
    {RSCPENOCONV,   0,   "012",  "RSCPENOCONV",   "Wanted conversion not available."},
    {RSCPEBADO,     1,   "013",  "RSCPEBADO",     "A handle is invalid or corrupted."},
    {RSCPEODATA,    0,   "014",  "RSCPEODATA",    "There is no more data."},
    {RSCPEROLLBACK, 1,   "015",  "RSCPEROLLBACK", "There happened a data base roll back"},
};
// clang-format on

constexpr const char* kMessageClass = "TS";

template <std::size_t Size>
void assign(char (&field)[Size], std::string_view text) {
    const std::size_t length = std::min(text.size(), Size - 1);
    std::copy_n(text.data(), length, field);
    field[length] = '\0';
}

std::string_view orEmpty(const char* text) {
    return text != nullptr ? text : std::string_view();
}

// The part behind the last "/" up to the first ".", in eight characters.
void assignModule(char (&field)[9], std::string_view identification) {
    std::string_view name = identification.substr(identification.rfind('/') + 1);
    name = name.substr(0, name.find('.'));
    if (name.empty()) {
        name = "?modul?";
    }
    std::memset(field, ' ', 8);
    std::copy_n(name.data(), std::min<std::size_t>(name.size(), 8), field);
    field[8] = '\0';
}

void destroyRecord(void* record) {
    delete static_cast<RscpErrorRecord*>(record);
}

ThrKey recordKey = kThrNoKeyYet;
std::once_flag recordKeyOnce;
bool recordKeyValid = false;

bool createRecordKey() {
    std::call_once(recordKeyOnce, [] {
        const std::int32_t code = ThrKeyCreate(recordKey, destroyRecord);
        recordKeyValid = code == kThrOk || code == kThrKeyExists;
    });
    return recordKeyValid;
}

RscpErrorRecord* existingRecord() {
    return createRecordKey() ? static_cast<RscpErrorRecord*>(ThrKeyGet(recordKey)) : nullptr;
}

// Without a record the error is only returned, not reported.
RscpErrorRecord* recordOfThread() {
    if (!createRecordKey()) {
        std::fputs("rscpmc5: ThrKeyGet failed\n", stderr);
        return nullptr;
    }
    if (auto* record = static_cast<RscpErrorRecord*>(ThrKeyGet(recordKey))) {
        return record;
    }
    std::unique_ptr<RscpErrorRecord> record(new (std::nothrow) RscpErrorRecord);
    if (record == nullptr || !ThrKeySet(recordKey, record.get())) {
        std::fputs("rscpmc5: ThrKeyVarSet failed\n", stderr);
        return nullptr;
    }
    return record.release();  // the key's destructor owns it now
}

void traceCompactForm(const RscpErrorRecord& record, std::string_view module) {
    converterTrace("rscpe__error %ld at %.*s(%d;%d) \"%.100s\" (%.100s)", static_cast<long>(record.code),
                   static_cast<int>(module.size()), module.data(), record.site, record.line, record.message,
                   record.detail);
}

void lookUpCode(RscpErrorRecord& record) {
    const auto codes = rscpErrorCodes();
    const auto row = std::ranges::find(codes, record.code, &RscpErrorCode::code);
    const bool known = row != codes.end();
    assign(record.text, known ? row->text : "");
    assign(record.messageNumber, known ? row->message : "   ");
    record.flag = known ? row->flag : std::uint8_t{0};
}

constexpr const char* kNoInitializer = "compile_time";
char initializer[31] = "compile_time";

}  // namespace

std::span<const RscpErrorCode> rscpErrorCodes() {
    return kErrorCodes;
}

std::int32_t rscpe__error(std::int32_t code, char kind, std::int32_t value, const char* module, std::int32_t site,
                          std::int32_t line, const char* message, const char* number, const char* detail,
                          std::int32_t detailLength, std::int32_t, std::int32_t) {
    RscpErrorRecord* record = recordOfThread();
    if (record == nullptr) {
        return code;
    }
    *record = RscpErrorRecord();
    record->code = code;
    assignModule(record->module, orEmpty(module));
    record->site = site;
    record->line = line;
    assign(record->message, orEmpty(message));
    assign(record->messageClass, kMessageClass);
    if (kind == 'I') {
        assign(record->messageNumber, orEmpty(number));
    } else {
        lookUpCode(*record);
    }
    if (detail != nullptr && detailLength > 0) {
        assign(record->detail, std::string_view(detail, static_cast<std::size_t>(detailLength)));
    }
    record->systemError = value > 0 ? value : 0;
    assign(record->reporter, orEmpty(module));
    traceCompactForm(*record, orEmpty(module));
    return code;
}

std::int32_t rscpeFail(std::int32_t code, const char* module, std::int32_t site, std::int32_t line, const char* message,
                       std::string_view detail, std::int32_t systemError) {
    return rscpe__error(code, 'C', systemError, module, site, line, message, nullptr, detail.data(),
                        static_cast<std::int32_t>(detail.size()), 0, 0);
}

std::int32_t rscpePropagate(std::int32_t code, const char* module, std::int32_t site, std::int32_t line,
                            const char* message, std::string_view detail) {
    const RscpErrorRecord* first = existingRecord();
    if (first == nullptr || first->code == 0) {
        return rscpeFail(code, module, site, line, message, detail);
    }
    const RscpErrorRecord before = *first;
    rscpeFail(code, module, site, line, message, detail, before.systemError);
    RscpErrorRecord* record = existingRecord();
    assign(record->reporter, before.reporter);
    assign(record->cause, before.cause[0] != '\0' ? before.cause : before.message);
    assign(record->propagator, orEmpty(module));
    return code;
}

void rscpeReset() {
    if (RscpErrorRecord* record = existingRecord()) {
        *record = RscpErrorRecord();
    }
}

const RscpErrorRecord* rscpeCurrent() {
    return existingRecord();
}

void rscpeSetInitializer(const char* name) {
    if (std::string_view(initializer) != name) {  // others may be reading it
        assign(initializer, name);
    }
}

const char* rscpeInitializer() {
    return initializer;
}

void rscpeReport(RscpLineWriter write, void* context) {
    static const RscpErrorRecord nothing;
    const RscpErrorRecord* current = existingRecord();
    const RscpErrorRecord& record = current != nullptr ? *current : nothing;
    char line[80];
    const auto row = [&](const char* format, auto... values) {
        std::snprintf(line, sizeof line, format, values...);
        write(context, line);
    };
    write(context, ".------------------------------============----------------------------.");
    write(context, "|                              RSCP - Error                            |");
    write(context, "|----------------------------------------------------------------------|");
    row("| Error from: %47.47s          |", record.reporter);
    if (record.propagator[0] != '\0') {
        row("| Error propagation from: %35.35s          |", record.propagator);
    }
    row("| code:%5d  %-51.51s      |", record.code, record.text);
    row("| %-68.68s |", record.message);
    if (record.cause[0] != '\0') {
        row("| %-68.68s |", record.cause);
    }
    row("| module: %-8.8s no:%5d line:%6d                    T100: %-2.2s%-3.3s |", record.module, record.site,
        record.line, record.messageClass, record.messageNumber);
    if (record.systemError != 0) {
        write(context, "| Some OS information, which may or may not belong to this error:      |");
        row("| errno%6d  %-55.55s |", record.systemError, std::generic_category().message(record.systemError).c_str());
    }
    if (std::string_view(initializer) != kNoInitializer) {
        row("| Impromptu CCC initialization by %-30.30s       |", initializer);
    }
    write(context, "`----------------------------------------------------------------------'");
}

}  // namespace quorvanti
