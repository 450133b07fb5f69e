// Transfer curves over descriptor-view bitmaps: decoding 8-bit images into
// linear float, and encoding float images in place.
#include <cstddef>

#include "QzDescriptorView.h"
#include "QzDib.h"
#include "QzRect.h"
#include "QzTransferCurve.h"

using namespace qz;

namespace {

// The lowest memory row of a rectangle, descriptor rows being bottom-up,
// at its first pixel.
uint8_t* firstPixel(const BITMAPINFOHEADER& h, uint8_t* bits, int32_t stride, const RECT& r, int32_t bytesPerPixel) {
    return bits + static_cast<ptrdiff_t>(h.biHeight - r.bottom) * stride +
           static_cast<ptrdiff_t>(r.left) * bytesPerPixel;
}

// Calls op on every float of the rectangle's rows, channel by channel.
template <typename Op>
void forEachFloat(uint8_t* row, int32_t width, int32_t height, int32_t stride, Op op) {
    for (int32_t y = 0; y < height; ++y, row += stride) {
        auto* f = reinterpret_cast<float*>(row);
        for (int32_t i = 0; i < width * 4; ++i) f[i] = op(f[i]);
    }
}

template <int32_t Curve>
void encodeExact(uint8_t* row, int32_t width, int32_t height, int32_t stride, double gamma) {
    forEachFloat(row, width, height, stride,
                 [gamma](float c) { return static_cast<float>(encodeTransfer(Curve, c, gamma)); });
}

}  // namespace

extern "C" HRESULT QzDibLinearize_QZRGBAFLOAT_From_RGBA(const BITMAPINFOHEADER* dstHeader, void* dstBits,
                                                        const RECT* dstRect, int32_t dstStride,
                                                        const BITMAPINFOHEADER* srcHeader, const void* srcBits,
                                                        const RECT* srcRect, int32_t srcStride, int32_t curveIndex,
                                                        double gamma) {
    if (!dstHeader || !srcHeader) return E_POINTER;
    const QzPixelType srcType = QzGetPixelType(srcHeader);
    if ((srcType != QzPixelRGB32 && srcType != QzPixelRGBA32) || QzGetPixelType(dstHeader) != QzPixelRGBA128)
        return E_INVALIDARG;
    if (!isTransferCurve(curveIndex)) return E_INVALIDARG;

    RECT d, s;
    QzDibPrepareRects(dstHeader, &d, dstRect, srcHeader, &s, srcRect, nullptr);
    if (isEmpty(d) || isEmpty(s)) return S_OK;
    if (width(d) != width(s) || height(d) != height(s)) return E_INVALIDARG;

    // Note: the inputs are i * 0.00392156862745098, a hair under 1/255, which
    // for some bytes (33, 132, ...) is one bit below i / 255.
    float table[256];
    for (int i = 0; i < 256; ++i)
        table[i] = static_cast<float>(decodeTransfer(curveIndex, i * 0.00392156862745098, gamma));

    const int32_t ds = strideOf(dstHeader, dstStride), ss = strideOf(srcHeader, srcStride);
    uint8_t* dRow = firstPixel(*dstHeader, bitsOf(dstHeader, dstBits), ds, d, 16);
    const uint8_t* sRow = firstPixel(*srcHeader, bitsOf(srcHeader, srcBits), ss, s, 4);
    const int32_t n = width(d) * 4;
    for (int32_t y = 0; y < height(d); ++y, dRow += ds, sRow += ss) {
        auto* out = reinterpret_cast<float*>(dRow);
        for (int32_t i = 0; i < n; ++i) out[i] = table[sRow[i]];
    }
    return S_OK;
}

extern "C" HRESULT QzDibApplyTransferFunc_QZRGBAFLOAT(const BITMAPINFOHEADER* header, void* bits, const RECT* rect,
                                                      int32_t stride, int32_t curveIndex, double gamma,
                                                      int32_t useTable) {
    if (!header) return E_POINTER;
    if (QzGetPixelType(header) != QzPixelRGBA128 || !isTransferCurve(curveIndex)) return E_INVALIDARG;
    const RECT image{0, 0, header->biWidth, header->biHeight};
    const RECT r = intersect(rect ? *rect : image, image);
    if (isEmpty(r)) return S_OK;

    const int32_t st = strideOf(header, stride);
    uint8_t* row = firstPixel(*header, bitsOf(header, bits), st, r, 16);
    const int32_t w = width(r), h = height(r);
    if (useTable) {
        float table[256];
        for (int i = 0; i < 256; ++i) table[i] = static_cast<float>(encodeTransfer(curveIndex, i / 255.0, gamma));
        forEachFloat(row, w, h, st, [&table](float c) {
            // trunc(c * 255) clamped to 0..255 (a NaN reads as 0).
            const float v = c * 255.0f;
            const int32_t index = v >= 255.0f ? 255 : (v > 0.0f ? static_cast<int32_t>(v) : 0);
            return table[index];
        });
        return S_OK;
    }
    // Exact mode: one loop per curve, so that no channel pays for choosing it.
    switch (curveIndex) {
        case QzTransferGamma22: encodeExact<QzTransferGamma22>(row, w, h, st, gamma); break;
        case QzTransferGamma28: encodeExact<QzTransferGamma28>(row, w, h, st, gamma); break;
        case QzTransferRec709: encodeExact<QzTransferRec709>(row, w, h, st, gamma); break;
        case QzTransferSMPTE240M: encodeExact<QzTransferSMPTE240M>(row, w, h, st, gamma); break;
        case QzTransferLinear: break;  // every value encodes to itself
        default: encodeExact<QzTransferPower>(row, w, h, st, gamma); break;
    }
    return S_OK;
}
