#include <array>

#include "QzDib.h"
#include "QzPrepared.h"

namespace {

// Runs f(dstPixel, srcPixel) over two prepared images of four-sample pixels.
template <typename T, typename F>
void eachPair(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t dstStride, int32_t srcStride, F f) {
    for (int32_t y = 0; y < h; ++y, d += dstStride, s += srcStride) {
        auto* dp = reinterpret_cast<T*>(d);
        const auto* sp = reinterpret_cast<const T*>(s);
        for (int32_t x = 0; x < w * 4; x += 4) f(dp + x, sp + x);
    }
}

// Alpha mixes like the colour, toward the source alpha itself.
void overBytes(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t ds, int32_t ss) {
    eachPair<uint8_t>(d, s, w, h, ds, ss, [](uint8_t* dp, const uint8_t* sp) {
        const int32_t sa = sp[3];
        for (int c = 0; c < 4; ++c) dp[c] = static_cast<uint8_t>(dp[c] + ((sp[c] - dp[c]) * sa) / 256);
    });
}

void overFloats(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t ds, int32_t ss) {
    eachPair<float>(d, s, w, h, ds, ss, [](float* dp, const float* sp) {
        const float sa = sp[3];
        for (int c = 0; c < 4; ++c) dp[c] = (sp[c] - dp[c]) * sa + dp[c];
    });
}

// The source was composited against the matte m: taking m out and laying
// the rest over the destination is s - m + d + (m - d) * sa.
void overMatteBytes(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t ds, int32_t ss,
                    const std::array<int32_t, 3>& m) {
    eachPair<uint8_t>(d, s, w, h, ds, ss, [&m](uint8_t* dp, const uint8_t* sp) {
        const int32_t sa = sp[3];
        for (int c = 0; c < 3; ++c) {
            const int32_t dv = dp[c];
            const int32_t v = ((m[c] - dv) * sa) / 256 + sp[c] - m[c] + dv;
            dp[c] = static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
        }
    });
}

void overMatteFloats(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t ds, int32_t ss,
                     const std::array<float, 3>& m) {
    eachPair<float>(d, s, w, h, ds, ss, [&m](float* dp, const float* sp) {
        const float sa = sp[3];
        for (int c = 0; c < 3; ++c) {
            const float v = dp[c] + sp[c] - m[c] + (m[c] - dp[c]) * sa;
            dp[c] = v > 0.0f ? (v < 1.0f ? v : 1.0f) : 0.0f;
        }
    });
}

// The destination's alpha keeps that much of it; alpha is read before the
// pixel is rewritten.
void underBytes(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t ds, int32_t ss) {
    eachPair<uint8_t>(d, s, w, h, ds, ss, [](uint8_t* dp, const uint8_t* sp) {
        const int32_t da = dp[3];
        for (int c = 0; c < 4; ++c) dp[c] = static_cast<uint8_t>(sp[c] + ((dp[c] - sp[c]) * da) / 256);
    });
}

void underFloats(uint8_t* d, const uint8_t* s, int32_t w, int32_t h, int32_t ds, int32_t ss) {
    eachPair<float>(d, s, w, h, ds, ss, [](float* dp, const float* sp) {
        const float da = dp[3];
        for (int c = 0; c < 4; ++c) dp[c] = (dp[c] - sp[c]) * da + sp[c];
    });
}

double clampUnit(double v) { return v > 0.0 ? (v < 1.0 ? v : 1.0) : 0.0; }

}  // namespace

extern "C" HRESULT QzDibOver(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                             const void* src, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                             int32_t bytesPerPixel, const double* color) {
    const qz::Prepared p = qz::prepareCopy(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect,
                                           bytesPerPixel);
    if (p.empty()) return p.hr;
    const bool bytes = bytesPerPixel == 4;
    if (!color) {
        if (bytes) {
            overBytes(p.dst, p.src, p.w, p.h, dstStride, srcStride);
        } else {
            overFloats(p.dst, p.src, p.w, p.h, dstStride, srcStride);
        }
    } else if (bytes) {
        std::array<int32_t, 3> m;
        for (int c = 0; c < 3; ++c) m[c] = static_cast<int32_t>(clampUnit(color[c]) * 255.0);
        overMatteBytes(p.dst, p.src, p.w, p.h, dstStride, srcStride, m);
    } else {
        // The float matte stays in the 0-to-1 range of the samples it is
        // taken from.
        std::array<float, 3> m;
        for (int c = 0; c < 3; ++c) m[c] = static_cast<float>(clampUnit(color[c]));
        overMatteFloats(p.dst, p.src, p.w, p.h, dstStride, srcStride, m);
    }
    return p.hr;
}

extern "C" HRESULT QzDibUnder(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                              const void* src, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                              int32_t bytesPerPixel) {
    const qz::Prepared p = qz::prepareCopy(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect,
                                           bytesPerPixel);
    if (p.empty()) return p.hr;
    if (bytesPerPixel == 4) {
        underBytes(p.dst, p.src, p.w, p.h, dstStride, srcStride);
    } else {
        underFloats(p.dst, p.src, p.w, p.h, dstStride, srcStride);
    }
    return p.hr;
}
