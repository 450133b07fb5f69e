#include <array>

#include "QzDib.h"

namespace {

// Runs f(pixel) over the prepared rectangle, a pixel being four samples of T.
template <typename T, typename F>
void eachPixel(uint8_t* row, int32_t w, int32_t h, int32_t stride, F f) {
    for (int32_t y = 0; y < h; ++y, row += stride) {
        auto* px = reinterpret_cast<T*>(row);
        for (int32_t x = 0; x < w * 4; x += 4) f(px + x);
    }
}

void averageBytes(uint8_t* d, int32_t w, int32_t h, int32_t stride) {
    eachPixel<uint8_t>(d, w, h, stride, [](uint8_t* px) {
        const int32_t grey = (px[0] + px[1] + px[2]) / 3;
        px[0] = px[1] = px[2] = static_cast<uint8_t>(grey < px[3] ? grey : px[3]);
    });
}

void averageFloats(uint8_t* d, int32_t w, int32_t h, int32_t stride) {
    eachPixel<float>(d, w, h, stride, [](float* px) { px[0] = px[1] = px[2] = (px[0] + px[1] + px[2]) / 3.0f; });
}

// The whole pixel, alpha too, goes through HSL and back; the colour is then
// held to the alpha that came back.
void hslGreyBytes(uint8_t* d, int32_t w, int32_t h, int32_t stride) {
    eachPixel<uint8_t>(d, w, h, stride, [](uint8_t* px) {
        QZRGBA rgba{px[0], px[1], px[2], px[3]};
        QZHSL hsl;
        QZRGBA_To_QZHSL(&hsl, &rgba);
        hsl.s = 0.0;
        QZHSL_To_QZRGBA(&rgba, &hsl);
        px[0] = rgba.b < rgba.a ? rgba.b : rgba.a;
        px[1] = rgba.g < rgba.a ? rgba.g : rgba.a;
        px[2] = rgba.r < rgba.a ? rgba.r : rgba.a;
        px[3] = rgba.a;
    });
}

void hslGreyFloats(uint8_t* d, int32_t w, int32_t h, int32_t stride) {
    eachPixel<float>(d, w, h, stride, [](float* px) {
        QZRGBAFLOAT rgba{px[0], px[1], px[2], px[3]};
        QZHSL hsl;
        QZRGBAFLOAT_To_QZHSL(&hsl, &rgba);
        hsl.s = 0.0;
        QZHSL_To_QZRGBAFLOAT(&rgba, &hsl);
        px[0] = rgba.b;
        px[1] = rgba.g;
        px[2] = rgba.r;
        px[3] = rgba.a;
    });
}

double clampUnit(double v) { return v > 0.0 ? (v < 1.0 ? v : 1.0) : 0.0; }

}  // namespace

extern "C" HRESULT QzDibDesaturate(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                   int32_t bytesPerPixel, int32_t useHsl) {
    if (!dst) return E_POINTER;
    int32_t w = 0, h = 0;
    uint8_t* d = nullptr;
    const HRESULT hr = QzDibPrepareSet(&w, &h, &d, dst, bounds, stride, rect, bytesPerPixel);
    if (hr < 0 || w <= 0 || h <= 0) return hr;
    const bool bytes = bytesPerPixel == 4;
    if (useHsl) {
        if (bytes) {
            hslGreyBytes(d, w, h, stride);
        } else {
            hslGreyFloats(d, w, h, stride);
        }
    } else if (bytes) {
        averageBytes(d, w, h, stride);
    } else {
        averageFloats(d, w, h, stride);
    }
    return hr;
}

extern "C" HRESULT QzDibBlendWithColor(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                       int32_t bytesPerPixel, const double colorRGBA[4]) {
    if (!dst || !colorRGBA) return E_POINTER;
    int32_t w = 0, h = 0;
    uint8_t* d = nullptr;
    const HRESULT hr = QzDibPrepareSet(&w, &h, &d, dst, bounds, stride, rect, bytesPerPixel);
    if (hr < 0 || w <= 0 || h <= 0) return hr;
    if (bytesPerPixel == 4) {
        std::array<int32_t, 4> m;
        for (int c = 0; c < 4; ++c) m[c] = static_cast<int32_t>(clampUnit(colorRGBA[c]) * 255.0);
        eachPixel<uint8_t>(d, w, h, stride, [&m](uint8_t* px) {
            for (int c = 0; c < 3; ++c) px[c] = static_cast<uint8_t>(px[c] + ((m[c] - px[c]) * m[3]) / 256);
        });
    } else {
        std::array<float, 4> m;
        for (int c = 0; c < 4; ++c) m[c] = static_cast<float>(clampUnit(colorRGBA[c]));
        eachPixel<float>(d, w, h, stride, [&m](float* px) {
            for (int c = 0; c < 3; ++c) px[c] = px[c] + (m[c] - px[c]) * m[3];
        });
    }
    return hr;
}
