#include "app/vector_state.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

namespace {

// Compiled for AVX alone, so that the compiler knows what the instruction
// does to the registers; only called once the processor says it has AVX.
__attribute__((target("avx"))) void zeroUpperHalves() { _mm256_zeroupper(); }

}  // namespace

void clear_upper_vector_state()
{
    // The library's check includes the operating system's support of the
    // AVX state.
    static const bool hasAvx = __builtin_cpu_supports("avx");
    if (hasAvx)
        zeroUpperHalves();
}
#else
void clear_upper_vector_state() {}
#endif
