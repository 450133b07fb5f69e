#include <cstring>

#include "QzDib.h"

namespace {

int32_t width(const RECT& r) { return r.right - r.left; }
int32_t height(const RECT& r) { return r.bottom - r.top; }

// IntersectRect semantics: an empty intersection is all zero.
RECT intersect(const RECT& a, const RECT& b) {
    RECT r{a.left > b.left ? a.left : b.left, a.top > b.top ? a.top : b.top,
           a.right < b.right ? a.right : b.right, a.bottom < b.bottom ? a.bottom : b.bottom};
    if (r.left >= r.right || r.top >= r.bottom) return RECT{0, 0, 0, 0};
    return r;
}

bool isEmpty(const RECT& r) { return r.left >= r.right || r.top >= r.bottom; }

RECT offset(const RECT& r, int32_t dx, int32_t dy) { return RECT{r.left + dx, r.top + dy, r.right + dx, r.bottom + dy}; }

// Note: the row and column products are 32-bit, as the toolkit has always
// computed them, and only then widened to an address offset.
intptr_t byteOffset(const RECT& r, int32_t stride, int32_t bytesPerPixel) {
    const auto rowBytes = static_cast<int32_t>(static_cast<uint32_t>(r.top) * static_cast<uint32_t>(stride));
    const auto colBytes = static_cast<int32_t>(static_cast<uint32_t>(r.left) * static_cast<uint32_t>(bytesPerPixel));
    return static_cast<intptr_t>(rowBytes) + static_cast<intptr_t>(colBytes);
}

}  // namespace

extern "C" HRESULT QzDibPrepareCopy(int32_t* outWidth, int32_t* outHeight, uint8_t** outSrc, uint8_t** outDst,
                                    void* dstBits, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                    const void* srcBits, const RECT* srcBounds, int32_t srcStride,
                                    const RECT* srcRect, int32_t bytesPerPixel) {
    if (!outWidth || !outHeight || !outSrc || !outDst) return E_POINTER;
    *outWidth = 0;
    *outHeight = 0;
    *outSrc = nullptr;
    *outDst = nullptr;
    if (!dstBounds || !srcBounds) return E_POINTER;

    const RECT d = dstRect ? *dstRect : *dstBounds;
    const RECT s = srcRect ? *srcRect : *srcBounds;
    if (width(d) != width(s) || height(d) != height(s)) return E_INVALIDARG;

    const RECT dc = intersect(d, *dstBounds);
    RECT sc = intersect(s, *srcBounds);
    if (isEmpty(dc) || isEmpty(sc)) return S_OK;

    if (width(dc) != width(sc) || height(dc) != height(sc)) {
        // The clipped source is laid with its own top-left corner on the
        // destination rectangle's corner; a source clipped on its top or
        // left therefore shifts by the clip.
        const int32_t dx = d.left - sc.left;
        const int32_t dy = d.top - sc.top;
        const RECT r = intersect(offset(sc, dx, dy), dc);
        if (width(r) != width(dc) || height(r) != height(dc)) return E_INVALIDARG;
        sc = offset(r, -dx, -dy);
    }

    *outWidth = width(sc);
    *outHeight = height(sc);
    *outSrc = static_cast<uint8_t*>(const_cast<void*>(srcBits)) + byteOffset(sc, srcStride, bytesPerPixel);
    *outDst = static_cast<uint8_t*>(dstBits) + byteOffset(dc, dstStride, bytesPerPixel);
    return S_OK;
}

extern "C" HRESULT QzDibCopyUnscaled(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                     const void* src, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                     int32_t bytesPerPixel) {
    int32_t w, h;
    uint8_t *s, *d;
    const HRESULT hr = QzDibPrepareCopy(&w, &h, &s, &d, dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride,
                                        srcRect, bytesPerPixel);
    if (hr < 0) return hr;
    const size_t rowBytes = static_cast<size_t>(w) * static_cast<size_t>(bytesPerPixel);
    for (int32_t y = 0; y < h; ++y, s += srcStride, d += dstStride) std::memmove(d, s, rowBytes);
    return hr;
}
