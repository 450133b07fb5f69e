// The bi-linear scaler, and the machinery that the bi-cubic one shares with
// it: the axes of a prepared job, their tap tables and the resampling loop.
#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "QzDib.h"
#include "QzRect.h"
#include "QzRound.h"
#include "QzScaleRows.h"
#include "QzSubPixel.h"

namespace qz {

namespace {

constexpr int64_t kOne = kScaleOne;
constexpr double kUnit = 6.103515625e-05;  // 1 / 16384, exact
constexpr int64_t kFullCover = kOne * kOne;
// Below this many destination pixels a team of threads costs more than it saves.
constexpr int64_t kParallelPixels = 16384;

void linearWeights(double t, double* w) {
    w[0] = 1.0 - t;
    w[1] = t;
}
constexpr ScaleKernel kLinear{2, 0, linearWeights};

inline void put(uint8_t& d, double v) { d = static_cast<uint8_t>(std::clamp(roundBiased(v), 0, 255)); }
inline void put(float& d, double v) { d = static_cast<float>(v); }

template <typename T>
void resampleRows(const QzSubpixelParam& p, const AxisTaps& ax, const AxisTaps& ay) {
    // Note: on two down-scaled axes this is 1.0 / (stepX / 16384 * stepY /
    // 16384), applied once to the finished sum.
    const double norm = 1.0 / (ax.span * ay.span);
    const auto cols = static_cast<int32_t>(ax.taps.size());
    const auto rows = static_cast<int32_t>(ay.taps.size());
#pragma omp parallel for schedule(static) if (int64_t{rows} * cols >= kParallelPixels)
    for (int32_t j = 0; j < rows; ++j) {
        const AxisTaps::Tap& ty = ay.taps[j];
        const double* wy = ay.weights.data() + ty.weightAt;
        T* out = reinterpret_cast<T*>(p.dst + static_cast<intptr_t>(ay.first + j) * p.dstStride) +
                 static_cast<intptr_t>(ax.first) * 4;
        for (int32_t i = 0; i < cols; ++i, out += 4) {
            const AxisTaps::Tap& tx = ax.taps[i];
            const double* wx = ax.weights.data() + tx.weightAt;
            // Four sums side by side, one per channel, held in registers.
            double acc[4] = {0.0, 0.0, 0.0, 0.0};
            for (int32_t r = 0; r < ty.count; ++r) {
                const T* s = reinterpret_cast<const T*>(p.src + static_cast<intptr_t>(ty.src + r) * p.srcStride) +
                             static_cast<intptr_t>(tx.src) * 4;
                double s0 = 0.0, s1 = 0.0, s2 = 0.0, s3 = 0.0;
                for (int32_t k = 0; k < tx.count; ++k, s += 4) {
                    const double w = wx[k];
                    s0 += w * s[0];
                    s1 += w * s[1];
                    s2 += w * s[2];
                    s3 += w * s[3];
                }
                acc[0] += wy[r] * s0;
                acc[1] += wy[r] * s1;
                acc[2] += wy[r] * s2;
                acc[3] += wy[r] * s3;
            }
            if (tx.share == 1.0 && ty.share == 1.0) {
                for (int c = 0; c < 4; ++c) put(out[c], acc[c] * norm);
            } else {
                const double keep = 1.0 - tx.share * ty.share;
                for (int c = 0; c < 4; ++c) put(out[c], acc[c] * norm + out[c] * keep);
            }
        }
    }
}

// A sampling position of the four-neighbour form: the byte offset of its
// pixel, of the next one (0 at the last pixel, which then mixes with
// itself), the fraction and the destination pixel's coverage.
struct Sample {
    intptr_t at;
    intptr_t next;
    uint32_t f;
    int32_t cover;
};

std::vector<Sample> samples(const ScaleAxis& a, intptr_t pitch) {
    std::vector<Sample> out;
    out.reserve(static_cast<size_t>(a.endDst() - a.firstDst()));
    for (int32_t x = a.firstDst(); x < a.endDst(); ++x) {
        const int64_t pos = a.samplePosition(x);
        const auto ix = static_cast<int32_t>(pos >> 14);
        out.push_back(
            Sample{ix * pitch, ix < a.lastPixel() ? pitch : 0, static_cast<uint32_t>(pos & (kOne - 1)), a.cover(x)});
    }
    return out;
}

// A partly covered pixel: d = s * c + d * (1 - c), c in 1/2^28, rounded.
void layOver(uint8_t* d, const uint8_t* s, int64_t cover) {
    for (int c = 0; c < 4; ++c)
        d[c] = static_cast<uint8_t>((s[c] * cover + d[c] * (kFullCover - cover) + kFullCover / 2) >> 28);
}

void layOver(float* d, const float* s, int64_t cover) {
    const double c = static_cast<double>(cover) / static_cast<double>(kFullCover);
    for (int i = 0; i < 4; ++i) d[i] = static_cast<float>(s[i] * c + d[i] * (1.0 - c));
}

// Both axes up-scaled (or 1:1): four neighbours, rounded as the samplers do.
template <typename T>
void bilinearRows(const QzSubpixelParam& p, const std::vector<Sample>& xs, const std::vector<Sample>& ys,
                  int32_t firstX, int32_t firstY) {
    const auto cols = static_cast<int32_t>(xs.size());
    const auto rows = static_cast<int32_t>(ys.size());
#pragma omp parallel for schedule(static) if (int64_t{rows} * cols >= kParallelPixels)
    for (int32_t j = 0; j < rows; ++j) {
        const Sample& sy = ys[j];
        T* out = reinterpret_cast<T*>(p.dst + static_cast<intptr_t>(firstY + j) * p.dstStride) +
                 static_cast<intptr_t>(firstX) * 4;
        for (int32_t i = 0; i < cols; ++i, out += 4) {
            const Sample& sx = xs[i];
            const uint8_t* a = p.src + sy.at + sx.at;
            T s[4];
            // Neighbours at explicit offsets, so that they can be clamped.
            sampleFour(s, a, a + sy.next, sx.next, sx.f, sy.f);
            const int64_t cover = int64_t{sx.cover} * sy.cover;
            if (cover == kFullCover) {
                std::memcpy(out, s, sizeof s);
            } else {
                layOver(out, s, cover);
            }
        }
    }
}

// 1:1 on whole pixels: rows are copied from the source corner's pixel to
// the destination corner's.
void copyRows(const QzSubpixelParam& p, int32_t bytesPerPixel) {
    const auto w = static_cast<size_t>((width(p.dstRect) + kOne - 1) >> 14) * static_cast<size_t>(bytesPerPixel);
    const int32_t h = static_cast<int32_t>((height(p.dstRect) + kOne - 1) >> 14);
    const uint8_t* s = p.src + static_cast<intptr_t>(p.srcRect.top >> 14) * p.srcStride +
                       static_cast<intptr_t>(p.srcRect.left >> 14) * bytesPerPixel;
    uint8_t* d = p.dst + static_cast<intptr_t>(p.dstRect.top >> 14) * p.dstStride +
                 static_cast<intptr_t>(p.dstRect.left >> 14) * bytesPerPixel;
    for (int32_t y = 0; y < h; ++y, s += p.srcStride, d += p.dstStride) std::memcpy(d, s, w);
}

HRESULT checkArgs(const void* dst, const SIZE* dstSize, const void* src, const SIZE* srcSize, int32_t bytesPerPixel) {
    if (!dst || !dstSize || !src || !srcSize) return E_POINTER;
    return bytesPerPixel == 4 || bytesPerPixel == 16 ? S_OK : E_INVALIDARG;
}

// Whole pixels to units; false when a coordinate does not fit.
bool toUnits(const RECT& r, RECT& out) {
    const auto shift = [](int32_t v, int32_t& o) {
        const int64_t u = int64_t{v} * kOne;
        o = static_cast<int32_t>(u);
        return u >= INT32_MIN && u <= INT32_MAX;
    };
    return shift(r.left, out.left) && shift(r.top, out.top) && shift(r.right, out.right) && shift(r.bottom, out.bottom);
}

}  // namespace

int32_t ScaleAxis::cover(int32_t x) const {
    return static_cast<int32_t>(std::min(dHi, (x + int64_t{1}) * kOne) - std::max(dLo, x * kOne));
}

int64_t ScaleAxis::samplePosition(int32_t x) const {
    const int64_t centre = x * kOne + kOne / 2;
    const int64_t pos = sLo + (((centre - dLo) * step) >> 14) - kOne / 2;
    return std::clamp(pos, firstPixel() * kOne, lastPixel() * kOne);
}

ScaleAxis horizontalAxis(const QzSubpixelParam& p) {
    return ScaleAxis{p.dstRect.left, p.dstRect.right, p.srcRect.left, p.srcRect.right, p.stepX};
}

ScaleAxis verticalAxis(const QzSubpixelParam& p) {
    return ScaleAxis{p.dstRect.top, p.dstRect.bottom, p.srcRect.top, p.srcRect.bottom, p.stepY};
}

AxisTaps areaTaps(const ScaleAxis& a) {
    AxisTaps t;
    t.first = a.firstDst();
    t.span = static_cast<double>(a.step) / 16384.0;
    // The span of the first destination pixel, had it been whole, starts
    // this far before the source rectangle; the others follow at the step.
    const int64_t origin = a.sLo - (((a.dLo - t.first * kOne) * a.step) >> 14);
    t.taps.reserve(static_cast<size_t>(a.endDst() - t.first));
    for (int32_t x = t.first; x < a.endDst(); ++x) {
        const int64_t from = std::max(a.sLo, origin + (x - t.first) * a.step);
        const int64_t to = std::min(a.sHi, origin + (x - t.first + 1) * a.step);
        AxisTaps::Tap tap{static_cast<int32_t>(from >> 14), 0, static_cast<int32_t>(t.weights.size()),
                          to > from ? static_cast<double>(to - from) / static_cast<double>(a.step) : 0.0};
        for (int64_t u = from; u < to; ++tap.count) {
            const int64_t next = std::min(to, ((u >> 14) + 1) * kOne);
            t.weights.push_back(static_cast<double>(next - u) * kUnit);
            u = next;
        }
        t.taps.push_back(tap);
    }
    return t;
}

AxisTaps kernelTaps(const ScaleAxis& a, const ScaleKernel& kernel) {
    AxisTaps t;
    t.first = a.firstDst();
    t.taps.reserve(static_cast<size_t>(a.endDst() - t.first));
    const int32_t lo = a.firstPixel(), hi = a.lastPixel();
    std::array<double, 4> w{};  // kernels have at most four taps
    for (int32_t x = t.first; x < a.endDst(); ++x) {
        const int64_t pos = a.samplePosition(x);
        const int32_t near = static_cast<int32_t>(pos >> 14) + kernel.origin;
        kernel.weights(static_cast<double>(pos & (kOne - 1)) * kUnit, w.data());
        // Taps beyond the rectangle fold onto its edge pixel.
        const int32_t from = std::clamp(near, lo, hi);
        const int32_t count = std::clamp(near + kernel.size - 1, lo, hi) - from + 1;
        const AxisTaps::Tap tap{from, count, static_cast<int32_t>(t.weights.size()), a.cover(x) * kUnit};
        t.weights.resize(t.weights.size() + static_cast<size_t>(count), 0.0);
        for (int32_t k = 0; k < kernel.size; ++k)
            t.weights[static_cast<size_t>(tap.weightAt + std::clamp(near + k, lo, hi) - from)] += w[k] * tap.share;
        t.taps.push_back(tap);
    }
    return t;
}

AxisTaps axisTaps(const ScaleAxis& axis, const ScaleKernel& kernel) {
    return axis.downScaled() ? areaTaps(axis) : kernelTaps(axis, kernel);
}

void resample(const QzSubpixelParam& p, int32_t bytesPerPixel, const AxisTaps& x, const AxisTaps& y) {
    if (bytesPerPixel == 4) {
        resampleRows<uint8_t>(p, x, y);
    } else {
        resampleRows<float>(p, x, y);
    }
}

HRESULT scaleBilinear(const QzSubpixelParam& p, int32_t bytesPerPixel) {
    try {
        const ScaleAxis ax = horizontalAxis(p), ay = verticalAxis(p);
        if (ax.downScaled() || ay.downScaled()) {
            resample(p, bytesPerPixel, axisTaps(ax, kLinear), axisTaps(ay, kLinear));
            return S_OK;
        }
        const std::vector<Sample> xs = samples(ax, bytesPerPixel), ys = samples(ay, p.srcStride);
        if (bytesPerPixel == 4) {
            bilinearRows<uint8_t>(p, xs, ys, ax.firstDst(), ay.firstDst());
        } else {
            bilinearRows<float>(p, xs, ys, ax.firstDst(), ay.firstDst());
        }
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

HRESULT scaleSubPixel(ScaleRun run, void* dst, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                      const void* src, const SIZE* srcSize, int32_t srcStride, const RECT* srcRect,
                      int32_t bytesPerPixel) {
    if (const HRESULT hr = checkArgs(dst, dstSize, src, srcSize, bytesPerPixel); hr < 0) return hr;
    QzSubpixelParam p;
    if (!QzPrepareSubpixelParam(&p, dst, dstSize, dstStride, dstRect, src, srcSize, srcStride, srcRect)) return S_OK;
    return run(p, bytesPerPixel);
}

HRESULT scaleWholePixels(ScaleRun run, void* dst, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                         const void* src, const SIZE* srcSize, int32_t srcStride, const RECT* srcRect,
                         int32_t bytesPerPixel) {
    if (const HRESULT hr = checkArgs(dst, dstSize, src, srcSize, bytesPerPixel); hr < 0) return hr;
    RECT d{}, s{};
    if ((dstRect && !toUnits(*dstRect, d)) || (srcRect && !toUnits(*srcRect, s))) return E_INVALIDARG;
    QzSubpixelParam p;
    if (!QzPrepareSubpixelParam(&p, dst, dstSize, dstStride, dstRect ? &d : nullptr, src, srcSize, srcStride,
                                srcRect ? &s : nullptr))
        return S_OK;
    // Both kernels give each pixel back unchanged at 1:1.
    if (p.stepX == kOne && p.stepY == kOne) {
        copyRows(p, bytesPerPixel);
        return S_OK;
    }
    return run(p, bytesPerPixel);
}

}  // namespace qz

// flags and extra are reserved.
extern "C" HRESULT QzDibScale_Bilinear(void* dst, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                                       const void* src, const SIZE* srcSize, int32_t srcStride, const RECT* srcRect,
                                       int32_t bytesPerPixel, uint32_t, void*) {
    return qz::scaleWholePixels(qz::scaleBilinear, dst, dstSize, dstStride, dstRect, src, srcSize, srcStride, srcRect,
                                bytesPerPixel);
}

extern "C" HRESULT QzDibScale_BilinearSubPixel(void* dst, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                                               const void* src, const SIZE* srcSize, int32_t srcStride,
                                               const RECT* srcRect, int32_t bytesPerPixel, uint32_t, void*) {
    return qz::scaleSubPixel(qz::scaleBilinear, dst, dstSize, dstStride, dstRect, src, srcSize, srcStride, srcRect,
                             bytesPerPixel);
}
