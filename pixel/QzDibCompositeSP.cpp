// QzDibCompositeSP: compositing onto a rectangle with fractional edges,
// resampling the source bilinearly.
#include <algorithm>
#include <array>
#include <utility>

#include "QzCompositeModes.h"

namespace {

constexpr int32_t kOne = QZ_SUBPIXEL_ONE;
constexpr int32_t kHalf = kOne / 2;

// The part of pixel i, in 1/16384, that the span [lo, hi) covers.
int32_t coverage(int32_t i, int32_t lo, int32_t hi) { return std::min((i + 1) * kOne, hi) - std::max(i * kOne, lo); }

// One axis from destination pixels to source positions, in 1/16384. A
// sample at position i (whole) is pixel i itself, so the centre of pixel i,
// i + 1/2, maps to its source image and loses the half again. Positions are
// held inside the source span so that edge pixels, partly outside it, take
// the edge of the source rather than nothing.
struct AxisMap {
    int64_t d0, s0, step, sLo, sLast;
    AxisMap(int32_t dstLo, int32_t srcLo, int32_t srcHi, int32_t stepUnits)
        : d0(dstLo), s0(srcLo), step(stepUnits), sLo(srcLo), sLast(srcHi - kOne) {}
    int32_t at(int32_t i) const {
        const int64_t v = s0 + (((int64_t{i} * kOne + kHalf - d0) * step) >> 14) - kHalf;
        return static_cast<int32_t>(std::clamp(v, sLo, sLast));
    }
};

template <class C>
struct Sampler;
template <>
struct Sampler<uint8_t> {
    using Pixel = tQZPIXEL32;
    static constexpr int32_t kBytes = 4;
    static int32_t at(Pixel* out, const QzSubpixelParam& p, const SIZE& size, int32_t x, int32_t y) {
        return QzGetSubPixel32Safe(out, p.src, size.cx, size.cy, p.srcStride, x, y);
    }
};
template <>
struct Sampler<float> {
    using Pixel = tQZPIXEL128;
    static constexpr int32_t kBytes = 16;
    static int32_t at(Pixel* out, const QzSubpixelParam& p, const SIZE& size, int32_t x, int32_t y) {
        return QzGetSubPixel128Safe(out, p.src, size.cx, size.cy, p.srcStride, x, y);
    }
};

// Visits every destination pixel that dstRect touches with its source
// sample and its weight, the covered share in 1/65536.
template <class C, class Op>
void forEachCovered(const QzSubpixelParam& p, const SIZE& srcSize, Op&& op) {
    using S = Sampler<C>;
    const RECT& r = p.dstRect;
    const AxisMap mapX(r.left, p.srcRect.left, p.srcRect.right, p.stepX);
    const AxisMap mapY(r.top, p.srcRect.top, p.srcRect.bottom, p.stepY);
    const int32_t x0 = r.left / kOne, x1 = (r.right + kOne - 1) / kOne;
    const int32_t y0 = r.top / kOne, y1 = (r.bottom + kOne - 1) / kOne;
    for (int32_t y = y0; y < y1; ++y) {
        const int32_t covY = coverage(y, r.top, r.bottom);
        const int32_t sy = mapY.at(y);
        auto* row = reinterpret_cast<C*>(p.dst + static_cast<intptr_t>(y) * p.dstStride);
        for (int32_t x = x0; x < x1; ++x) {
            typename S::Pixel sample;
            if (!S::at(&sample, p, srcSize, mapX.at(x), sy)) continue;
            // At most 2^28, full coverage giving exactly 65536.
            const auto weight = static_cast<uint32_t>(coverage(x, r.left, r.right) * covY) >> 12;
            op(row + x * 4, &sample.b, weight);
        }
    }
}

using DriveFn = void (*)(const QzSubpixelParam& p, const SIZE& srcSize, QzCompositeBlendFn fn);

template <uint32_t M, class C>
void modeDrive(const QzSubpixelParam& p, const SIZE& srcSize, QzCompositeBlendFn) {
    forEachCovered<C>(p, srcSize,
                      [](C* d, const C* s, uint32_t weight) { qz::composite::composeWeighted<M>(d, s, weight); });
}

// The caller's function works on a copy, which is then mixed in by coverage.
template <class C>
void callerDrive(const QzSubpixelParam& p, const SIZE& srcSize, QzCompositeBlendFn fn) {
    forEachCovered<C>(p, srcSize, [fn](C* d, const C* s, uint32_t weight) {
        C r[4] = {d[0], d[1], d[2], d[3]};
        fn(r, s, Sampler<C>::kBytes);
        qz::composite::mixToward(d, r, weight);
    });
}

template <class C, uint32_t... M>
constexpr std::array<DriveFn, sizeof...(M)> modeDrives(std::integer_sequence<uint32_t, M...>) {
    return {&modeDrive<M, C>...};
}

using Modes = std::make_integer_sequence<uint32_t, QZCOMPOSITE_MODES>;
constexpr auto kByteDrives = modeDrives<uint8_t>(Modes{});
constexpr auto kFloatDrives = modeDrives<float>(Modes{});

DriveFn driveFor(uint32_t mode, bool bytes) {
    if (mode == QZCOMPOSITE_CALLER) return bytes ? &callerDrive<uint8_t> : &callerDrive<float>;
    return bytes ? kByteDrives[mode] : kFloatDrives[mode];
}

}  // namespace

extern "C" HRESULT QzDibCompositeSP(void* dst, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                                    const void* src, const SIZE* srcSize, int32_t srcStride, const RECT* srcRect,
                                    int32_t bytesPerPixel, const QzDibCompositeProps* props) {
    const HRESULT hr = qz::composite::checkProps(props);
    if (hr < 0) return hr;
    if (bytesPerPixel != 4 && bytesPerPixel != 16) return E_NOTIMPL;
    if (!dst || !src || !dstSize || !srcSize) return E_POINTER;
    QzSubpixelParam p;
    if (!QzPrepareSubpixelParam(&p, dst, dstSize, dstStride, dstRect, src, srcSize, srcStride, srcRect)) return S_OK;
    driveFor(props->mode, bytesPerPixel == 4)(p, *srcSize, props->blend);
    return S_OK;
}
