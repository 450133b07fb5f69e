// The converting copy on descriptors: the pixel exchange, QzDibCopy and its
// drivers, the fills and single-pixel access. The principles are those of
// QzDib.h.
#pragma once

#include "QzDib.h"

#ifdef __cplusplus
extern "C" {
#endif

// ---- The flags word of QzDibCopy, QzDibSet and the exchange ----

// Quality mode, bits 0-3. Modes 1 to 4 rewrite the whole word (see
// QzXCHGGetFunctionPointers); modes 3 and up let a scaled copy interpolate,
// below 3 it steps by nearest sample.
#define QZCOPY_MODE_MASK 0xFu
// Exchange through four u16 even where an 8-bit or float form would do.
#define QZCOPY_WORD_FORM 0x10u
// The exact read variant: a byte b widens to b * 257 rather than b << 8.
#define QZCOPY_EXACT_READ 0x20u
// The second set of blend functions.
#define QZCOPY_BLEND_VARIANT 0x40u
// Feathered edges, in top-down image terms, and the feather width in
// pixels in bits 16-23.
#define QZCOPY_FEATHER_TOP 0x1000u
#define QZCOPY_FEATHER_BOTTOM 0x2000u
#define QZCOPY_FEATHER_LEFT 0x4000u
#define QZCOPY_FEATHER_RIGHT 0x8000u
#define QZCOPY_FEATHER_EDGES 0xF000u
#define QZCOPY_FEATHER_WIDTH(flags) (((flags) >> 16) & 0xFFu)
// Rectangles in units of 1/16384 pixel.
#define QZCOPY_SUBPIXEL 0x1000000u
// Scale bi-cubically rather than bi-linearly.
#define QZCOPY_BICUBIC 0x4000000u

// ---- The pixel exchange ----

// A converting copy reads each source pixel into a common exchange pixel
// and writes that into the destination. The exchange pixel is one of three
// widths, the block's `width`:
//   0: tQZPIXEL32, four bytes. Both types among 24, 27, 28, 29 and flag 16
//      clear.
//   1: tQZPIXEL64, four u16. Always possible; forced by flag 16.
//   2: tQZPIXEL128, four floats. Both types 32 and flag 16 clear.
// In the u16 form a byte b reads as b << 8, or b * 257 with flag 32, and
// writes as its high byte, so both round-trip; floats are clamped to 0..1
// and rounded to 65535ths. Grey destinations take the BT.601 luma of the
// colour; palette destinations take the entry a QzColorQuantizer picks.
typedef struct QzXCHG QzXCHG;
typedef struct QzColorQuantizer QzColorQuantizer;

// One pixel of column x of a row, into or out of one exchange pixel; the
// four-pixel forms move columns x to x + 3 from or to an array of four.
typedef void (*QzXchgReadFn)(const QzXCHG* exchange, const uint8_t* row, int32_t x, void* out);
typedef void (*QzXchgWriteFn)(const QzXCHG* exchange, uint8_t* row, int32_t x, const void* in);

// The interpolating reads: column x of `row` mixed with column x + 1
// (horizontal, fraction fx), with column x of `farRow`, the next image row
// (vertical, fraction fy), or with all three (two-way). The fractions are
// the block's fx and fy, 0 to 16383 in 1/16384.
//
// Bytes: the weights of the two-way read are w00 = (16384 - fx) *
// (16384 - fy) / 16384, w10 = (16384 - fy) * fx / 16384, w01 = (16384 -
// fx) * fy / 16384, w11 = fx * fy / 16384, each truncated, and the result
// is the weighted sum >> 14; the one-way reads are (p0 * (16384 - f) +
// p1 * f) / 16384. All of them truncate. The u16 form uses the same sums;
// a byte sample of the near row widens to b * 257 but one of the far row
// to (far << 8) + near, the near row's byte of the same column. That
// asymmetry is part of the defined results. These reads are the same in
// both read variants. The float form is plain bilinear with the fractions
// times 6.1035156e-5.
typedef void (*QzXchgPairReadFn)(const QzXCHG* exchange, const uint8_t* row, const uint8_t* farRow, int32_t x,
                                 void* out);

// A blend operation: mixes *src into *pixel, both exchange pixels.
// `weight` is in 1/65536 for the operations that take one per pixel.
typedef void (*QzXchgBlendFn)(const QzXCHG* exchange, void* pixel, const void* src, uint32_t weight);

// Operations per blend-function variant; an operation not yet provided
// gives E_NOTIMPL.
#define QZXCHG_BLEND_OPERATIONS 20
#define QZXCHG_NO_BLEND (-1)
// pixel += (src - pixel) * level * weight / 65536: laying a source down at
// the block's level, weight being the pixel's coverage. The level is held
// inverted, as the share of the pixel that stays: level16 = ~trunc(level *
// 65535), level8 = ~trunc(level * 255) (low bits), levelFloat = 1 - level.
// Full level at full weight gives src exactly.
#define QZXCHG_BLEND_AT_LEVEL 1
// pixel += (src - pixel) * weight / 65536 per channel, truncating toward
// zero: the feathering copy's mix of the read-back destination toward the
// source.
#define QZXCHG_BLEND_TOWARD_SOURCE 3
// Operations 4 to 17 are the composite modes 0 to 13 of QzDibComposite.h,
// mode m at QZXCHG_BLEND_COMPOSITE_FIRST + m: the pixel moves toward the
// mode's result of src over it by weight / 65536, the source's strength or
// coverage (65536 and above: the result itself).
#define QZXCHG_BLEND_COMPOSITE_FIRST 4

struct QzXCHG {
    uint32_t flags;  // after the quality-mode rewrite
    QzPixelType srcType;
    QzPixelType dstType;
    int32_t width;  // 0, 1 or 2, as above
    int32_t fx;     // fractions of the interpolating reads, 0 to 16383
    int32_t fy;
    QzXchgReadFn read;
    QzXchgReadFn read4;
    QzXchgPairReadFn readH;
    QzXchgPairReadFn readV;
    QzXchgPairReadFn readHV;
    QzXchgWriteFn write;
    QzXchgWriteFn write4;
    QzXchgBlendFn blend;  // null unless an operation was asked for
    // The strength of operations that mix at one level, kept in each form:
    // set by the caller that asks for such an operation.
    uint32_t level16;
    uint32_t level8;
    float levelFloat;
    int32_t level14;
    // Palette sources (types 16, 23, 24) read through this table; fill it
    // with QzXCHGSetSourcePalette.
    tQZPIXEL32 palette[256];
    // Palette destinations (types 16, 23, 24) write through this; the
    // caller sets it before the first write.
    const QzColorQuantizer* quantizer;
    // The gamma curve between a float and a non-float side, owned by the
    // block: float to 0..1 over 2048 intervals, and u16 >> curveShift to
    // float.
    int32_t curveShift;
    float curveFromFloat[2049];
    float curveToFloat[2048];
};

// Fills the block for a copy from srcType to dstType, both 16 to 34
// (E_INVALIDARG otherwise; E_POINTER for a null block). Quality modes 1 to
// 4 replace the flags by flags & 0x7FFF1F0 ORed with 0x180, 0x1C0, 0x1E0,
// 0x1F0; other modes keep the word. blendOp, 0 to 19 or QZXCHG_NO_BLEND,
// picks the block's blend function from the variant that flag 64 selects
// (E_NOTIMPL where the operation is not provided). dstGamma and srcGamma
// are display gammas: 0 means 2.2222222222222223 (1 / 0.45), and each is
// clamped to 0.5..4.0. When exactly one side is a float type (22, 32) and
// dstGamma / srcGamma lies outside 0.999..1.001, the float side's reads or
// writes run the curve v^(srcGamma / dstGamma) on blue, green and red;
// alpha is never curved.
QZ_EXPORT HRESULT QzXCHGGetFunctionPointers(QzPixelType srcType, QzPixelType dstType, uint32_t flags, QzXCHG* exchange,
                                            int32_t blendOp, double dstGamma, double srcGamma);

// Copies up to 256 palette entries into the block, opaque; entries beyond
// `count` read as opaque black.
QZ_EXPORT void QzXCHGSetSourcePalette(QzXCHG* exchange, const RGBQUAD* palette, int32_t count);

// ---- Palette quantizer ----

// A 32 x 32 x 32 inverse colour map of a palette descriptor (types 16, 23,
// 24): each cell, addressed by the top five bits of red, green and blue,
// holds the palette entry nearest (squared distance, first entry on a tie)
// to the cell's centre. The palette has biClrUsed entries, or 1 <<
// biBitCount when that is 0. E_INVALIDARG for other types, E_OUTOFMEMORY
// when the map cannot be allocated.
QZ_EXPORT HRESULT QzDibCreateColorQuantizer(QzColorQuantizer** outQuantizer, const BITMAPINFOHEADER* header);
QZ_EXPORT void QzDibFreeColorQuantizer(QzColorQuantizer* quantizer);
QZ_EXPORT uint8_t QzColorQuantizerIndex(const QzColorQuantizer* quantizer, uint8_t b, uint8_t g, uint8_t r);

// ---- Copy, fill and single pixels ----

// Copies srcRect of the source onto dstRect of the destination, converting
// the pixel type and scaling when the sizes differ. Null rectangles, bits
// and zero strides mean the whole image, the block's own bits and the
// natural stride. Rectangles with a negative coordinate or no area, or a
// source type outside 16..34, give QZ_E_BADCOPYPARAMS; the rectangles are
// then clipped as QzDibPrepareRects does. Scaling steps from the first
// source pixel to the last by ((srcW << 14) - 16384) / (dstW - 1) at modes
// 3 and up, interpolating; below 3 by (srcW << 14) / dstW to the nearest
// sample. With feather edges in the flags, source pixels within the
// feather width of a selected edge of the source image are mixed into the
// destination: at 1-based distance d from the edge the source's share is
// d * (65535 / (width + 1)) / 65536, the largest share of the selected
// edges counting; pixels beyond the width copy plainly.
QZ_EXPORT HRESULT QzDibCopy(const BITMAPINFOHEADER* dstHeader, void* dstBits, const RECT* dstRect, int32_t dstStride,
                            const BITMAPINFOHEADER* srcHeader, const void* srcBits, const RECT* srcRect,
                            int32_t srcStride, uint32_t flags, double dstGamma, double srcGamma);

// Fills rect with one colour through the exchange: the channels are scaled
// by 255.0f for the byte form and 65535.0f for the u16 form and truncated,
// keeping the low bits without a clamp; the float form stores them as they
// are. Types outside 16..34 give E_NOTIMPL.
QZ_EXPORT HRESULT QzDibSet(const BITMAPINFOHEADER* header, void* bits, const RECT* rect, int32_t stride, float r,
                           float g, float b, float a, uint32_t flags);

// QzDibSet with the colour as four floats, blue first. With
// QZCOPY_SUBPIXEL the rectangle is in 1/16384 pixel and is truncated to
// whole pixels first.
QZ_EXPORT HRESULT QzDibFillRect(const BITMAPINFOHEADER* header, void* bits, const RECT* rect, int32_t stride,
                                const float color[4], uint32_t flags);

// Fades rect toward a colour by the strength fadeA / fadeB (clamped to
// 0..1; fadeB of 0 gives E_INVALIDARG), all four channels, so a fade to a
// transparent colour fades alpha out too. The rectangle may have fractional
// edges (QZCOPY_SUBPIXEL: 1/16384 pixel); a pixel covered by a part cx of a
// column and cy of a row takes the strength times cx * cy. The weight is
// w = (strength in 65536ths) * cx * cy >> 28 and a channel becomes
// d + ((m - d) * w) / 65536 with m the colour byte trunc(clamp(v) * 255),
// or d + (m - d) * w / 65536 in float; full strength reaches the colour
// exactly. Types 28, 29 and 32 only (E_NOTIMPL otherwise).
QZ_EXPORT HRESULT QzDibFadeToColor(const BITMAPINFOHEADER* header, void* bits, const RECT* rect, int32_t stride,
                                   const QZDIBPIXEL* color, int32_t fadeA, int32_t fadeB, uint32_t flags);

// One pixel at (x, y), top-down image coordinates, through the exchange
// with flags 19: the u16 form with the exact byte expansion. Types outside
// 16..34 give E_NOTIMPL. Outside the image: E_NOTIMPL for get,
// E_INVALIDARG for set, a difference callers have come to rely on.
QZ_EXPORT HRESULT QzDibGetPixel(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, int32_t x, int32_t y,
                                tQZPIXEL64* outPixel);
QZ_EXPORT HRESULT QzDibSetPixel(const BITMAPINFOHEADER* header, void* bits, int32_t stride, int32_t x, int32_t y,
                                const tQZPIXEL64* pixel);

#ifdef __cplusplus
}
#endif
