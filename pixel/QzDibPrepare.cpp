// The preparation functions: the clipping rules of all pixel work, turning
// rectangles into sizes and first-pixel addresses before anything is
// written.
#include <cstdint>

#include "QzDescriptorView.h"
#include "QzDib.h"
#include "QzRect.h"

using namespace qz;

namespace {

// The two-image raw-view clip. Returns the final source and destination
// rectangles in sc and dc; both stay zero when nothing is left.
HRESULT clipPair(RECT& dc, RECT& sc, const RECT* dstBounds, const RECT* dstRect, const RECT* srcBounds,
                 const RECT* srcRect) {
    dc = RECT{0, 0, 0, 0};
    sc = RECT{0, 0, 0, 0};
    if (!dstBounds || !srcBounds) return E_POINTER;

    const RECT d = dstRect ? *dstRect : *dstBounds;
    const RECT s = srcRect ? *srcRect : *srcBounds;
    if (width(d) != width(s) || height(d) != height(s)) return E_INVALIDARG;

    RECT dClip = intersect(d, *dstBounds);
    RECT sClip = intersect(s, *srcBounds);
    if (isEmpty(dClip) || isEmpty(sClip)) return S_OK;

    if (width(dClip) != width(sClip) || height(dClip) != height(sClip)) {
        // The clipped source is laid with its own top-left corner on the
        // destination rectangle's corner; a source clipped on its top or
        // left therefore shifts by the clip. It must cover the clipped
        // destination: a partial overlap on the far side is an error, not a
        // smaller copy.
        const int32_t dx = d.left - sClip.left;
        const int32_t dy = d.top - sClip.top;
        const RECT r = intersect(offset(sClip, dx, dy), dClip);
        if (width(r) != width(dClip) || height(r) != height(dClip)) return E_INVALIDARG;
        sClip = offset(r, -dx, -dy);
    }
    dc = dClip;
    sc = sClip;
    return S_OK;
}

// Clips one axis of a rectangle pair to an image extent [0, limit) and cuts
// the partner in proportion. lo/hi are the clipped rectangle's edges, plo/phi
// the partner's; n and partnerSize are the sizes read before the axis began.
void clipEdges(int32_t& lo, int32_t& hi, int32_t& plo, int32_t& phi, int32_t limit, int32_t n, int32_t partnerSize) {
    if (n <= 0) return;
    // Note: the proportional cut truncates; a 64-bit product keeps huge
    // rectangles from overflowing before the division.
    const auto scaled = [&](int32_t cut) { return static_cast<int32_t>(static_cast<int64_t>(cut) * partnerSize / n); };
    if (lo < 0) {
        const int32_t cut = -lo;
        lo = 0;
        plo += scaled(cut);
    }
    if (hi > limit) {
        const int32_t cut = hi - limit;
        hi = limit;
        phi -= scaled(cut);
    }
}

void fillSide(QzDibPluginSide& side, const BITMAPINFOHEADER* header, const void* bits, const RECT& rect,
              int32_t stride) {
    side.header = header;
    side.bits = qz::bitsOf(header, bits);
    side.stride = qz::strideOf(header, stride);
    side.rect = rect;
    side.width = width(rect);
    side.height = height(rect);
    // Descriptor rows are stored bottom-up: the rectangle's lowest memory row
    // is the image row just above its bottom edge.
    side.firstRow = side.bits + static_cast<intptr_t>(header->biHeight - rect.bottom) * side.stride;
    side.bitOffset = rect.left * header->biBitCount;
}

}  // namespace

extern "C" HRESULT QzDibPrepareSet(int32_t* outWidth, int32_t* outHeight, uint8_t** outDst, void* dstBits,
                                   const RECT* bounds, int32_t stride, const RECT* rect, int32_t bytesPerPixel) {
    if (!bounds) return E_POINTER;
    if (!outWidth || !outHeight || !outDst) return E_POINTER;
    const RECT clip = intersect(rect ? *rect : *bounds, *bounds);
    if (isEmpty(clip)) return S_OK;
    *outWidth = width(clip);
    *outHeight = height(clip);
    *outDst = static_cast<uint8_t*>(dstBits) + byteOffset(clip, stride, bytesPerPixel);
    return S_OK;
}

extern "C" HRESULT QzDibPrepareCopy(int32_t* outWidth, int32_t* outHeight, uint8_t** outSrc, uint8_t** outDst,
                                    void* dstBits, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                    const void* srcBits, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                    int32_t bytesPerPixel) {
    return QzDibPrepareTransform(nullptr, outWidth, outHeight, outSrc, outDst, dstBits, dstBounds, dstStride, dstRect,
                                 srcBits, srcBounds, srcStride, srcRect, bytesPerPixel, nullptr);
}

