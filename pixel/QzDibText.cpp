// Descriptor queries for people and palettes: is a format raw pixels, what
// is it called, and the red/blue swap between palette entries and pixels.
#include <cstdio>

#include "QzDib.h"

namespace {

// Writes text like snprintf. Text that does not fit is cut (and still
// terminated) and reported as E_INVALIDARG.
HRESULT writeText(char* text, int32_t textSize, const char* format, auto... args) {
    if (!text) return E_POINTER;
    if (textSize <= 0) return E_INVALIDARG;
    const int n = std::snprintf(text, static_cast<size_t>(textSize), format, args...);
    return n >= 0 && n < textSize ? S_OK : E_INVALIDARG;
}

char printable(uint32_t c) { return c >= 0x20 && c < 0x7F ? static_cast<char>(c) : '?'; }

void swapRedBlue(RGBQUAD* dst, const RGBQUAD* src, int32_t count) {
    if (!dst || !src) return;
    for (int32_t i = 0; i < count; ++i) {
        const RGBQUAD e = src[i];
        dst[i] = RGBQUAD{e.rgbRed, e.rgbGreen, e.rgbBlue, 0};
    }
}

}  // namespace

extern "C" int32_t QzVideo_IsCompressed(const BITMAPINFOHEADER* header) {
    if (!header) return 1;
    const uint32_t c = header->biCompression;
    const bool raw = c == BI_RGB || c == BI_BITFIELDS || c == QZ_COMPRESSION_QZDB || c == QZ_COMPRESSION_QZGS;
    // A raw code with a bit count no type has cannot be read as pixels either.
    return !raw || QzGetPixelType(header) == QzPixelUnknown ? 1 : 0;
}

// Spelt low byte first, as FourCCs are stored; bytes that are not printable
// show as '?', so that the text always has four characters.
extern "C" HRESULT QzFourCCToString(uint32_t fourCC, char* text, int32_t textSize) {
    return writeText(text, textSize, "%c%c%c%c", printable(fourCC & 0xFF), printable((fourCC >> 8) & 0xFF),
                     printable((fourCC >> 16) & 0xFF), printable(fourCC >> 24));
}

extern "C" HRESULT QzVideo_GetFormatText(uint32_t compression, char* text, int32_t textSize) {
    switch (compression) {
        case BI_RGB: return writeText(text, textSize, "%s", "RGB");
        case BI_BITFIELDS: return writeText(text, textSize, "%s", "RGB (bitfields)");
        case QZ_COMPRESSION_QZDB: return writeText(text, textSize, "%s", "RGBA");
        case QZ_COMPRESSION_QZGS: return writeText(text, textSize, "%s", "Grayscale");
        default: return QzFourCCToString(compression, text, textSize);
    }
}

extern "C" HRESULT QzVideo_GetAttribsText(const BITMAPINFOHEADER* header, char* text, int32_t textSize) {
    if (!header) return E_POINTER;
    return writeText(text, textSize, "%dx%dx%d", static_cast<int>(header->biWidth), static_cast<int>(header->biHeight),
                     static_cast<int>(header->biBitCount));
}

// Palette entries are blue first; the RGBA form of the drawing helpers is
// red first. The two directions are the same swap.
extern "C" void QzVideo_PaletteRGBAFromEntry(RGBQUAD* dst, const RGBQUAD* src, int32_t count) {
    swapRedBlue(dst, src, count);
}

extern "C" void QzVideo_PaletteEntryFromRGBA(RGBQUAD* dst, const RGBQUAD* src, int32_t count) {
    swapRedBlue(dst, src, count);
}
