// The preparation step that opens every raw-view operation (not exported).
#pragma once

#include "QzDib.h"

namespace qz {

// Sizes and first pixels of a prepared raw-view operation.
struct Prepared {
    HRESULT hr = S_OK;
    int32_t w = 0, h = 0;
    uint8_t* src = nullptr;
    uint8_t* dst = nullptr;
    // A failure, or a clip that leaves nothing to do.
    bool empty() const { return hr < 0 || w <= 0 || h <= 0; }
};

// Two images. A null image is refused before anything is computed from it.
inline Prepared prepareCopy(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect, const void* src,
                            const RECT* srcBounds, int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel) {
    Prepared p;
    if (!dst || !src) {
        p.hr = E_POINTER;
        return p;
    }
    p.hr = QzDibPrepareCopy(&p.w, &p.h, &p.src, &p.dst, dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride,
                            srcRect, bytesPerPixel);
    return p;
}

// One image, in place.
inline Prepared prepareSet(void* dst, const RECT* bounds, int32_t stride, const RECT* rect, int32_t bytesPerPixel) {
    Prepared p;
    if (!dst) {
        p.hr = E_POINTER;
        return p;
    }
    p.hr = QzDibPrepareSet(&p.w, &p.h, &p.dst, dst, bounds, stride, rect, bytesPerPixel);
    return p;
}

// Runs f(pixel) over a prepared image of four-sample pixels of T.
template <typename T, typename F>
void forEachPixel(const Prepared& p, int32_t stride, F&& f) {
    uint8_t* row = p.dst;
    for (int32_t y = 0; y < p.h; ++y, row += stride) {
        auto* px = reinterpret_cast<T*>(row);
        for (int32_t x = 0; x < p.w * 4; x += 4) f(px + x);
    }
}

// Runs f(dstPixel, srcPixel) over a prepared pair of four-sample pixels.
template <typename T, typename F>
void forEachPair(const Prepared& p, int32_t dstStride, int32_t srcStride, F&& f) {
    uint8_t* d = p.dst;
    const uint8_t* s = p.src;
    for (int32_t y = 0; y < p.h; ++y, d += dstStride, s += srcStride) {
        auto* dp = reinterpret_cast<T*>(d);
        const auto* sp = reinterpret_cast<const T*>(s);
        for (int32_t x = 0; x < p.w * 4; x += 4) f(dp + x, sp + x);
    }
}

}  // namespace qz
