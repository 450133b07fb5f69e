#include <array>
#include <cstring>

#include "QzDib.h"

namespace {

// clamp(v * 255, 0, 255) truncated; NaN counts as 0.
uint8_t scaledByte(double v) {
    const double x = v * 255.0;
    return static_cast<uint8_t>(x > 0.0 ? (x < 255.0 ? x : 255.0) : 0.0);
}

template <typename Pixel>
void fill(uint8_t* d, int32_t w, int32_t h, int32_t stride, const Pixel& px) {
    for (int32_t y = 0; y < h; ++y, d += stride) {
        for (int32_t x = 0; x < w; ++x) std::memcpy(d + x * sizeof(Pixel), px.data(), sizeof(Pixel));
    }
}

}  // namespace

extern "C" HRESULT QzDibSetUnscaled(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                    int32_t bytesPerPixel, double r, double g, double b, double a) {
    if (!dst) return E_POINTER;
    int32_t w = 0, h = 0;
    uint8_t* d = nullptr;
    const HRESULT hr = QzDibPrepareSet(&w, &h, &d, dst, bounds, stride, rect, bytesPerPixel);
    if (hr < 0 || w <= 0 || h <= 0) return hr;
    if (bytesPerPixel == 4) {
        const std::array<uint8_t, 4> px{scaledByte(b), scaledByte(g), scaledByte(r), scaledByte(a)};
        fill(d, w, h, stride, px);
    } else {
        const std::array<float, 4> px{static_cast<float>(b), static_cast<float>(g), static_cast<float>(r),
                                      static_cast<float>(a)};
        fill(d, w, h, stride, px);
    }
    return hr;
}
