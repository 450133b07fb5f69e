// The vector form of the four-channel recursive Gaussian (not exported).
//
// The same recursion as gaussianLine, two channels to a register, with
// every sum taken in the same order as the plain form: results are the
// plain form's to the bit. What makes it fast is less the lanes than the
// grouping: several rows, or a block of adjacent columns, run side by
// side, so that their independent recursions hide each other's latency
// and every cache line of the intermediate image is used whole; and that
// image comes in huge pages rather than one fault per small page.
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

// Both passes over a w x h image of four-channel pixels of Src into pixels
// of Dst (uint8_t or float). Statuses as the plain form's: a refused or
// failed intermediate image returns the bitmap allocator's status, and
// without scratch lines dst is left as it was, with S_OK.
template <typename Src, typename Dst>
HRESULT gaussianBlurVector(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride, int32_t w, int32_t h,
                           const GaussianCoefficients& gh, const GaussianCoefficients& gv);

extern template HRESULT gaussianBlurVector<uint8_t, uint8_t>(uint8_t*, int32_t, const uint8_t*, int32_t, int32_t,
                                                             int32_t, const GaussianCoefficients&,
                                                             const GaussianCoefficients&);
extern template HRESULT gaussianBlurVector<uint8_t, float>(uint8_t*, int32_t, const uint8_t*, int32_t, int32_t, int32_t,
                                                           const GaussianCoefficients&, const GaussianCoefficients&);
extern template HRESULT gaussianBlurVector<float, float>(uint8_t*, int32_t, const uint8_t*, int32_t, int32_t, int32_t,
                                                         const GaussianCoefficients&, const GaussianCoefficients&);

}  // namespace qz
