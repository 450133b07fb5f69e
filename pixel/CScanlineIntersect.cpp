// The edge-pair stepper of the A-buffer rasteriser, and its clipping of a
// row's band to one pixel and of a row piece to the image.
#include <algorithm>

#include "A_Buffer.h"

namespace {

constexpr int32_t kOne = 16384;
// Sub-row stepping runs in 32 bits; a crossing this far beyond a pixel
// covers it wholly or not at all, so farther ends are pinned here.
constexpr int64_t kReach = int64_t{1} << 29;

int32_t clampToInt32(int64_t v) { return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX)); }

// a + (y - y0) * (b - a) / (y1 - y0), rounded half away from zero. The
// vertex positions are bounded by 2^30, so the product fits 64 bits.
int32_t along(int32_t y, int32_t y0, int32_t y1, int32_t a, int32_t b) {
    const int64_t dy = int64_t{y1} - y0;
    if (dy <= 0) return a;
    const int64_t num = (int64_t{y} - y0) * (int64_t{b} - a);
    const int64_t half = dy / 2;
    return clampToInt32(a + (num + (num >= 0 ? half : -half)) / dy);
}

SCANPOINT pointAt(const tSCANEDGE& e, int32_t y) {
    return SCANPOINT{along(y, e.y0, e.y1, e.x0, e.x1), along(y, e.y0, e.y1, e.u0, e.u1),
                     along(y, e.y0, e.y1, e.v0, e.v1)};
}

}  // namespace

void CScanlineIntersect::SetCurVal(const tSCANEDGE& left, const tSCANEDGE& right) {
    m_edge[0] = left;
    m_edge[1] = right;
    m_end = std::min(left.y1, right.y1);
    PreStep(std::max(left.y0, right.y0));
}

void CScanlineIntersect::PreStep(int32_t y) {
    m_line = y;
    m_at[0] = pointAt(m_edge[0], y);
    m_at[1] = pointAt(m_edge[1], y);
}

bool CScanlineIntersect::Step() {
    if (m_line >= m_end) return false;
    const int64_t nextRow = (int64_t{m_line} & ~int64_t{kOne - 1}) + kOne;
    PreStep(static_cast<int32_t>(std::min<int64_t>(nextRow, m_end)));
    return true;
}

SCANLINESTEP CScanlineIntersect::ClipToPixelBoundries(const SCANLINESTEP& band, int32_t column) {
    const int64_t origin = int64_t{column} * kOne;
    const auto local = [origin](int32_t x) { return static_cast<int32_t>(std::clamp(x - origin, -kReach, kReach)); };
    return SCANLINESTEP{band.y0, band.y1, local(band.xl0), local(band.xl1), local(band.xr0), local(band.xr1)};
}

int32_t CScanlineIntersect::ClipIntersect(tA_BUFFER_SPAN& span, int32_t width) {
    if (width <= 0 || span.last < span.first || span.last < 0 || span.first >= width) return 0;
    if (span.first >= 0 && span.last < width) return 1;
    if (span.first < 0) {
        // The texture of the new first column: du and dv carry 10 more
        // fraction bits than u and v.
        const int64_t cut = -int64_t{span.first};
        span.u = clampToInt32(span.u + ((cut * span.du) >> 10));
        span.v = clampToInt32(span.v + ((cut * span.dv) >> 10));
        span.first = 0;
    }
    span.last = std::min(span.last, width - 1);
    span.interiorFirst = std::clamp(span.interiorFirst, 0, width);
    span.interiorEnd = std::clamp(span.interiorEnd, 0, width);
    return 2;
}
