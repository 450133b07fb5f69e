// The vector forms of pixel loops: chosen at run time where the processor
// has AVX2 (with SSE4.1), compiled for it function by function, so that the
// module still runs on any x86-64. A vector form does the plain form's
// operations on each lane, in the same order, without fused multiply-adds,
// and so gives the plain form's results to the bit; the plain form handles
// the rest of a row and processors without AVX2.
#pragma once

#include <cstdint>

#include "QzDib.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
// Marks a function compiled for AVX2.
#define QZ_AVX2 __attribute__((target("avx2")))
#define QZ_HAS_VECTOR_PATHS 1
#endif

namespace qz {

inline bool avx2Selected() {
    constexpr uint32_t needed = QZCPU_SSE41 | QZCPU_AVX2;
    return (QzGetCPUSupport(4095) & needed) == needed;
}

}  // namespace qz
