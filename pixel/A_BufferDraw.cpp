// Splitting a polygon into row pieces.
//
// The polygon's outline is walked as two chains from its top corner to its
// bottom one, the left and the right side. Each pair of chain edges that
// face each other over a run of lines goes to the edge stepper, which cuts
// the run at row boundaries into bands. All bands of one row gather into
// one piece, so a polygon leaves exactly one list item in each row it
// touches. A row holding corners has several bands: up to three are kept
// exactly, which covers triangles and quadrilaterals; beyond that the last
// band is stretched to the row's end and its sides become straight chords.
//
// A piece records its outline for the sub-pixel masks, the columns it
// touches, the columns it covers whole (only when it fills the row's
// height), and its texture: the texture coordinates along the two sides are
// taken at the piece's middle line and interpolated linearly between them,
// so a triangle maps affinely, and a pixel samples the texel under its
// centre (moved by half a texel, texel centres lying at i + 0.5).
#include <algorithm>

#include "A_Buffer.h"
#include "QzRound.h"

namespace {

constexpr int32_t kOne = 16384;
constexpr int32_t kMaxBands = 3;
// Positions are pinned to +-65536 pixels so that edge arithmetic fits 64 bits.
constexpr double kLimit = 1073741824.0;

int32_t toFixed(float v) {
    double d = static_cast<double>(v) * kOne;
    if (!(d > -kLimit)) d = -kLimit;  // NaN lands here too
    if (d > kLimit) d = kLimit;
    return qz::roundBiased(d);
}

int32_t clampToInt32(int64_t v) { return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX)); }

struct Corner {
    int32_t x, y, u, v;
};

Corner cornerOf(const QZ3DPOLY& poly, int32_t i) {
    const QZ3DVERTEX& p = poly.vertices[i];
    return Corner{toFixed(p.x), toFixed(p.y), toFixed(p.u), toFixed(p.v)};
}

// One side of the polygon, walked from the top corner toward the bottom
// one in direction `dir` of the vertex order.
struct Chain {
    const QZ3DPOLY& poly;
    int32_t dir;
    int32_t at;
    int32_t bottom;

    int32_t next() const { return (at + dir + poly.count) % poly.count; }
    // Moves past the edges that end on or above line y, keeping the last.
    void settle(int32_t y) {
        while (next() != bottom && cornerOf(poly, next()).y <= y) at = next();
    }
    tSCANEDGE edge() const {
        const Corner a = cornerOf(poly, at), b = cornerOf(poly, next());
        return tSCANEDGE{a.x, a.y, a.u, a.v, b.x, b.y, b.u, b.v};
    }
};

// Gathers one row's bands until the row is complete.
struct RowPiece {
    int32_t row = -1;
    int32_t bands = 0;
    int32_t y[kMaxBands + 1]{};
    int32_t x[kMaxBands][4]{};
    int32_t referenceLine = 0;  // absolute line of the texture sample
    bool textured = false;
    SCANPOINT left{}, right{};

    void add(const SCANLINESTEP& band) {
        if (bands == kMaxBands) {
            // Out of room: the last band runs on to this one's end.
            y[bands] = band.y1;
            x[bands - 1][1] = band.xl1;
            x[bands - 1][3] = band.xr1;
            return;
        }
        y[bands] = band.y0;
        y[bands + 1] = band.y1;
        x[bands][0] = band.xl0;
        x[bands][1] = band.xl1;
        x[bands][2] = band.xr0;
        x[bands][3] = band.xr1;
        ++bands;
    }

    // The columns and texture of the gathered piece; false when it covers
    // nothing.
    bool span(tA_BUFFER_SPAN& s, bool& interior) const {
        int32_t minL = INT32_MAX, maxL = INT32_MIN, minR = INT32_MAX, maxR = INT32_MIN;
        for (int32_t i = 0; i < bands; ++i) {
            minL = std::min({minL, x[i][0], x[i][1]});
            maxL = std::max({maxL, x[i][0], x[i][1]});
            minR = std::min({minR, x[i][2], x[i][3]});
            maxR = std::max({maxR, x[i][2], x[i][3]});
        }
        if (maxR <= minL) return false;
        s.first = minL >> 14;
        s.last = (maxR - 1) >> 14;
        // Sides are straight within a band, so their extremes lie on the
        // band lines and the columns between them are covered whole.
        interior = y[0] == 0 && y[bands] == kOne;
        s.interiorFirst = interior ? static_cast<int32_t>((int64_t{maxL} + kOne - 1) >> 14) : 0;
        s.interiorEnd = interior ? (minR >> 14) : 0;
        interior = interior && s.interiorFirst < s.interiorEnd;

        const int64_t width = int64_t{right.x} - left.x;
        const auto gradient = [width](int32_t a, int32_t b) {
            return width > 0 ? clampToInt32(((int64_t{b} - a) << 24) / width) : 0;
        };
        s.du = gradient(left.u, right.u);
        s.dv = gradient(left.v, right.v);
        const int64_t offset = int64_t{s.first} * kOne + kOne / 2 - left.x;
        s.u = clampToInt32(left.u + ((offset * s.du) >> 24) - kOne / 2);
        s.v = clampToInt32(left.v + ((offset * s.dv) >> 24) - kOne / 2);
        return true;
    }
};

}  // namespace

