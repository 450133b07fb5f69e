// The raw view of an image as the C++ side of the toolkit passes it around:
// where pixel (0, 0) would lie, the image's bounds, its row stride in bytes
// (negative for bottom-up rows) and 4 or 16 bytes per pixel. The frame
// makes one from an OFX image (RawView.h); the toolkit's own C functions
// take the same four values as separate arguments.
#pragma once

#include <cstdint>

#include "QzDib.h"

namespace qz {

struct RawView {
    void* base = nullptr;
    RECT bounds{0, 0, 0, 0};
    int32_t stride = 0;
    int32_t bytesPerPixel = 0;
};

}  // namespace qz