extern "C" HRESULT QzDibPrepareTransform(RECT* outSrcRect, int32_t* outWidth, int32_t* outHeight, uint8_t** outSrc,
                                         uint8_t** outDst, void* dstBits, const RECT* dstBounds, int32_t dstStride,
                                         const RECT* dstRect, const void* srcBits, const RECT* srcBounds,
                                         int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel,
                                         RECT* outDstRect) {
    if (!outWidth || !outHeight || !outSrc || !outDst) return E_POINTER;
    *outWidth = 0;
    *outHeight = 0;
    *outSrc = nullptr;
    *outDst = nullptr;
    RECT dc, sc;
    const HRESULT hr = clipPair(dc, sc, dstBounds, dstRect, srcBounds, srcRect);
    if (outSrcRect) *outSrcRect = sc;
    if (outDstRect) *outDstRect = dc;
    if (hr < 0 || isEmpty(sc)) return hr;
    *outWidth = width(sc);
    *outHeight = height(sc);
    *outSrc = static_cast<uint8_t*>(const_cast<void*>(srcBits)) + byteOffset(sc, srcStride, bytesPerPixel);
    *outDst = static_cast<uint8_t*>(dstBits) + byteOffset(dc, dstStride, bytesPerPixel);
    return S_OK;
}

extern "C" HRESULT QzDibPrepareRects(const BITMAPINFOHEADER* dstHeader, RECT* outDstRect, const RECT* dstRect,
                                     const BITMAPINFOHEADER* srcHeader, RECT* outSrcRect, const RECT* srcRect,
                                     RECT* outMargins) {
    if (!dstHeader || !srcHeader || !outDstRect || !outSrcRect) return E_POINTER;
    RECT d = dstRect ? *dstRect : RECT{0, 0, dstHeader->biWidth, dstHeader->biHeight};
    RECT s = srcRect ? *srcRect : RECT{0, 0, srcHeader->biWidth, srcHeader->biHeight};
    const RECT sOriginal = s;

    // Each axis on its own, with the sizes of before the axis: every cut is
    // scaled by the one ratio the caller asked for.
    {
        const int32_t dw = width(d), sw = width(s);
        clipEdges(d.left, d.right, s.left, s.right, dstHeader->biWidth, dw, sw);
        clipEdges(s.left, s.right, d.left, d.right, srcHeader->biWidth, sw, dw);
    }
    {
        const int32_t dh = height(d), sh = height(s);
        clipEdges(d.top, d.bottom, s.top, s.bottom, dstHeader->biHeight, dh, sh);
        clipEdges(s.top, s.bottom, d.top, d.bottom, srcHeader->biHeight, sh, dh);
    }

    if (isEmpty(d) || isEmpty(s)) d = s = RECT{0, 0, 0, 0};
    *outDstRect = d;
    *outSrcRect = s;
    if (outMargins) {
        *outMargins = RECT{0, 0, 0, 0};
        if (srcRect && !isEmpty(s)) {
            *outMargins = RECT{s.left - sOriginal.left, s.top - sOriginal.top, sOriginal.right - s.right,
                               sOriginal.bottom - s.bottom};
        }
    }
    return S_OK;
}

extern "C" HRESULT DibPreparePluginParam(QzDibPluginParam* param, const BITMAPINFOHEADER* dstHeader, void* dstBits,
                                         const RECT* dstRect, int32_t dstStride, const BITMAPINFOHEADER* srcHeader,
                                         const void* srcBits, const RECT* srcRect, int32_t srcStride, uint32_t flags,
                                         int32_t* outIsFloat, int32_t* outEmpty) {
    if (!param || !dstHeader || !srcHeader) return E_POINTER;
    const QzPixelType type = QzGetPixelType(dstHeader);
    if (type != QzGetPixelType(srcHeader)) return E_INVALIDARG;
    if (type != QzPixelRGB32 && type != QzPixelRGBA32 && type != QzPixelRGBA128) return E_INVALIDARG;
    if (outIsFloat) *outIsFloat = type == QzPixelRGBA128;
    if (outEmpty) *outEmpty = 0;

    RECT d, s;
    QzDibPrepareRects(dstHeader, &d, dstRect, srcHeader, &s, srcRect, nullptr);
    if (isEmpty(d) || isEmpty(s)) {
        if (outEmpty) *outEmpty = 1;
        return S_OK;
    }
    if (width(d) != width(s) || height(d) != height(s)) return E_INVALIDARG;

    fillSide(param->dst, dstHeader, dstBits, d, dstStride);
    fillSide(param->src, srcHeader, srcBits, s, srcStride);
    param->flags = flags;
    return S_OK;
}
