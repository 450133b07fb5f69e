// Per-type pixel access for the exchange, and the moves between a type's
// native samples and the three exchange forms (not exported).
//
// Each Codec<T> reads and writes one pixel at a column of a row in its
// native depth: bytes (tQZPIXEL32), u16 (tQZPIXEL64) or floats
// (tQZPIXEL128), blue first. Samples narrower than their depth widen by bit
// replication, so full scale stays full scale; writes keep the high bits.
#pragma once

#include <cstdint>
#include <cstring>

#include "QzDib.h"
#include "QzXchg.h"

namespace qz::xchg {

enum class Depth { Byte, Word, Float };

template <int W>
struct FormOf;
template <>
struct FormOf<0> {
    using type = tQZPIXEL32;
};
template <>
struct FormOf<1> {
    using type = tQZPIXEL64;
};
template <>
struct FormOf<2> {
    using type = tQZPIXEL128;
};
template <int W>
using Form = typename FormOf<W>::type;

inline uint16_t load16(const uint8_t* p) {
    uint16_t v;
    std::memcpy(&v, p, 2);
    return v;
}
inline void store16(uint8_t* p, uint16_t v) { std::memcpy(p, &v, 2); }
inline uint32_t load32(const uint8_t* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}
inline void store32(uint8_t* p, uint32_t v) { std::memcpy(p, &v, 4); }

// BT.601 luma with 16-bit weights that sum to 65536, rounded; grey
// destinations store it.
inline uint32_t luma(uint32_t r, uint32_t g, uint32_t b) { return (r * 19595 + g * 38470 + b * 7471 + 32768) >> 16; }

// Grey of n bits (1, 2, 4) packed first pixel in the high bits of a byte.
template <int N>
struct PackedGrey {
    static constexpr Depth depth = Depth::Byte;
    static constexpr int kPerByte = 8 / N;
    static constexpr uint32_t kMax = (1u << N) - 1;
    static int shiftOf(int32_t x) { return 8 - N - (x % kPerByte) * N; }
    static tQZPIXEL32 get(const QzXCHG&, const uint8_t* row, int32_t x) {
        const uint32_t v = (row[x / kPerByte] >> shiftOf(x)) & kMax;
        const auto g = static_cast<uint8_t>(v * (255 / kMax));
        return {g, g, g, 255};
    }
    static void put(const QzXCHG&, uint8_t* row, int32_t x, tQZPIXEL32 p) {
        const uint32_t v = luma(p.r, p.g, p.b) >> (8 - N);
        uint8_t& byte = row[x / kPerByte];
        const int s = shiftOf(x);
        byte = static_cast<uint8_t>((byte & ~(kMax << s)) | (v << s));
    }
};

// Palette indices of n bits (1, 4, 8), first pixel in the high bits.
template <int N>
struct PaletteIndex {
    static constexpr Depth depth = Depth::Byte;
    static constexpr int kPerByte = 8 / N;
    static constexpr uint32_t kMax = (1u << N) - 1;
    static int shiftOf(int32_t x) { return 8 - N - (x % kPerByte) * N; }
    static tQZPIXEL32 get(const QzXCHG& e, const uint8_t* row, int32_t x) {
        return e.palette[(row[x / kPerByte] >> shiftOf(x)) & kMax];
    }
    static void put(const QzXCHG& e, uint8_t* row, int32_t x, tQZPIXEL32 p) {
        const uint32_t v = quantize(*e.quantizer, p.b, p.g, p.r) & kMax;
        uint8_t& byte = row[x / kPerByte];
        const int s = shiftOf(x);
        byte = static_cast<uint8_t>((byte & ~(kMax << s)) | (v << s));
    }
};

template <QzPixelType T>
struct Codec;

template <>
struct Codec<QzPixelMono1> : PaletteIndex<1> {};
template <>
struct Codec<QzPixelPal4> : PaletteIndex<4> {};
template <>
struct Codec<QzPixelPal8> : PaletteIndex<8> {};
template <>
struct Codec<QzPixelGray1> : PackedGrey<1> {};
template <>
struct Codec<QzPixelGray2> : PackedGrey<2> {};
template <>
struct Codec<QzPixelGray4> : PackedGrey<4> {};

template <>
struct Codec<QzPixelGray8> {
    static constexpr Depth depth = Depth::Byte;
    static tQZPIXEL32 get(const QzXCHG&, const uint8_t* row, int32_t x) { return {row[x], row[x], row[x], 255}; }
    static void put(const QzXCHG&, uint8_t* row, int32_t x, tQZPIXEL32 p) {
        row[x] = static_cast<uint8_t>(luma(p.r, p.g, p.b));
    }
};

template <>
struct Codec<QzPixelRGB24> {
    static constexpr Depth depth = Depth::Byte;
    static tQZPIXEL32 get(const QzXCHG&, const uint8_t* row, int32_t x) {
        const uint8_t* p = row + 3 * x;
        return {p[0], p[1], p[2], 255};
    }
    static void put(const QzXCHG&, uint8_t* row, int32_t x, tQZPIXEL32 p) {
        uint8_t* q = row + 3 * x;
        q[0] = p.b;
        q[1] = p.g;
        q[2] = p.r;
    }
};

struct Bgra32 {
    static constexpr Depth depth = Depth::Byte;
    static tQZPIXEL32 get(const QzXCHG&, const uint8_t* row, int32_t x) {
        tQZPIXEL32 p;
        std::memcpy(&p, row + 4 * x, 4);
        return p;
    }
    static void put(const QzXCHG&, uint8_t* row, int32_t x, tQZPIXEL32 p) { std::memcpy(row + 4 * x, &p, 4); }
};
template <>
struct Codec<QzPixelRGB32> : Bgra32 {};
template <>
struct Codec<QzPixelRGBA32> : Bgra32 {};

template <>
struct Codec<QzPixelGray16> {
    static constexpr Depth depth = Depth::Word;
    static tQZPIXEL64 get(const QzXCHG&, const uint8_t* row, int32_t x) {
        const uint16_t v = load16(row + 2 * x);
        return {v, v, v, 65535};
    }
    static void put(const QzXCHG&, uint8_t* row, int32_t x, tQZPIXEL64 p) {
        store16(row + 2 * x, static_cast<uint16_t>(luma(p.r, p.g, p.b)));
    }
};

inline uint16_t widen5(uint32_t c) { return static_cast<uint16_t>((c << 11) | (c << 6) | (c << 1) | (c >> 4)); }
inline uint16_t widen6(uint32_t c) { return static_cast<uint16_t>((c << 10) | (c << 4) | (c >> 2)); }
inline uint16_t widen10(uint32_t c) { return static_cast<uint16_t>((c << 6) | (c >> 4)); }

// Blue in bits 0-4, green 5-9, red 10-14, and a one-bit alpha in bit 15.
template <>
struct Codec<QzPixelRGB555> {
    static constexpr Depth depth = Depth::Word;
    static tQZPIXEL64 get(const QzXCHG&, const uint8_t* row, int32_t x) {
        const uint32_t v = load16(row + 2 * x);
        return {widen5(v & 31), widen5((v >> 5) & 31), widen5((v >> 10) & 31),
                static_cast<uint16_t>((v >> 15) * 65535)};
    }
    static void put(const QzXCHG&, uint8_t* row, int32_t x, tQZPIXEL64 p) {
        store16(row + 2 * x,
                static_cast<uint16_t>((p.b >> 11) | ((p.g >> 11) << 5) | ((p.r >> 11) << 10) | ((p.a >> 15) << 15)));
    }
};

// Masks 0xF800, 0x07E0, 0x001F; no alpha.
template <>
struct Codec<QzPixelRGB565> {
    static constexpr Depth depth = Depth::Word;
    static tQZPIXEL64 get(const QzXCHG&, const uint8_t* row, int32_t x) {
        const uint32_t v = load16(row + 2 * x);
        return {widen5(v & 31), widen6((v >> 5) & 63), widen5(v >> 11), 65535};
    }
    static void put(const QzXCHG&, uint8_t* row, int32_t x, tQZPIXEL64 p) {
        store16(row + 2 * x, static_cast<uint16_t>((p.b >> 11) | ((p.g >> 10) << 5) | ((p.r >> 11) << 11)));
    }
};

// Masks 0x3FF00000 (red), 0x000FFC00, 0x000003FF and a two-bit alpha above.
struct Rgb10 {
    static constexpr Depth depth = Depth::Word;
    static tQZPIXEL64 get(const QzXCHG&, const uint8_t* row, int32_t x) {
        const uint32_t v = load32(row + 4 * x);
        return {widen10(v & 0x3FF), widen10((v >> 10) & 0x3FF), widen10((v >> 20) & 0x3FF),
                static_cast<uint16_t>((v >> 30) * 0x5555)};
    }
    static void put(const QzXCHG&, uint8_t* row, int32_t x, tQZPIXEL64 p) {
        store32(row + 4 * x, static_cast<uint32_t>(p.b >> 6) | (static_cast<uint32_t>(p.g >> 6) << 10) |
                                 (static_cast<uint32_t>(p.r >> 6) << 20) | (static_cast<uint32_t>(p.a >> 14) << 30));
    }
};
template <>
struct Codec<QzPixelRGB10> : Rgb10 {};
template <>
struct Codec<QzPixelRGB10Alt> : Rgb10 {};

template <>
struct Codec<QzPixelRGBA64> {
    static constexpr Depth depth = Depth::Word;
    static tQZPIXEL64 get(const QzXCHG&, const uint8_t* row, int32_t x) {
        tQZPIXEL64 p;
        std::memcpy(&p, row + 8 * x, 8);
        return p;
    }
    static void put(const QzXCHG&, uint8_t* row, int32_t x, tQZPIXEL64 p) { std::memcpy(row + 8 * x, &p, 8); }
};

template <>
struct Codec<QzPixelGray32> {
    static constexpr Depth depth = Depth::Float;
    static tQZPIXEL128 get(const QzXCHG&, const uint8_t* row, int32_t x) {
        float v;
        std::memcpy(&v, row + 4 * x, 4);
        return {v, v, v, 1.0f};
    }
    static void put(const QzXCHG&, uint8_t* row, int32_t x, tQZPIXEL128 p) {
        const float v = 0.299f * p.r + 0.587f * p.g + 0.114f * p.b;
        std::memcpy(row + 4 * x, &v, 4);
    }
};

template <>
struct Codec<QzPixelRGBA128> {
    static constexpr Depth depth = Depth::Float;
    static tQZPIXEL128 get(const QzXCHG&, const uint8_t* row, int32_t x) {
        tQZPIXEL128 p;
        std::memcpy(&p, row + 16 * x, 16);
        return p;
    }
    static void put(const QzXCHG&, uint8_t* row, int32_t x, tQZPIXEL128 p) { std::memcpy(row + 16 * x, &p, 16); }
};

// ---- Between native samples and the exchange forms ----

// Float to u16: clamped to 0..1 (NaN to 0) and rounded.
inline float clamp01(float v) { return v > 0.0f ? (v < 1.0f ? v : 1.0f) : 0.0f; }
inline uint16_t wordOf(float v) { return static_cast<uint16_t>(clamp01(v) * 65535.0f + 0.5f); }

template <FloatRead M>
inline tQZPIXEL64 wordsOf(const QzXCHG& e, tQZPIXEL128 p) {
    if constexpr (M == FloatRead::Curve) {
        return {wordOf(curveAt(e.curveFromFloat, p.b)), wordOf(curveAt(e.curveFromFloat, p.g)),
                wordOf(curveAt(e.curveFromFloat, p.r)), wordOf(p.a)};
    } else {
        return {wordOf(p.b), wordOf(p.g), wordOf(p.r), wordOf(p.a)};
    }
}

template <FloatWrite M>
inline tQZPIXEL128 floatsOf(const QzXCHG& e, tQZPIXEL64 p) {
    constexpr float kWord = 1.0f / 65535.0f;
    if constexpr (M == FloatWrite::ByteTable) {
        return {kByteToFloat[p.b >> 8], kByteToFloat[p.g >> 8], kByteToFloat[p.r >> 8], kByteToFloat[p.a >> 8]};
    } else if constexpr (M == FloatWrite::Curve) {
        const int s = e.curveShift;
        return {e.curveToFloat[p.b >> s], e.curveToFloat[p.g >> s], e.curveToFloat[p.r >> s], p.a * kWord};
    } else {
        return {p.b * kWord, p.g * kWord, p.r * kWord, p.a * kWord};
    }
}

// Reads pixel x of a row of type T into the form of width W. V is the read
// variant of bytes widening to u16: 0 for b << 8, 1 for b * 257.
template <QzPixelType T, int W, int V, FloatRead M>
inline Form<W> loadPixel(const QzXCHG& e, const uint8_t* row, int32_t x) {
    using C = Codec<T>;
    const auto p = C::get(e, row, x);
    if constexpr (W == 1 && C::depth == Depth::Byte) {
        constexpr uint32_t k = V ? 257 : 256;
        return {static_cast<uint16_t>(p.b * k), static_cast<uint16_t>(p.g * k), static_cast<uint16_t>(p.r * k),
                static_cast<uint16_t>(p.a * k)};
    } else if constexpr (W == 1 && C::depth == Depth::Float) {
        return wordsOf<M>(e, p);
    } else {
        return p;
    }
}

template <QzPixelType T, int W, FloatWrite M>
inline void storePixel(const QzXCHG& e, uint8_t* row, int32_t x, Form<W> p) {
    using C = Codec<T>;
    if constexpr (W == 1 && C::depth == Depth::Byte) {
        C::put(e, row, x,
               tQZPIXEL32{static_cast<uint8_t>(p.b >> 8), static_cast<uint8_t>(p.g >> 8),
                          static_cast<uint8_t>(p.r >> 8), static_cast<uint8_t>(p.a >> 8)});
    } else if constexpr (W == 1 && C::depth == Depth::Float) {
        C::put(e, row, x, floatsOf<M>(e, p));
    } else {
        C::put(e, row, x, p);
    }
}

// The widths a type offers.
template <QzPixelType T>
constexpr bool offersWidth(int w) {
    if (w == 0) return T == QzPixelPal8 || T == QzPixelRGB24 || T == QzPixelRGB32 || T == QzPixelRGBA32;
    if (w == 2) return T == QzPixelRGBA128;
    return w == 1;
}

// Calls f.template operator()<T>() for the codec of a runtime type; returns
// R{} for a type without one.
template <class R, class F>
R withCodec(QzPixelType t, F&& f) {
    switch (t) {
        case QzPixelMono1: return f.template operator()<QzPixelMono1>();
        case QzPixelGray1: return f.template operator()<QzPixelGray1>();
        case QzPixelGray2: return f.template operator()<QzPixelGray2>();
        case QzPixelGray4: return f.template operator()<QzPixelGray4>();
        case QzPixelGray8: return f.template operator()<QzPixelGray8>();
        case QzPixelGray16: return f.template operator()<QzPixelGray16>();
        case QzPixelGray32: return f.template operator()<QzPixelGray32>();
        case QzPixelPal4: return f.template operator()<QzPixelPal4>();
        case QzPixelPal8: return f.template operator()<QzPixelPal8>();
        case QzPixelRGB555: return f.template operator()<QzPixelRGB555>();
        case QzPixelRGB565: return f.template operator()<QzPixelRGB565>();
        case QzPixelRGB24: return f.template operator()<QzPixelRGB24>();
        case QzPixelRGB32: return f.template operator()<QzPixelRGB32>();
        case QzPixelRGBA32: return f.template operator()<QzPixelRGBA32>();
        case QzPixelRGB10: return f.template operator()<QzPixelRGB10>();
        case QzPixelRGBA64: return f.template operator()<QzPixelRGBA64>();
        case QzPixelRGBA128: return f.template operator()<QzPixelRGBA128>();
        case QzPixelRGB10Alt: return f.template operator()<QzPixelRGB10Alt>();
        default: return R{};
    }
}

}  // namespace qz::xchg
