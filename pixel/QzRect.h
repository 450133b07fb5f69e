// Rectangle arithmetic shared by the toolkit's sources (not exported).
#pragma once

#include <cstdint>

#include "QzDib.h"

namespace qz {

inline int32_t width(const RECT& r) { return r.right - r.left; }
inline int32_t height(const RECT& r) { return r.bottom - r.top; }
inline bool isEmpty(const RECT& r) { return r.left >= r.right || r.top >= r.bottom; }

// IntersectRect semantics: an empty intersection is all zero.
inline RECT intersect(const RECT& a, const RECT& b) {
    RECT r{a.left > b.left ? a.left : b.left, a.top > b.top ? a.top : b.top, a.right < b.right ? a.right : b.right,
           a.bottom < b.bottom ? a.bottom : b.bottom};
    if (isEmpty(r)) return RECT{0, 0, 0, 0};
    return r;
}

inline RECT offset(const RECT& r, int32_t dx, int32_t dy) {
    return RECT{r.left + dx, r.top + dy, r.right + dx, r.bottom + dy};
}

// Note: the row and column products are 32-bit, as the toolkit has always
// computed them, and only then widened to an address offset.
inline intptr_t byteOffset(const RECT& r, int32_t stride, int32_t bytesPerPixel) {
    const auto rowBytes = static_cast<int32_t>(static_cast<uint32_t>(r.top) * static_cast<uint32_t>(stride));
    const auto colBytes = static_cast<int32_t>(static_cast<uint32_t>(r.left) * static_cast<uint32_t>(bytesPerPixel));
    return static_cast<intptr_t>(rowBytes) + static_cast<intptr_t>(colBytes);
}

}  // namespace qz
