#include "krn/rscp/converter_state.h"

#include <array>
#include <atomic>

namespace quorvanti {
namespace {

constexpr const char* kStateNames[] = {"fresh",         "init_started", "initialized",
                                       "wrong_version", "init_started", "reinitialize"};

std::atomic<RscpState> state{RscpState::fresh};
std::array<std::atomic<std::int32_t>, 32> options{};

}  // namespace

RscpState rscpState() {
    return state.load(std::memory_order_acquire);
}

void setRscpState(RscpState newState) {
    state.store(newState, std::memory_order_release);
}

bool conversionAllowed() {
    const RscpState now = rscpState();
    return now == RscpState::initialized || now == RscpState::filled || now == RscpState::reinitialize;
}

const char* rscpStateName(RscpState which) {
    return kStateNames[static_cast<std::size_t>(which)];
}

std::int32_t rscpOption(int number) {
    return options.at(static_cast<std::size_t>(number));
}

void setRscpOption(int number, std::int32_t value) {
    options.at(static_cast<std::size_t>(number)) = value;
}

}  // namespace quorvanti
