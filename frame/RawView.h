// The raw view of an OFX image for the QzDib primitives.
//
// The view is anchored at the image's coordinate origin: the base pointer is
// where pixel (0, 0) would lie, and the bounds are the image's own. Render
// windows and bounds are thus in one coordinate system, the primitives clip
// every access to the image, and images whose bounds do not start at (0, 0)
// work as well as those that do.
#pragma once

#include <cstdint>

#include "Image.h"
#include "QzDib.h"
#include "QzRawView.h"

namespace OFX {

using RawView = qz::RawView;

inline RECT toRECT(const OfxRectI& r) { return RECT{r.x1, r.y1, r.x2, r.y2}; }

// An image with no pixels (null) gives an empty view, which the primitives
// clip to nothing.
inline RawView rawView(const Image* image) {
    RawView view;
    if (!image || !image->getPixelData()) return view;
    const OfxRectI& b = image->getBounds();
    view.bounds = toRECT(b);
    view.stride = image->getRowBytes();
    view.bytesPerPixel = image->getPixelBytes();
    // Computed on integers: the origin may lie outside the buffer.
    const auto data = reinterpret_cast<uintptr_t>(image->getPixelData());
    const intptr_t offset =
        static_cast<intptr_t>(b.y1) * view.stride + static_cast<intptr_t>(b.x1) * view.bytesPerPixel;
    view.base = reinterpret_cast<void*>(data - static_cast<uintptr_t>(offset));
    return view;
}

// Whether an image holds pixels of the size a processor was built for; a
// host that hands another depth than its clip announced gets no writes.
inline bool hasPixels(const Image* image, int bytesPerPixel) {
    return image && image->getPixelData() && image->getPixelBytes() == bytesPerPixel;
}

// The part of a window that lies inside an image's bounds; empty for none.
inline OfxRectI clipToImage(const OfxRectI& window, const Image* image) {
    if (!image || !image->getPixelData()) return OfxRectI{0, 0, 0, 0};
    const OfxRectI& b = image->getBounds();
    OfxRectI r{window.x1 > b.x1 ? window.x1 : b.x1, window.y1 > b.y1 ? window.y1 : b.y1,
               window.x2 < b.x2 ? window.x2 : b.x2, window.y2 < b.y2 ? window.y2 : b.y2};
    if (r.x1 >= r.x2 || r.y1 >= r.y2) return OfxRectI{0, 0, 0, 0};
    return r;
}

}  // namespace OFX
