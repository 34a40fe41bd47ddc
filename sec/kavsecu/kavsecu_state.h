// The second set's record and its bond with the function table. All of it is used under the crypto lock.
#pragma once

#include "krn/dl/dl.h"

#include <array>
#include <cstdint>

namespace quorvanti {

enum class KavSecuState : std::int32_t {
    notStarted = 0,
    complete = 1,
    incomplete = 2,
    unavailable = 3,  // its library could not be opened; until the release no further attempt is made
};

struct KavSecuSet {
    std::int32_t handle = kDlNoHandle;
    std::int32_t refCount = 0;
    std::int32_t fipsMode = 0;
    std::array<DlFunction, 34> entryPoints{};  // in the order of the set's names
    KavSecuState state = KavSecuState::notStarted;
};
const KavSecuSet& kavSecuSet();

// The function table was loaded: starts the set, or counts one more user. The handle is the table's own, or -1 when it
// does not own one.
void KavSecuAttach(std::int32_t tableHandle);
// The function table was released: empties the set.
void KavSecuDetach();

}  // namespace quorvanti
