#include <cstdint>
#include <cstring>

#include "QzDib.h"
#include "QzRound.h"

namespace {

// One sample at a fixed place in every pixel of a prepared rectangle.
template <typename T>
void setSample(uint8_t* row, int32_t w, int32_t h, int32_t stride, int32_t offset, T value) {
    constexpr int32_t pixelBytes = 4 * sizeof(T);
    for (int32_t y = 0; y < h; ++y, row += stride) {
        for (int32_t x = 0; x < w; ++x) std::memcpy(row + x * pixelBytes + offset, &value, sizeof(T));
    }
}

// Float samples move as bit patterns, so that nothing is renormalised.
template <typename T>
void copySample(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t dstStride, int32_t srcStride,
                int32_t dstOffset, int32_t srcOffset) {
    constexpr int32_t pixelBytes = 4 * sizeof(T);
    for (int32_t y = 0; y < h; ++y, d += dstStride, s += srcStride) {
        for (int32_t x = 0; x < w * pixelBytes; x += pixelBytes) {
            std::memcpy(d + x + dstOffset, s + x + srcOffset, sizeof(T));
        }
    }
}

struct Pair {
    HRESULT hr;
    uint8_t *d, *s;
    int32_t w, h;
    bool empty() const { return hr < 0 || w <= 0 || h <= 0; }
};

Pair preparePair(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect, const void* src,
                 const RECT* srcBounds, int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel) {
    Pair p{S_OK, nullptr, nullptr, 0, 0};
    p.hr = QzDibPrepareCopy(&p.w, &p.h, &p.s, &p.d, dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride,
                            srcRect, bytesPerPixel);
    return p;
}

}  // namespace

extern "C" HRESULT QzDibChannelSet(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                   int32_t bytesPerPixel, QzChannel channel, double value) {
    if (!dst) return E_POINTER;
    int32_t w = 0, h = 0;
    uint8_t* d = nullptr;
    const HRESULT hr = QzDibPrepareSet(&w, &h, &d, dst, bounds, stride, rect, bytesPerPixel);
    if (hr < 0 || w <= 0 || h <= 0) return hr;
    const int32_t offset = GetByteOffsetFromChannelEnum(channel, bytesPerPixel);
    if (bytesPerPixel == 4) {
        const int32_t v = qz::truncToInt32(value * 255.0);
        // Colour keeps only the low byte of an over-range value, while an
        // over-range alpha means fully opaque.
        const bool opaque = channel == QzChannelAlpha && v >= 255;
        setSample<uint8_t>(d, w, h, stride, offset, opaque ? uint8_t{255} : static_cast<uint8_t>(v));
    } else {
        setSample<float>(d, w, h, stride, offset, static_cast<float>(value));
    }
    return hr;
}

extern "C" HRESULT QzDibChannelCopyUnscaled(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                            QzChannel dstChannel, const void* src, const RECT* srcBounds,
                                            int32_t srcStride, const RECT* srcRect, QzChannel srcChannel,
                                            int32_t bytesPerPixel) {
    if (!dst || !src) return E_POINTER;
    const Pair p = preparePair(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel);
    if (p.empty()) return p.hr;
    const int32_t dstOffset = GetByteOffsetFromChannelEnum(dstChannel, bytesPerPixel);
    const int32_t srcOffset = GetByteOffsetFromChannelEnum(srcChannel, bytesPerPixel);
    if (bytesPerPixel == 4) {
        copySample<uint8_t>(p.d, p.s, p.w, p.h, dstStride, srcStride, dstOffset, srcOffset);
    } else {
        copySample<uint32_t>(p.d, p.s, p.w, p.h, dstStride, srcStride, dstOffset, srcOffset);
    }
    return p.hr;
}

extern "C" HRESULT QzDibChannelOp(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                  QzChannel dstChannel, const void* src, const RECT* srcBounds, int32_t srcStride,
                                  const RECT* srcRect, QzChannel srcChannel, int32_t bytesPerPixel, QzChannelOpFn op,
                                  void* context) {
    if (!dst || !src || !op) return E_POINTER;
    const Pair p = preparePair(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel);
    if (p.empty()) return p.hr;
    uint8_t* d = p.d + GetByteOffsetFromChannelEnum(dstChannel, bytesPerPixel);
    const uint8_t* s = p.s + GetByteOffsetFromChannelEnum(srcChannel, bytesPerPixel);
    for (int32_t y = 0; y < p.h; ++y, d += dstStride, s += srcStride) {
        for (int32_t x = 0; x < p.w * bytesPerPixel; x += bytesPerPixel) op(d + x, s + x, context);
    }
    return p.hr;
}

extern "C" HRESULT QzDibChannelInPlaceOp(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                         int32_t bytesPerPixel, QzChannel channel, QzChannelInPlaceOpFn op,
                                         void* context) {
    if (!dst || !op) return E_POINTER;
    int32_t w = 0, h = 0;
    uint8_t* d = nullptr;
    const HRESULT hr = QzDibPrepareSet(&w, &h, &d, dst, bounds, stride, rect, bytesPerPixel);
    if (hr < 0 || w <= 0 || h <= 0) return hr;
    d += GetByteOffsetFromChannelEnum(channel, bytesPerPixel);
    for (int32_t y = 0; y < h; ++y, d += stride) {
        for (int32_t x = 0; x < w * bytesPerPixel; x += bytesPerPixel) op(d + x, context);
    }
    return hr;
}

extern "C" HRESULT QzDibCustomBlend(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                    const void* src, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                    int32_t bytesPerPixel, QzPixelBlendFn op, void* context) {
    if (!dst || !src || !op) return E_POINTER;
    // The caller's function sees whole pixels, so only the two real layouts
    // are served.
    if (bytesPerPixel != 4 && bytesPerPixel != 16) return E_NOTIMPL;
    const Pair p = preparePair(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel);
    if (p.empty()) return p.hr;
    uint8_t* d = p.d;
    const uint8_t* s = p.s;
    for (int32_t y = 0; y < p.h; ++y, d += dstStride, s += srcStride) {
        for (int32_t x = 0; x < p.w * bytesPerPixel; x += bytesPerPixel) op(d + x, s + x, context);
    }
    return p.hr;
}
