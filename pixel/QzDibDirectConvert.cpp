// Same-size row converters for the pairs that copies meet most: float and
// byte BGRA, 24-bit, 10-bit. Each runs its rows in parallel.
#include <cmath>
#include <cstring>
#include <vector>

#include "QzDibConvertBlock.h"
#include "QzXchg.h"

namespace qz {
namespace {

using xchg::kByteToFloat;

inline float clamp01(float v) { return v > 0.0f ? (v < 1.0f ? v : 1.0f) : 0.0f; }

enum class Scale { Round, Truncate, Curve };

// Float to bytes. Without a curve, modes 3 and up round and lower modes
// truncate; a curve goes through a 4096-entry byte table whatever the mode,
// alpha excepted. N is 4 (BGRA) or 3 (BGR).
template <int N, Scale S>
struct FloatToBytes {
    float alphaBias;  // 0.5f where the mode rounds, 0 where it truncates
    const uint8_t* curve;

    uint8_t colour(float v) const {
        const float c = clamp01(v);
        if constexpr (S == Scale::Curve) return curve[static_cast<int32_t>(c * 4095.0f + 0.5f)];
        if constexpr (S == Scale::Round) return static_cast<uint8_t>(c * 255.0f + 0.5f);
        return static_cast<uint8_t>(c * 255.0f);
    }
    void operator()(uint8_t* d, const uint8_t* s, int32_t w) const {
        const auto* f = reinterpret_cast<const float*>(s);
        for (int32_t i = 0; i < w; ++i, f += 4, d += N) {
            d[0] = colour(f[0]);
            d[1] = colour(f[1]);
            d[2] = colour(f[2]);
            if constexpr (N == 4) d[3] = static_cast<uint8_t>(clamp01(f[3]) * 255.0f + alphaBias);
        }
    }
};

// Float to the 10-bit layout: three 10-bit channels and a 2-bit alpha;
// a curve goes through a 16384-entry table.
template <Scale S>
struct FloatToTen {
    float alphaBias;
    const uint16_t* curve;

