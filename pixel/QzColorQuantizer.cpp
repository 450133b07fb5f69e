// The palette quantizer of copies into palette bitmaps: an inverse colour
// map of 32 x 32 x 32 cells, so that a pixel costs one look-up. Colours are
// matched at five bits per channel: two palette entries closer than a cell
// can share one, and the cell's centre decides between them.
#include <memory>
#include <new>

#include "QzDib.h"
#include "QzXchg.h"

namespace {

struct Entry {
    int32_t b, g, r;
};

void buildCells(QzColorQuantizer& q, const Entry* palette, int32_t count) {
    for (int32_t r = 0; r < 32; ++r) {
        for (int32_t g = 0; g < 32; ++g) {
            for (int32_t b = 0; b < 32; ++b) {
                const int32_t cr = r * 8 + 4, cg = g * 8 + 4, cb = b * 8 + 4;
                int32_t best = 0, bestDistance = INT32_MAX;
                for (int32_t i = 0; i < count; ++i) {
                    const int32_t dr = palette[i].r - cr, dg = palette[i].g - cg, db = palette[i].b - cb;
                    const int32_t distance = dr * dr + dg * dg + db * db;
                    if (distance < bestDistance) {
                        bestDistance = distance;
                        best = i;
                    }
                }
                q.cells[(r << 10) | (g << 5) | b] = static_cast<uint8_t>(best);
            }
        }
    }
}

}  // namespace

extern "C" HRESULT QzDibCreateColorQuantizer(QzColorQuantizer** outQuantizer, const BITMAPINFOHEADER* header) {
    if (!outQuantizer) return E_POINTER;
    *outQuantizer = nullptr;
    if (!header) return E_POINTER;
    if (!qz::isPaletteType(QzGetPixelType(header))) return E_INVALIDARG;

    const RGBQUAD* rgb = qz::paletteOf(*header);
    const int32_t count = qz::paletteEntries(*header);
    Entry palette[256];
    for (int32_t i = 0; i < count; ++i) palette[i] = Entry{rgb[i].rgbBlue, rgb[i].rgbGreen, rgb[i].rgbRed};

    std::unique_ptr<QzColorQuantizer> q;
    try {
        q = std::make_unique<QzColorQuantizer>();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    buildCells(*q, palette, count);
    *outQuantizer = q.release();
    return S_OK;
}

extern "C" void QzDibFreeColorQuantizer(QzColorQuantizer* quantizer) {
    std::unique_ptr<QzColorQuantizer> owned(quantizer);
}

extern "C" uint8_t QzColorQuantizerIndex(const QzColorQuantizer* quantizer, uint8_t b, uint8_t g, uint8_t r) {
    return quantizer ? qz::quantize(*quantizer, b, g, r) : 0;
}
