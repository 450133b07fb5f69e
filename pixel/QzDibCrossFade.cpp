#include <cstdint>

#include "QzDib.h"
#include "QzPrepared.h"
#include "QzRound.h"

namespace {

// Weights in 14 fraction bits, rounded by the 8192 before the shift. The
// sum wraps in 32 bits as the processor's does; a clamp is only needed
// when the weights add up to more than one.
template <bool kClamp>
void fadeBytes(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t dstStride, int32_t srcStride, int32_t wd,
               int32_t ws) {
    const auto uwd = static_cast<uint32_t>(wd), uws = static_cast<uint32_t>(ws);
    for (int32_t y = 0; y < h; ++y, d += dstStride, s += srcStride) {
        for (int32_t i = 0; i < w * 4; ++i) {
            const int32_t v = static_cast<int32_t>(d[i] * uwd + s[i] * uws + 8192u) >> 14;
            d[i] = static_cast<uint8_t>(kClamp && v > 255 ? 255 : v);
        }
    }
}

void fadeFloats(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t dstStride, int32_t srcStride, float wd,
                float ws) {
    for (int32_t y = 0; y < h; ++y, d += dstStride, s += srcStride) {
        auto* df = reinterpret_cast<float*>(d);
        const auto* sf = reinterpret_cast<const float*>(s);
        for (int32_t i = 0; i < w * 4; ++i) {
            const float v = ws * sf[i] + wd * df[i];
            df[i] = v < 1.0f ? v : 1.0f;
        }
    }
}

}  // namespace

extern "C" HRESULT QzDibWeightedCrossFade(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                          double dstWeight, const void* src, const RECT* srcBounds, int32_t srcStride,
                                          const RECT* srcRect, double srcWeight, int32_t bytesPerPixel) {
    const qz::Prepared p =
        qz::prepareCopy(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel);
    if (p.empty()) return p.hr;
    if (bytesPerPixel == 4) {
        const int32_t wd = qz::truncToInt32(dstWeight * 16384.0);
        const int32_t ws = qz::truncToInt32(srcWeight * 16384.0);
        if (int64_t{wd} + ws >= 16385) {
            fadeBytes<true>(p.dst, p.src, p.w, p.h, dstStride, srcStride, wd, ws);
        } else {
            fadeBytes<false>(p.dst, p.src, p.w, p.h, dstStride, srcStride, wd, ws);
        }
    } else {
        fadeFloats(p.dst, p.src, p.w, p.h, dstStride, srcStride, static_cast<float>(dstWeight),
                   static_cast<float>(srcWeight));
    }
    return p.hr;
}
