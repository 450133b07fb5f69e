// A packed raw-view test image of 8-bit (uint8_t) or float pixels, four
// samples each, bounds at the origin.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "QzDib.h"

namespace qztest {

template <typename T>
struct Image {
    int32_t w, h;
    std::vector<T> px;
    RECT bounds;
    Image(int32_t width, int32_t height, T fill) : w(width), h(height), px(size_t(width) * height * 4, fill) {
        bounds = RECT{0, 0, w, h};
    }
    int32_t stride() const { return w * 4 * sizeof(T); }
    T& at(int32_t x, int32_t y, int c) { return px[(size_t(y) * w + x) * 4 + c]; }
    static constexpr int32_t bpp = 4 * sizeof(T);
};

}  // namespace qztest
