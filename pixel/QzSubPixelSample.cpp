// The single-position samplers of the geometric effects.
#include "QzDib.h"
#include "QzSubPixel.h"

namespace {

constexpr int32_t kOne = QZ_SUBPIXEL_ONE;
constexpr float kUnit = 6.1035156e-5f;  // 1 / 16384

// One axis of the safe samplers at the last column or row: (p0 * (16384 -
// f) + p1 * f + 8192) >> 14, rounding like the four-neighbour form.
void mixBytes(tQZPIXEL32* out, const uint8_t* p0, const uint8_t* p1, int32_t f) {
    uint8_t* o = &out->b;
    for (int c = 0; c < 4; ++c) o[c] = static_cast<uint8_t>((p0[c] * (kOne - f) + p1[c] * f + 8192) >> 14);
}

void mixFloats(tQZPIXEL128* out, const uint8_t* p0, const uint8_t* p1, int32_t f) {
    const auto* a = reinterpret_cast<const float*>(p0);
    const auto* b = reinterpret_cast<const float*>(p1);
    const float w = static_cast<float>(f) * kUnit;
    float* o = &out->b;
    for (int c = 0; c < 4; ++c) o[c] = a[c] * (1.0f - w) + b[c] * w;
}

// The sample at (x, y): the fast form where all four neighbours exist, one
// axis at the last column or row, the pixel itself at the last corner.
template <typename Pixel, int Bytes, void (*Fast)(Pixel*, const uint8_t*, int32_t, int32_t, int32_t),
          void (*Mix)(Pixel*, const uint8_t*, const uint8_t*, int32_t)>
int32_t sampleSafe(Pixel* out, const uint8_t* base, int32_t width, int32_t height, int32_t stride, int32_t x,
                   int32_t y) {
    if (!out || !base || x < 0 || y < 0) return 0;
    const int32_t ix = x / kOne, fx = x % kOne;
    const int32_t iy = y / kOne, fy = y % kOne;
    if (ix >= width || iy >= height) return 0;
    const uint8_t* p = base + static_cast<intptr_t>(iy) * stride + static_cast<intptr_t>(ix) * Bytes;
    const bool lastColumn = ix == width - 1, lastRow = iy == height - 1;
    if (!lastColumn && !lastRow) {
        Fast(out, p, stride, fx, fy);
    } else if (lastColumn && !lastRow) {
        Mix(out, p, p + stride, fy);
    } else if (lastRow && !lastColumn) {
        Mix(out, p, p + Bytes, fx);
    } else {
        *out = *reinterpret_cast<const Pixel*>(p);
    }
    return 1;
}

}  // namespace

extern "C" void QzGetSubPixel32Fast(tQZPIXEL32* out, const uint8_t* p, int32_t stride, int32_t fx, int32_t fy) {
    qz::sampleFour(&out->b, p, p + stride, 4, static_cast<uint32_t>(fx), static_cast<uint32_t>(fy));
}

extern "C" void QzGetSubPixel128Fast(tQZPIXEL128* out, const uint8_t* p, int32_t stride, int32_t fx, int32_t fy) {
    qz::sampleFour(&out->b, p, p + stride, 16, static_cast<uint32_t>(fx), static_cast<uint32_t>(fy));
}

extern "C" int32_t QzGetSubPixel32Safe(tQZPIXEL32* out, const uint8_t* base, int32_t width, int32_t height,
                                       int32_t stride, int32_t x, int32_t y) {
    return sampleSafe<tQZPIXEL32, 4, QzGetSubPixel32Fast, mixBytes>(out, base, width, height, stride, x, y);
}

extern "C" int32_t QzGetSubPixel128Safe(tQZPIXEL128* out, const uint8_t* base, int32_t width, int32_t height,
                                        int32_t stride, int32_t x, int32_t y) {
    return sampleSafe<tQZPIXEL128, 16, QzGetSubPixel128Fast, mixFloats>(out, base, width, height, stride, x, y);
}
