// The converter's error codes and the error record that every thread has of its own.
#pragma once

#include "krn/rscp/converter.h"

#include <span>
#include <string_view>

namespace quorvanti {

struct RscpErrorCode {
    std::int32_t code;
    std::uint8_t flag;
    const char* message;  // three digits
    const char* name;
    const char* text;
};
std::span<const RscpErrorCode> rscpErrorCodes();

struct RscpErrorRecord {
    std::int32_t code = 0;
    char text[52] = "";
    std::uint8_t flag = 0;
    char module[9] = "";
    std::int32_t site = 0;
    std::int32_t line = 0;
    char message[101] = "";
    char messageClass[3] = "";
    char messageNumber[4] = "";
    char detail[101] = "";
    std::int32_t systemError = 0;
    char reporter[48] = "";
    char propagator[36] = "";
    char cause[101] = "";  // the first message, once a propagation replaced it
};

// Records an error for the calling thread and returns its code. `value` is the operating system's error number, or -1.
// Kind 'I': the code is not looked up, and `number` is shown in place of the table's message number.
std::int32_t rscpe__error(std::int32_t code, char kind, std::int32_t value, const char* module, std::int32_t site,
                          std::int32_t line, const char* message, const char* number, const char* detail,
                          std::int32_t detailLength, std::int32_t reserved1, std::int32_t reserved2);

// The converter's own reports, kind 'C'.
std::int32_t rscpeFail(std::int32_t code, const char* module, std::int32_t site, std::int32_t line, const char* message,
                       std::string_view detail = {}, std::int32_t systemError = -1);
// Passes an error on: the record keeps its first reporter, and its message as the cause of the new one.
std::int32_t rscpePropagate(std::int32_t code, const char* module, std::int32_t site, std::int32_t line,
                            const char* message, std::string_view detail = {});

// Forgets the calling thread's error.
void rscpeReset();
// The calling thread's record; null when it has none.
const RscpErrorRecord* rscpeCurrent();

// Who initialized the converter, "compile_time" before anyone did. At most 30 characters are kept.
void rscpeSetInitializer(const char* name);
const char* rscpeInitializer();

}  // namespace quorvanti
