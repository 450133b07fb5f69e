// Raw-view operations: base pointer, bounds, stride, 4 or 16 bytes per
// pixel. The principles are those of QzDib.h.
#pragma once

#include "QzDib.h"

#ifdef __cplusplus
extern "C" {
#endif

// Resolves the rectangles of a two-image raw-view operation to a common
// size and the addresses of their first pixels. dstRect and srcRect must
// have equal sizes (E_INVALIDARG). Each is clipped to its own bounds; when
// the clipped sizes differ, the clipped source is laid on the destination
// rectangle's top-left corner and must cover the clipped destination
// (E_INVALIDARG otherwise: a partial overlap on the far side is an error,
// not a smaller copy). Outputs are cleared first and stay zero when the
// clip leaves nothing.
QZ_EXPORT HRESULT QzDibPrepareCopy(int32_t* outWidth, int32_t* outHeight, uint8_t** outSrc, uint8_t** outDst,
                                   void* dstBits, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                   const void* srcBits, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                   int32_t bytesPerPixel);

// Copies srcRect of the source onto dstRect of the destination, one
// memcpy per row. Returns the preparation's status.
QZ_EXPORT HRESULT QzDibCopyUnscaled(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                    const void* src, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                    int32_t bytesPerPixel);

// Mixes the source into the destination at one constant strength alpha
// (0 keeps the destination, 1 takes the source), all four channels.
// 8-bit: the strength becomes a byte by round-half-even of
// alpha * 255 (in float) + 1.5e-8, then the reference mix. Float:
// d = (s - d) * alpha + d in single precision.
QZ_EXPORT HRESULT QzDibAbsoluteAlphaValueBlend(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                               const void* src, const RECT* srcBounds, int32_t srcStride,
                                               const RECT* srcRect, int32_t bytesPerPixel, double alpha);

// The operations below also refuse a null pixel pointer with E_POINTER;
// like a failed preparation, it leaves every pixel as it was.

// Mixes like QzDibAbsoluteAlphaValueBlend, the strength further scaled by
// each source pixel's own alpha. 8-bit: a = low byte of trunc(alpha * 255),
// w = (srcAlpha * a) >> 8, then the reference mix at w. The float path
// works on truncated integers, not on the 0-to-1 range: every value comes
// back as the float of a byte, so an image of values below 1 becomes zero.
QZ_EXPORT HRESULT QzDibRelativeAlphaValueBlend(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                               const void* src, const RECT* srcBounds, int32_t srcStride,
                                               const RECT* srcRect, int32_t bytesPerPixel, double alpha);

// ---- Fills ----

// Fills the rectangle with one colour. 8-bit: each value becomes
// trunc(clamp(v * 255, 0, 255)), blue in byte 0, green 1, red 2, alpha 3.
// Float: the values as f32 in the same order, unclamped.
QZ_EXPORT HRESULT QzDibSetUnscaled(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                   int32_t bytesPerPixel, double r, double g, double b, double a);

// ---- Layering ----

// Source over destination by the source's alpha, all four channels, the
// reference mix on 8 bits. With a colour (three doubles, blue first: the
// matte the source was premultiplied against) the matte is taken out as
// the source is laid down, each colour channel clamped to the pixel range,
// and the destination alpha stays.
QZ_EXPORT HRESULT QzDibOver(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect, const void* src,
                            const RECT* srcBounds, int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel,
                            const double* color);

// Source under destination: the destination's alpha decides how much of it
// stays, all four channels; at destination alpha 0 the source comes through.
QZ_EXPORT HRESULT QzDibUnder(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect, const void* src,
                             const RECT* srcBounds, int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel);

// ---- Alpha preparation ----

// Multiplies blue, green and red by alpha: c * a / 255 truncating on
// 8 bits, c * a on floats. Alpha is unchanged.
QZ_EXPORT HRESULT QzDibPremultiply(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                   int32_t bytesPerPixel);

// Clamps blue, green and red to at most alpha, so that the image is a valid
// premultiplied one again.
QZ_EXPORT HRESULT QzDibPatchPreMultiplied(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                          int32_t bytesPerPixel);

// Brings an image to premultiplied form. The bounds are {0, 0, boundsWidth,
// boundsHeight}. mode -1 and 0: opaque alpha; 1: premultiply; 2 and 3:
// QzDibPrepAlphaImage, straight for 3. Any other mode is E_NOTIMPL.
QZ_EXPORT HRESULT QzDibPrepAlpha(void* dst, int32_t boundsWidth, int32_t boundsHeight, int32_t stride, const RECT* rect,
                                 int32_t mode, const float* matte, int32_t bytesPerPixel, double gammaA, double gammaB);

// Takes a matte colour (three floats, blue first, or null) out of an image
// that was composited against it, leaving a premultiplied image. With no
// matte, or one whose components sum to 0 or less, the colour is only
// clamped to alpha. The float path removes the matte in the space of the
// exponent gammaA / gammaB (each 0 meaning 1 / 0.45, then clamped to 0.5 to
// 4): values are raised to it, the matte is taken out, and the result is
// raised to the inverse, both through tables of 2048 entries. A ratio
// within 0.999 to 1.001 works directly on the values. The matte removal is
// the same whether or not the colour was straight before matting
// (straightMode), so the flag changes nothing in the arithmetic.
QZ_EXPORT HRESULT QzDibPrepAlphaImage(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                      int32_t straightMode, const float* matte, int32_t bytesPerPixel, double gammaA,
                                      double gammaB);

// ---- Colour ----

// Sets blue, green and red to their grey. Plain: (b + g + r) / 3, integer
// on 8 bits and clamped to alpha there. useHsl: through HSL with the
// saturation set to 0 (the pixel, alpha included, makes the round trip),
// clamped to the new alpha on 8 bits.
QZ_EXPORT HRESULT QzDibDesaturate(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                  int32_t bytesPerPixel, int32_t useHsl);

// Mixes blue, green and red toward a colour (doubles blue, green, red,
// alpha) at the colour's alpha. 8-bit: colour bytes trunc(clamp(v * 255))
// and the reference mix at the alpha byte. Float: the colour clamped to 0
// to 1, c + (m - c) * a. Alpha is unchanged.
QZ_EXPORT HRESULT QzDibBlendWithColor(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                      int32_t bytesPerPixel, const double colorRGBA[4]);

// ---- Channels ----
//
// Channels are numbered blue first (QzChannel); a number outside 0 to 3
// means channel 0. A channel is one byte of an 8-bit pixel, one f32 of a
// float pixel.

// Called with the addresses of one channel (or one pixel, for
// QzDibCustomBlend) of the destination and of the source.
typedef void (*QzChannelOpFn)(uint8_t* dst, const uint8_t* src, void* context);
// Called with the address of one channel.
typedef void (*QzChannelInPlaceOpFn)(uint8_t* channel, void* context);
// Called with the addresses of a destination and a source pixel.
typedef void (*QzPixelBlendFn)(uint8_t* dstPixel, const uint8_t* srcPixel, void* context);

// Sets one channel to a value. 8-bit: the low byte of trunc(value * 255),
// except that alpha saturates at 255. Float: the value as f32.
QZ_EXPORT HRESULT QzDibChannelSet(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                  int32_t bytesPerPixel, QzChannel channel, double value);

// Copies one channel of the source into one channel of the destination;
// the other channels stay.
QZ_EXPORT HRESULT QzDibChannelCopyUnscaled(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                           QzChannel dstChannel, const void* src, const RECT* srcBounds,
                                           int32_t srcStride, const RECT* srcRect, QzChannel srcChannel,
                                           int32_t bytesPerPixel);

// Calls op once per pixel with the two channel addresses; a null op is
// E_POINTER.
QZ_EXPORT HRESULT QzDibChannelOp(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                 QzChannel dstChannel, const void* src, const RECT* srcBounds, int32_t srcStride,
                                 const RECT* srcRect, QzChannel srcChannel, int32_t bytesPerPixel, QzChannelOpFn op,
                                 void* context);

// Calls op once per pixel with the channel's address; a null op is
// E_POINTER.
QZ_EXPORT HRESULT QzDibChannelInPlaceOp(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                        int32_t bytesPerPixel, QzChannel channel, QzChannelInPlaceOpFn op,
                                        void* context);

// Calls op once per pixel pair. A null op is E_POINTER; pixels of other
// than 4 or 16 bytes are E_NOTIMPL.
QZ_EXPORT HRESULT QzDibCustomBlend(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                   const void* src, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                   int32_t bytesPerPixel, QzPixelBlendFn op, void* context);

// ---- Cross-fade and tables ----

// d = d * dstWeight + s * srcWeight, all four channels. 8-bit: weights
// truncated to 14 fraction bits, (d * wd + s * ws + 8192) >> 14, clamped to
// 255 only when the weights sum above one. Float: min(1, ws * s + wd * d)
// in single precision.
QZ_EXPORT HRESULT QzDibWeightedCrossFade(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                         double dstWeight, const void* src, const RECT* srcBounds, int32_t srcStride,
                                         const RECT* srcRect, double srcWeight, int32_t bytesPerPixel);

// Maps blue, green, red (and alpha if includeAlpha) through one table.
// byteTable non-zero: 256 u8 entries; 8-bit pixels index it directly,
// floats at trunc(c * 255) and come back as entry * 0.003921569f.
// byteTable zero: 65536 u16 entries; floats index at trunc(c * 65535) and
// come back as entry * 1.5259022e-5f; 8-bit pixels index at b * 257 and
// keep the entry's high byte. Indices are not clamped: float values must
// lie in 0 to 1. mode chose between two arrangements of the same loops;
// both give the same pixels, so it changes nothing here. A null table is
// E_POINTER.
QZ_EXPORT HRESULT QzDibSingleLUT(void* dst, const RECT* bounds, int32_t stride, const RECT* rect, int32_t bytesPerPixel,
                                 const void* lut, int32_t byteTable, int32_t includeAlpha, int32_t mode);

// QzDibSingleLUT with a table per channel; a null table leaves its channel
// alone.
QZ_EXPORT HRESULT QzDibPerChannelLUT(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                     int32_t bytesPerPixel, const void* lutB, const void* lutG, const void* lutR,
                                     const void* lutA, int32_t byteTable);

#ifdef __cplusplus
}
#endif
