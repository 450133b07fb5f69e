// Addressing a descriptor's bits (not exported): the defaults of a null
// bits pointer and a zero stride, and the bottom-up row order.
#pragma once

#include <cstddef>

#include "QzDib.h"

namespace qz {

// A null bits pointer means the bits that follow the header in its block.
inline uint8_t* bitsOf(const BITMAPINFOHEADER* header, const void* bits) {
    return bits ? static_cast<uint8_t*>(const_cast<void*>(bits)) : QzDibBitsFromHeader(header);
}

// A zero stride means the DWORD-aligned row.
inline int32_t strideOf(const BITMAPINFOHEADER* header, int32_t stride) {
    return stride ? stride : QzDibNaturalStride(header);
}

// Image row y (0 is the top) of bottom-up bits.
inline uint8_t* imageRow(const BITMAPINFOHEADER& header, uint8_t* bits, int32_t stride, int32_t y) {
    return bits + static_cast<std::ptrdiff_t>(header.biHeight - 1 - y) * stride;
}

}  // namespace qz
