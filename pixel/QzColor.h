// Colour models and conversions: HSL, L*a*b*, the integer 0-to-240 model,
// transfer curves and the broadcast hot checks. The constants of these
// conversions are part of their results (rounded figures and all): the
// effects built on them are compared bit for bit, so none may be improved.
#pragma once

#include "QzDib.h"

#ifdef __cplusplus
extern "C" {
#endif

// ---- HSL, per pixel, destination first ----

// The ordinary HSL pair, in double precision. 8-bit colour and alpha are
// scaled by 0.00392156862745098 (a hair under 1/255) on the way in and
// truncated, not rounded, on the way out, so a round trip may lose a level
// (alpha 132 comes back as 131).
// Pure red reads as hue 1.0, which converts back like hue 0; a hue whose
// sextant is above 6 (hue >= 7/6) writes only alpha.
QZ_EXPORT void QZRGBA_To_QZHSL(QZHSL* hsl, const QZRGBA* rgba);
QZ_EXPORT void QZHSL_To_QZRGBA(QZRGBA* rgba, const QZHSL* hsl);
QZ_EXPORT void QZRGBAFLOAT_To_QZHSL(QZHSL* hsl, const QZRGBAFLOAT* rgba);
QZ_EXPORT void QZHSL_To_QZRGBAFLOAT(QZRGBAFLOAT* rgba, const QZHSL* hsl);
QZ_EXPORT void QZDIBPIXEL_To_QZHSL(QZHSL* hsl, const QZDIBPIXEL* pixel);
QZ_EXPORT void QZHSL_To_QZDIBPIXEL(QZDIBPIXEL* pixel, const QZHSL* hsl);

// The range-tolerant pair for values outside 0 to 1: distinct, invertible
// results for over- and under-range pixels. Lightness outside 0..1 is
// marked by a negated saturation; the inverse writes the saturation it used
// (sign restored) back into the caller's record.
QZ_EXPORT void QZDIBPIXEL_To_QZHSL_Float(QZHSL* hsl, const QZDIBPIXEL* pixel);
QZ_EXPORT void QZHSL_To_QZDIBPIXEL_Float(QZDIBPIXEL* pixel, QZHSL* hsl);

// ---- CIE L*a*b* (sRGB primaries, D65) ----

// Forward conversions ignore alpha; inverse conversions leave it unwritten.
// The inverse uses the single-precision white point, the forward one the
// printed figures, so white does not quite round-trip.
QZ_EXPORT void QZRGBA_To_QZLAB(QZLAB* lab, const QZRGBA* rgba);
QZ_EXPORT void QZRGBAFLOAT_To_QZLAB(QZLAB* lab, const QZRGBAFLOAT* rgba);
QZ_EXPORT void QZDIBPIXEL_To_QZLAB(QZLAB* lab, const QZDIBPIXEL* pixel);
QZ_EXPORT void QZDIBPIXEL_To_QZLAB_Float(QZLAB* lab, const QZDIBPIXEL* pixel);
// Clamps each channel to 0..1 and truncates to bytes.
QZ_EXPORT void QZLAB_To_QZRGBA(QZRGBA* rgba, const QZLAB* lab);
// No clamp.
QZ_EXPORT void QZLAB_To_QZDIBPIXEL_Float(QZDIBPIXEL* pixel, const QZLAB* lab);

// ---- The integer 0-to-240 model of the colour dialogs ----

// rgbWord: red in bits 0-7, green 8-15, blue 16-23. Result: hue in bits
// 0-7, saturation 8-15, lightness 16-23, each 0 to 240. Greys have hue 160.
QZ_EXPORT uint32_t QzRGBtoHSL(uint32_t rgbWord);
// The inverse; each channel keeps the low byte of its value.
QZ_EXPORT uint32_t QzHSLtoRGB(uint32_t hslWord);

// ---- Broadcast hot checks on a linear float pixel ----

// Non-zero when the composite signal of the gamma-encoded pixel leaves the
// legal range: NTSC limits at 1.2162162, PAL at 1.2.
QZ_EXPORT int32_t HotCheckNTSCYUV(const QZDIBPIXEL* pixel);
QZ_EXPORT int32_t HotCheckNTSCYIQ(const QZDIBPIXEL* pixel);
QZ_EXPORT int32_t HotCheckPALYUV(const QZDIBPIXEL* pixel);
// The same test; a hot pixel has its chroma pulled in (luma and alpha kept),
// is clamped to 0..1 and the result is 1. Otherwise 0 and no change.
QZ_EXPORT int32_t HotCheckNTSCYUVReturn(QZDIBPIXEL* pixel);
QZ_EXPORT int32_t HotCheckNTSCYIQReturn(QZDIBPIXEL* pixel);
QZ_EXPORT int32_t HotCheckPALYUVReturn(QZDIBPIXEL* pixel);

// ---- Transfer curves over bitmaps ----

// Curve indexes: one index names a decoding curve (to linear) and its
// encoding curve. Index 5 is a plain power of 1 / gamma both ways, so the
// caller inverts it by passing the reciprocal gamma; the others ignore
// gamma. A gamma of 0 counts as 1. Any other index is E_INVALIDARG.
enum {
    QzTransferGamma22 = 0,  // power 2.2222 / 0.45
    QzTransferGamma28 = 1,  // power 2.8 / 0.357
    QzTransferRec709 = 2,
    QzTransferSMPTE240M = 3,
    QzTransferLinear = 4,
    QzTransferPower = 5
};

// Descriptor view. Decodes a type 28 or 29 image into a type 32 image of the
// same (clipped) size through a 256-entry table; all four channels, alpha
// included, pass through the curve. Wrong types or unequal rectangles give
// E_INVALIDARG with nothing written.
QZ_EXPORT HRESULT QzDibLinearize_QZRGBAFLOAT_From_RGBA(const BITMAPINFOHEADER* dstHeader, void* dstBits,
                                                       const RECT* dstRect, int32_t dstStride,
                                                       const BITMAPINFOHEADER* srcHeader, const void* srcBits,
                                                       const RECT* srcRect, int32_t srcStride, int32_t curveIndex,
                                                       double gamma);

// Descriptor view, in place on a type 32 image: encodes all four channels.
// With useTable non-zero through a 256-entry table, each channel indexed by
// trunc(c * 255) clamped to 0..255, so the results take 256 levels; with
// useTable zero the curve is evaluated exactly per channel.
QZ_EXPORT HRESULT QzDibApplyTransferFunc_QZRGBAFLOAT(const BITMAPINFOHEADER* header, void* bits, const RECT* rect,
                                                     int32_t stride, int32_t curveIndex, double gamma,
                                                     int32_t useTable);

// Raw view, in place: every pixel goes to HSL by the ordinary pair (8-bit or
// float by bytesPerPixel), takes the offset's hue (wrapped into 0..1),
// saturation and lightness (each clamped to 0..1), and comes back. The
// offset's alpha is not used and the pixel's alpha is kept as it was. A
// null offset is E_POINTER.
QZ_EXPORT HRESULT QzDibHSLAdjust(void* dst, const RECT* bounds, int32_t stride, const RECT* rect, int32_t bytesPerPixel,
                                 const QZHSL* offset);

#ifdef __cplusplus
}
#endif
