// How far the converter has come in this process, and the numbered options that initialization stores.
#pragma once

#include <cstdint>

namespace quorvanti {

enum class RscpState : std::int32_t {
    fresh,        // nothing done yet
    initStarted,  // initialization runs
    initialized,
    failed,        // cache initialization failed
    filled,        // cache filled, initialization finishing; conversion already allowed
    reinitialize,  // the cache must be rebuilt; conversion is still allowed
};

RscpState rscpState();
void setRscpState(RscpState state);
bool conversionAllowed();
// As the cache report names it.
const char* rscpStateName(RscpState which);

inline constexpr int kOptionOnError = 6;
inline constexpr int kOptionProtect = 20;
std::int32_t rscpOption(int number);
void setRscpOption(int number, std::int32_t value);

}  // namespace quorvanti
