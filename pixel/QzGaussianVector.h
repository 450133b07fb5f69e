// The vector form of the recursive Gaussian (not exported).
//
// The same recursion as gaussianLine, four lanes of doubles to a register,
// with every sum taken in the same order as the plain form: results are the
// plain form's to the bit. In the four-channel forms a register holds the
// four channels of one pixel; in the one-channel forms it holds the one
// channel of four adjacent lines. What makes it fast is as much the
// grouping as the lanes: several rows, or a block of adjacent columns, run
// side by side, so that their independent recursions hide each other's
// latency and every cache line of the intermediate image is used whole; and
// the scratch memory is kept from call to call rather than faulted in anew.
#pragma once

#include <atomic>
#include <cstdint>

#include "QzDib.h"
#include "QzGaussian.h"

namespace qz {

// Set only by tests and benchmarks, to run the plain form where the vector
// one would be chosen and compare the two.
inline std::atomic<bool> gaussianPlainOnly{false};

inline bool gaussianVectorSelected() {
    constexpr uint32_t needed = QZCPU_SSE41 | QZCPU_AVX2;
    return !gaussianPlainOnly.load(std::memory_order_relaxed) && (QzGetCPUSupport(4095) & needed) == needed;
}

// Both passes over a w x h image of Src samples into Dst samples (uint8_t
// or float), four elements to a pixel. C is 4 for the whole pixel, 1 for
// one channel: srcChannel and dstChannel are then the element offsets
// within the pixel, and the other elements of dst are not written.
// Statuses as the plain form's: a refused intermediate image returns the
// bitmap allocator's status, and without scratch memory dst is left as it
// was, with S_OK.
template <int C, typename Src, typename Dst>
HRESULT gaussianBlurVector(uint8_t* dst, int32_t dstStride, int dstChannel, const uint8_t* src, int32_t srcStride,
                           int srcChannel, int32_t w, int32_t h, const GaussianCoefficients& gh,
                           const GaussianCoefficients& gv);

#define QZ_GAUSSIAN_VECTOR_FORM(C, Src, Dst)                                                                        \
    template HRESULT gaussianBlurVector<C, Src, Dst>(uint8_t*, int32_t, int, const uint8_t*, int32_t, int, int32_t, \
                                                     int32_t, const GaussianCoefficients&,                          \
                                                     const GaussianCoefficients&)
extern QZ_GAUSSIAN_VECTOR_FORM(4, uint8_t, uint8_t);
extern QZ_GAUSSIAN_VECTOR_FORM(4, uint8_t, float);
extern QZ_GAUSSIAN_VECTOR_FORM(4, float, float);
extern QZ_GAUSSIAN_VECTOR_FORM(1, uint8_t, uint8_t);
extern QZ_GAUSSIAN_VECTOR_FORM(1, float, float);

// Releases the scratch memory kept for the next call (tests, and hosts
// that want the memory back between renders).
void gaussianReleaseScratch();

}  // namespace qz
