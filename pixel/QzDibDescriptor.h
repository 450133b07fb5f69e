// Descriptors, pixel types, allocation and the preparation functions that
// hold the clipping rules of all pixel work. The principles are those of
// QzDib.h.
#pragma once

#include "QzDib.h"

#ifdef __cplusplus
extern "C" {
#endif

// ---- Type and layout queries ----

// The pixel type of a descriptor from its compression and bit count, or 0.
QZ_EXPORT QzPixelType QzGetPixelType(const BITMAPINFOHEADER* header);

// Fills the bits of red, green, blue and alpha and returns bits per pixel;
// 0 and zeroed bytes for YUV and unknown types.
QZ_EXPORT int32_t QzGetPixelBitsPerChannel(QzPixelType type, uint8_t outBits[4]);

// Returns the type's biBitCount (0 for an unknown type) and writes its
// biCompression; outMasks (three u32, red, green, blue) and outMediaRecord
// (at least 64 bytes, else the result is 0) are optional.
QZ_EXPORT int32_t QzPixelTypeToBitAttribs(QzPixelType type, uint32_t* outCompression, void* outMediaRecord,
                                          int32_t mediaRecordSize, uint32_t* outMasks);

// Non-zero unless the descriptor holds raw pixels of a known type (BI_RGB,
// BI_BITFIELDS, QZDB or QZGS); a null header counts as compressed.
QZ_EXPORT int32_t QzVideo_IsCompressed(const BITMAPINFOHEADER* header);
// The text functions write like snprintf: null text is E_POINTER; text that
// does not fit is cut, terminated, and reported as E_INVALIDARG.
// The four letters, low byte first; unprintable bytes show as '?'.
QZ_EXPORT HRESULT QzFourCCToString(uint32_t fourCC, char* text, int32_t textSize);
// "RGB", "RGB (bitfields)", "RGBA" (QZDB), "Grayscale" (QZGS), else the FourCC.
QZ_EXPORT HRESULT QzVideo_GetFormatText(uint32_t compression, char* text, int32_t textSize);
// "<width>x<height>x<bit count>".
QZ_EXPORT HRESULT QzVideo_GetAttribsText(const BITMAPINFOHEADER* header, char* text, int32_t textSize);

// Swap red and blue over count 4-byte entries and zero the fourth byte;
// dst may equal src.
QZ_EXPORT void QzVideo_PaletteRGBAFromEntry(RGBQUAD* dst, const RGBQUAD* src, int32_t count);
QZ_EXPORT void QzVideo_PaletteEntryFromRGBA(RGBQUAD* dst, const RGBQUAD* src, int32_t count);

// Where the bits of a descriptor stand when they share its block.
QZ_EXPORT uint8_t* QzDibBitsFromHeader(const BITMAPINFOHEADER* header);
// The DWORD-aligned row size that a zero stride stands for.
QZ_EXPORT int32_t QzDibNaturalStride(const BITMAPINFOHEADER* header);

// Byte offset of a channel within a pixel of 4 or 16 bytes.
QZ_EXPORT int32_t GetByteOffsetFromChannelEnum(QzChannel channel, int32_t bytesPerPixel);

// ---- Descriptor builders and allocation ----

// The builders fill a descriptor for a type and size, with the masks (type
// 26, 30, 34) or the given palette entries behind the header; they return
// E_INVALIDARG for a null header, an unknown type, a negative size or an
// image of 4 GiB or more. Without a palette count, types of 8 bits
// or fewer get biClrUsed (1 << bits) - 1, one short of the table.
// biYPelsPerMeter is never read and is not written. Header bytes are
// biSize + 4 * biClrUsed, or 52 with masks.
QZ_EXPORT HRESULT QzVideo_InitBitmapInfo(BITMAPINFOHEADER* header, QzPixelType type, int32_t width, int32_t height,
                                         const RGBQUAD* palette, int32_t paletteEntries, uint32_t* outImageBytes);
QZ_EXPORT HRESULT QzDibInfo(uint32_t* outHeaderBytes, uint32_t* outImageBytes, BITMAPINFOHEADER* header,
                            QzPixelType type, int32_t width, int32_t height, const RGBQUAD* palette,
                            int32_t paletteEntries);

// One block of header bytes and image bytes, header cleared; the image
// bytes are zeroed too with QZDIBALLOC_ZERO. Release with QzDibFree, which
// accepts null. The tag and QZDIBALLOC_UNTRACKED name the block for a debug
// heap and change nothing else.
#define QZDIBALLOC_ZERO 0x1u
#define QZDIBALLOC_UNTRACKED 0x80000000u
QZ_EXPORT HRESULT QzDibAlloc(BITMAPINFOHEADER** outDib, QzPixelType type, int32_t width, int32_t height,
                             const RGBQUAD* palette, int32_t paletteEntries, uint32_t flags, uintptr_t tag);
QZ_EXPORT HRESULT QzDibFree(BITMAPINFOHEADER* dib, uint32_t flags);
// The diagnostic counters of live bitmaps and their image bytes (by
// biSizeImage), raised by QzDibAlloc and lowered by QzDibFree. Either output
// may be null.
QZ_EXPORT void QzDibAllocCounters(int64_t* outLiveBitmaps, int64_t* outLiveBytes);

// Image bytes of a planar or packed YUV type (types 64 to 78, the usual
// layout of each FourCC, planes unpadded) and the offsets of its up to three
// planes in storage order; an absent plane's offset is 0. Either output may
// be null; other types or a negative size are E_INVALIDARG.
QZ_EXPORT HRESULT QzYUVImageBytesAndOffsets(QzPixelType type, int32_t width, int32_t height, uint32_t* outImageBytes,
                                            uint32_t outPlaneOffsets[3]);

// ---- In-place rearrangement ----

// On the rectangle (default: the whole image, clipped to it) of types 23 to
// 34; null bits and zero stride mean the block's own bits and the natural
// stride. Rows flip for all of them; columns mirror for 24, 32 and 128 bits
// per pixel only; red and blue swap for 25 to 34. A type or request with no
// function is E_NOTIMPL, and nothing is written.
QZ_EXPORT HRESULT QzDibFlip(const BITMAPINFOHEADER* header, void* bits, const RECT* rect, int32_t stride,
                            int32_t mirrorColumns, int32_t flipRows);
QZ_EXPORT HRESULT QzDibSwapRB(const BITMAPINFOHEADER* header, void* bits, const RECT* rect, int32_t stride);

// ---- Preparation ----

// One raw-view image: clips rect (default: bounds) to bounds and gives the
// size and the first pixel. An empty clip returns S_OK and leaves the
// outputs untouched, so callers clear them first.
QZ_EXPORT HRESULT QzDibPrepareSet(int32_t* outWidth, int32_t* outHeight, uint8_t** outDst, void* dstBits,
                                  const RECT* bounds, int32_t stride, const RECT* rect, int32_t bytesPerPixel);

// QzDibPrepareCopy that also gives the final clipped source rectangle and,
// if outDstRect is not null, the clipped destination rectangle.
QZ_EXPORT HRESULT QzDibPrepareTransform(RECT* outSrcRect, int32_t* outWidth, int32_t* outHeight, uint8_t** outSrc,
                                        uint8_t** outDst, void* dstBits, const RECT* dstBounds, int32_t dstStride,
                                        const RECT* dstRect, const void* srcBits, const RECT* srcBounds,
                                        int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel,
                                        RECT* outDstRect);

// Descriptor-view clipping with a scale: each rectangle (default: its whole
// image) is clipped to its image and the cut is taken from the partner in
// proportion. outMargins (optional) receives the source-side cuts left,
// top, right, bottom.
QZ_EXPORT HRESULT QzDibPrepareRects(const BITMAPINFOHEADER* dstHeader, RECT* outDstRect, const RECT* dstRect,
                                    const BITMAPINFOHEADER* srcHeader, RECT* outSrcRect, const RECT* srcRect,
                                    RECT* outMargins);

// One side of a whole-image operation on two descriptors.
typedef struct QzDibPluginSide {
    const BITMAPINFOHEADER* header;
    uint8_t* bits;
    uint8_t* firstRow;  // the lowest memory row of the rectangle
    int32_t bitOffset;  // of the rectangle's first pixel within firstRow
    RECT rect;
    int32_t width;
    int32_t height;
    int32_t stride;
} QzDibPluginSide;

typedef struct QzDibPluginParam {
    QzDibPluginSide dst;
    QzDibPluginSide src;
    uint32_t flags;
} QzDibPluginParam;

QZ_EXPORT HRESULT DibPreparePluginParam(QzDibPluginParam* param, const BITMAPINFOHEADER* dstHeader, void* dstBits,
                                        const RECT* dstRect, int32_t dstStride, const BITMAPINFOHEADER* srcHeader,
                                        const void* srcBits, const RECT* srcRect, int32_t srcStride, uint32_t flags,
                                        int32_t* outIsFloat, int32_t* outEmpty);

// ---- CPU support ----

// Feature bits of QzGetCPUSupport, all within QZCPU_ALLOWABLE. A bit is
// reported only when both the processor and the operating system support
// the feature. The low four bits of a result hold the CPU class instead:
// QZCPU_CLASS_AVX2 if AVX2 is detected and allowed, else QZCPU_CLASS_SSE41
// for SSE4.1, else QZCPU_CLASS_SSE2 for SSE2, else 0. Vector variants test
// (QzGetCPUSupport(4095) & 96) == 96, i.e. SSE4.1 and AVX2 together.
#define QZCPU_SSE2 0x10u
#define QZCPU_SSE41 0x20u
#define QZCPU_AVX2 0x40u
#define QZCPU_SSSE3 0x80u
#define QZCPU_SSE42 0x100u
#define QZCPU_AVX 0x200u
#define QZCPU_FMA 0x400u
#define QZCPU_AVX512F 0x800u
#define QZCPU_ALLOWABLE 0xFF0u
#define QZCPU_CLASS_MASK 0xFu
#define QZCPU_CLASS_SSE2 4u
#define QZCPU_CLASS_SSE41 5u
#define QZCPU_CLASS_AVX2 6u

// Detection runs once, on first use, from any thread. The allowed mask
// starts with every bit set. mask selects the bits of interest; 0 means all.
QZ_EXPORT uint32_t QzGetCPUSupport(uint32_t mask);
// Change the allowed mask; bits outside QZCPU_ALLOWABLE are ignored.
QZ_EXPORT void QzAllowCPUSupport(uint32_t bits);
QZ_EXPORT void QzDisallowCPUSupport(uint32_t bits);
QZ_EXPORT void QzOnlyAllowCPUSupport(uint32_t bits);
// Sets the allowed mask to the detected features, so that the class follows
// the processor again after any of the three above.
QZ_EXPORT void QzSetCPUClassBySupport(void);
// The detected features in mask (0: all), whatever the allowed mask says.
QZ_EXPORT uint32_t QzGetOSSupport(uint32_t mask);
// Logical processors available to the process, at least 1.
QZ_EXPORT int32_t QzGetProcessorCount(void);

#ifdef __cplusplus
}
#endif