int32_t A_Buffer::DrawPoly(const QZ3DPOLY* poly, double a, double b) { return DrawComplexPoly(poly, a, b); }

int32_t A_Buffer::DrawTriangle(const QZ3DTRIANGLE* triangle) {
    if (!triangle) return 0;
    const QZ3DPOLY poly{triangle->vertices, 3, triangle->source};
    return DrawComplexPoly(&poly, 1.0, 1.0);
}

int32_t A_Buffer::DrawComplexPoly(const QZ3DPOLY* poly, double a, double b) {
    if (!m_param.state.drawing || !poly || !poly->vertices || poly->count < 3) return 0;
    if (poly->source < 0 || poly->source >= m_param.sourceCount) return 0;

    int32_t top = 0, bottom = 0;
    int32_t yTop = INT32_MAX, yBottom = INT32_MIN;
    double area = 0.0;
    for (int32_t i = 0; i < poly->count; ++i) {
        const Corner c = cornerOf(*poly, i), n = cornerOf(*poly, (i + 1) % poly->count);
        if (c.y < yTop) {
            top = i;
            yTop = c.y;
        }
        if (c.y > yBottom) {
            bottom = i;
            yBottom = c.y;
        }
        area += static_cast<double>(c.x) * n.y - static_cast<double>(n.x) * c.y;
    }
    if (yTop == yBottom || area == 0.0) return 0;

    // With y pointing down a positive area is a clockwise walk, so rising
    // indices run down the right side.
    Chain left{*poly, area > 0.0 ? -1 : 1, top, bottom};
    Chain right{*poly, area > 0.0 ? 1 : -1, top, bottom};

    const auto unit = [](double v) { return v > 0.0 ? (v < 1.0 ? v : 1.0) : 0.0; };
    const auto opacity = static_cast<uint16_t>(unit(a) * 1024.0);
    const auto shade = static_cast<uint32_t>(unit(b) * 65536.0);
    if (opacity == 0) return 0;

    int32_t made = 0;
    RowPiece piece;
    const auto flush = [&]() {
        tA_BUFFER_SPAN s{};
        bool interior = false;
        if (piece.row < 0 || !piece.span(s, interior) || CScanlineIntersect::ClipIntersect(s, m_param.state.width) == 0)
            return;
        tA_BUFFER_ITEM* item = TakeItem(piece.row);
        item->span = s;
        item->source = poly->source;
        item->rank = 0;
        item->shade = shade;
        item->opacity = opacity;
        item->bandCount = static_cast<uint16_t>(piece.bands);
        item->state = interior ? kInterior : 0;
        for (int32_t i = 0; i <= piece.bands; ++i) item->y[i] = static_cast<uint16_t>(piece.y[i]);
        std::copy(&piece.x[0][0], &piece.x[0][0] + 4 * kMaxBands, &item->x[0][0]);
        ++made;
    };

    CScanlineIntersect pair;
    const int32_t stop = std::min(yBottom, m_param.state.rows * kOne);
    for (int32_t y = std::max(yTop, 0); y < stop;) {
        left.settle(y);
        right.settle(y);
        pair.SetCurVal(left.edge(), right.edge());
        const int32_t end = std::min(pair.End(), stop);
        if (end <= y) break;  // the outline turns back up: not monotone in y
        pair.PreStep(y);
        while (pair.Line() < end) {
            const SCANPOINT l = pair.Left(), r = pair.Right();
            const int32_t from = pair.Line();
            pair.Step();
            const int32_t row = from >> 14, rowTop = row * kOne;
            if (row != piece.row) {
                flush();
                piece = RowPiece{};
                piece.row = row;
                piece.referenceLine = (std::max(rowTop, yTop) + std::min(rowTop + kOne, yBottom)) / 2;
            }
            piece.add(SCANLINESTEP{from - rowTop, pair.Line() - rowTop, l.x, pair.Left().x, r.x, pair.Right().x});
            // The texture is read on the piece's middle line, from the band
            // that holds it (the first band until then).
            if (!piece.textured && (piece.bands == 1 || from <= piece.referenceLine)) {
                CScanlineIntersect probe = pair;
                probe.PreStep(std::clamp(piece.referenceLine, from, pair.Line()));
                piece.left = probe.Left();
                piece.right = probe.Right();
                piece.textured = from <= piece.referenceLine && piece.referenceLine <= pair.Line();
            }
        }
        y = end;
    }
    flush();
    return made;
}
