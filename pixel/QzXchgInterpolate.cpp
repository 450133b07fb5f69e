// The exchange's interpolating reads between a pixel and its right, lower
// or lower-right neighbours, at 14 fraction bits. The integer forms
// truncate at every step; scaled copies depend on those exact values.
#include <array>

#include "QzXchgCodecs.h"

namespace qz::xchg {
namespace {

using Quad = std::array<uint32_t, 4>;

template <class P>
Quad quadOf(P p) {
    return {p.b, p.g, p.r, p.a};
}

template <int W>
void storeQuad(void* out, const Quad& q) {
    using Channel = decltype(Form<W>::b);
    *static_cast<Form<W>*>(out) = {static_cast<Channel>(q[0]), static_cast<Channel>(q[1]), static_cast<Channel>(q[2]),
                                   static_cast<Channel>(q[3])};
}

// A sample of the near row. Bytes widen to b * 257 in the u16 form whatever
// the read variant.
template <QzPixelType T, int W, FloatRead M>
Quad nearSample(const QzXCHG& e, const uint8_t* row, int32_t x) {
    return quadOf(loadPixel<T, W, 1, M>(e, row, x));
}

// A sample of the far row. Note: in the u16 form a byte sample is
// (far << 8) + near, the near row's byte filling the low half, not
// far * 257; the asymmetry is kept because scaled results depend on it.
template <QzPixelType T, int W, FloatRead M>
Quad farSample(const QzXCHG& e, const uint8_t* row, const uint8_t* farRow, int32_t x) {
    if constexpr (W == 1 && Codec<T>::depth == Depth::Byte) {
        const Quad n = quadOf(Codec<T>::get(e, row, x));
        const Quad f = quadOf(Codec<T>::get(e, farRow, x));
        return {(f[0] << 8) + n[0], (f[1] << 8) + n[1], (f[2] << 8) + n[2], (f[3] << 8) + n[3]};
    } else {
        return nearSample<T, W, M>(e, farRow, x);
    }
}

// One-way mix, (p0 * (16384 - f) + p1 * f) / 16384.
Quad mix(const Quad& p0, const Quad& p1, uint32_t f) {
    const uint32_t g = 16384 - f;
    Quad r;
    for (int c = 0; c < 4; ++c) r[c] = (p0[c] * g + p1[c] * f) / 16384;
    return r;
}

template <QzPixelType T, int W, FloatRead M>
void readH(const QzXCHG* e, const uint8_t* row, const uint8_t*, int32_t x, void* out) {
    storeQuad<W>(
        out, mix(nearSample<T, W, M>(*e, row, x), nearSample<T, W, M>(*e, row, x + 1), static_cast<uint32_t>(e->fx)));
}

template <QzPixelType T, int W, FloatRead M>
void readV(const QzXCHG* e, const uint8_t* row, const uint8_t* farRow, int32_t x, void* out) {
    storeQuad<W>(out, mix(nearSample<T, W, M>(*e, row, x), farSample<T, W, M>(*e, row, farRow, x),
                          static_cast<uint32_t>(e->fy)));
}

template <QzPixelType T, int W, FloatRead M>
void readHV(const QzXCHG* e, const uint8_t* row, const uint8_t* farRow, int32_t x, void* out) {
    const auto fx = static_cast<uint32_t>(e->fx), fy = static_cast<uint32_t>(e->fy);
    const uint32_t gx = 16384 - fx, gy = 16384 - fy;
    // Each weight is truncated on its own, so they may sum to less than
    // 16384 and the result falls short of a flat area's value.
    const uint32_t w00 = gx * gy / 16384, w10 = gy * fx / 16384, w01 = gx * fy / 16384, w11 = fx * fy / 16384;
    const Quad p00 = nearSample<T, W, M>(*e, row, x), p10 = nearSample<T, W, M>(*e, row, x + 1);
    const Quad p01 = farSample<T, W, M>(*e, row, farRow, x), p11 = farSample<T, W, M>(*e, row, farRow, x + 1);
    Quad r;
    for (int c = 0; c < 4; ++c) r[c] = (p00[c] * w00 + p10[c] * w10 + p01[c] * w01 + p11[c] * w11) >> 14;
    storeQuad<W>(out, r);
}

// ---- The float form: plain bilinear ----

constexpr float kFraction = 6.1035156e-5f;  // 1 / 16384

tQZPIXEL128 mixF(tQZPIXEL128 a, tQZPIXEL128 b, float f) {
    const float g = 1.0f - f;
    return {a.b * g + b.b * f, a.g * g + b.g * f, a.r * g + b.r * f, a.a * g + b.a * f};
}

template <QzPixelType T>
void readHF(const QzXCHG* e, const uint8_t* row, const uint8_t*, int32_t x, void* out) {
    *static_cast<tQZPIXEL128*>(out) =
        mixF(Codec<T>::get(*e, row, x), Codec<T>::get(*e, row, x + 1), static_cast<float>(e->fx) * kFraction);
}

template <QzPixelType T>
void readVF(const QzXCHG* e, const uint8_t* row, const uint8_t* farRow, int32_t x, void* out) {
    *static_cast<tQZPIXEL128*>(out) =
        mixF(Codec<T>::get(*e, row, x), Codec<T>::get(*e, farRow, x), static_cast<float>(e->fy) * kFraction);
}

template <QzPixelType T>
void readHVF(const QzXCHG* e, const uint8_t* row, const uint8_t* farRow, int32_t x, void* out) {
    const float fx = static_cast<float>(e->fx) * kFraction;
    const tQZPIXEL128 top = mixF(Codec<T>::get(*e, row, x), Codec<T>::get(*e, row, x + 1), fx);
    const tQZPIXEL128 bottom = mixF(Codec<T>::get(*e, farRow, x), Codec<T>::get(*e, farRow, x + 1), fx);
    *static_cast<tQZPIXEL128*>(out) = mixF(top, bottom, static_cast<float>(e->fy) * kFraction);
}

template <QzPixelType T, int W, FloatRead M>
PairReadSet integerReads() {
    return PairReadSet{&readH<T, W, M>, &readV<T, W, M>, &readHV<T, W, M>};
}

}  // namespace

PairReadSet pairReadSet(QzPixelType type, int32_t width, FloatRead mode) {
    return withCodec<PairReadSet>(type, [&]<QzPixelType T>() -> PairReadSet {
        if constexpr (offersWidth<T>(0)) {
            if (width == 0) return integerReads<T, 0, FloatRead::Plain>();
        }
        if constexpr (offersWidth<T>(2)) {
            if (width == 2) return PairReadSet{&readHF<T>, &readVF<T>, &readHVF<T>};
        }
        if (width != 1) return {};
        if constexpr (Codec<T>::depth == Depth::Float) {
            if (mode == FloatRead::Curve) return integerReads<T, 1, FloatRead::Curve>();
        }
        return integerReads<T, 1, FloatRead::Plain>();
    });
}

}  // namespace qz::xchg
