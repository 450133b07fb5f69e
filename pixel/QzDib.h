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

#define S_OK ((HRESULT)0)
#define S_FALSE ((HRESULT)1)
#define E_NOTIMPL ((HRESULT)0x80004001)
#define E_POINTER ((HRESULT)0x80004003)
#define E_INVALIDARG ((HRESULT)0x80070057)
#define E_OUTOFMEMORY ((HRESULT)0x8007000E)
#define QZ_E_BADCOPYPARAMS ((HRESULT)0x8004E000)

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
                                   const void* srcBits, const RECT* srcBounds, int32_t srcStride,
                                   const RECT* srcRect, int32_t bytesPerPixel);

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
QZ_EXPORT HRESULT QzDibAbsoluteAlphaValueBlend(void* dst, const RECT* dstBounds, int32_t dstStride,
                                               const RECT* dstRect, const void* src, const RECT* srcBounds,
                                               int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel,
                                               double alpha);

#ifdef __cplusplus
}
#endif
