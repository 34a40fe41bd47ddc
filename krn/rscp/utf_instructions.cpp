#include "krn/rscp/utf_instructions.h"

#include <initializer_list>

#ifdef QUORVANTI_AVX512
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace quorvanti {
namespace {

#ifdef QUORVANTI_AVX512
constexpr unsigned bits(std::initializer_list<int> numbers) {
    unsigned set = 0;
    for (const int number : numbers) {
        set |= 1U << number;
    }
    return set;
}

// What utf_avx512_*.cpp are compiled for, and that the system keeps the registers. The numbers are the processor
// manuals'.
bool hasAvx512() {
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    constexpr unsigned kPopcntAndOsxsave = bits({23, 27});
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0 || (ecx & kPopcntAndOsxsave) != kPopcntAndOsxsave) {
        return false;
    }
    constexpr unsigned kAllVectorRegisters = bits({1, 2, 5, 6, 7});
    if ((_xgetbv(0) & kAllVectorRegisters) != kAllVectorRegisters) {
        return false;
    }
    constexpr unsigned kLzcnt = bits({5});
    if (__get_cpuid(0x80000001, &eax, &ebx, &ecx, &edx) == 0 || (ecx & kLzcnt) != kLzcnt) {
        return false;
    }
    constexpr unsigned kBmi1Bmi2AndFDqBwVl = bits({3, 8, 16, 17, 30, 31});
    constexpr unsigned kVbmi1And2 = bits({1, 6});
    return __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) != 0 && (ebx & kBmi1Bmi2AndFDqBwVl) == kBmi1Bmi2AndFDqBwVl &&
           (ecx & kVbmi1And2) == kVbmi1And2;
}
#else
bool hasAvx512() {
    return false;
}
#endif

}  // namespace

bool available(UtfInstructions instructions) {
    static const bool avx512 = hasAvx512();
    switch (instructions) {
        case UtfInstructions::avx512:
            return avx512;
        case UtfInstructions::sse2:
#ifdef __SSE2__
            return true;
#else
            return false;
#endif
        case UtfInstructions::portable:
            break;
    }
    return true;
}

UtfInstructions fastestUtfInstructions() {
    UtfInstructions fastest = UtfInstructions::portable;
    for (const UtfInstructions instructions : kAllUtfInstructions) {
        fastest = available(instructions) ? instructions : fastest;
    }
    return fastest;
}

}  // namespace quorvanti