    uint32_t colour(float v) const {
        const float c = clamp01(v);
        if constexpr (S == Scale::Curve) return curve[static_cast<int32_t>(c * 16383.0f + 0.5f)];
        if constexpr (S == Scale::Round) return static_cast<uint32_t>(c * 1023.0f + 0.5f);
        return static_cast<uint32_t>(c * 1023.0f);
    }
    void operator()(uint8_t* d, const uint8_t* s, int32_t w) const {
        const auto* f = reinterpret_cast<const float*>(s);
        for (int32_t i = 0; i < w; ++i, f += 4, d += 4) {
            const auto a = static_cast<uint32_t>(clamp01(f[3]) * 3.0f + alphaBias);
            const uint32_t v = colour(f[0]) | (colour(f[1]) << 10) | (colour(f[2]) << 20) | (a << 30);
            std::memcpy(d, &v, 4);
        }
    }
};

// Float to float through a 2048-interval curve; alpha unchanged.
struct FloatCurve {
    const float* curve;
    void operator()(uint8_t* d, const uint8_t* s, int32_t w) const {
        const auto* f = reinterpret_cast<const float*>(s);
        auto* o = reinterpret_cast<float*>(d);
        for (int32_t i = 0; i < 4 * w; i += 4) {
            o[i] = xchg::curveAt(curve, f[i]);
            o[i + 1] = xchg::curveAt(curve, f[i + 1]);
            o[i + 2] = xchg::curveAt(curve, f[i + 2]);
            o[i + 3] = f[i + 3];
        }
    }
};

struct FloatCopy {
    void operator()(uint8_t* d, const uint8_t* s, int32_t w) const { std::memcpy(d, s, static_cast<size_t>(w) * 16); }
};

// Bytes (BGRA, or BGR with N = 3 and an opaque alpha) to float: colour
// through a 256-entry table, alpha by the plain 1/255 scale.
template <int N>
struct BytesToFloat {
    const float* colour;
    void operator()(uint8_t* d, const uint8_t* s, int32_t w) const {
        auto* o = reinterpret_cast<float*>(d);
        for (int32_t i = 0; i < w; ++i, s += N, o += 4) {
            o[0] = colour[s[0]];
            o[1] = colour[s[1]];
            o[2] = colour[s[2]];
            o[3] = N == 4 ? kByteToFloat[s[3]] : 1.0f;
        }
    }
};

struct Bgr24ToBgra {
    void operator()(uint8_t* d, const uint8_t* s, int32_t w) const {
        for (int32_t i = 0; i < w; ++i, s += 3, d += 4) {
            d[0] = s[0];
            d[1] = s[1];
            d[2] = s[2];
            d[3] = 255;
        }
    }
};

int32_t bytesPerPixel(QzPixelType t) {
    switch (t) {
        case QzPixelRGB24: return 3;
        case QzPixelRGBA128: return 16;
        default: return 4;
    }
}

template <class Convert>
bool runRows(const CopyBlock& b, const Convert& convert) {
    const int32_t w = width(b.dst.rect), h = height(b.dst.rect);
    const intptr_t dOffset = static_cast<intptr_t>(b.dst.rect.left) * bytesPerPixel(b.dst.type);
    const intptr_t sOffset = static_cast<intptr_t>(b.src.rect.left) * bytesPerPixel(b.src.type);
#pragma omp parallel for schedule(static)
    for (int32_t j = 0; j < h; ++j)
        convert(b.dst.row(b.dst.rect.top + j) + dOffset, b.src.row(b.src.rect.top + j) + sOffset, w);
    return true;
}

template <class T>
std::vector<T> integerCurve(int32_t n, double exponent, double scale) {
    std::vector<T> t(static_cast<size_t>(n));
    for (int32_t i = 0; i < n; ++i)
        t[static_cast<size_t>(i)] = static_cast<T>(std::floor(std::pow(i / (n - 1.0), exponent) * scale + 0.5));
    return t;
}

template <int N>
bool floatToBytes(const CopyBlock& b, bool curve, double exponent) {
    const float bias = b.mode >= 3 ? 0.5f : 0.0f;
    if (curve) {
        const std::vector<uint8_t> table = integerCurve<uint8_t>(4096, exponent, 255.0);
        return runRows(b, FloatToBytes<N, Scale::Curve>{bias, table.data()});
    }
    if (b.mode >= 3) return runRows(b, FloatToBytes<N, Scale::Round>{bias, nullptr});
    return runRows(b, FloatToBytes<N, Scale::Truncate>{bias, nullptr});
}

bool floatToTen(const CopyBlock& b, bool curve, double exponent) {
    const float bias = b.mode >= 3 ? 0.5f : 0.0f;
    if (curve) {
        const std::vector<uint16_t> table = integerCurve<uint16_t>(16384, exponent, 1023.0);
        return runRows(b, FloatToTen<Scale::Curve>{bias, table.data()});
    }
    if (b.mode >= 3) return runRows(b, FloatToTen<Scale::Round>{bias, nullptr});
    return runRows(b, FloatToTen<Scale::Truncate>{bias, nullptr});
}

template <int N>
bool bytesToFloat(const CopyBlock& b, bool curve, double exponent) {
    if (!curve) return runRows(b, BytesToFloat<N>{kByteToFloat.data()});
    float table[256];
    xchg::fillCurve(table, 256, exponent);
    return runRows(b, BytesToFloat<N>{table});
}

}  // namespace

bool runDirectConversion(const CopyBlock& b) {
    const QzPixelType s = b.src.type, d = b.dst.type;
    const bool curve = xchg::curveApplies(b.dstGamma, b.srcGamma);
    const double exponent = xchg::curveExponent(b.dstGamma, b.srcGamma);
    const bool toBgra = d == QzPixelRGB32 || d == QzPixelRGBA32;
    if (s == QzPixelRGBA128) {
        if (toBgra) return floatToBytes<4>(b, curve, exponent);
        if (d == QzPixelRGB24) return floatToBytes<3>(b, curve, exponent);
        if (d == QzPixelRGB10 || d == QzPixelRGB10Alt) return floatToTen(b, curve, exponent);
        if (d == QzPixelRGBA128) {
            if (!curve) return runRows(b, FloatCopy{});
            float table[2049];
            xchg::fillCurve(table, 2049, exponent);
            return runRows(b, FloatCurve{table});
        }
        return false;
    }
    if ((s == QzPixelRGB32 || s == QzPixelRGBA32) && d == QzPixelRGBA128) return bytesToFloat<4>(b, curve, exponent);
    if (s == QzPixelRGB24) {
        if (toBgra) return runRows(b, Bgr24ToBgra{});
        if (d == QzPixelRGBA128) return bytesToFloat<3>(b, curve, exponent);
    }
    return false;
}

}  // namespace qz
