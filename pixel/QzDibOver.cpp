#include <array>

#include "QzDib.h"
#include "QzPrepared.h"
#include "QzRound.h"

namespace {

// Alpha mixes like the colour, toward the source alpha itself.
void overBytes(const qz::Prepared& p, int32_t ds, int32_t ss) {
    qz::forEachPair<uint8_t>(p, ds, ss, [](uint8_t* dp, const uint8_t* sp) {
        const int32_t sa = sp[3];
        for (int c = 0; c < 4; ++c) dp[c] = qz::mix256(dp[c], sp[c], sa);
    });
}

void overFloats(const qz::Prepared& p, int32_t ds, int32_t ss) {
    qz::forEachPair<float>(p, ds, ss, [](float* dp, const float* sp) {
        const float sa = sp[3];
        for (int c = 0; c < 4; ++c) dp[c] = (sp[c] - dp[c]) * sa + dp[c];
    });
}

// The source was composited against the matte m: taking m out and laying
// the rest over the destination is s - m + d + (m - d) * sa.
void overMatteBytes(const qz::Prepared& p, int32_t ds, int32_t ss, const std::array<int32_t, 3>& m) {
    qz::forEachPair<uint8_t>(p, ds, ss, [&m](uint8_t* dp, const uint8_t* sp) {
        const int32_t sa = sp[3];
        for (int c = 0; c < 3; ++c) {
            const int32_t dv = dp[c];
            const int32_t v = ((m[c] - dv) * sa) / 256 + sp[c] - m[c] + dv;
            dp[c] = static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
        }
    });
}

void overMatteFloats(const qz::Prepared& p, int32_t ds, int32_t ss, const std::array<float, 3>& m) {
    qz::forEachPair<float>(p, ds, ss, [&m](float* dp, const float* sp) {
        const float sa = sp[3];
        for (int c = 0; c < 3; ++c) {
            const float v = dp[c] + sp[c] - m[c] + (m[c] - dp[c]) * sa;
            dp[c] = v > 0.0f ? (v < 1.0f ? v : 1.0f) : 0.0f;
        }
    });
}

// The destination's alpha keeps that much of it; alpha is read before the
// pixel is rewritten.
void underBytes(const qz::Prepared& p, int32_t ds, int32_t ss) {
    qz::forEachPair<uint8_t>(p, ds, ss, [](uint8_t* dp, const uint8_t* sp) {
        const int32_t da = dp[3];
        for (int c = 0; c < 4; ++c) dp[c] = qz::mix256(sp[c], dp[c], da);
    });
}

void underFloats(const qz::Prepared& p, int32_t ds, int32_t ss) {
    qz::forEachPair<float>(p, ds, ss, [](float* dp, const float* sp) {
        const float da = dp[3];
        for (int c = 0; c < 4; ++c) dp[c] = (dp[c] - sp[c]) * da + sp[c];
    });
}

}  // namespace

extern "C" HRESULT QzDibOver(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect, const void* src,
                             const RECT* srcBounds, int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel,
                             const double* color) {
    const qz::Prepared p =
        qz::prepareCopy(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel);
    if (p.empty()) return p.hr;
    const bool bytes = bytesPerPixel == 4;
    if (!color) {
        if (bytes) {
            overBytes(p, dstStride, srcStride);
        } else {
            overFloats(p, dstStride, srcStride);
        }
    } else if (bytes) {
        std::array<int32_t, 3> m;
        for (int c = 0; c < 3; ++c) m[c] = static_cast<int32_t>(qz::clampUnit(color[c]) * 255.0);
        overMatteBytes(p, dstStride, srcStride, m);
    } else {
        // The float matte stays in the 0-to-1 range of the samples it is
        // taken from.
        std::array<float, 3> m;
        for (int c = 0; c < 3; ++c) m[c] = static_cast<float>(qz::clampUnit(color[c]));
        overMatteFloats(p, dstStride, srcStride, m);
    }
    return p.hr;
}

extern "C" HRESULT QzDibUnder(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect, const void* src,
                              const RECT* srcBounds, int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel) {
    const qz::Prepared p =
        qz::prepareCopy(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel);
    if (p.empty()) return p.hr;
    if (bytesPerPixel == 4) {
        underBytes(p, dstStride, srcStride);
    } else {
        underFloats(p, dstStride, srcStride);
    }
    return p.hr;
}
