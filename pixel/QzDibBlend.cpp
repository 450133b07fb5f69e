#include <cstdint>

#include "QzDib.h"
#include "QzPrepared.h"
#include "QzRound.h"

namespace {

void blendBytes(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t dstStride, int32_t srcStride, int32_t a) {
    for (int32_t y = 0; y < h; ++y, d += dstStride, s += srcStride) {
        for (int32_t i = 0; i < w * 4; ++i) d[i] = qz::mix256(d[i], s[i], a);
    }
}

void blendFloats(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t dstStride, int32_t srcStride, float a) {
    for (int32_t y = 0; y < h; ++y, d += dstStride, s += srcStride) {
        auto* df = reinterpret_cast<float*>(d);
        const auto* sf = reinterpret_cast<const float*>(s);
        for (int32_t i = 0; i < w * 4; ++i) df[i] = (sf[i] - df[i]) * a + df[i];
    }
}

// 32-bit products and sums that wrap as the processor's do.
int32_t wrapMul(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}
int32_t wrapAdd(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

void relativeBytes(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t dstStride, int32_t srcStride,
                   int32_t a) {
    for (int32_t y = 0; y < h; ++y, d += dstStride, s += srcStride) {
        for (int32_t x = 0; x < w * 4; x += 4) {
            const int32_t weight = (s[x + 3] * a) >> 8;
            for (int32_t c = x; c < x + 4; ++c) d[c] = qz::mix256(d[c], s[c], weight);
        }
    }
}

// Note: this path treats float samples as if they held byte values: it
// truncates them to integers and stores the float of a byte. Kept as the
// library has always computed it; no effect runs it on float images.
void relativeFloats(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t dstStride, int32_t srcStride,
                    float alpha) {
    for (int32_t y = 0; y < h; ++y, d += dstStride, s += srcStride) {
        auto* df = reinterpret_cast<float*>(d);
        const auto* sf = reinterpret_cast<const float*>(s);
        for (int32_t x = 0; x < w * 4; x += 4) {
            const int32_t weight = static_cast<int16_t>(qz::truncToInt32(alpha * sf[x + 3]));
            for (int32_t c = x; c < x + 4; ++c) {
                const int32_t di = qz::truncToInt32(df[c]);
                const int32_t si = static_cast<int16_t>(qz::truncToInt32(sf[c]));
                const int32_t v = wrapAdd(wrapMul(si - (di & 0xFFFF), weight) / 256, di);
                df[c] = static_cast<float>(static_cast<uint8_t>(v));
            }
        }
    }
}

}  // namespace

extern "C" HRESULT QzDibAbsoluteAlphaValueBlend(void* dst, const RECT* dstBounds, int32_t dstStride,
                                                const RECT* dstRect, const void* src, const RECT* srcBounds,
                                                int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel,
                                                double alpha) {
    const qz::Prepared p =
        qz::prepareCopy(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel);
    if (p.empty()) return p.hr;
    if (bytesPerPixel == 4) {
        // Only the low byte of the rounded strength is kept.
        const int32_t a = qz::roundBiased(static_cast<double>(static_cast<float>(alpha) * 255.0f)) & 0xFF;
        // At strength 0 every byte stays as it is: skip the pass. (Not so in
        // float, where an infinite or NaN difference would still spread.)
        if (a != 0) blendBytes(p.dst, p.src, p.w, p.h, dstStride, srcStride, a);
    } else {
        blendFloats(p.dst, p.src, p.w, p.h, dstStride, srcStride, static_cast<float>(alpha));
    }
    return p.hr;
}

extern "C" HRESULT QzDibRelativeAlphaValueBlend(void* dst, const RECT* dstBounds, int32_t dstStride,
                                                const RECT* dstRect, const void* src, const RECT* srcBounds,
                                                int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel,
                                                double alpha) {
    const qz::Prepared p =
        qz::prepareCopy(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel);
    if (p.empty()) return p.hr;
    if (bytesPerPixel == 4) {
        // Unlike the absolute blend, the strength byte is truncated, not rounded.
        relativeBytes(p.dst, p.src, p.w, p.h, dstStride, srcStride, qz::truncToInt32(alpha * 255.0) & 0xFF);
    } else {
        relativeFloats(p.dst, p.src, p.w, p.h, dstStride, srcStride, static_cast<float>(alpha));
    }
    return p.hr;
}
