// The QzDib bitmap toolkit: the pixel primitives under every effect.
//
// Principles that hold for every function here unless its comment says
// otherwise:
// - Raw view. An image is a base pointer, a bounds rectangle, a byte stride
//   and a bytes-per-pixel count: 4 for 8-bit RGBA, 16 for float RGBA. Row r
//   lies at base + r * stride, column c at c * bytesPerPixel into it; there
//   is no flip, so OFX's bottom-up rows are simply memory rows. Any
//   bytesPerPixel other than 4 selects the float path.
// - Rectangles are RECT, half-open (right and bottom excluded). A null
//   rectangle means the whole bounds. Clipping follows QzDibPrepareCopy;
//   clipping to nothing is success with no work.
// - Channels. The fourth component is alpha; the first three are treated
//   alike, so these functions work on either pixel order.
// - Colours are premultiplied by alpha in both depths.
// - The 8-bit mix is d + ((s - d) * a) / 256 with a in 0..255 and the
//   division truncating toward zero: full strength stops one short of s.
//   This is the library's reference arithmetic; callers rely on it.
// - Statuses are HRESULT-shaped: negative is failure. S_FALSE means a render
//   loop saw the host's abort flag.
// - Descriptor view. Functions that take a BITMAPINFOHEADER work on a
//   Windows-style DIB: rows stored bottom-up (image row y lies at
//   bits + (biHeight - y - 1) * stride), rectangles given top-down in image
//   space, pixels blue first. A null bits pointer means the bits that follow
//   the header in the same block; a zero stride means the DWORD-aligned row.
//
// The declarations are grouped by subject in the headers included at the
// end; this one holds the types they share.
#pragma once

#include <stdint.h>

#define QZ_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

typedef int32_t HRESULT;

typedef struct tagRECT {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
} RECT;

// An image size in pixels, or in 1/16384 pixel where a function says so.
typedef struct tagSIZE {
    int32_t cx;
    int32_t cy;
} SIZE;

#define S_OK ((HRESULT)0)
#define S_FALSE ((HRESULT)1)
#define E_NOTIMPL ((HRESULT)0x80004001)
#define E_POINTER ((HRESULT)0x80004003)
#define E_INVALIDARG ((HRESULT)0x80070057)
#define E_OUTOFMEMORY ((HRESULT)0x8007000E)
#define QZ_E_BADCOPYPARAMS ((HRESULT)0x8004E000)

typedef struct tagBITMAPINFOHEADER {
    uint32_t biSize;
    int32_t biWidth;
    int32_t biHeight;
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t biCompression;
    uint32_t biSizeImage;
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
} BITMAPINFOHEADER;

typedef struct tagRGBQUAD {
    uint8_t rgbBlue;
    uint8_t rgbGreen;
    uint8_t rgbRed;
    uint8_t rgbReserved;
} RGBQUAD;

#define BI_RGB 0u
#define BI_BITFIELDS 3u

// FourCCs are stored little-endian, first letter in the low byte.
#define QZ_FOURCC(a, b, c, d)                                                                  \
    ((uint32_t)(uint8_t)(a) | ((uint32_t)(uint8_t)(b) << 8) | ((uint32_t)(uint8_t)(c) << 16) | \
     ((uint32_t)(uint8_t)(d) << 24))
// Straight 32/64/128-bit BGRA.
#define QZ_COMPRESSION_QZDB QZ_FOURCC('Q', 'Z', 'D', 'B')
// Grey.
#define QZ_COMPRESSION_QZGS QZ_FOURCC('Q', 'Z', 'G', 'S')

// The pixel type of a descriptor. The values index tables and are exported,
// so they are fixed, gaps included.
typedef int32_t QzPixelType;
enum {
    QzPixelUnknown = 0,
    QzPixelMono1 = 16,
    QzPixelGray1 = 17,
    QzPixelGray2 = 18,
    QzPixelGray4 = 19,
    QzPixelGray8 = 20,
    QzPixelGray16 = 21,
    QzPixelGray32 = 22,
    QzPixelPal4 = 23,
    QzPixelPal8 = 24,
    QzPixelRGB555 = 25,
    QzPixelRGB565 = 26,
    QzPixelRGB24 = 27,
    QzPixelRGB32 = 28,
    QzPixelRGBA32 = 29,
    QzPixelRGB10 = 30,
    QzPixelRGBA64 = 31,
    QzPixelRGBA128 = 32,
    QzPixelRGB10Alt = 34,
    QzPixelUYVY = 64,
    QzPixelYUYV = 65,
    QzPixelY41B = 66,
    QzPixelI420 = 67,
    QzPixelv210 = 68,
    QzPixelP010 = 69,
    QzPixelPL10 = 70,
    QzPixelP210 = 71,
    QzPixelP216 = 72,
    QzPixelY210 = 73,
    QzPixelP410 = 74,
    QzPixelNV12 = 75,
    QzPixelYV12 = 76,
    QzPixelYV16 = 77,
    QzPixelA410 = 78
};

// Pixel records, all blue first in memory.
typedef struct tQZRGBA {
    uint8_t b, g, r, a;
} QZRGBA;

typedef struct tQZRGBAFLOAT {
    float b, g, r, a;
} QZRGBAFLOAT;

// A colour handed to the drawing helpers, 0 to 1.
typedef struct tQZDIBPIXEL {
    float b, g, r, a;
} QZDIBPIXEL;

// The three widths of the converting copy's exchange pixel.
typedef struct {
    uint8_t b, g, r, a;
} tQZPIXEL32;
typedef struct {
    uint16_t b, g, r, a;
} tQZPIXEL64;
typedef struct {
    float b, g, r, a;
} tQZPIXEL128;

// Hue, saturation, lightness, alpha, nominally 0 to 1; hue 0 is red,
// 1/3 green, 2/3 blue.
typedef struct tQZHSL {
    double h, s, l, a;
} QZHSL;

// CIE L*a*b*: L 0 to 100.
typedef struct tQZLAB {
    double L, a, b;
} QZLAB;

// Channel numbers of the channel operations, blue first.
typedef uint32_t QzChannel;
enum { QzChannelBlue = 0, QzChannelGreen = 1, QzChannelRed = 2, QzChannelAlpha = 3 };

#ifdef __cplusplus
}
#endif

#include "QzDibDescriptor.h"
#include "QzDibRaw.h"
#include "QzDibConvert.h"
#include "QzColor.h"
#include "QzDibFilter.h"
#include "QzDibScale.h"
#include "QzDibComposite.h"

#ifdef __cplusplus
#include "A_Buffer.h"
#endif
