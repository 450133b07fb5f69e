// QzPrepareSubpixelParam: resolving a resampling job in 1/16384 pixel.
#include <algorithm>

#include "QzDib.h"
#include "QzRect.h"

namespace {

constexpr int64_t kOne = QZ_SUBPIXEL_ONE;

// The products below can pass 64 bits for far-flung rectangles. Every
// quotient is clamped to the images afterwards, so one far beyond them
// (2^40 units) may be cut short without changing a result.
__extension__ typedef __int128 Wide;
constexpr Wide kFar = Wide{1} << 40;

int64_t floorDiv(Wide a, int64_t b) {
    const Wide q = a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
    return static_cast<int64_t>(q < -kFar ? -kFar : (q > kFar ? kFar : q));
}
int64_t ceilDiv(Wide a, int64_t b) { return -floorDiv(-a, b); }

// One axis of the mapping dst = d0 + (src - s0) * dw / sw, where s0, sw and
// d0, dw are the rectangles as the caller gave them.
struct Axis {
    int64_t s0, sw, d0, dw;
    // The destination span that the source span [a, b) covers, rounded
    // inward so that no destination position maps outside it.
    void toDst(int64_t a, int64_t b, int64_t& lo, int64_t& hi) const {
        lo = d0 + ceilDiv(Wide{a - s0} * dw, sw);
        hi = d0 + floorDiv(Wide{b - s0} * dw, sw);
    }
    void toSrc(int64_t a, int64_t b, int64_t& lo, int64_t& hi) const {
        lo = s0 + floorDiv(Wide{a - d0} * sw, dw);
        hi = s0 + ceilDiv(Wide{b - d0} * sw, dw);
    }
};

// Clips [dLo, dHi) to the destination image and to the image of the source
// bounds, then takes the source span back from it.
bool clipAxis(const Axis& ax, int64_t dstExtent, int64_t srcExtent, int32_t& dLo, int32_t& dHi, int32_t& sLo,
              int32_t& sHi) {
    int64_t fromSrcLo, fromSrcHi;
    ax.toDst(0, srcExtent, fromSrcLo, fromSrcHi);
    const int64_t lo = std::max({ax.d0, int64_t{0}, fromSrcLo});
    const int64_t hi = std::min({ax.d0 + ax.dw, dstExtent, fromSrcHi});
    if (hi <= lo) return false;
    int64_t a, b;
    ax.toSrc(lo, hi, a, b);
    dLo = static_cast<int32_t>(lo);
    dHi = static_cast<int32_t>(hi);
    sLo = static_cast<int32_t>(std::max<int64_t>(a, 0));
    sHi = static_cast<int32_t>(std::min(b, srcExtent));
    return true;
}

}  // namespace

extern "C" int32_t QzPrepareSubpixelParam(QzSubpixelParam* param, void* dst, const SIZE* dstSize, int32_t dstStride,
                                          const RECT* dstRect, const void* src, const SIZE* srcSize, int32_t srcStride,
                                          const RECT* srcRect) {
    if (!param || !dst || !src || !dstSize || !srcSize) return 0;
    if (dstSize->cx <= 0 || dstSize->cy <= 0 || srcSize->cx <= 0 || srcSize->cy <= 0) return 0;
    const int64_t dw = int64_t{dstSize->cx} * kOne, dh = int64_t{dstSize->cy} * kOne;
    const int64_t sw = int64_t{srcSize->cx} * kOne, sh = int64_t{srcSize->cy} * kOne;
    // Sizes past 131071 pixels do not fit the units; nothing sensible scales there.
    if (std::max({dw, dh, sw, sh}) > INT32_MAX) return 0;

    const RECT d = dstRect ? *dstRect : RECT{0, 0, static_cast<int32_t>(dw), static_cast<int32_t>(dh)};
    const RECT s = srcRect ? *srcRect : RECT{0, 0, static_cast<int32_t>(sw), static_cast<int32_t>(sh)};
    // Spans in 64 bits: a caller's far-flung rectangle must not overflow.
    const int64_t dSpanX = int64_t{d.right} - d.left, dSpanY = int64_t{d.bottom} - d.top;
    const int64_t sSpanX = int64_t{s.right} - s.left, sSpanY = int64_t{s.bottom} - s.top;
    if (dSpanX <= 0 || dSpanY <= 0 || sSpanX <= 0 || sSpanY <= 0) return 0;

    const int64_t stepX = sSpanX * kOne / dSpanX;
    const int64_t stepY = sSpanY * kOne / dSpanY;
    if (stepX <= 0 || stepY <= 0 || stepX > INT32_MAX || stepY > INT32_MAX) return 0;

    QzSubpixelParam p{};
    p.dst = static_cast<uint8_t*>(dst);
    p.dstStride = dstStride;
    p.dstBounds = RECT{0, 0, static_cast<int32_t>(dw), static_cast<int32_t>(dh)};
    p.src = static_cast<const uint8_t*>(src);
    p.srcStride = srcStride;
    p.srcBounds = RECT{0, 0, static_cast<int32_t>(sw), static_cast<int32_t>(sh)};
    p.stepX = static_cast<int32_t>(stepX);
    p.stepY = static_cast<int32_t>(stepY);

    const Axis ax{s.left, sSpanX, d.left, dSpanX};
    const Axis ay{s.top, sSpanY, d.top, dSpanY};
    if (!clipAxis(ax, dw, sw, p.dstRect.left, p.dstRect.right, p.srcRect.left, p.srcRect.right)) return 0;
    if (!clipAxis(ay, dh, sh, p.dstRect.top, p.dstRect.bottom, p.srcRect.top, p.srcRect.bottom)) return 0;
    *param = p;

    if (qz::width(p.srcRect) < kOne || qz::height(p.srcRect) < kOne) return 0;
    if (qz::width(p.dstRect) < 1024 || qz::height(p.dstRect) < 1024) return 0;
    return 1;
}
