#include <array>
#include <cmath>

#include "QzDib.h"
#include "QzPrepared.h"

namespace {

using qz::Prepared;

template <typename T>
void setOpaque(const Prepared& p, int32_t stride, T opaque) {
    qz::forEachPixel<T>(p, stride, [opaque](T* px) { px[3] = opaque; });
}

template <typename T>
void clampToAlpha(const Prepared& p, int32_t stride) {
    qz::forEachPixel<T>(p, stride, [](T* px) {
        for (int c = 0; c < 3; ++c) {
            if (px[c] > px[3]) px[c] = px[3];
        }
    });
}

void premultiplyBytes(const Prepared& p, int32_t stride) {
    qz::forEachPixel<uint8_t>(p, stride, [](uint8_t* px) {
        const uint32_t a = px[3];
        for (int c = 0; c < 3; ++c) px[c] = static_cast<uint8_t>(px[c] * a / 255u);
    });
}

void premultiplyFloats(const Prepared& p, int32_t stride) {
    qz::forEachPixel<float>(p, stride, [](float* px) {
        for (int c = 0; c < 3; ++c) px[c] *= px[3];
    });
}

// The matte scaled by alpha replaces the full matte: c - m + m * a, kept
// within 0 to a.
void unmatteBytes(const Prepared& p, int32_t stride, const float* matte) {
    std::array<int32_t, 3> m;
    for (int c = 0; c < 3; ++c) {
        const float v = matte[c] * 255.0f;
        m[c] = static_cast<int32_t>(v > 0.0f ? (v < 255.0f ? v : 255.0f) : 0.0f);
    }
    qz::forEachPixel<uint8_t>(p, stride, [&m](uint8_t* px) {
        const int32_t a = px[3];
        for (int c = 0; c < 3; ++c) {
            const int32_t v = ((m[c] * a) >> 8) + px[c] - m[c];
            px[c] = static_cast<uint8_t>(v < 0 ? 0 : (v > a ? a : v));
        }
    });
}

void unmatteFloats(const Prepared& p, int32_t stride, const float* matte) {
    const std::array<float, 3> m{matte[0], matte[1], matte[2]};
    qz::forEachPixel<float>(p, stride, [&m](float* px) {
        const float a = px[3];
        for (int c = 0; c < 3; ++c) px[c] = a * m[c] + (px[c] - m[c]);
    });
}

// A value of 0 stands for the video gamma 1 / 0.45; the rest is held to a
// range in which the power tables stay well conditioned.
double effectiveGamma(double g) {
    if (g == 0.0) g = 2.2222222222222223;
    return g < 0.5 ? 0.5 : (g > 4.0 ? 4.0 : g);
}

// x^exponent over 0 to 1 in 2048 steps; inputs are clamped to 0 to 1 and
// read at the nearest entry.
class PowerTable {
public:
    explicit PowerTable(double exponent) {
        for (size_t i = 0; i < values_.size(); ++i) {
            values_[i] = static_cast<float>(std::pow(static_cast<double>(i) / kLast, exponent));
        }
    }
    float operator()(float x) const {
        const float t = x > 0.0f ? (x < 1.0f ? x : 1.0f) : 0.0f;
        return values_[static_cast<size_t>(t * static_cast<float>(kLast) + 0.5f)];
    }

private:
    static constexpr int32_t kLast = 2047;
    std::array<float, kLast + 1> values_;
};

// The matte is taken out in the space of the exponent, where it was laid
// on. Fully transparent pixels lose their colour; opaque ones hold no matte.
void unmatteFloatsThroughRatio(const Prepared& p, int32_t stride, const float* matte, double ratio) {
    const PowerTable from(ratio);
    const PowerTable to(1.0 / ratio);
    const std::array<float, 3> m{matte[0], matte[1], matte[2]};
    qz::forEachPixel<float>(p, stride, [&](float* px) {
        const float a = px[3];
        if (a <= 0.0f) {
            px[0] = px[1] = px[2] = 0.0f;
        } else if (a < 1.0f) {
            const float fa = from(a);
            for (int c = 0; c < 3; ++c) px[c] = to(from(px[c]) - m[c] + m[c] * fa);
        }
    });
}

}  // namespace

extern "C" HRESULT QzDibPremultiply(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                    int32_t bytesPerPixel) {
    const Prepared p = qz::prepareSet(dst, bounds, stride, rect, bytesPerPixel);
    if (p.empty()) return p.hr;
    if (bytesPerPixel == 4) {
        premultiplyBytes(p, stride);
    } else {
        premultiplyFloats(p, stride);
    }
    return p.hr;
}

extern "C" HRESULT QzDibPatchPreMultiplied(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                           int32_t bytesPerPixel) {
    const Prepared p = qz::prepareSet(dst, bounds, stride, rect, bytesPerPixel);
    if (p.empty()) return p.hr;
    if (bytesPerPixel == 4) {
        clampToAlpha<uint8_t>(p, stride);
    } else {
        clampToAlpha<float>(p, stride);
    }
    return p.hr;
}

extern "C" HRESULT QzDibPrepAlphaImage(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                       int32_t /*straightMode*/, const float* matte, int32_t bytesPerPixel,
                                       double gammaA, double gammaB) {
    const Prepared p = qz::prepareSet(dst, bounds, stride, rect, bytesPerPixel);
    if (p.empty()) return p.hr;
    const bool bytes = bytesPerPixel == 4;
    if (!matte || matte[0] + matte[1] + matte[2] <= 0.0f) {
        if (bytes) {
            clampToAlpha<uint8_t>(p, stride);
        } else {
            clampToAlpha<float>(p, stride);
        }
    } else if (bytes) {
        unmatteBytes(p, stride, matte);
    } else {
        const double ratio = effectiveGamma(gammaA) / effectiveGamma(gammaB);
        if (ratio >= 0.999 && ratio <= 1.001) {
            unmatteFloats(p, stride, matte);
        } else {
            unmatteFloatsThroughRatio(p, stride, matte, ratio);
        }
    }
    return p.hr;
}

extern "C" HRESULT QzDibPrepAlpha(void* dst, int32_t boundsWidth, int32_t boundsHeight, int32_t stride,
                                  const RECT* rect, int32_t mode, const float* matte, int32_t bytesPerPixel,
                                  double gammaA, double gammaB) {
    if (mode < -1 || mode > 3) return E_NOTIMPL;
    const RECT bounds{0, 0, boundsWidth, boundsHeight};
    if (mode >= 2) {
        return QzDibPrepAlphaImage(dst, &bounds, stride, rect, mode == 3, matte, bytesPerPixel, gammaA, gammaB);
    }
    if (mode == 1) return QzDibPremultiply(dst, &bounds, stride, rect, bytesPerPixel);
    const Prepared p = qz::prepareSet(dst, &bounds, stride, rect, bytesPerPixel);
    if (p.empty()) return p.hr;
    if (bytesPerPixel == 4) {
        setOpaque<uint8_t>(p, stride, 255);
    } else {
        setOpaque<float>(p, stride, 1.0f);
    }
    return p.hr;
}
