// Compositing one image onto another by a numbered mode or a caller's
// function, and the dual-alpha blend of premultiplied bytes. The principles
// are those of QzDib.h; what differs is said at each function.
#pragma once

#include "QzDib.h"

#ifdef __cplusplus
extern "C" {
#endif

// ---- Modes ----
//
// The operators on premultiplied colour, S the source, D the destination,
// Sa and Da their alphas, all read as 0 to 1:
//
//   #   name        colour                                       alpha
//   0   over        S + D(1 - Sa)                                Sa + Da(1 - Sa)
//   1   under       D + S(1 - Da)                                Da + Sa(1 - Da)
//   2   in          S Da                                         Sa Da
//   3   out         S(1 - Da)                                    Sa(1 - Da)
//   4   atop        S Da + D(1 - Sa)                             Da
//   5   xor         S(1 - Da) + D(1 - Sa)                        Sa(1 - Da) + Da(1 - Sa)
//   6   plus        min(1, S + D)                                min(1, Sa + Da)
//   7   multiply    S D + S(1 - Da) + D(1 - Sa)                  Sa + Da - Sa Da
//   8   screen      S + D - S D                                  Sa + Da - Sa Da
//   9   overlay     S(1 - Da) + D(1 - Sa) + X, where X is        Sa + Da - Sa Da
//                   2 S D when 2 D <= Da,
//                   else Sa Da - 2 (Da - D)(Sa - S)
//   10  darken      S + D - max(S Da, D Sa)                      Sa + Da - Sa Da
//   11  lighten     S + D - min(S Da, D Sa)                      Sa + Da - Sa Da
//   12  difference  S + D - 2 min(S Da, D Sa)                    Sa + Da - Sa Da
//   13  subtract    max(0, D - S)                                Da
//
// Modes 7 to 12 are the separable blend modes of the W3C compositing model
// laid over the destination. On bytes each formula is one numerator over 255
// (products of two samples scaled by 255 where a single sample stands) with
// a single division that truncates, clamped to 0..255 so that colour above
// its alpha cannot wrap; on u16 the same over 65535. Floats are not clamped
// beyond the min and max of the table.
#define QZCOMPOSITE_OVER 0u
#define QZCOMPOSITE_UNDER 1u
#define QZCOMPOSITE_IN 2u
#define QZCOMPOSITE_OUT 3u
#define QZCOMPOSITE_ATOP 4u
#define QZCOMPOSITE_XOR 5u
#define QZCOMPOSITE_PLUS 6u
#define QZCOMPOSITE_MULTIPLY 7u
#define QZCOMPOSITE_SCREEN 8u
#define QZCOMPOSITE_OVERLAY 9u
#define QZCOMPOSITE_DARKEN 10u
#define QZCOMPOSITE_LIGHTEN 11u
#define QZCOMPOSITE_DIFFERENCE 12u
#define QZCOMPOSITE_SUBTRACT 13u
#define QZCOMPOSITE_MODES 14u
// The mode word that hands every pixel to the props' function.
#define QZCOMPOSITE_CALLER 0xFFFFFFFFu

// The caller's operator: combines the source pixel into the destination
// pixel in place. Pixels are 4 bytes or four floats (bytesPerPixel 4 or 16).
// QzDibCompositeUnscaled calls it from several threads at once.
typedef void (*QzCompositeBlendFn)(void* dstPixel, const void* srcPixel, int32_t bytesPerPixel);

typedef struct QzDibCompositeProps {
    uint32_t size;             // sizeof(QzDibCompositeProps); not checked
    uint32_t mode;             // QZCOMPOSITE_OVER .. QZCOMPOSITE_SUBTRACT, or QZCOMPOSITE_CALLER
    QzCompositeBlendFn blend;  // read only with QZCOMPOSITE_CALLER
} QzDibCompositeProps;

// Every compositing entry checks the props first: a null props is
// E_POINTER, QZCOMPOSITE_CALLER with a null function E_INVALIDARG, and any
// other mode from 14 up E_NOTIMPL.

// Composites srcRect of the source onto dstRect of the destination, on
// descriptors of types 28/29 (both sides) or 32 (both); other pairs are
// E_INVALIDARG, null headers E_POINTER. Null rectangles mean the whole
// images, in 1/16384 pixel with QZCOPY_SUBPIXEL in flags. Rectangles of
// unequal size, or fractional ones, go to QzDibCompositeSP (whole-pixel
// rectangles are first shifted into 1/16384 units); equal whole-pixel ones
// go to QzDibCompositeUnscaled. Other flag bits are ignored.
QZ_EXPORT HRESULT QzDibComposite(const BITMAPINFOHEADER* dstHeader, void* dstBits, const RECT* dstRect,
                                 int32_t dstStride, const BITMAPINFOHEADER* srcHeader, const void* srcBits,
                                 const RECT* srcRect, int32_t srcStride, const QzDibCompositeProps* props,
                                 uint32_t flags);

// Raw view, rectangles of equal size clipped by QzDibPrepareCopy. Each pixel
// takes the mode at full strength. bytesPerPixel other than 4 or 16 is
// E_NOTIMPL. Rows are shared among an OpenMP team inside the call.
QZ_EXPORT HRESULT QzDibCompositeUnscaled(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                         const void* src, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                         int32_t bytesPerPixel, const QzDibCompositeProps* props);

// Sub-pixel form: sizes in pixels, rectangles in 1/16384 pixel (null: the
// whole image), resolved by QzPrepareSubpixelParam; nothing to do is S_OK.
// Every destination pixel that dstRect touches samples the source with
// QzGetSubPixel32Safe / 128Safe at the image of its centre, less half a
// pixel (so 1:1 lands on whole source pixels), held inside the clipped
// srcRect. The mode's result R then replaces the pixel D in proportion to
// the pixel's coverage by dstRect, cx * cy: D + (R - D) * weight / 65536
// with weight = (cx * cy in 1/16384 each) >> 12, so fractional edges
// anti-alias and a fully covered pixel takes R exactly. A caller's function
// works on a copy of D that is mixed in the same way. Single-threaded.
QZ_EXPORT HRESULT QzDibCompositeSP(void* dst, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                                   const void* src, const SIZE* srcSize, int32_t srcStride, const RECT* srcRect,
                                   int32_t bytesPerPixel, const QzDibCompositeProps* props);

// A row of count premultiplied 8-bit pixels of src merged into dst, the
// result's alpha being the union of the two alphas: oa = sa - da * sa / 255
// + da. Colour moves from d toward s by oa (the rounded divide by 255 of
// oa * (s - d)), and is then scaled by oa over the mean of the two alphas,
// (da + sa) >> 1, saturating at 255. A pixel whose alphas are both 0 stays.
QZ_EXPORT void PMBlend_DUALALPHACH(uint8_t* dst, const uint8_t* src, int32_t count);

#ifdef __cplusplus
}
#endif
