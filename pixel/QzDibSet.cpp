// Fills on descriptors: one colour through the exchange, and the fade of a
// sub-pixel rectangle toward a colour.
#include <algorithm>
#include <cstring>

#include "QzDescriptorView.h"
#include "QzDib.h"
#include "QzRect.h"
#include "QzXchg.h"

namespace {

constexpr int32_t kOne = 16384;

// Float to integer by truncation toward zero, with values beyond the
// integer range (and NaN) giving 0 rather than undefined behaviour.
int32_t truncated(float v) { return v > -2147483648.0f && v < 2147483648.0f ? static_cast<int32_t>(v) : 0; }

// Four copies of the colour in the exchange form; integer forms keep the
// low bits of the truncated, unclamped scale.
void fillForm(unsigned char* out, int32_t width, float r, float g, float b, float a) {
    for (int32_t i = 0; i < 4; ++i) {
        if (width == 0) {
            const tQZPIXEL32 p{static_cast<uint8_t>(truncated(b * 255.0f)), static_cast<uint8_t>(truncated(g * 255.0f)),
                               static_cast<uint8_t>(truncated(r * 255.0f)),
                               static_cast<uint8_t>(truncated(a * 255.0f))};
            std::memcpy(out + 4 * i, &p, sizeof p);
        } else if (width == 1) {
            const tQZPIXEL64 p{
                static_cast<uint16_t>(truncated(b * 65535.0f)), static_cast<uint16_t>(truncated(g * 65535.0f)),
                static_cast<uint16_t>(truncated(r * 65535.0f)), static_cast<uint16_t>(truncated(a * 65535.0f))};
            std::memcpy(out + 8 * i, &p, sizeof p);
        } else {
            const tQZPIXEL128 p{b, g, r, a};
            std::memcpy(out + 16 * i, &p, sizeof p);
        }
    }
}

// Coverage of pixel i by the span [lo, hi) in 1/16384 pixel.
int64_t coverage(int64_t i, int64_t lo, int64_t hi) { return std::min(hi, (i + 1) * kOne) - std::max(lo, i * kOne); }

template <class Mix>
void fadeRect(const BITMAPINFOHEADER& h, uint8_t* bits, int32_t stride, int32_t bytesPerPixel, const int64_t r[4],
              int64_t strength, const Mix& mix) {
    const int64_t x0 = r[0] / kOne, x1 = (r[2] - 1) / kOne;
    const int64_t y0 = r[1] / kOne, y1 = (r[3] - 1) / kOne;
    for (int64_t y = y0; y <= y1; ++y) {
        const int64_t rowWeight = strength * coverage(y, r[1], r[3]);
        uint8_t* row = bits + static_cast<intptr_t>(h.biHeight - 1 - y) * stride;
        for (int64_t x = x0; x <= x1; ++x) {
            const auto w = static_cast<int32_t>((rowWeight * coverage(x, r[0], r[2])) >> 28);
            mix(row + x * bytesPerPixel, w);
        }
    }
}

}  // namespace

extern "C" HRESULT QzDibSet(const BITMAPINFOHEADER* header, void* bits, const RECT* rect, int32_t stride, float r,
                            float g, float b, float a, uint32_t flags) {
    if (!header) return E_POINTER;
    const QzPixelType type = QzGetPixelType(header);
    if (!qz::isExchangeType(type)) return E_NOTIMPL;
    const RECT image{0, 0, header->biWidth, header->biHeight};
    const RECT clip = qz::intersect(rect ? *rect : image, image);
    if (qz::isEmpty(clip)) return S_OK;

    QzXCHG x;
    const HRESULT hr = QzXCHGGetFunctionPointers(type, type, flags, &x, QZXCHG_NO_BLEND, 0.0, 0.0);
    if (hr < 0) return hr;
    qz::QuantizerPtr quantizer;
    if (const HRESULT qhr = qz::quantizerFor(header, type, quantizer); qhr < 0) return qhr;
    x.quantizer = quantizer.get();

    uint8_t* base = qz::bitsOf(header, bits);
    stride = qz::strideOf(header, stride);
    alignas(16) unsigned char colour[4 * sizeof(tQZPIXEL128)];
    fillForm(colour, x.width, r, g, b, a);
    const int32_t w = qz::width(clip);
    for (int32_t y = clip.top; y < clip.bottom; ++y) {
        uint8_t* row = qz::imageRow(*header, base, stride, y);
        int32_t i = 0;
        for (; i + 4 <= w; i += 4) x.write4(&x, row, clip.left + i, colour);
        for (; i < w; ++i) x.write(&x, row, clip.left + i, colour);
    }
    return S_OK;
}

