// QzDibCopy: the converting, scaling copy between two descriptors, and its
// parameter block.
#include <new>
#include <vector>

#include "QzDescriptorView.h"
#include "QzDib.h"
#include "QzDibConvertBlock.h"
#include "QzScaleRows.h"
#include "QzXchg.h"

namespace {

constexpr int32_t kOne = 16384;  // one pixel in sub-pixel units

struct CopyRequest {
    const BITMAPINFOHEADER* dstHeader;
    void* dstBits;
    RECT dstRect;
    int32_t dstStride;
    const BITMAPINFOHEADER* srcHeader;
    const void* srcBits;
    RECT srcRect;
    int32_t srcStride;
    uint32_t flags;
    double dstGamma;
    double srcGamma;
    QzPixelType dstType;
    QzPixelType srcType;
};

bool isWhole(const RECT& r) {
    return r.left % kOne == 0 && r.top % kOne == 0 && r.right % kOne == 0 && r.bottom % kOne == 0;
}

RECT toWholePixels(const RECT& r) { return RECT{r.left / kOne, r.top / kOne, r.right / kOne, r.bottom / kOne}; }

bool hasNegative(const RECT& r) { return r.left < 0 || r.top < 0 || r.right < 0 || r.bottom < 0; }

bool sameSize(const RECT& a, const RECT& b) { return qz::width(a) == qz::width(b) && qz::height(a) == qz::height(b); }

// The pairs that the dedicated scalers take: byte BGRA to byte BGRA, and
// float to float.
bool isScalerPair(QzPixelType src, QzPixelType dst) {
    const auto bytes = [](QzPixelType t) { return t == QzPixelRGB32 || t == QzPixelRGBA32; };
    return (bytes(src) && bytes(dst)) || (src == QzPixelRGBA128 && dst == QzPixelRGBA128);
}

// From the whole-pixel source step to the destination: the first and last
// pixels of the two rectangles meet. A destination of one pixel keeps the
// undivided span.
int32_t interpolatingStep(int32_t srcSize, int32_t dstSize) {
    const int64_t span = (static_cast<int64_t>(srcSize) << 14) - kOne;
    return static_cast<int32_t>(dstSize > 1 ? span / (dstSize - 1) : span);
}

qz::CopySide sideOf(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, QzPixelType type,
                    const RECT& rect) {
    qz::CopySide s;
    s.header = header;
    s.bits = qz::bitsOf(header, bits);
    s.stride = qz::strideOf(header, stride);
    s.type = type;
    s.rect = rect;
    return s;
}

// Steps 5 and 6: the parameter block, the quantizer of a palette
// destination, then the feathering or the plain driver.
HRESULT copyThroughBlock(const CopyRequest& r) {
    if (!qz::isExchangeType(r.srcType)) return QZ_E_BADCOPYPARAMS;
    if (hasNegative(r.dstRect) || hasNegative(r.srcRect) || qz::isEmpty(r.dstRect) || qz::isEmpty(r.srcRect))
        return QZ_E_BADCOPYPARAMS;
    if (!qz::isExchangeType(r.dstType)) return E_INVALIDARG;

    RECT d, s;
    const HRESULT hr = QzDibPrepareRects(r.dstHeader, &d, &r.dstRect, r.srcHeader, &s, &r.srcRect, nullptr);
    if (hr < 0) return QZ_E_BADCOPYPARAMS;
    if (qz::isEmpty(d) || qz::isEmpty(s)) return S_OK;

    qz::CopyBlock b;
    b.dst = sideOf(r.dstHeader, r.dstBits, r.dstStride, r.dstType, d);
    b.src = sideOf(r.srcHeader, r.srcBits, r.srcStride, r.srcType, s);
    b.flags = r.flags;
    b.mode = r.flags & QZCOPY_MODE_MASK;
    b.dstGamma = r.dstGamma;
    b.srcGamma = r.srcGamma;
    b.scaling = !sameSize(d, s);
    if (b.scaling) {
        b.stepX = interpolatingStep(qz::width(s), qz::width(d));
        b.stepY = interpolatingStep(qz::height(s), qz::height(d));
    }

    qz::QuantizerPtr quantizer;
    if (const HRESULT qhr = qz::quantizerFor(r.dstHeader, r.dstType, quantizer); qhr < 0) return qhr;
    b.quantizer = quantizer.get();
    return (r.flags & QZCOPY_FEATHER_EDGES) ? qz::runFeatherDriver(b) : qz::runPlainDriver(b);
}

// A descriptor's bits seen top-down: image row 0, its last memory row, and
// the negated stride.
struct TopDown {
    uint8_t* row0;
    int32_t stride;
    SIZE size;
};

TopDown topDown(const BITMAPINFOHEADER* header, const void* bits, int32_t stride) {
    const int32_t s = qz::strideOf(header, stride);
    return TopDown{qz::imageRow(*header, qz::bitsOf(header, bits), s, 0), -s, SIZE{header->biWidth, header->biHeight}};
}

bool hasPixels(const BITMAPINFOHEADER* h) { return h->biWidth > 0 && h->biHeight > 0; }

// Steps 2 and 4 between the scaler pairs: the scaler straight on the two
// descriptors' bits, in units or in whole pixels.
HRESULT scaleDirect(const CopyRequest& r, bool subPixel) {
    if (!hasPixels(r.dstHeader) || !hasPixels(r.srcHeader)) return S_OK;
    const TopDown d = topDown(r.dstHeader, r.dstBits, r.dstStride);
    const TopDown s = topDown(r.srcHeader, r.srcBits, r.srcStride);
    const int32_t bytesPerPixel = r.dstType == QzPixelRGBA128 ? 16 : 4;
    const bool bicubic = (r.flags & QZCOPY_BICUBIC) != 0;
    const auto scale = subPixel ? (bicubic ? QzDibScale_BiCubicSubPixel : QzDibScale_BilinearSubPixel)
                                : (bicubic ? QzDibScale_BiCubic : QzDibScale_Bilinear);
    return scale(d.row0, &d.size, d.stride, &r.dstRect, s.row0, &s.size, s.stride, &r.srcRect, bytesPerPixel, 0,
                 nullptr);
}

// A float image of type 32 for the converting sub-pixel path.
struct FloatImage {
    BITMAPINFOHEADER header{};
    std::vector<float> bits;
    FloatImage(int32_t w, int32_t h) : bits(static_cast<size_t>(w) * static_cast<size_t>(h) * 4) {
        QzVideo_InitBitmapInfo(&header, QzPixelRGBA128, w, h, nullptr, 0, nullptr);
    }
    TopDown view() { return topDown(&header, bits.data(), 0); }
};

// The whole pixels that a rectangle in units touches.
RECT pixelCover(const RECT& r) {
    return RECT{r.left / kOne, r.top / kOne, (r.right + kOne - 1) / kOne, (r.bottom + kOne - 1) / kOne};
}

// Moves a prepared side onto a float image of its cover.
void rebase(uint8_t*& base, int32_t& stride, RECT& bounds, RECT& rect, const RECT& cover, FloatImage& image) {
    const TopDown v = image.view();
    base = v.row0;
    stride = v.stride;
    bounds = RECT{0, 0, qz::width(cover) * kOne, qz::height(cover) * kOne};
    rect = qz::offset(rect, -cover.left * kOne, -cover.top * kOne);
}

// Step 2 between other pairs. The source pixels under the rectangle are
// converted to floats (the gammas applied there), scaled float to float into
// the destination rectangle's cover, and that is converted back. A cover
// with fractional edges is first read from the destination, so that its edge
// pixels are laid over what they held, as the scaler does on its own pairs.
HRESULT convertFractional(const CopyRequest& r) {
    if (!qz::isExchangeType(r.srcType)) return QZ_E_BADCOPYPARAMS;
    if (!qz::isExchangeType(r.dstType)) return E_INVALIDARG;
    if (!hasPixels(r.dstHeader) || !hasPixels(r.srcHeader)) return S_OK;
    const TopDown d = topDown(r.dstHeader, r.dstBits, r.dstStride);
    const TopDown s = topDown(r.srcHeader, r.srcBits, r.srcStride);
    QzSubpixelParam p;
    if (!QzPrepareSubpixelParam(&p, d.row0, &d.size, d.stride, &r.dstRect, s.row0, &s.size, s.stride, &r.srcRect))
        return S_OK;
    const RECT dstCover = pixelCover(p.dstRect), srcCover = pixelCover(p.srcRect);
    // The prepared mapping carries over to the float images unchanged; the
    // copies to and from them are whole-pixel ones of equal size, so they
    // drop the sub-pixel, bi-cubic and feathering bits.
    const uint32_t flags = r.flags & ~(QZCOPY_SUBPIXEL | QZCOPY_BICUBIC | QZCOPY_FEATHER_EDGES | 0xFF0000u);
    try {
        FloatImage from(qz::width(srcCover), qz::height(srcCover)), to(qz::width(dstCover), qz::height(dstCover));
        HRESULT hr = QzDibCopy(&from.header, from.bits.data(), nullptr, 0, r.srcHeader, r.srcBits, &srcCover,
                               r.srcStride, flags, r.dstGamma, r.srcGamma);
        if (hr >= 0 && !isWhole(p.dstRect))
            hr = QzDibCopy(&to.header, to.bits.data(), nullptr, 0, r.dstHeader, r.dstBits, &dstCover, r.dstStride,
                           flags, 0.0, 0.0);
        if (hr < 0) return hr;
        rebase(p.dst, p.dstStride, p.dstBounds, p.dstRect, dstCover, to);
        uint8_t* src = nullptr;
        rebase(src, p.srcStride, p.srcBounds, p.srcRect, srcCover, from);
        p.src = src;
        const bool bicubic = (r.flags & QZCOPY_BICUBIC) != 0;
        hr = bicubic ? qz::scaleBiCubic(p, 16) : qz::scaleBilinear(p, 16);
        if (hr < 0) return hr;
        return QzDibCopy(r.dstHeader, r.dstBits, &dstCover, r.dstStride, &to.header, to.bits.data(), nullptr, 0, flags,
                         0.0, 0.0);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

// Step 2: rectangles with fractional edges.
HRESULT copyFractional(const CopyRequest& r) {
    return isScalerPair(r.srcType, r.dstType) ? scaleDirect(r, true) : convertFractional(r);
}

// Step 4: whole-pixel rectangles of different sizes between the scaler
// pairs, at modes 3 and up.
HRESULT copyScaledWholePixels(const CopyRequest& r) { return scaleDirect(r, false); }

}  // namespace

extern "C" HRESULT QzDibCopy(const BITMAPINFOHEADER* dstHeader, void* dstBits, const RECT* dstRect, int32_t dstStride,
                             const BITMAPINFOHEADER* srcHeader, const void* srcBits, const RECT* srcRect,
                             int32_t srcStride, uint32_t flags, double dstGamma, double srcGamma) {
    if (!dstHeader || !srcHeader) return E_POINTER;
    CopyRequest r{};
    r.dstHeader = dstHeader;
    r.dstBits = dstBits;
    r.dstStride = dstStride;
    r.srcHeader = srcHeader;
    r.srcBits = srcBits;
    r.srcStride = srcStride;
    r.flags = flags;
    r.dstGamma = dstGamma;
    r.srcGamma = srcGamma;
    r.dstType = QzGetPixelType(dstHeader);
    r.srcType = QzGetPixelType(srcHeader);

    const bool subPixel = (flags & QZCOPY_SUBPIXEL) != 0;
    const int32_t unit = subPixel ? kOne : 1;
    r.dstRect = dstRect ? *dstRect : RECT{0, 0, dstHeader->biWidth * unit, dstHeader->biHeight * unit};
    r.srcRect = srcRect ? *srcRect : RECT{0, 0, srcHeader->biWidth * unit, srcHeader->biHeight * unit};

    const uint32_t mode = flags & QZCOPY_MODE_MASK;
    if (subPixel) {
        if (mode >= 3 && (!isWhole(r.dstRect) || !isWhole(r.srcRect))) return copyFractional(r);
        // Below mode 3 a copy steps by whole samples, so fractional edges
        // are truncated to the pixel.
        r.dstRect = toWholePixels(r.dstRect);
        r.srcRect = toWholePixels(r.srcRect);
    }
    if (mode >= 3 && !sameSize(r.dstRect, r.srcRect) && isScalerPair(r.srcType, r.dstType))
        return copyScaledWholePixels(r);
    return copyThroughBlock(r);
}
