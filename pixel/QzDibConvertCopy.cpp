// QzDibCopy: the converting, scaling copy between two descriptors, and its
// parameter block.
#include "QzDescriptorView.h"
#include "QzDib.h"
#include "QzDibConvertBlock.h"
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

bool sameSize(const RECT& a, const RECT& b) {
    return qz::width(a) == qz::width(b) && qz::height(a) == qz::height(b);
}

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

// Step 2: rectangles with fractional edges. The sub-pixel scalers and the
// sub-pixel driver that take these are not in this library yet.
HRESULT copyFractional(const CopyRequest&) { return E_NOTIMPL; }

// Step 4: whole-pixel rectangles of different sizes between the scaler
// pairs, at modes 3 and up. Until the dedicated bi-linear and bi-cubic
// scalers take them, the plain driver's interpolating scaler does.
HRESULT copyScaledWholePixels(const CopyRequest& r) { return copyThroughBlock(r); }

}  // namespace

extern "C" HRESULT QzDibCopy(const BITMAPINFOHEADER* dstHeader, void* dstBits, const RECT* dstRect,
                             int32_t dstStride, const BITMAPINFOHEADER* srcHeader, const void* srcBits,
                             const RECT* srcRect, int32_t srcStride, uint32_t flags, double dstGamma,
                             double srcGamma) {
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
