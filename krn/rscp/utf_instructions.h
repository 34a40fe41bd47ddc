// The instructions that the UTF members are made of, and which of them this machine has.
#pragma once

namespace quorvanti {

enum class UtfInstructions { portable, sse2, avx512 };
inline constexpr UtfInstructions kAllUtfInstructions[] = {UtfInstructions::portable, UtfInstructions::sse2,
                                                          UtfInstructions::avx512};

// Whether this build has them and this processor and system do.
bool available(UtfInstructions instructions);

UtfInstructions fastestUtfInstructions();

}  // namespace quorvanti
