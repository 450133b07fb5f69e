// Blur and convolution on raw-view images. The principles are those of
// QzDib.h.
#pragma once

#include "QzDib.h"

#ifdef __cplusplus
extern "C" {
#endif

// The recursive Gaussian over all four channels, radii in pixels per
// direction. The cost does not depend on the radius. A radius of 0 still
// blurs (the kernel never gets narrower than a standard deviation of 0.6):
// callers that want no blur skip the call. Edges repeat the edge pixel;
// nothing outside the source rectangle is read. dst may be src. 8-bit
// results round to nearest (ties to even) and clamp; float results are not
// clamped. E_OUTOFMEMORY if the float working bitmap cannot be had; without
// the two line buffers the call returns S_OK and leaves dst as it was.
QZ_EXPORT HRESULT QzDibGaussianBlur(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                    const void* src, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                    double hRadius, double vRadius, int32_t bytesPerPixel);

// As QzDibGaussianBlur; with bytesPerPixel 4 the source is bytes and dst
// receives 16-byte float pixels on the 0 to 255 scale, unclamped.
QZ_EXPORT HRESULT QzDibGaussianBlur_Float(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                          const void* src, const RECT* srcBounds, int32_t srcStride,
                                          const RECT* srcRect, double hRadius, double vRadius, int32_t bytesPerPixel);

// One channel; the destination's other channels are left as they are.
QZ_EXPORT HRESULT QzDibGaussianChannelBlur(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                           const void* src, const RECT* srcBounds, int32_t srcStride,
                                           const RECT* srcRect, double hRadius, double vRadius, QzChannel channel,
                                           int32_t bytesPerPixel);
QZ_EXPORT HRESULT QzDibGaussianChannelToChannelBlur(void* dst, const RECT* dstBounds, int32_t dstStride,
                                                    const RECT* dstRect, QzChannel dstChannel, const void* src,
                                                    const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                                    QzChannel srcChannel, double hRadius, double vRadius,
                                                    int32_t bytesPerPixel);

// The fixed 1-2-1 x 1-2-1 blur over all four channels; edges replicate the
// rectangle's edge pixels. 8-bit sums are shifted right by 4 (truncating),
// float sums multiplied by 1/16. src and dst must not overlap.
QZ_EXPORT HRESULT QzDibBlur(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect, const void* src,
                            const RECT* srcBounds, int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel);

// A 3 x 3 kernel of nine integers, row by row, over a divisor; same edge
// rule. 8-bit: the integer sum divided with truncation and clamped to 0 to
// 255 on all four channels. Float: colour unclamped, alpha clamped to 0 to
// 1. A null kernel is E_POINTER, a zero divisor E_INVALIDARG.
QZ_EXPORT HRESULT QzDib3x3Convolution(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                      const void* src, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                      int32_t bytesPerPixel, const int32_t* kernel, int32_t divisor);

// The soft alpha of a drop shadow. The source's alpha is shrunk by
// `reduction` (0 to 1; each side to max(2, trunc(size * (1 - reduction))))
// by nearest samples, then stretched back over the rectangle by two-way
// interpolation with the converting copy's truncating weights. The
// rectangle becomes black carrying that alpha. Without scratch memory the
// call returns S_OK and leaves dst as it was.
QZ_EXPORT HRESULT QzDibChannelBlur(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                   const void* src, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                   int32_t bytesPerPixel, double reduction);

#ifdef __cplusplus
}
#endif
