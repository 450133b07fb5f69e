// The parameter block of QzDibCopy and the drivers that run it (not
// exported).
#pragma once

#include <cstdint>

#include "QzDib.h"
#include "QzRect.h"

namespace qz {

// One descriptor of a copy, its rectangle clipped, in top-down image space.
struct CopySide {
    const BITMAPINFOHEADER* header = nullptr;
    uint8_t* bits = nullptr;
    int32_t stride = 0;
    QzPixelType type = QzPixelUnknown;
    RECT rect{};

    int32_t imageWidth() const { return header->biWidth; }
    int32_t imageHeight() const { return header->biHeight; }
    // Descriptor rows are stored bottom-up.
    uint8_t* row(int32_t y) const { return bits + static_cast<intptr_t>(header->biHeight - 1 - y) * stride; }
};

struct CopyBlock {
    CopySide dst;
    CopySide src;
    uint32_t flags = 0;  // as the caller gave them
    uint32_t mode = 0;   // the quality mode, flags & 15
    bool scaling = false;
    // Source distance between destination pixels, in 1/16384 pixel: the
    // interpolating steps, which modes below 3 replace by nearest-sample
    // steps.
    int32_t stepX = 16384;
    int32_t stepY = 16384;
    double dstGamma = 0.0;
    double srcGamma = 0.0;
    const QzColorQuantizer* quantizer = nullptr;
};

// Fills an exchange for one direction of a copy: the source palette and the
// destination quantizer come from the block's descriptors.
HRESULT makeExchange(QzXCHG& exchange, const CopySide& from, const CopySide& to, const CopyBlock& block,
                     int32_t blendOp, double toGamma, double fromGamma);

HRESULT runPlainDriver(const CopyBlock& block);
HRESULT runFeatherDriver(const CopyBlock& block);

// The same-size converters of the common pairs, forked over rows; false
// when the pair has none.
bool runDirectConversion(const CopyBlock& block);

}  // namespace qz
