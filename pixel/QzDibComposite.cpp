// QzDibComposite: the descriptor entry, which settles the rectangles' units
// and hands a top-down raw view to the whole-pixel or sub-pixel form.
#include <algorithm>
#include <cstdint>

#include "QzCompositeModes.h"
#include "QzDescriptorView.h"

namespace {

constexpr int32_t kOne = QZ_SUBPIXEL_ONE;

// Coordinates far outside any image saturate; the clip removes them.
int32_t toUnits(int32_t v) {
    return static_cast<int32_t>(std::clamp<int64_t>(int64_t{v} * kOne, INT32_MIN, INT32_MAX));
}
RECT toUnits(const RECT& r) { return RECT{toUnits(r.left), toUnits(r.top), toUnits(r.right), toUnits(r.bottom)}; }

bool isWhole(const RECT& r) {
    return r.left % kOne == 0 && r.top % kOne == 0 && r.right % kOne == 0 && r.bottom % kOne == 0;
}

bool sameSize(const RECT& a, const RECT& b) {
    return int64_t{a.right} - a.left == int64_t{b.right} - b.left &&
           int64_t{a.bottom} - a.top == int64_t{b.bottom} - b.top;
}

// Both 8-bit BGRA (either marking) or both float BGRA.
bool compatible(QzPixelType d, QzPixelType s) {
    const auto bytes = [](QzPixelType t) { return t == QzPixelRGB32 || t == QzPixelRGBA32; };
    return (bytes(d) && bytes(s)) || (d == QzPixelRGBA128 && s == QzPixelRGBA128);
}

// A descriptor as a top-down raw view: image row 0 first, rows going down
// in memory by a negated stride.
struct TopDown {
    uint8_t* top;
    int32_t stride;
    TopDown(const BITMAPINFOHEADER* h, const void* bits, int32_t givenStride) {
        const int32_t s = qz::strideOf(h, givenStride);
        top = qz::imageRow(*h, qz::bitsOf(h, bits), s, 0);
        stride = -s;
    }
};

}  // namespace

extern "C" HRESULT QzDibComposite(const BITMAPINFOHEADER* dstHeader, void* dstBits, const RECT* dstRect,
                                  int32_t dstStride, const BITMAPINFOHEADER* srcHeader, const void* srcBits,
                                  const RECT* srcRect, int32_t srcStride, const QzDibCompositeProps* props,
                                  uint32_t flags) {
    const HRESULT hr = qz::composite::checkProps(props);
    if (hr < 0) return hr;
    if (!dstHeader || !srcHeader) return E_POINTER;
    const QzPixelType dstType = QzGetPixelType(dstHeader);
    if (!compatible(dstType, QzGetPixelType(srcHeader))) return E_INVALIDARG;
    const int32_t bytesPerPixel = dstType == QzPixelRGBA128 ? 16 : 4;

    bool subPixel = (flags & QZCOPY_SUBPIXEL) != 0;
    const RECT dstWhole{0, 0, dstHeader->biWidth, dstHeader->biHeight};
    const RECT srcWhole{0, 0, srcHeader->biWidth, srcHeader->biHeight};
    RECT d = dstRect ? *dstRect : (subPixel ? toUnits(dstWhole) : dstWhole);
    RECT s = srcRect ? *srcRect : (subPixel ? toUnits(srcWhole) : srcWhole);
    if (!sameSize(d, s) && !subPixel) {
        d = toUnits(d);
        s = toUnits(s);
        subPixel = true;
    } else if (sameSize(d, s) && subPixel && isWhole(d) && isWhole(s)) {
        d = RECT{d.left / kOne, d.top / kOne, d.right / kOne, d.bottom / kOne};
        s = RECT{s.left / kOne, s.top / kOne, s.right / kOne, s.bottom / kOne};
        subPixel = false;
    }

    const TopDown dv(dstHeader, dstBits, dstStride);
    const TopDown sv(srcHeader, srcBits, srcStride);
    if (subPixel) {
        const SIZE dstSize{dstHeader->biWidth, dstHeader->biHeight};
        const SIZE srcSize{srcHeader->biWidth, srcHeader->biHeight};
        return QzDibCompositeSP(dv.top, &dstSize, dv.stride, &d, sv.top, &srcSize, sv.stride, &s, bytesPerPixel, props);
    }
    return QzDibCompositeUnscaled(dv.top, &dstWhole, dv.stride, &d, sv.top, &srcWhole, sv.stride, &s, bytesPerPixel,
                                  props);
}