extern "C" HRESULT QzDibFillRect(const BITMAPINFOHEADER* header, void* bits, const RECT* rect, int32_t stride,
                                 const float color[4], uint32_t flags) {
    if (!color) return E_POINTER;
    RECT whole;
    if (rect && (flags & QZCOPY_SUBPIXEL)) {
        whole = RECT{rect->left / kOne, rect->top / kOne, rect->right / kOne, rect->bottom / kOne};
        rect = &whole;
    }
    return QzDibSet(header, bits, rect, stride, color[2], color[1], color[0], color[3], flags & ~QZCOPY_SUBPIXEL);
}

extern "C" HRESULT QzDibFadeToColor(const BITMAPINFOHEADER* header, void* bits, const RECT* rect, int32_t stride,
                                    const QZDIBPIXEL* color, int32_t fadeA, int32_t fadeB, uint32_t flags) {
    if (!header || !color) return E_POINTER;
    const QzPixelType type = QzGetPixelType(header);
    if (type != QzPixelRGB32 && type != QzPixelRGBA32 && type != QzPixelRGBA128) return E_NOTIMPL;
    if (fadeB == 0) return E_INVALIDARG;
    const int64_t strength = std::clamp<int64_t>(static_cast<int64_t>(fadeA) * 65536 / fadeB, 0, 65536);

    // The rectangle in 1/16384 pixel, clipped to the image.
    const int64_t unit = (flags & QZCOPY_SUBPIXEL) ? 1 : kOne;
    const int64_t imageW = static_cast<int64_t>(header->biWidth) * kOne;
    const int64_t imageH = static_cast<int64_t>(header->biHeight) * kOne;
    int64_t r[4] = {0, 0, imageW, imageH};
    if (rect) {
        r[0] = std::max<int64_t>(rect->left * unit, 0);
        r[1] = std::max<int64_t>(rect->top * unit, 0);
        r[2] = std::min<int64_t>(rect->right * unit, imageW);
        r[3] = std::min<int64_t>(rect->bottom * unit, imageH);
    }
    if (r[0] >= r[2] || r[1] >= r[3] || strength == 0) return S_OK;

    uint8_t* base = qz::bitsOf(header, bits);
    stride = qz::strideOf(header, stride);
    const float m[4] = {color->b, color->g, color->r, color->a};
    if (type == QzPixelRGBA128) {
        fadeRect(*header, base, stride, 16, r, strength, [&m](uint8_t* p, int32_t w) {
            const float k = static_cast<float>(w) * (1.0f / 65536.0f);
            float v[4];
            std::memcpy(v, p, sizeof v);
            for (int c = 0; c < 4; ++c) v[c] += (m[c] - v[c]) * k;
            std::memcpy(p, v, sizeof v);
        });
    } else {
        int32_t mb[4];
        for (int c = 0; c < 4; ++c) {
            const float v = m[c] > 0.0f ? (m[c] < 1.0f ? m[c] : 1.0f) : 0.0f;
            mb[c] = static_cast<int32_t>(v * 255.0f);
        }
        fadeRect(*header, base, stride, 4, r, strength, [&mb](uint8_t* p, int32_t w) {
            for (int c = 0; c < 4; ++c) p[c] = static_cast<uint8_t>(p[c] + ((mb[c] - p[c]) * w) / 65536);
        });
    }
    return S_OK;
}
