// A constant HSL offset over a raw-view image, through the ordinary HSL
// pair.
#include <cmath>

#include "QzDib.h"

namespace {

double clamp01(double v) { return v < 0.0 ? 0.0 : (v > 1.0 ? 1.0 : v); }

// Hue is a circle: the sum wraps into 0..1 by its floor. Saturation and
// lightness are ranges and stop at their ends.
void offsetHsl(QZHSL& hsl, const QZHSL& offset) {
    hsl.h += offset.h;
    hsl.h -= std::floor(hsl.h);
    hsl.s = clamp01(hsl.s + offset.s);
    hsl.l = clamp01(hsl.l + offset.l);
}

// The pixel's own alpha is written back after each round trip: 8-bit alpha
// would otherwise lose a level for some bytes (132 comes back as 131), and
// the offset is a change of colour only.
void adjustBytes(uint8_t* row, int32_t w, int32_t h, int32_t stride, const QZHSL& offset) {
    for (int32_t y = 0; y < h; ++y, row += stride) {
        auto* px = reinterpret_cast<QZRGBA*>(row);
        for (int32_t x = 0; x < w; ++x) {
            const uint8_t a = px[x].a;
            QZHSL hsl;
            QZRGBA_To_QZHSL(&hsl, &px[x]);
            offsetHsl(hsl, offset);
            QZHSL_To_QZRGBA(&px[x], &hsl);
            px[x].a = a;
        }
    }
}

void adjustFloats(uint8_t* row, int32_t w, int32_t h, int32_t stride, int32_t bytesPerPixel, const QZHSL& offset) {
    for (int32_t y = 0; y < h; ++y, row += stride) {
        uint8_t* p = row;
        for (int32_t x = 0; x < w; ++x, p += bytesPerPixel) {
            auto* px = reinterpret_cast<QZRGBAFLOAT*>(p);
            const float a = px->a;
            QZHSL hsl;
            QZRGBAFLOAT_To_QZHSL(&hsl, px);
            offsetHsl(hsl, offset);
            QZHSL_To_QZRGBAFLOAT(px, &hsl);
            px->a = a;
        }
    }
}

}  // namespace

extern "C" HRESULT QzDibHSLAdjust(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                  int32_t bytesPerPixel, const QZHSL* offset) {
    if (!offset) return E_POINTER;
    int32_t w = 0, h = 0;
    uint8_t* first = nullptr;
    const HRESULT hr = QzDibPrepareSet(&w, &h, &first, dst, bounds, stride, rect, bytesPerPixel);
    if (hr < 0 || w == 0 || h == 0) return hr;
    if (bytesPerPixel == 4)
        adjustBytes(first, w, h, stride, *offset);
    else
        adjustFloats(first, w, h, stride, bytesPerPixel, *offset);
    return S_OK;
}
