#include <array>

#include "QzDib.h"
#include "QzPrepared.h"
#include "QzRound.h"

namespace {

void averageBytes(const qz::Prepared& p, int32_t stride) {
    qz::forEachPixel<uint8_t>(p, stride, [](uint8_t* px) {
        const int32_t grey = (px[0] + px[1] + px[2]) / 3;
        px[0] = px[1] = px[2] = static_cast<uint8_t>(grey < px[3] ? grey : px[3]);
    });
}

void averageFloats(const qz::Prepared& p, int32_t stride) {
    qz::forEachPixel<float>(p, stride, [](float* px) { px[0] = px[1] = px[2] = (px[0] + px[1] + px[2]) / 3.0f; });
}

// The whole pixel, alpha too, goes through HSL and back; the colour is then
// held to the alpha that came back.
void hslGreyBytes(const qz::Prepared& p, int32_t stride) {
    qz::forEachPixel<uint8_t>(p, stride, [](uint8_t* px) {
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

void hslGreyFloats(const qz::Prepared& p, int32_t stride) {
    qz::forEachPixel<float>(p, stride, [](float* px) {
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

}  // namespace

extern "C" HRESULT QzDibDesaturate(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                   int32_t bytesPerPixel, int32_t useHsl) {
    const qz::Prepared p = qz::prepareSet(dst, bounds, stride, rect, bytesPerPixel);
    if (p.empty()) return p.hr;
    const bool bytes = bytesPerPixel == 4;
    if (useHsl) {
        if (bytes) {
            hslGreyBytes(p, stride);
        } else {
            hslGreyFloats(p, stride);
        }
    } else if (bytes) {
        averageBytes(p, stride);
    } else {
        averageFloats(p, stride);
    }
    return p.hr;
}

extern "C" HRESULT QzDibBlendWithColor(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                       int32_t bytesPerPixel, const double colorRGBA[4]) {
    if (!colorRGBA) return E_POINTER;
    const qz::Prepared p = qz::prepareSet(dst, bounds, stride, rect, bytesPerPixel);
    if (p.empty()) return p.hr;
    if (bytesPerPixel == 4) {
        std::array<int32_t, 4> m;
        for (int c = 0; c < 4; ++c) m[c] = static_cast<int32_t>(qz::clampUnit(colorRGBA[c]) * 255.0);
        qz::forEachPixel<uint8_t>(p, stride, [&m](uint8_t* px) {
            for (int c = 0; c < 3; ++c) px[c] = qz::mix256(px[c], m[c], m[3]);
        });
    } else {
        std::array<float, 4> m;
        for (int c = 0; c < 4; ++c) m[c] = static_cast<float>(qz::clampUnit(colorRGBA[c]));
        qz::forEachPixel<float>(p, stride, [&m](float* px) {
            for (int c = 0; c < 3; ++c) px[c] = px[c] + (m[c] - px[c]) * m[3];
        });
    }
    return p.hr;
}
