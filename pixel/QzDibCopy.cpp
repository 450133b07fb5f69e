#include <cstring>

#include "QzDib.h"
#include "QzPrepared.h"

extern "C" HRESULT QzDibCopyUnscaled(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                     const void* src, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                     int32_t bytesPerPixel) {
    const qz::Prepared p =
        qz::prepareCopy(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel);
    if (p.empty()) return p.hr;
    const size_t rowBytes = static_cast<size_t>(p.w) * static_cast<size_t>(bytesPerPixel);
    const uint8_t* s = p.src;
    uint8_t* d = p.dst;
    for (int32_t y = 0; y < p.h; ++y, s += srcStride, d += dstStride) std::memmove(d, s, rowBytes);
    return p.hr;
}
