#include "QzDib.h"
#include "QzRound.h"

namespace {

void blendBytes(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t dstStride, int32_t srcStride, int32_t a) {
    for (int32_t y = 0; y < h; ++y, d += dstStride, s += srcStride) {
        for (int32_t i = 0; i < w * 4; ++i) {
            const int32_t dv = d[i];
            d[i] = static_cast<uint8_t>(dv + ((s[i] - dv) * a) / 256);
        }
    }
}

void blendFloats(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t dstStride, int32_t srcStride,
                 float a) {
    for (int32_t y = 0; y < h; ++y, d += dstStride, s += srcStride) {
        auto* df = reinterpret_cast<float*>(d);
        const auto* sf = reinterpret_cast<const float*>(s);
        for (int32_t i = 0; i < w * 4; ++i) df[i] = (sf[i] - df[i]) * a + df[i];
    }
}

}  // namespace

extern "C" HRESULT QzDibAbsoluteAlphaValueBlend(void* dst, const RECT* dstBounds, int32_t dstStride,
                                                const RECT* dstRect, const void* src, const RECT* srcBounds,
                                                int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel,
                                                double alpha) {
    int32_t w, h;
    uint8_t *s, *d;
    const HRESULT hr = QzDibPrepareCopy(&w, &h, &s, &d, dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride,
                                        srcRect, bytesPerPixel);
    if (hr < 0 || w == 0 || h == 0) return hr;
    if (bytesPerPixel == 4) {
        // Only the low byte of the rounded strength is kept.
        const int32_t a = qz::roundBiased(static_cast<double>(static_cast<float>(alpha) * 255.0f)) & 0xFF;
        // At strength 0 every byte stays as it is: skip the pass. (Not so in
        // float, where an infinite or NaN difference would still spread.)
        if (a != 0) blendBytes(d, s, w, h, dstStride, srcStride, a);
    } else {
        blendFloats(d, s, w, h, dstStride, srcStride, static_cast<float>(alpha));
    }
    return hr;
}
