// Scaling and sub-pixel sampling on raw-view images, for the geometric
// effects and for QzDibCopy between sizes. The principles are those of
// QzDib.h. Positions and rectangles here are in 1/16384 pixel (14 fraction
// bits) unless a function says whole pixels; sizes are in whole pixels.
#pragma once

#include "QzDib.h"

#ifdef __cplusplus
extern "C" {
#endif

#define QZ_SUBPIXEL_ONE 16384

// One resampling job, resolved. Bounds are {0, 0, size << 14}; the
// rectangles are clipped to their bounds and to each other's image, so every
// destination position inside dstRect maps onto the source inside srcRect.
// stepX and stepY are source units per destination pixel, 16384 at 1:1.
typedef struct QzSubpixelParam {
    uint8_t* dst;
    int32_t dstStride;
    RECT dstBounds;
    RECT dstRect;
    const uint8_t* src;
    int32_t srcStride;
    RECT srcBounds;
    RECT srcRect;
    int32_t stepX;
    int32_t stepY;
} QzSubpixelParam;

// Fills *param. Null rectangles mean the whole images. The steps come from
// the rectangles as given; the source is then clipped to its image and the
// destination to its own, each clip carried over to the other side at the
// step, so the mapping does not move. Returns 0 (nothing to do) when the
// clipped source is under one pixel or the clipped destination under 1/16
// pixel (1024 units) on either axis, or an argument is null or negative.
QZ_EXPORT int32_t QzPrepareSubpixelParam(QzSubpixelParam* param, void* dst, const SIZE* dstSize, int32_t dstStride,
                                         const RECT* dstRect, const void* src, const SIZE* srcSize, int32_t srcStride,
                                         const RECT* srcRect);

// Resamples srcRect onto dstRect, whole-pixel rectangles (shifted left by 14
// and handed to the sub-pixel form). At 1:1 on both axes, rows are copied.
// bytesPerPixel 4 or 16; flags and extra are reserved (pass 0 and null).
QZ_EXPORT HRESULT QzDibScale_Bilinear(void* dst, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                                      const void* src, const SIZE* srcSize, int32_t srcStride, const RECT* srcRect,
                                      int32_t bytesPerPixel, uint32_t flags, void* extra);
QZ_EXPORT HRESULT QzDibScale_BilinearSubPixel(void* dst, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                                              const void* src, const SIZE* srcSize, int32_t srcStride,
                                              const RECT* srcRect, int32_t bytesPerPixel, uint32_t flags, void* extra);
QZ_EXPORT HRESULT QzDibScale_BiCubic(void* dst, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                                     const void* src, const SIZE* srcSize, int32_t srcStride, const RECT* srcRect,
                                     int32_t bytesPerPixel, uint32_t flags, void* extra);
QZ_EXPORT HRESULT QzDibScale_BiCubicSubPixel(void* dst, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                                             const void* src, const SIZE* srcSize, int32_t srcStride,
                                             const RECT* srcRect, int32_t bytesPerPixel, uint32_t flags, void* extra);

// Four-neighbour samples at fractions fx, fy of 0 to 16383 from the pixel at
// p toward its right and lower neighbours (p + 4 or 16, p + stride). No
// bounds tests: the caller guarantees the neighbours exist. Bytes round:
// (sum of p * w + 0x800000) >> 24, with the weights below in 1/2^24.
QZ_EXPORT void QzGetSubPixel32Fast(tQZPIXEL32* out, const uint8_t* p, int32_t stride, int32_t fx, int32_t fy);
QZ_EXPORT void QzGetSubPixel128Fast(tQZPIXEL128* out, const uint8_t* p, int32_t stride, int32_t fx, int32_t fy);

// The sample at (x, y) in 1/16384 pixel of an image of width by height
// pixels at base. Returns 1 when a sample was written, 0 for a position
// outside the image. The last column and row mix only along the other axis,
// and the last pixel is returned as it is.
QZ_EXPORT int32_t QzGetSubPixel32Safe(tQZPIXEL32* out, const uint8_t* base, int32_t width, int32_t height,
                                      int32_t stride, int32_t x, int32_t y);
QZ_EXPORT int32_t QzGetSubPixel128Safe(tQZPIXEL128* out, const uint8_t* base, int32_t width, int32_t height,
                                       int32_t stride, int32_t x, int32_t y);

#ifdef __cplusplus
}
#endif
