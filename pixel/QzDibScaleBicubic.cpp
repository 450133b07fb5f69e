// The bi-cubic scaler: the Catmull-Rom kernel (Keys' cubic with a = -0.5)
// over 4 x 4 source pixels on up-scaled axes. A down-scaled axis takes the
// same exact area average as the bi-linear scaler: a cubic stretched over a
// wide footprint would only blur it less evenly.
#include <new>

#include "QzDib.h"
#include "QzScaleRows.h"

namespace {

// The four weights at fraction t past the second tap. They sum to 1, are
// (0, 1, 0, 0) at t = 0 so that whole positions return the pixel, and dip
// below zero on the outer taps, which overshoots at hard edges.
void catmullRom(double t, double* w) {
    const double t2 = t * t, t3 = t2 * t;
    w[0] = 0.5 * (-t3 + 2.0 * t2 - t);
    w[1] = 0.5 * (3.0 * t3 - 5.0 * t2 + 2.0);
    w[2] = 0.5 * (-3.0 * t3 + 4.0 * t2 + t);
    w[3] = 0.5 * (t3 - t2);
}

constexpr qz::ScaleKernel kCubic{4, -1, catmullRom};

}  // namespace

namespace qz {

// The tables are built once per call, one entry per destination column and
// row; the loops only multiply and add.
HRESULT scaleBiCubic(const QzSubpixelParam& p, int32_t bytesPerPixel) {
    try {
        resample(p, bytesPerPixel, axisTaps(horizontalAxis(p), kCubic), axisTaps(verticalAxis(p), kCubic));
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

}  // namespace qz

// flags and extra are reserved.
extern "C" HRESULT QzDibScale_BiCubic(void* dst, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                                      const void* src, const SIZE* srcSize, int32_t srcStride, const RECT* srcRect,
                                      int32_t bytesPerPixel, uint32_t, void*) {
    return qz::scaleWholePixels(qz::scaleBiCubic, dst, dstSize, dstStride, dstRect, src, srcSize, srcStride, srcRect,
                                bytesPerPixel);
}

extern "C" HRESULT QzDibScale_BiCubicSubPixel(void* dst, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                                              const void* src, const SIZE* srcSize, int32_t srcStride,
                                              const RECT* srcRect, int32_t bytesPerPixel, uint32_t, void*) {
    return qz::scaleSubPixel(qz::scaleBiCubic, dst, dstSize, dstStride, dstRect, src, srcSize, srcStride, srcRect,
                             bytesPerPixel);
}
