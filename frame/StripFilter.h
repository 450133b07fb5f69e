// The shape of the filters that copy their source to the output, change the
// copy in place and, for some, mix the source back by a weight
// (1 - BlendAmount): the steps run strip by strip, a few rows at a time, so that each strip
// is copied, changed and mixed while it is still in the processor's cache,
// instead of three passes over the whole band through memory. The result is
// the same as whole passes, to the bit: each step is a row-wise
// operation of the pixel core on the same rows.
#pragma once

#include <algorithm>
#include <cstdint>

#include "ImageEffect.h"
#include "QzDib.h"
#include "RawView.h"

namespace OFX {

// About this many bytes of each image per strip: two images' strips stay in
// a core's second-level cache.
inline constexpr int kStripBytes = 128 * 1024;

inline bool windowInside(const OfxRectI& window, const Image* image) {
    const OfxRectI& b = image->getBounds();
    return b.x1 <= window.x1 && b.y1 <= window.y1 && window.x2 <= b.x2 && window.y2 <= b.y2;
}

namespace detail {

// The strip loop of the two shapes below; `blend(rows)` is the last step of
// each strip.
template <class Transform, class Blend>
int inStrips(const Image* dst, const Image* src, const OfxRectI& window, int32_t bytesPerPixel, Transform&& transform,
             Blend&& blend) {
    if (!hasPixels(dst, bytesPerPixel) || !hasPixels(src, bytesPerPixel)) return 0;
    const RawView d = rawView(dst);
    const RawView s = rawView(src);
    const auto pass = [&](const OfxRectI& rows, const OfxRectI& transformed) -> int {
        const RECT r = toRECT(rows);
        const HRESULT copied =
            QzDibCopyUnscaled(d.base, &d.bounds, d.stride, &r, s.base, &s.bounds, s.stride, &r, bytesPerPixel);
        if (copied < 0) return copied;
        if (const int stopped = transform(transformed)) return stopped;
        return blend(d, s, r);
    };
    const int width = window.x2 - window.x1;
    if (width <= 0 || window.y2 <= window.y1 || !windowInside(window, dst) || !windowInside(window, src))
        return pass(window, clipToImage(window, dst));

    const int stripRows = std::max(1, kStripBytes / (width * bytesPerPixel));
    for (int y = window.y1; y < window.y2; y += stripRows) {
        const OfxRectI strip{window.x1, y, window.x2, std::min(y + stripRows, window.y2)};
        if (const int status = pass(strip, strip)) return status;
    }
    return 0;
}

}  // namespace detail

// Copies `src` over `window` of `dst` and runs `transform(rows)` on the
// copied rows, which it changes in place; it answers 1 when it stopped for
// the host's abort. The result is the processor's: 0, 1 for an abort, or
// the copy's negative status.
//
// Images that do not both cover the window take the steps over the whole
// window instead, so that the pixel core's clipping of a partial overlap
// applies exactly as it does to one call.
template <class Transform>
int copyTransform(const Image* dst, const Image* src, const OfxRectI& window, int32_t bytesPerPixel,
                  Transform&& transform) {
    return detail::inStrips(dst, src, window, bytesPerPixel, transform,
                            [](const RawView&, const RawView&, const RECT&) { return 0; });
}

// The same, then mixes the source back with `sourceWeight` (the blend
// primitive's alpha: 0 keeps the transformed pixels); a strip whose
// transform stopped for an abort goes unmixed.
template <class Transform>
int copyTransformBlend(const Image* dst, const Image* src, const OfxRectI& window, int32_t bytesPerPixel,
                       double sourceWeight, Transform&& transform) {
    return detail::inStrips(dst, src, window, bytesPerPixel, transform,
                            [&](const RawView& d, const RawView& s, const RECT& r) -> int {
                                return QzDibAbsoluteAlphaValueBlend(d.base, &d.bounds, d.stride, &r, s.base, &s.bounds,
                                                                    s.stride, &r, bytesPerPixel, sourceWeight);
                            });
}

// Calls `row(pixels, count)` on each row of `rows` of `image`, first asking
// the host whether to stop: answers 1 when it stopped, 0 otherwise.
template <class PIX, class Row>
int forEachRow(const ImageEffect& effect, const Image* image, const OfxRectI& rows, Row&& row) {
    for (int y = rows.y1; y < rows.y2; ++y) {
        if (effect.abort()) return 1;
        row(static_cast<PIX*>(image->getPixelAddress(rows.x1, y)), rows.x2 - rows.x1);
    }
    return 0;
}

// Runs row(out, in, count) over the window's rows, from the source straight
// to the output where both images hold the whole window: one pass, each
// pixel read once and written once. Otherwise the window goes through the
// strip shape's copy (which clips a partial overlap as the pixel core does)
// and the rows are changed in place, out and in being one.
template <class PIX, class Row>
int transformRows(const ImageEffect& effect, const Image* dst, const Image* src, const OfxRectI& window, Row&& row) {
    constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
    if (hasPixels(dst, bytesPerPixel) && hasPixels(src, bytesPerPixel) && window.x1 < window.x2 &&
        window.y1 < window.y2 && windowInside(window, dst) && windowInside(window, src)) {
        for (int y = window.y1; y < window.y2; ++y) {
            if (effect.abort()) return 1;
            row(static_cast<PIX*>(dst->getPixelAddress(window.x1, y)),
                static_cast<const PIX*>(src->getPixelAddress(window.x1, y)), window.x2 - window.x1);
        }
        return 0;
    }
    return copyTransform(dst, src, window, bytesPerPixel, [&](const OfxRectI& rows) {
        return forEachRow<PIX>(effect, dst, rows, [&](PIX* p, int n) { row(p, p, n); });
    });
}

// The change of a point filter as `transform` takes it: `pixel(p)` on each
// pixel of the rows, the host asked before each row whether to stop.
template <class PIX, class Pixel>
auto eachPixel(const ImageEffect& effect, const Image* image, Pixel pixel) {
    return [&effect, image, pixel](const OfxRectI& rows) {
        return forEachRow<PIX>(effect, image, rows, [pixel](PIX* p, int n) {
            for (; n > 0; --n, p += 4) pixel(p);
        });
    };
}

}  // namespace OFX
